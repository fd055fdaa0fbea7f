#pragma once

#include "qzil/frame/dyadic.h"

/// Cross-fades two images: A + (B - A) * alpha, by the exact rule of each channel type. Alpha 0.0 gives A, 1.0 gives B,
/// whatever input is dominant; a mask fades from the dominant input's pixel to that. Mono and 4:2:2 ignore the channel
/// bits.
///
/// Alpha: 0.0 to 1.0; not set at first. Verify adds 0x1000D for a format that is not in GetFormats(), 0x10012 for alpha
/// out of its range.
class QZIL_API qzILBlendImg : public qzILDyadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILBlendImg, m_dfAlpha = -1.0)  // an alpha that was never set fails Verify
    static std::span<GUID const> GetFormats() { return qzil::kOnePixelFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    double GetAlpha() const { return m_dfAlpha; }
    void SetAlpha(double alpha) { m_dfAlpha = alpha; }
    /// Takes the first n pixels off every line of the walk; -n puts them back. For routines that share a line.
    void SetStartOffsetX(int n);

protected:
    // Kept as entries only: the word that would select them is always 0.
    int Blend8_SSE2() const { return m_oBoxes.oProcessed.Size.x; }
    int Blend8_NoMask_SSE2() const { return m_oBoxes.oProcessed.Size.x; }
    int BlendRgbaFloatMask_SSE2() const { return 0; }
    int BlendMonoFloatMask_SSE2() const { return 0; }
    int BlendMonoS214Mask_SSE2() const { return 0; }
    int BlendRgbaS214Mask_SSE2() const { return 0; }

private:
    double m_dfAlpha;
};

/// Sums two images with a weight of their own each. Integer sums wrap, deliberately: weights of 1.0 and 1.0 on 200 and
/// 100 give 44.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16.
/// Alphas: each 0.0 to 1.0, both 0.0 at first. Verify adds 0x1000D for another format, 0x10012 for an alpha out of its
/// range.
class QZIL_API qzILGeneralBlendImage : public qzILDyadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILGeneralBlendImage)
    static std::span<GUID const> GetFormats() { return qzil::kRawFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void SetAlphas(double alphaA, double alphaB);
    void GetAlphas(double& alphaA, double& alphaB) const;

private:
    double m_dfAlphaA = 0.0;
    double m_dfAlphaB = 0.0;
};
