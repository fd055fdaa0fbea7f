#pragma once

#include "qzil/frame/convert.h"
#include "qzil/numeric/random_number.h"

/// Converts graphics images to YCC: 4:2:2, with or without an alpha plane, 4:4:4:4, and the interleaved YCCA forms.
///
/// Rec. 601 or 709 by the output's format, levels by both formats. In 4:2:2, chroma is sited on the even pixels; with
/// filtering (the default) it is made of five pixels, (-1 2 6 2 -1) / 8, read up to the input's own limits; without, of
/// the even pixel alone. An odd last pixel is not written. 8-bit sources go to 8-bit 4:2:2 in 16.16 fixed point, where
/// chroma is limited and luma, which fits for every colour, is not; all others go by single precision, rounded half
/// away from zero and limited. Dithering carries the error along each line of the fixed-point conversions, and shifts
/// each line of 8-bit 4:4:4:4 by one random term; it repeats exactly.
///
/// Verify adds 0x10034 for another input format, 0x1000D for an output format that the input does not go to.
class QZIL_API qzILRGBAORDIB2YCCA : public qzILMonadicConvertProc {
    QZIL_EFFECT_CLASS(qzILRGBAORDIB2YCCA)
public:
    qzILRGBAORDIB2YCCA() { Init(); }

    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// 8-bit outputs in their own model, 10.6 outputs in 16 bits and Rec. 601; always in the order Y, Cb, Cr, A.
    void* GetConvertedColor(qzILColor const& color) override;

    void Init();
    void Trash() {}
    void SetDoFiltering(int filtering) { m_iFiltering = filtering; }
    int GetDoFiltering() const { return m_iFiltering; }
    void SetDoDithering(int dithering) { m_iDithering = dithering; }
    int GetDoDithering() const { return m_iDithering; }

    void Convert8_RGBA2YCC422_SSE2() const {}
    void Convert8_RGBA2YCC422_SF_SSE2() const {}
    void Convert8_RGBA2YCCA422_Line_SSE2() const {}

private:
    qzILStatus Convert8_RGBA2YCC422();
    qzILStatus ConvertRGBAToYCCA422();
    qzILStatus ConvertRGBAToYCCA4444();
    qzILStatus ConvertRGBA2YCCA();

    std::int32_t m_iFiltering;
    std::int32_t m_iDithering;
    qzILRandomNumber m_oRandom;
    qzil::PixelBlock m_oConverted;
};

/// Converts one line of 8-bit BGRA at full levels to 8-bit 4:2:2 and mixes it into `output`, for drawing. `width`
/// pixels, an odd last one left out; chroma comes from the even pixels, and rounding errors are carried along the line.
/// `blend` from 0, which leaves the line alone, to 255; `model` 64 for Rec. 601 or 512 for Rec. 709, any other writes
/// nothing; `alternate` puts chroma first.
QZIL_API void qzILConvert8_BGRA2YCC422AndBlend_Line_Dropping(unsigned char const* source, unsigned char* output,
                                                             int width, int blend, XFColorModel model, int alternate);
