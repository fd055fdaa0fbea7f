#pragma once

#include "qzil/platform/api.h"

/// Most vertices that a polygon has; what lies behind them in longer arrays is ignored.
inline constexpr unsigned int kMaxPolygonVertices = 20;

/// Clips a polygon in space to the sides of planes (a, b, c, d) where a * x + b * y + c * z + d is positive, one plane
/// after the other. Distances within 0.001 count as in the plane: a polygon with no vertex beyond them is rejected
/// whole, one with no vertex before them is left as it is. `outX`, `outY` and `outZ` have room for 20 vertices; later
/// ones, which only polygons with dents can have, are dropped. Returns 1 when a plane clipped something, else 0.
QZIL_API int Clip3DPolygon(unsigned int count, double* x, double* y, double* z, unsigned int planes, double (*plane)[4],
                           unsigned int& outCount, double* outX, double* outY, double* outZ);

/// The area of a flat polygon in space; 0 for less than three vertices.
QZIL_API double Get3DPolygonArea(unsigned int count, double* x, double* y, double* z);
