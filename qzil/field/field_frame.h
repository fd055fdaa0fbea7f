#pragma once

#include "qzil/frame/output_place.h"
#include "qzil/frame/processor.h"
#include "qzil/image/color.h"
#include "qzil/image/formats.h"

#include <span>

/// Base of effects on whole lines of interlaced pictures: no mask, no channel left out, a line is copied or mixed as a
/// block. Inside the region, pixels without an input pixel get the default colour; lines that the field bits leave out
/// keep their bytes. For formats with an alpha plane the effect runs on the colour planes and then on the alpha planes.
/// An image that is also an output is copied first. Images must stay valid during Execute; no reference is taken.
///
/// Verify: 0x1000B no input, 0x1000C input without pixels, 0x10034 a format that is not in GetFormats(), 0x10003 output
/// without pixels, 0x1000E output of another format, 0x1000A region outside the output, the codes of
/// qzILVerifyROIAndMask, 0x20002 unless all four channels are selected.
class QZIL_API qzILFieldBasedImgProc : public qzILProcessor {
    QZIL_EFFECT_CLASS(qzILFieldBasedImgProc)
public:
    qzILFieldBasedImgProc() { Init(); }
    static std::span<GUID const> GetFormats();

    qzILStatus Execute() override;
    qzILStatus Verify() override;
    virtual qzILStatus PrepareData() = 0;
    virtual qzILStatus ProcessData();
    virtual qzILStatus CleanData() = 0;
    /// Fills what lies in the second rectangle but not in the first.
    virtual void FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILColor const& color);
    virtual qzILStatus DoEffect() = 0;

    void Init();
    void Trash() {}
    IXFImage* GetInputImg() const { return m_pInputImg; }
    void SetInputImg(IXFImage* image) { m_pInputImg = image; }
    IXFImage* GetOutputImg() const { return m_oOutput.pImage; }
    /// Also makes the region of interest the image's size while it has none.
    void SetOutputImg(IXFImage* image);
    void SetOutputOffset(qzILVector2l const& offset) { m_oOutput.oOffset = offset; }
    qzILVector2l const& GetOutputOffset() const { return m_oOutput.oOffset; }
    void SetROI(qzILBbox2l const& roi) { m_oOutput.oRoi = roi; }
    qzILBbox2l const& GetROI() const { return m_oOutput.oRoi; }
    void SetDefaultColor(qzILColor const& color) { m_oDefaultColor = color; }
    qzILColor const& GetDefaultColor() const { return m_oDefaultColor; }

protected:
    /// Images of one effect, at most.
    static constexpr int kMostImages = 5;
    using ImageSlots = IXFImage** [kMostImages];
    /// An input of a call and what it is read through.
    struct Source {
        IXFImage* pImage;
        qzILImageHelper* pHelper;
        IXFImage** ppClone;
    };
    /// One line of a call: its line of the output, and that of the inputs.
    struct LinePlace {
        int iOut, iIn;
    };

    /// Where the effect keeps its images, for formats whose planes are images of their own; their number.
    virtual int GetImageSlots(ImageSlots& slots);
    /// PrepareData, ProcessData and CleanData on the present images.
    virtual qzILStatus ExecutePlane();
    /// Looks at every image once, and forms the rectangles. Absent outputs are null. -1 with the code that an
    /// unsuitable one has.
    qzILStatus FormRegion(std::span<Source const> sources, std::span<IXFImage* const> outputs);
    /// Views a source, or a copy of the lines around the region when it is also an output.
    qzILStatus ViewSource(Source const& source, std::span<IXFImage* const> outputs, int around);
    static void ReleaseClone(IXFImage** clone);
    /// The ROI lies inside another output, and its pairs and fields stay whole; the code, or 0.
    unsigned FindOutputFault(IXFImage* output);
    /// Whether the field bits leave an output line out.
    bool Skips(int y) const;
    int InputLine(int y) const { return y - m_oShift.y; }
    /// The input line that stands for the one above or below where that is beyond the picture.
    int LineBefore(int s) const { return s > 0 ? s - 1 : m_iHeight > 1 ? 1 : 0; }
    int LineAfter(int s) const { return s + 1 < m_iHeight ? s + 1 : m_iHeight > 1 ? m_iHeight - 2 : 0; }
    /// The first pixel of the active rectangle in a line of an output, and in one of an input.
    unsigned char* OutputLine(qzILImageHelper const& helper, int y) const;
    unsigned char* SourceLine(qzILImageHelper const& helper, int s) const;
    /// Copies a line unless both are one.
    void CopyLine(unsigned char* to, unsigned char const* from) const;

    std::int32_t m_iLineFlag;  ///< 1 for a line of the first field of the region
    std::uint32_t m_uLineBytes;
    qzILBbox2l m_oClipped;     ///< the region inside the input, in output coordinates
    qzILBbox2l m_oOutputRect;  ///< the region in output coordinates
    qzILBbox2l m_oActive;      ///< what is processed
    qzILVector2l m_oShift;     ///< from input to output coordinates
    qzILColor m_oDefaultColor;
    IXFImage* m_pInputImg;
    qzil::OutputPlace m_oOutput;
    qzil::FormatRow const* m_pFormat;  ///< of the call
    int m_iHeight;                     ///< of the input
};
