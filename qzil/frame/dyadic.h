#pragma once

#include "qzil/frame/img_proc.h"

/// Effects with two inputs and one output. Input A has its origin at (0, 0), input B at the input offset in A's
/// coordinates. The dominant input decides which pixels exist in the result: where only it has a pixel that pixel is
/// copied, and unselected channels come from it.
///
/// Verify adds: 0x10013 no input A, 0x10014 no input B, 0x10015 and 0x10016 the same without pixels, 0x10017 the
/// dominant input is neither, 0x1006C the mask is the output image in a way that is not allowed.
class QZIL_API qzILDyadicImgProc : public qzILImgProc {
    QZIL_EFFECT_CLASS(qzILDyadicImgProc)
public:
    qzILDyadicImgProc() { Init(); }

    qzILStatus Execute() override;
    qzILStatus Verify() override;
    virtual qzILStatus ExecuteAlphaPart(IXFImage* inputA, IXFImage* inputB, IXFImage* output);

    void Init();
    void Trash() {}
    /// Also makes the image the dominant input, unless SetDominantInput was called.
    void SetInputImgA(IXFImage* image);
    IXFImage* GetInputImgA() const { return m_pInputImgA; }
    void SetInputImgB(IXFImage* image) { m_pInputImgB = image; }
    IXFImage* GetInputImgB() const { return m_pInputImgB; }
    void SetDominantInput(IXFImage* image);
    IXFImage* GetDominantInput() const { return m_pDominantInput; }
    void SetInputOffset(qzILVector2l const& offset) { m_oInputOffset = offset; }
    qzILVector2l const& GetInputOffset() const { return m_oInputOffset; }

protected:
    /// A wins when one image is both inputs.
    bool BIsDominant() const { return m_pDominantInput != m_pInputImgA; }
    /// Runs the virtual Execute on other images in the place of this effect's.
    qzILStatus ExecuteOn(IXFImage* inputA, IXFImage* inputB, IXFImage* output);

    IXFImage* m_pInputImgA;
    IXFImage* m_pInputImgB;
    IXFImage* m_pDominantInput;
    qzILVector2l m_oInputOffset;
    std::int32_t m_iDominantSet;
};

/// Effects whose inputs and output have one format: 0x1000E otherwise, behind the codes of qzILVerifyROIAndMask.
class QZIL_API qzILDyadicPixelProcBase : public qzILDyadicImgProc {
    QZIL_EFFECT_CLASS(qzILDyadicPixelProcBase)
public:
    qzILDyadicPixelProcBase() { Init(); }
    ~qzILDyadicPixelProcBase() override;

    qzILStatus Verify() override;
    qzILStatus PrepareData() override;
    qzILStatus ProcessData() override;
    qzILStatus CleanData() override;
    /// Processes the processed box.
    virtual qzILStatus DoEffect() = 0;

    void Init() { m_pBufferImgA = m_pBufferImgB = nullptr; }
    void Trash() {}

protected:
    IXFImage* m_pBufferImgA;
    IXFImage* m_pBufferImgB;
    qzILImageHelper m_oInputHelperA;
    qzILImageHelper m_oInputHelperB;
    qzILImageHelper m_oOutputHelper;
    qzILImageHelper m_oMaskHelper;
    qzILImageHelper m_oCopyHelper;
    Boxes m_oBoxes;
};

/// Effects that work pixel by pixel.
class QZIL_API qzILDyadicPixelProc : public qzILDyadicPixelProcBase {
    QZIL_EFFECT_CLASS(qzILDyadicPixelProc)
public:
    qzILDyadicPixelProc() { Init(); }

    qzILStatus PrepareData() override;
    qzILStatus CleanData() override;
    /// Applies Operation8 or Operation16 to the 8- and 16-bit RGBA and mono formats; nothing for other formats.
    qzILStatus DoEffect() override;
    virtual void OnAdjustProcessedRegionBbox();
    virtual unsigned char Operation8(unsigned char a, unsigned char b) const;
    virtual unsigned short Operation16(unsigned short a, unsigned short b) const;

    void Init() {}
    void Trash() {}

protected:
    bool Prepare(Prepared& prepared) const override;
    GUID const& Format() const { return m_oInputHelperA.m_oFormat; }

    qzil::Lines m_oInputLinesA, m_oInputLinesB, m_oOutputLines, m_oMaskLines;
};
