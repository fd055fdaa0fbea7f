#include "qzil/keying/luma_keyer_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<LumaKey> const g_oLumaKey = kPixels<LumaKey, With{.bHasChannels = false, .bIgnoresMask = true}>;

QZIL_ROWS_END
