#include "qzil/pixel/invert_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<Invert> const g_oInvert =
    kPoint<Invert, With{.eMix8 = kernel::MixRule::Mix257, .bPolls = false}> |
    kVideoSamples<Invert, With{.uLayouts = kVideo | kVideoAlpha, .bIgnoresMask = true, .bPolls = false}>;

QZIL_ROWS_END
