#pragma once

#include "qzil/image/core_values.h"

namespace qzil {

/// True when a place beside the centre lies in the ellipse of a radius, its edge included. In float, as kernels are
/// defined; a radius of 0 leaves a line or a point.
inline bool IsInEllipse(qzILVector2f const& radius, int i, int j) {
    float const xx = radius.x * radius.x, yy = radius.y * radius.y;
    return xx * yy >= static_cast<float>(i * i) * yy + static_cast<float>(j * j) * xx;
}

}  // namespace qzil
