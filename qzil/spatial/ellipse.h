#pragma once

#include "qzil/image/core_values.h"

namespace qzil {

/// The square of a distance as kernels are defined by it: exact, then rounded to float.
inline float SquareOf(std::int64_t distance) {
    return static_cast<float>(distance * distance);
}

/// True when a place beside the centre lies in the ellipse of a radius, its edge included. In float, as kernels are
/// defined; a radius of 0 leaves a line or a point.
inline bool IsInEllipse(qzILVector2f const& radius, int i, int j) {
    float const xx = radius.x * radius.x, yy = radius.y * radius.y;
    return xx * yy >= SquareOf(i) * yy + SquareOf(j) * xx;
}

}  // namespace qzil
