#include "qzil/spatial/line_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<KernelLines, u8, u16> const g_oKernelLines = kSecondInput<KernelLines, With{}, u8, u16>;
kernel::Operation<FixedLines, u8> const g_oFixedLines = kSecondInput<FixedLines, With{}, u8>;
kernel::Operation<MeanLines> const g_oMeanLines =
    kSecondInput<MeanLines, With{.eMix8 = kernel::MixRule::Mix257, .eMixFloat = kernel::MixRule::FloatOrFull}>;

QZIL_ROWS_END
