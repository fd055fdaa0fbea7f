#pragma once

#include "qzil/frame/convert.h"
#include "qzil/numeric/random_number.h"

/// Converts among YCC layouts: byte order, depth, Rec. 601 and 709, video and full levels, split fields and frames,
/// 4:2:2 and 4:4:4:4, alpha added (full), dropped or moved between a plane and the pixels.
///
/// Where nothing but the layout changes, samples move unchanged. Otherwise single precision, rounded half away from
/// zero and limited. A change of the standard is the full-range matrix of qzILColor. With filtering, chroma between the
/// sites of 4:2:2 is the mean of its neighbours, and chroma made 4:2:2 is (-1 2 6 2 -1) / 8 of five pixels; without,
/// sites are repeated and dropped. Where input or output is 4:2:2, an odd last pixel is not written. Dithering carries
/// the rounding error along each line from deeper samples to 8 bits; it repeats exactly.
///
/// Verify adds 0x10034 for an input format that is none of these layouts, 0x1000D for an output format that is none or
/// the input's own.
class QZIL_API qzILYCCA2YCCA : public qzILMonadicConvertProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILYCCA2YCCA, m_iFiltering = m_iDithering = 0)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void* GetConvertedColor(qzILColor const& color) override;

    void SetDoFiltering(int filtering) { m_iFiltering = filtering; }
    int GetDoFiltering() const { return m_iFiltering; }
    void SetDoDithering(int dithering) { m_iDithering = dithering; }
    int GetDoDithering() const { return m_iDithering; }

protected:
    std::int32_t m_iFiltering;
    std::int32_t m_iDithering;
    qzILRandomNumber m_oRandom;
    qzil::PixelBlock m_oConverted;
};

/// Splits a YCC image with an alpha plane into fill and key: output A gets the colour, output B, which may be absent,
/// the alpha as the luma of a grey picture at its own levels.
///
/// Verify adds 0x1000D for formats that do not fit: the input needs an alpha plane, both outputs must be 4:2:2 without
/// alpha; 0x10003 and 0x1000A for an output B without pixels or of another size than output A.
class QZIL_API qzILYCCA2YCCYCC : public qzILYCCA2YCCA {
    QZIL_PLAIN_EFFECT_CLASS(qzILYCCA2YCCYCC, m_pOutputImgB = nullptr)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;

    void SetOutputImgA(IXFImage* image) { SetOutputImg(image); }
    IXFImage* GetOutputImgA() const { return GetOutputImg(); }
    void SetOutputImgB(IXFImage* image) { m_pOutputImgB = image; }
    IXFImage* GetOutputImgB() const { return m_pOutputImgB; }

private:
    IXFImage* m_pOutputImgB;
};

/// Joins a fill and a key into a YCC image with an alpha plane: input A gives the colour, the luma of input B the
/// alpha. Without input B the alpha plane is made full when FillMissingInput says so, and left alone otherwise.
///
/// Verify adds 0x1000B for an input B that is missing without FillMissingInput; 0x1000C and 0x10062 for one without
/// pixels or of another size than input A; 0x1000D for formats that do not fit: both inputs must be 4:2:2 without
/// alpha, the output needs an alpha plane.
class QZIL_API qzILYCCYCC2YCCA : public qzILYCCA2YCCA {
    QZIL_PLAIN_EFFECT_CLASS(qzILYCCYCC2YCCA, m_pInputImgB = nullptr; m_iFillMissingInput = 0)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;

    void SetInputImgA(IXFImage* image) { SetInputImg(image); }
    IXFImage* GetInputImgA() const { return GetInputImg(); }
    void SetInputImgB(IXFImage* image) { m_pInputImgB = image; }
    IXFImage* GetInputImgB() const { return m_pInputImgB; }
    void SetFillMissingInput(int fill) { m_iFillMissingInput = fill; }
    int GetFillMissingInput() const { return m_iFillMissingInput; }

private:
    IXFImage* m_pInputImgB;
    std::int32_t m_iFillMissingInput;
};
