#pragma once

#include "qzil/frame/monadic.h"

/// Copies whole pixels, whatever the channel bits say. In place at the same place it does nothing.
class QZIL_API qzILCopyImg : public qzILMonadicPixelProcBase {
    QZIL_EFFECT_CLASS(qzILCopyImg)
public:
    qzILCopyImg() { Init(); }

    qzILStatus Execute() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};
