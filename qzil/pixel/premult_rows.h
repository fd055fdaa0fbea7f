#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

struct AdjustPremulClassAttributes {};

/// Premultiplied background in the channel type.
template <class T>
struct UnpremultiplyClassAttributes {
    T aBackground[3];
    T oAlpha;
};

struct PremultRows {
    kernel::ByType<kernel::TypedRow<AdjustPremulClassAttributes>> oAdjust;
    kernel::TypedRow<UnpremultiplyClassAttributes<u8>> pUnpremultiply8;
    kernel::TypedRow<UnpremultiplyClassAttributes<u16>> pUnpremultiply16;
    kernel::TypedRow<UnpremultiplyClassAttributes<s16>> pUnpremultiplyS2_14;
    kernel::TypedRow<UnpremultiplyClassAttributes<float>> pUnpremultiplyFloat;
};
QZIL_ROW_TABLE(PremultRows)

}  // namespace qzil
