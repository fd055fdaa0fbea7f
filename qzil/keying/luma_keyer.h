#pragma once

#include "qzil/frame/dyadic.h"

/// Makes an alpha of A's luma, times gain plus brightness, for B's pixel.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT; Execute, too, gives 0x1000D for
/// others. Mask values and channel selection play no part. Verify adds 0x1000D for another format, 0x20002 for a mode
/// without the first three channels, a brightness outside -1 to 1 or a gain outside 0 to 2, and 0x1006B for a colour
/// model that is neither 64 nor 512.
class QZIL_API qzILLumaKeyer : public qzILDyadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILLumaKeyer, m_iColorModel = XFColorModelYCC601; m_dfBrightness = m_dfGain = 0.0;
                            m_iKeepsAlpha = m_iReverse = 0)
    static std::span<GUID const> GetFormats() { return qzil::kRgbaFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// -1 to 1; default 0.
    void SetBrightness(double brightness) { m_dfBrightness = brightness; }
    /// 0 to 2; default 0, no alpha anywhere.
    void SetGain(double gain) { m_dfGain = gain; }
    /// The smaller one of the key and B's alpha is taken.
    void SetKeepOrigAlphaFlag(int keep) { m_iKeepsAlpha = keep; }
    /// Dark is opaque.
    void SetReverseFlag(int reverse) { m_iReverse = reverse; }

    std::int32_t m_iColorModel;  ///< of luma: 64 Rec. 601, 512 Rec. 709; default 64

private:
    double m_dfBrightness;
    double m_dfGain;
    std::int32_t m_iKeepsAlpha;
    std::int32_t m_iReverse;
};
