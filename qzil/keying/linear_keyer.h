#pragma once

#include "qzil/keying/keyer_base.h"

/// Keys by how far the key colour's channel, blue or green, exceeds red and the other one: B's pixel gets full alpha
/// where it does not exceed them by more than -threshold, none from the softness on above that, and a ramp between.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT. Mask values and channel selection
/// play no part. Verify adds 0x1000D for another format, 0x20002 for a mode without all four channels, a threshold
/// outside -1 to 1 or a softness outside 0 to 1. Execute gives 0x10034 for a format that is not RGB.
class QZIL_API qzILLinearKeyer : public qzILKeyerBase {
    QZIL_PLAIN_EFFECT_CLASS(qzILLinearKeyer, m_dfSoftness = m_dfThreshold = 0.0)
    static std::span<GUID const> GetFormats() { return qzil::kRgbaFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// 0 to 1; default 0, a hard key.
    void SetSoftness(double softness) { m_dfSoftness = softness; }
    /// -1 to 1; default 0.
    void SetThreshold(double threshold) { m_dfThreshold = threshold; }

private:
    double m_dfSoftness;
    double m_dfThreshold;
};
