#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

QZIL_COMPOSE_RULE(And, a& b, u8, u16)
QZIL_COMPOSE_RULE(Or, a | b, u8, u16)
QZIL_COMPOSE_RULE(XOr, a ^ b, u8, u16)
QZIL_COMPOSE_RULE(Difference, Max(a, b) - Min(a, b), u8, u16)
QZIL_COMPOSE_RULE(Larger, Max(a, b), u8, u16)
QZIL_COMPOSE_RULE(Smaller, Min(a, b), u8, u16)

template <class T>
struct MaskBits {
    Channels<T> oKept, oSet;

    QZIL_CHANNELS(oKept, oSet)
    QZIL_INLINE T operator()(T v, T kept, T set) const { return static_cast<T>((v & kept) | set); }
};
QZIL_OPERATION(MaskBits, u8, u16)

}  // namespace qzil
