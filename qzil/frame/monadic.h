#pragma once

#include "qzil/frame/img_proc.h"

/// Effects with one input and one output. For formats with an alpha plane the frame runs an effect on the colour plane,
/// when the mode has any of bits 1, 2, 4, and on the alpha plane, as a mono image, when it has bit 8; a plane that is
/// not processed is copied.
///
/// Verify adds: 0x1000B no input, 0x1000C input without pixels, 0x1006C the mask is the output image in a way that is
/// not allowed.
class QZIL_API qzILMonadicImgProc : public qzILImgProc {
    QZIL_EFFECT_CLASS(qzILMonadicImgProc)
public:
    qzILMonadicImgProc() { Init(); }

    qzILStatus Execute() override;
    qzILStatus Verify() override;
    virtual qzILStatus ExecuteAlphaPart(IXFImage* input, IXFImage* output);

    void Init() { m_pInputImg = nullptr; }
    void Trash() {}
    void SetInputImg(IXFImage* image) { m_pInputImg = image; }
    IXFImage* GetInputImg() const { return m_pInputImg; }

protected:
    /// For effects whose input and output have one format: this class's Verify, the codes of qzILVerifyROIAndMask, and
    /// 0x1000E for different formats.
    qzILStatus VerifyOneFormat();

    IXFImage* m_pInputImg;
};

/// Effects whose input and output have one format.
///
/// Verify adds the codes of qzILVerifyROIAndMask, and 0x1000E for different formats.
class QZIL_API qzILMonadicPixelProcBase : public qzILMonadicImgProc {
    QZIL_EFFECT_CLASS(qzILMonadicPixelProcBase)
public:
    qzILMonadicPixelProcBase() { Init(); }
    ~qzILMonadicPixelProcBase() override { ReleaseBuffer(&m_pBufferImg); }

    qzILStatus Verify() override;
    qzILStatus PrepareData() override;
    qzILStatus ProcessData() override;
    qzILStatus CleanData() override;
    /// Processes the processed box.
    virtual qzILStatus DoEffect() = 0;

    void Init() { m_pBufferImg = nullptr; }
    void Trash() {}

protected:
    IXFImage* m_pBufferImg;
    qzILImageHelper m_oInputHelper;
    qzILImageHelper m_oOutputHelper;
    qzILImageHelper m_oMaskHelper;
    qzILImageHelper m_oCopyHelper;
    Boxes m_oBoxes;
};

/// Effects that work pixel by pixel.
class QZIL_API qzILMonadicPixelProc : public qzILMonadicPixelProcBase {
    QZIL_EFFECT_CLASS(qzILMonadicPixelProc)
public:
    qzILMonadicPixelProc() { Init(); }

    qzILStatus PrepareData() override;
    qzILStatus CleanData() override;
    /// Applies Operation8 or Operation16 to the 8- and 16-bit RGBA and mono formats; nothing for other formats.
    qzILStatus DoEffect() override;
    virtual void OnAdjustProcessedRegionBbox();
    virtual unsigned char Operation8(unsigned char value) const;
    virtual unsigned short Operation16(unsigned short value) const;

    void Init() {}
    void Trash() {}

protected:
    bool Prepare(Prepared& prepared) const override;
    GUID const& Format() const { return m_oInputHelper.m_oFormat; }

    qzil::Lines m_oInputLines, m_oOutputLines, m_oMaskLines, m_oInputAlphaLines, m_oOutputAlphaLines;
};
