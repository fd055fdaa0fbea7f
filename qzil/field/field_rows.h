#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// The mean of two values, halves up.
template <class T>
QZIL_INLINE T Mean(T a, T b) {
    if constexpr (std::is_same_v<T, float>) {
        return (a + b) * 0.5f;
    } else {
        return static_cast<T>((s32{a} + s32{b} + 1) >> 1);
    }
}

/// The mean of the lines above, the first input, and below, the second.
template <class T>
struct LineMean {
    QZIL_INLINE T operator()(T above, T below) const { return Mean(above, below); }
};
QZIL_OPERATION(LineMean)

/// Between the mean in time and the mean of the lines above and below, by how far a pixel differs from the same one in
/// time. Levels of motion are samples.
template <class T>
struct MotionMean {
    /// What luma is measured by: 16.16 weights and what is added, 0 for float.
    s32 aLuma[4];
    T const* pCurrent;
    T const* pComparison;
    double dfLow, dfHigh;  ///< at or below: in time; at or above: in space
    s64 iSlope;            ///< of the share between, in 1 / 2^20 at 8 bits and 1 / 2^31 at 16
};
QZIL_OPERATION(MotionMean)

}  // namespace qzil
