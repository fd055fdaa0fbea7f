#pragma once

#include "qzil/kernel/row.h"

// The loops of row functions. Included by row sources only: everything here belongs to the namespace of one CPU level.
//
// The loops are plain code for the compiler's vectors. A loop's pointers and constants are locals of the function that
// it is inlined into: a store of bytes may alias any record they would otherwise stand in.

QZIL_ROWS_BEGIN

/// Samples of one turn of a block loop; a multiple of every pixel size, so that lane patterns repeat within it.
inline constexpr int kBlock = 64;

/// Calls op(i) for every index. No turn may depend on what another one writes.
template <class Op>
QZIL_INLINE void ForEach(int count, Op op) {
#pragma GCC ivdep
    for (int i = 0; i < count; ++i) op(i);
}

/// Calls op(i, lane) for every sample, lane being its place in a block.
template <class Op>
QZIL_INLINE void ForLanes(int samples, Op op) {
    int i = 0;
    for (; i + kBlock <= samples; i += kBlock) {
#pragma GCC ivdep
        for (int lane = 0; lane < kBlock; ++lane) op(i + lane, lane);
    }
#pragma GCC ivdep
    for (int lane = 0; lane < samples - i; ++lane) op(i + lane, lane);
}

/// Four values, one for each channel of a pixel, repeated over a block.
template <class T>
struct Lanes {
    T aValues[kBlock];

    QZIL_INLINE explicit Lanes(T const* values) {
        for (int i = 0; i < kBlock; ++i) aValues[i] = values[i & 3];
    }
    QZIL_INLINE Lanes(T c0, T c1, T c2, T c3) {
        T const values[4] = {c0, c1, c2, c3};
        for (int i = 0; i < kBlock; ++i) aValues[i] = values[i & 3];
    }
    QZIL_INLINE T operator[](int lane) const { return aValues[lane]; }
};

template <class T>
QZIL_INLINE T const* In(void const* line) {
    return static_cast<T const*>(line);
}

template <class T>
QZIL_INLINE T* Out(void* line) {
    return static_cast<T*>(line);
}

QZIL_ROWS_END
