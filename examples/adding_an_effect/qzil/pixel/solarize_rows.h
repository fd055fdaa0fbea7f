#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

template <class T>
struct Solarize {
    T oThreshold;

    QZIL_INLINE T operator()(T v) const { return v > oThreshold ? static_cast<T>(kFullScale<T> - v) : v; }
};
QZIL_OPERATION(Solarize, u8, u16)

}  // namespace qzil
