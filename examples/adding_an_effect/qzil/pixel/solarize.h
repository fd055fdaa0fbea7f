#pragma once

#include "qzil/frame/monadic.h"

/// Inverts what is brighter than a threshold, per selected channel: v stays up to the threshold, full - v above it.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16.
/// Threshold: 0.0 to 1.0 of full scale, 0.5 at first. Verify adds 0x1000D for another format, 0x10012 for a threshold
/// out of its range; one that is not a number passes and counts as 0.
class QZIL_API qzILSolarizeImg : public qzILMonadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILSolarizeImg, m_dfThreshold = 0.5)
    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    double GetThreshold() const { return m_dfThreshold; }
    void SetThreshold(double threshold) { m_dfThreshold = threshold; }

private:
    double m_dfThreshold;
};
