#pragma once

#include "qzil/frame/processor.h"
#include "qzil/image/image.h"
#include "qzil/image/image_helper.h"

/// Base of all effects that read an image and give numbers: statistics and histograms.
///
/// A sink's region is its mask rectangle, in input coordinates; by default it is the whole input. Images must stay
/// valid during Execute; no reference is taken.
///
/// Verify: with a mask image, 0x10005 mask without pixels, 0x10006 mask and mask rectangle differ in size, 0x10007 not
/// a mask format, 0x10008 the mask channel does not suit the mask's format.
class QZIL_API qzILSinkImgProc : public qzILProcessor {
    QZIL_EFFECT_CLASS(qzILSinkImgProc)
public:
    qzILSinkImgProc() { Init(); }

    qzILStatus Execute() override;
    qzILStatus Verify() override;
    virtual qzILStatus PrepareData() = 0;
    virtual qzILStatus ProcessData() = 0;
    virtual qzILStatus CleanData() = 0;

    void Init();
    void Trash() {}

    /// `channel`: 1, 2, 4, 8 of a four-channel mask, 16 of a one-channel mask.
    void SetMask(qzILBbox2l const& rectangle, IXFImage* image, XFImageChannel channel);
    void SetMask(int x, int y, unsigned width, unsigned height, IXFImage* image, XFImageChannel channel);
    /// Each pointer may be null.
    void GetMask(IXFImage** image, XFImageChannel* channel) const;

protected:
    IXFImage* m_pMaskImg;
    qzILBbox2l m_oMaskRect;
    XFImageChannel m_uMaskChannel;
};

/// Sinks with one input. Verify adds: 0x1000B no input, 0x1000C input without pixels.
class QZIL_API qzILMonadicSinkImgProc : public qzILSinkImgProc {
    QZIL_EFFECT_CLASS(qzILMonadicSinkImgProc)
public:
    qzILMonadicSinkImgProc() { Init(); }

    qzILStatus Verify() override;

    void Init() { m_pInputImg = nullptr; }
    void Trash() {}
    void SetInputImg(IXFImage* image) { m_pInputImg = image; }
    IXFImage* GetInputImg() const { return m_pInputImg; }

protected:
    IXFImage* m_pInputImg;
};

/// Sinks that look at every pixel of their region.
class QZIL_API qzILMonadicSinkPixelProc : public qzILMonadicSinkImgProc {
    QZIL_EFFECT_CLASS(qzILMonadicSinkPixelProc)
public:
    qzILMonadicSinkPixelProc() { Init(); }

    qzILStatus PrepareData() override;
    qzILStatus ProcessData() override;
    qzILStatus CleanData() override;
    /// Reads the processed box; not called when it is empty.
    virtual qzILStatus DoEffect() = 0;

    void Init() {}
    void Trash() {}

protected:
    /// A walk over every line of the processed box, in order of y, for RunOver. A rule keeps what it finds behind
    /// pointers. Mask values are of the input's type: 0x10009 for a mask of another channel size, unless the effect
    /// takes none.
    qzILStatus PrepareWalk(qzil::kernel::Walk& walk, bool takesMask);

    qzILImageHelper m_oInputHelper;
    qzILImageHelper m_oMaskHelper;  ///< its (0, 0) is the processed box's first pixel
    qzILBbox2l m_oProcessedBox;     ///< the region inside the input
};
