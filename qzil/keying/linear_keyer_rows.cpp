#include "qzil/keying/linear_keyer_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<LinearKey> const g_oLinearKey = kPixels<LinearKey, With{.bHasChannels = false, .bIgnoresMask = true}>;

QZIL_ROWS_END
