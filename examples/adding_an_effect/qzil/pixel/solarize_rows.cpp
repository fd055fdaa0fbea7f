#include "qzil/pixel/solarize_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<Solarize, u8, u16> const g_oSolarize =
    kPoint<Solarize, With{.eMix8 = kernel::MixRule::Mix257}, u8, u16>;

QZIL_ROWS_END
