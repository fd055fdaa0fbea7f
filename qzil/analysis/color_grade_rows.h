#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

enum class GradeShape : u8 { AlongX, AlongY, AlongVector, Radial };

/// A gradient by the distance from its start: an entry of a table for each unit of it.
template <class T>
struct RampEntries {
    GradeShape eShape;
    double dfX, dfY;    ///< start
    double dfDx, dfDy;  ///< direction; AlongX and AlongY take its sign
    double dfRatio;     ///< by which distances in y count
    double dfLength;
    double dfLast;        ///< the last entry that there is
    double dfTableFirst;  ///< the entry that the table begins with
    T const* pTable;      ///< whole pixels
};
QZIL_OPERATION(RampEntries, u8, u16)

/// A mix of four colours over a rectangle, which go on outside it as they are at its edge.
template <class T>
struct RampCorners {
    double dfX, dfY;          ///< lower left corner
    double dfLastX, dfLastY;  ///< distance of the last column and line
    double aUpperLeft[4], aUpperRight[4], aLowerRight[4], aLowerLeft[4];
};
QZIL_OPERATION(RampCorners, u8, u16)

/// One colour.
template <class T>
struct RampFlat {
    Channels<T> oColor;
};
QZIL_OPERATION(RampFlat, u8, u16)

/// A colour's share on its way into a sample: truncated and limited; NaN gives 0.
template <class T>
QZIL_INLINE T Truncated(double share) {
    double const value = share * kFullScale<T>;
    return value > 0.0 ? static_cast<T>(value < kFullScale<T> ? value : kFullScale<T>) : T{0};
}

}  // namespace qzil
