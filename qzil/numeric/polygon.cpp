#include "qzil/numeric/polygon.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double kTolerance = 0.001F;  // the float, deliberately

struct Vertex {
    double dfX, dfY, dfZ;
};

struct Polygon {
    std::array<Vertex, kMaxPolygonVertices> oVertices;
    unsigned int uCount = 0;

    void Add(Vertex const& vertex) {
        if (uCount < kMaxPolygonVertices) oVertices[uCount++] = vertex;
    }
};

using Distances = std::array<double, kMaxPolygonVertices>;

Polygon Load(unsigned int count, double const* x, double const* y, double const* z) {
    Polygon polygon;
    for (unsigned int i = 0; i < std::min(count, kMaxPolygonVertices); ++i) polygon.Add({x[i], y[i], z[i]});
    return polygon;
}

double Distance(Vertex const& vertex, double const (&plane)[4]) {
    return plane[0] * vertex.dfX + plane[1] * vertex.dfY + plane[2] * vertex.dfZ + plane[3];
}

Vertex Between(Vertex const& from, Vertex const& to, double t) {
    return {from.dfX + t * (to.dfX - from.dfX), from.dfY + t * (to.dfY - from.dfY), from.dfZ + t * (to.dfZ - from.dfZ)};
}

bool IsAbove(double distance) {
    return distance > kTolerance;
}

bool IsBelow(double distance) {
    return distance < -kTolerance;
}

/// What is left of a polygon with a vertex on each side of a plane.
Polygon Cut(Polygon const& polygon, Distances const& distances) {
    Polygon cut;
    unsigned int previous = polygon.uCount - 1;
    for (unsigned int current = 0; current < polygon.uCount; previous = current++) {
        double const from = distances[previous];
        double const to = distances[current];
        if ((IsAbove(from) && IsBelow(to)) || (IsBelow(from) && IsAbove(to)))
            cut.Add(Between(polygon.oVertices[previous], polygon.oVertices[current], from / (from - to)));
        if (to >= -kTolerance) cut.Add(polygon.oVertices[current]);
    }
    return cut;
}

/// Clips to one plane; true when that changed the polygon.
bool Clip(Polygon& polygon, double const (&plane)[4]) {
    Distances distances;
    for (unsigned int i = 0; i < polygon.uCount; ++i) distances[i] = Distance(polygon.oVertices[i], plane);
    auto const end = distances.begin() + polygon.uCount;
    if (std::none_of(distances.begin(), end, IsAbove)) {
        polygon.uCount = 0;
        return true;
    }
    if (std::none_of(distances.begin(), end, IsBelow)) return false;
    polygon = Cut(polygon, distances);
    return true;
}

}  // namespace

int Clip3DPolygon(unsigned int count, double* x, double* y, double* z, unsigned int planes, double (*plane)[4],
                  unsigned int& outCount, double* outX, double* outY, double* outZ) {
    Polygon polygon = Load(count, x, y, z);
    int clipped = 0;
    for (unsigned int i = 0; i < planes; ++i) {
        if (Clip(polygon, plane[i])) clipped = 1;
        if (polygon.uCount == 0) break;
    }
    outCount = polygon.uCount;
    for (unsigned int i = 0; i < outCount; ++i) {
        outX[i] = polygon.oVertices[i].dfX;
        outY[i] = polygon.oVertices[i].dfY;
        outZ[i] = polygon.oVertices[i].dfZ;
    }
    return clipped;
}

double Get3DPolygonArea(unsigned int count, double* x, double* y, double* z) {
    if (count < 3) return 0.0;
    Polygon const polygon = Load(count, x, y, z);
    Vertex sum{0, 0, 0};
    unsigned int previous = polygon.uCount - 1;
    for (unsigned int current = 0; current < polygon.uCount; previous = current++) {
        Vertex const& a = polygon.oVertices[previous];
        Vertex const& b = polygon.oVertices[current];
        sum.dfX += a.dfY * b.dfZ - a.dfZ * b.dfY;
        sum.dfY += a.dfZ * b.dfX - a.dfX * b.dfZ;
        sum.dfZ += a.dfX * b.dfY - a.dfY * b.dfX;
    }
    return 0.5 * std::sqrt(sum.dfX * sum.dfX + sum.dfY * sum.dfY + sum.dfZ * sum.dfZ);
}
