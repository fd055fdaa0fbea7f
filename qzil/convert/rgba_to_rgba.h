#pragma once

#include "qzil/convert/rgba_lines.h"
#include "qzil/frame/convert.h"
#include "qzil/numeric/random_number.h"

/// Converts among graphics formats: depth, byte order, presence of alpha, full or video levels.
///
/// 8 and 16 bits are converted by bytes: 8 bits v become v * 257, and 16 bits give their low byte, the exact inverse;
/// any other 16-bit value does not come out as its top byte, deliberately. Alpha added is full. Video levels keep
/// colour in 16 to 235 and alpha at full range. From S2.14 and float to 8 bits, dithering carries the error along each
/// line; it repeats exactly.
///
/// Verify adds 0x10034 for a pair of formats that is not served.
class QZIL_API qzILRGBA2RGBA : public qzILMonadicConvertProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILRGBA2RGBA, m_iDithering = 0)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void* GetConvertedColor(qzILColor const& color) override;

    void SetDoDithering(int dithering) { m_iDithering = dithering; }
    int GetDoDithering() const { return m_iDithering; }

    void Convert8_RGBA2BGRA_SSE2() const {}

private:
    qzILStatus ConvertVideoToGraphicsOrGraphicsToVideo();
    qzILStatus ConvertToOrFromFloatOrS2_14();
    std::int32_t m_iDithering;
    qzILRandomNumber m_oRandom;
    qzil::PixelBlock m_oConverted;
};
