#pragma once

#include "qzil/frame/convert.h"
#include "qzil/numeric/random_number.h"

/// Converts YCC images, 4:2:2 with or without an alpha plane and the interleaved YCCA forms, to graphics images.
///
/// Rec. 601 or 709 by the input's format, levels by both formats. The odd pixel of a 4:2:2 pair takes the pair's
/// chroma, or, with filtering, the mean of it and the next pair's, as long as the whole next pair lies in the region.
/// An odd last pixel is not written. 8-bit samples go to 8-bit targets in 16.16 fixed point, limited to 0..255; all
/// others by single precision, rounded half away from zero and limited. Dithering carries the rounding error of those
/// along each line to 8-bit targets; it repeats exactly. Without an alpha plane alpha is full.
///
/// Verify adds 0x10034 for another input format, 0x1000D for an output format that the input does not go to.
class QZIL_API qzILYCCA2RGBA : public qzILMonadicConvertProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILYCCA2RGBA, m_iFiltering = m_iDithering = 0)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void* GetConvertedColor(qzILColor const& color) override;

    /// Off at first, unlike that of the opposite conversion.
    void SetDoFiltering(int filtering) { m_iFiltering = filtering; }
    int GetDoFiltering() const { return m_iFiltering; }
    void SetDoDithering(int dithering) { m_iDithering = dithering; }
    int GetDoDithering() const { return m_iDithering; }

    void Convert8_YCC4222RGBA_SSE2() const {}
    void Convert8_YCC422_SF2RGBA_SSE2() const {}
    void Convert8_YCCA4222RGBA_Line_Interpolating_SSE2() const {}
    void Convert8_YCCA4222RGBA_Line_Duplicating_SSE2() const {}

private:
    qzILStatus Convert8_YCC4222RGBA();
    qzILStatus ConvertYCCA422ToRGBA();
    qzILStatus ConvertYCCA2RGBA();

    std::int32_t m_iFiltering;
    std::int32_t m_iDithering;
    qzILRandomNumber m_oRandom;
    qzil::PixelBlock m_oConverted;
};
