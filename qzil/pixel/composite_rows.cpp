#include "qzil/pixel/composite_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<Composite, u8, u16> const g_oComposite =
    kCompose<Composite, With{.uLayouts = kRgba, .bHasChannels = false}, u8, u16>;

kernel::Operation<CopyOver> const g_oCopyOver = kSecondInput<CopyOver, With{.eMix8 = kernel::MixRule::Mix257}>;

QZIL_ROWS_END
