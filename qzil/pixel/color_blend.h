#pragma once

#include "qzil/frame/monadic.h"

/// Mixes a flat colour into an image: input * (1 - w) + colour * w, with w = alpha, or alpha times mask. Video formats
/// do not consult the mask; an alpha plane blends toward the colour's alpha.
///
/// Colour: default the default colour as it is at construction, all zero. Alpha: 0.0 to 1.0, not set at first.
/// Verify adds 0x1000D for a format that is not in GetFormats(), 65554 for alpha out of its range.
class QZIL_API qzILColorBlendImg : public qzILMonadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILColorBlendImg, m_oBlendColor = m_oDefaultColor; m_dfAlpha = -1.0)
    static std::span<GUID const> GetFormats() { return qzil::kOnePixelFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    qzILStatus ExecuteAlphaPart(IXFImage* input, IXFImage* output) override;
    qzILColor const& GetBlendColor() const { return m_oBlendColor; }
    void SetBlendColor(qzILColor const& color) { m_oBlendColor = color; }
    double GetAlpha() const { return m_dfAlpha; }
    void SetAlpha(double alpha) { m_dfAlpha = alpha; }

protected:
    // Kept as entries only: the word that would select them is always 0.
    int ColorBlend32WithMask_SSE2() const { return 0; }
    int ColorBlendYCC422_SSE2() const { return 0; }

private:
    qzILColor m_oBlendColor;
    double m_dfAlpha;
};
