#pragma once

#include "qzil/frame/monadic.h"

/// Inverts an image: full - v per selected channel of RGBA and of mono; 251 - luma and 256 - chroma in 8-bit 4:2:2
/// (16 + 235 and 128 + 128 of video levels), 1 - luma and -chroma in S2.14 and float. Mask and channel bits do not act
/// on 4:2:2, mono is always inverted. Not interrupted within a frame.
///
/// Verify adds 0x1000D for a format that is not in GetFormats().
class QZIL_API qzILInvertImg : public qzILMonadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILInvertImg)
    static std::span<GUID const> GetFormats() { return qzil::kOnePixelFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
};
