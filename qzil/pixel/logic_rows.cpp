#include "qzil/pixel/logic_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN

/// What is not of 8 bits is taken as words.
constexpr With kLogic{.bPolls = false, .bWordsServeS2_14 = true};

kernel::Operation<And, u8, u16> const g_oAnd = kCompose<And, kLogic, u8, u16>;
kernel::Operation<Or, u8, u16> const g_oOr = kCompose<Or, kLogic, u8, u16>;
kernel::Operation<XOr, u8, u16> const g_oXOr = kCompose<XOr, kLogic, u8, u16>;
kernel::Operation<Difference, u8, u16> const g_oDifference = kCompose<Difference, kLogic, u8, u16>;
kernel::Operation<Larger, u8, u16> const g_oLarger = kCompose<Larger, With{}, u8, u16>;
kernel::Operation<Smaller, u8, u16> const g_oSmaller = kCompose<Smaller, With{}, u8, u16>;
kernel::Operation<MaskBits, u8, u16> const g_oMaskBits = kPoint<MaskBits, With{.eSelection = Selection::Rule}, u8, u16>;

QZIL_ROWS_END
