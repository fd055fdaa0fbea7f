#pragma once

#include "qzil/frame/monadic.h"
#include "qzil/pixel/composite.h"

/// Shows an image's alpha as a grey picture. Images with an alpha plane are seen whole, and there neither mask nor
/// channel bits act: luma shows alpha at video levels (8 and 16 bits), chroma is neutral.
///
/// Show reverse flag: default 0; shows full - alpha. Alpha mode: the result's alpha is 1 zero, 2 full, 3 the shown
/// value; default 2. Execute runs Verify itself. Verify adds 0x1000D for a format that is not in GetFormats(), 65626
/// for another alpha mode.
class QZIL_API qzILOutputAlpha : public qzILMonadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILOutputAlpha, m_iShowReverse = 0; m_uAlphaMode = qzILAlphaFull)
    static std::span<GUID const> GetFormats();
    qzILStatus Execute() override;
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void SetShowReverseFlag(int reverse) { m_iShowReverse = reverse; }
    qzILAlphaMode GetAlphaMode() const { return m_uAlphaMode; }
    void SetAlphaMode(qzILAlphaMode mode) { m_uAlphaMode = mode; }

private:
    std::int32_t m_iShowReverse;
    qzILAlphaMode m_uAlphaMode;
};
