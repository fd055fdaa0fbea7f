#include "qzil/pixel/min_mask_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<MinMask, u8, s16, float> const g_oMinMask =
    kPoint<MinMask, With{.uLayouts = kRgba, .bPolls = false}, u8, s16, float>;

QZIL_ROWS_END
