#include "qzil/pixel/color_blend_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

kernel::Operation<ColorBlend> const g_oColorBlend =
    kPoint<ColorBlend, With{.eSelection = Selection::Rule}, u8, u16, float> |
    kPoint<ColorBlend, With{.uLayouts = kRgba}, s16> |
    kPoint<ColorBlend, With{.uLayouts = kVideo, .bFoldsMask = false, .bIgnoresMask = true}, u8, s16, float>;

kernel::Operation<MonoColorBlend, s16> const g_oMonoColorBlend = kPoint<MonoColorBlend, With{.uLayouts = kMono}, s16>;

QZIL_ROWS_END
