#include "qzil/numeric/polygon.h"

#include "qzil/numeric/random_number.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <sstream>
#include <vector>

namespace {

struct Points {
    std::vector<double> x, y, z;
    Points(std::initializer_list<std::array<double, 3>> points = {}) {
        for (auto const& p : points) Add(p[0], p[1], p[2]);
    }
    void Add(double px, double py, double pz) {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
    }
    unsigned Count() const { return static_cast<unsigned>(x.size()); }
};

using Planes = std::vector<std::array<double, 4>>;

struct Clipped {
    int result;
    Points points;
    double area;
};

/// Clips into arrays of 20 vertices with marks behind them.
Clipped Clip(Points polygon, Planes planes) {
    constexpr double kMark = -12345;
    std::vector<double> x(kMaxPolygonVertices + 4, kMark), y = x, z = x;
    unsigned count = 777;
    Clipped clipped;
    clipped.result = Clip3DPolygon(polygon.Count(), polygon.x.data(), polygon.y.data(), polygon.z.data(),
                                   static_cast<unsigned>(planes.size()), reinterpret_cast<double(*)[4]>(planes.data()),
                                   count, x.data(), y.data(), z.data());
    EXPECT_LE(count, kMaxPolygonVertices);
    for (unsigned i = count; i < x.size(); ++i) EXPECT_TRUE(x[i] == kMark && y[i] == kMark && z[i] == kMark) << i;
    for (unsigned i = 0; i < count; ++i) clipped.points.Add(x[i], y[i], z[i]);
    clipped.area = Get3DPolygonArea(count, x.data(), y.data(), z.data());
    return clipped;
}

Points const kSquare{{0, 0, 2}, {4, 0, 2}, {4, 4, 2}, {0, 4, 2}};
double const kTolerance = 0.0010000000474974513;

TEST(Polygon, IsClippedToPlanes) {
    for (auto const& row : qzil::test::ReadTable("numeric/polygons.tsv")) {
        SCOPED_TRACE(row["planes"]);
        std::istringstream factors(row["planes"]);
        Planes planes;
        for (std::array<double, 4> p; factors >> p[0] >> p[1] >> p[2] >> p[3];) planes.push_back(p);
        Clipped const clipped = Clip(kSquare, planes);
        EXPECT_EQ(clipped.result, row.Number("changed"));
        EXPECT_EQ(clipped.points.Count(), static_cast<unsigned>(row.Number("vertices")));
        EXPECT_NEAR(clipped.area, std::stod(row["area"]), 1e-12);
    }
    EXPECT_EQ(Clip({}, {{0, 0, 0, 1}}).result, 1);
    EXPECT_EQ(Clip({}, {}).result, 0);
}

TEST(Polygon, KeepsTheOrderFromTheLastVertexRound) {
    Clipped const clipped = Clip(kSquare, {{1, 0, 0, -1}});
    EXPECT_EQ(clipped.points.x, (std::vector<double>{1, 4, 4, 1}));
    EXPECT_EQ(clipped.points.y, (std::vector<double>{0, 0, 4, 4}));
    EXPECT_EQ(clipped.points.z, (std::vector<double>{2, 2, 2, 2}));
    Clipped const corner = Clip(kSquare, {{1, 1, 0, -1}});
    EXPECT_EQ(corner.points.x, (std::vector<double>{0, 1, 4, 4, 0}));
}

TEST(Polygon, HasAnAreaInSpace) {
    Points const triangle{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    auto const area = [](Points points, unsigned count) {
        return Get3DPolygonArea(count, points.x.data(), points.y.data(), points.z.data());
    };
    EXPECT_NEAR(area(triangle, 3), std::sqrt(3.0) / 2, 1e-15);
    for (unsigned count : {0U, 1U, 2U}) EXPECT_EQ(area(triangle, count), 0);
    Points circle;
    for (int i = 0; i < 20; ++i) circle.Add(5 + std::cos(i * M_PI / 10), std::sin(i * M_PI / 10), 7);
    EXPECT_NEAR(area(circle, 20), 10 * std::sin(M_PI / 10), 1e-13);
    EXPECT_EQ(area(circle, 4000000000U), area(circle, 20));
}

TEST(Polygon, HostileOnesStayInTheirArrays) {
    Points zigzag;
    for (int i = 0; i < 20; ++i) zigzag.Add(i, i % 2 == 0 ? -1 : 1, 0);
    EXPECT_EQ(Clip(zigzag, {{0, 1, 0, 0}}).points.Count(), kMaxPolygonVertices);
    Points many = zigzag;
    for (int i = 0; i < 30; ++i) many.Add(i, 5, i);
    EXPECT_EQ(Clip(many, {}).points.Count(), kMaxPolygonVertices);
    qzILRandomNumber random;
    random.SetUniform(-1, 1);
    double const specials[] = {HUGE_VAL, -HUGE_VAL, std::nan(""), 1e308, 0};
    for (int run = 0; run < 2000; ++run) {
        auto const number = [&] {
            double const value = random.Uniform();
            return run % 2 == 1 && value > 0.8 ? specials[static_cast<int>((value - 0.8) * 25)] : value;
        };
        Points polygon;
        for (int i = 0; i < run % 21; ++i) {
            double const x = number(), y = number();
            polygon.Add(x, y, number());
        }
        Planes planes(run % 7);
        for (auto& plane : planes)
            for (double& factor : plane) factor = number();
        Clipped const clipped = Clip(polygon, planes);
        for (unsigned i = 0; run % 2 == 0 && i < clipped.points.Count(); ++i)
            for (auto const& p : planes)
                EXPECT_GE(p[0] * clipped.points.x[i] + p[1] * clipped.points.y[i] + p[2] * clipped.points.z[i] + p[3],
                          -kTolerance - 1e-12);
    }
}

}  // namespace
