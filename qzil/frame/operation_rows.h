#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// A table from value to value for each channel of a pixel.
template <class T>
struct Lut {
    T const* apTables[4];
};
QZIL_OPERATION(Lut, u8, u16)

/// A table for each channel, indexed by b * 256 + a.
template <class T>
struct PairLut {
    T const* apTables[4];
};
QZIL_OPERATION(PairLut, u8)

/// An effect's own function of two values.
template <class T>
struct PairFunction {
    T (*pFunction)(void const* effect, T a, T b);
    void const* pEffect;

    QZIL_INLINE T operator()(T a, T b) const { return pFunction(pEffect, a, b); }
};
QZIL_OPERATION(PairFunction, u8, u16)

}  // namespace qzil
