#pragma once

#include "qzil/frame/dyadic.h"

/// What becomes of a result's alpha.
using qzILAlphaMode = std::uint32_t;
enum : qzILAlphaMode {
    qzILAlphaZero = 1,
    qzILAlphaFull = 2,
    qzILAlphaDerived = 3,  ///< the OR of both alphas, or the shown alpha
};

/// Mixes input B over input A through a mask times alpha, and sets the alpha channel by the alpha mode, also where the
/// mask is 0.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64. Alpha: 0.0 to 1.0, default 1.0. Alpha mode: 1, 2 or 3, default 3.
/// Verify first selects all four channels and makes A the dominant input. It adds 0x1000D for another format, 65625 for
/// no mask, 65554 for alpha out of its range, 65626 for another alpha mode.
class QZIL_API qzILCompositeImg : public qzILDyadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILCompositeImg, m_dfAlpha = 1.0; m_uAlphaMode = qzILAlphaDerived)
    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    double GetAlpha() const { return m_dfAlpha; }
    void SetAlpha(double alpha) { m_dfAlpha = alpha; }
    qzILAlphaMode GetAlphaMode() const { return m_uAlphaMode; }
    void SetAlphaMode(qzILAlphaMode mode) { m_uAlphaMode = mode; }

private:
    double m_dfAlpha;
    qzILAlphaMode m_uAlphaMode;
};

/// Copies input B over the dominant input through the mask.
///
/// Formats: RGBA and mono of 8 bits, 16 bits, S2.14 and float. Mono ignores the channel bits. Verify adds 0x1000D for
/// another format; Execute gives 65588 for a format that is neither RGB nor mono.
class QZIL_API qzILCopyOverImg : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILCopyOverImg)
public:
    qzILCopyOverImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};
