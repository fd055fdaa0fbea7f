#include "qzil/pixel/blend_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

using kernel::MaskLayout;

// The mask mixes after the blend in mono float, deliberately unlike the rule of four channels.
kernel::Operation<Blend> const g_oBlend =
    kCompose<Blend, With{.eSelection = Selection::Row}, u8, u16, s16> |
    kCompose<Blend, With{.uLayouts = kRgba, .eSelection = Selection::Rule}, float> |
    kCompose<Blend, With{.uLayouts = kMono, .bFoldsMask = false}, float> |
    kCompose<Blend, With{.uLayouts = kVideo, .eMaskLayout = MaskLayout::Pair8}, u8> |
    kCompose<Blend, With{.uLayouts = kVideo, .eMaskLayout = MaskLayout::Chroma}, s16, float>;

kernel::Operation<GeneralBlend, u8, u16> const g_oGeneralBlend = kCompose<GeneralBlend, With{}, u8, u16>;

QZIL_ROWS_END
