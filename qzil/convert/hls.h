#pragma once

#include "qzil/frame/convert.h"

/// Converts RGBA to hue, lightness, saturation and alpha, pixel by pixel through qzILColor; 8 or 16 bits. Asks for an
/// interrupt after each line. Verify adds 0x10034 for another input format, 0x1000D for an output that does not pair
/// with the input.
class QZIL_API qzILRGBA2HLSA : public qzILMonadicConvertProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILRGBA2HLSA)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void* GetConvertedColor(qzILColor const& color) override;

private:
    qzil::PixelBlock m_oConverted;
};

/// The inverse of qzILRGBA2HLSA, with the same codes.
class QZIL_API qzILHLSA2RGBA : public qzILMonadicConvertProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILHLSA2RGBA)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void* GetConvertedColor(qzILColor const& color) override;

private:
    qzil::PixelBlock m_oConverted;
};
