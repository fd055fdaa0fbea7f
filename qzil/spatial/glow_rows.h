#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// First input: the blurred pixels; second input: the source.
template <class T>
struct Glow {
    u32 aWeights[256];  ///< for each luma the weight of the glow, in all four bytes
};
QZIL_OPERATION(Glow, u8)

}  // namespace qzil
