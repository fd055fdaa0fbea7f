#include "qzil/pixel/premult_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

using kernel::MixRule;

kernel::Operation<AdjustPremult> const g_oAdjustPremult = kPixels<AdjustPremult, With{.eMix8 = MixRule::Mix257}>;
kernel::Operation<Unpremultiply> const g_oUnpremultiply =
    kPixel<Unpremultiply, With{.eMix8 = MixRule::Mix257, .eMixFloat = MixRule::FloatLimited}>;

QZIL_ROWS_END
