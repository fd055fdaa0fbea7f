#include "qzil/numeric/rotation.h"

#include "numeric/matrices.h"

#include <algorithm>
#include <array>
#include <functional>
#include <numbers>

namespace qzil::test {
namespace {

using Angles = std::array<double, 3>;
constexpr double kPi = std::numbers::pi;

/// The turn about one axis of space, on column vectors, by the textbook.
qzILMatrix Turn(int axis, double degrees) {
    double const c = std::cos(degrees * kPi / 180), s = std::sin(degrees * kPi / 180);
    int const i = (axis + 1) % 3, j = (axis + 2) % 3;
    qzILMatrix matrix = Identity(3);
    matrix(i, i) = matrix(j, j) = c;
    matrix(i, j) = -s;
    matrix(j, i) = s;
    return matrix;
}

qzILMatrix Turn(Angles const& a) {
    return Turn(0, a[0]) * Turn(1, a[1]) * Turn(2, a[2]);
}

qzILMatrix MatrixOf(qzILQuaternion const& q) {
    double elements[9];
    QuaternionToRotationMatrix(q, elements);
    return qzILMatrix(elements, 3, 3);
}

/// Gimbal locks included.
void ForManyAngles(std::function<void(Angles const&)> const& f) {
    for (double const x : {-179.0, -90.0, -30.0, 0.0, 45.0, 120.0, 180.0})
        for (double const y : {-120.0, -90.0, -89.9, -20.0, 0.0, 60.0, 90.0, 180.0})
            for (double const z : {-180.0, -135.0, -90.0, 0.0, 10.0, 90.0, 91.0}) f({x, y, z});
}

double Distance(qzILQuaternion const& a, qzILQuaternion const& b) {
    return std::max({std::abs(a.w - b.w), std::abs(a.x - b.x), std::abs(a.y - b.y), std::abs(a.z - b.z)});
}

qzILQuaternion Slerped(qzILQuaternion const& a, qzILQuaternion const& b, double t) {
    qzILQuaternion q;
    q.Slerp(a, b, t);
    return q;
}

/// About z.
qzILQuaternion ByDegrees(double degrees) {
    return QuaternionFromEulerAngles(0, 0, degrees * kPi / 180);
}

TEST(Quaternion, NormalizesByItsThreeRules) {
    struct {
        qzILQuaternion before, after;
    } const kCases[] = {
        {{0, 3, 0, 4}, {0, 0.6, 0, 0.8}},
        {{1 + 1e-13, 0, 0, 0}, {1, 0, 0, 0}},
        {{-1 - 1e-13, 1e-9, 0, 0}, {-1, 1e-9, 0, 0}},
        {{0, 1 + 1e-13, 0, 0}, {0, 1 + 1e-13, 0, 0}},
        {{1e-7, 1e-7, 1e-7, 1e-7}, {1, 0, 0, 0}},
        {{0, 0, 2e-6, 0}, {0, 0, 1, 0}},
    };
    for (auto const& tested : kCases) {
        qzILQuaternion q = tested.before;
        q.Normalize();
        EXPECT_LT(Distance(q, tested.after), 1e-15);
    }
    EXPECT_EQ(Distance(qzILQuaternion(), {1, 0, 0, 0}), 0);
}

TEST(Quaternion, SlerpTurnsEvenlyTheShortWay) {
    for (double const from : {0.0, 20.0, -100.0})
        for (double const by : {1e-5, 0.5, 10.0, 170.0, -170.0})
            for (double const t : {-1.0, 0.0, 0.25, 0.5, 1.0, 2.0}) {
                qzILQuaternion const b = ByDegrees(from + by);
                qzILQuaternion const expected = ByDegrees(from + t * by);
                EXPECT_LT(Distance(Slerped(ByDegrees(from), b, t), expected), 1e-12) << from << " " << by << " " << t;
                EXPECT_LT(Distance(Slerped(ByDegrees(from), {-b.w, -b.x, -b.y, -b.z}, t), expected), 1e-12);
            }
    // Antipodes are the same rotation.
    qzILQuaternion const a(0.5, 0.5, 0.5, 0.5);
    EXPECT_LT(Distance(Slerped(a, {-0.5, -0.5, -0.5, -0.5}, 0.3), a), 1e-15);
    EXPECT_NEAR(MatrixOf(Slerped(ByDegrees(0), ByDegrees(200), 0.5))(0, 0), std::cos(-80 * kPi / 180), 1e-12);
    // The result is not given the length 1.
    EXPECT_EQ(Slerped({2, 0, 0, 0}, {4, 0, 0, 0}, 0.5).w, 3);
    qzILQuaternion self = ByDegrees(10);
    self.Slerp(ByDegrees(30), self, 0.5);
    EXPECT_LT(Distance(self, ByDegrees(20)), 1e-12);
}

TEST(Quaternion, CubicRunsThroughItsKeys) {
    qzILQuaternion const keys[] = {QuaternionFromEulerAngles(0.1, 0.4, -0.3), QuaternionFromEulerAngles(0.5, 0.1, 0.2),
                                   QuaternionFromEulerAngles(1, -0.3, 0.4), QuaternionFromEulerAngles(0.9, -0.2, 1)};
    auto const at = [&](double t, double t1, double t2) {
        qzILQuaternion q;
        q.SlerpCubic(t, keys[0], -2, keys[1], t1, keys[2], t2, keys[3], 5);
        return q;
    };
    EXPECT_LT(Distance(at(1, 1, 3), keys[1]), 1e-15);
    EXPECT_LT(Distance(at(3, 1, 3), keys[2]), 1e-15);
    EXPECT_EQ(Distance(at(2, 2, 2), keys[1]), 0);
    EXPECT_EQ(Distance(at(2, 2, 2 + 0.9e-6), keys[1]), 0);
    // About one axis it is the curve of de Casteljau over the control angles.
    double const a0 = 3, a1 = 10, a2 = 24, a3 = 30, u = 0.3;
    qzILQuaternion q;
    q.SlerpCubic(1 + 2 * u, ByDegrees(a0), -2, ByDegrees(a1), 1, ByDegrees(a2), 3, ByDegrees(a3), 7);
    double const m1 = 2 * a1 - a0, c1 = m1 + (a2 - m1) * 3 / 5;
    double const m2 = 2 * a2 - a3, c2 = m2 + (a1 - m2) * 4 / 6;
    double const v = 1 - u;
    double const expected = v * v * v * a1 + 3 * v * v * u * c1 + 3 * v * u * u * c2 + u * u * u * a2;
    EXPECT_LT(Distance(q, ByDegrees(expected)), 1e-12);
}

TEST(Rotation, QuaternionsAndMatricesOfEulerAngles) {
    ForManyAngles([](Angles const& a) {
        SCOPED_TRACE(testing::Message() << a[0] << ", " << a[1] << ", " << a[2]);
        double const radian = kPi / 180;
        qzILQuaternion const q = QuaternionFromEulerAngles(a[0] * radian, a[1] * radian, a[2] * radian);
        EXPECT_LT(Difference(MatrixOf(q), Turn(a).Transpose()), 1e-14);
        // Back, by the angles that are negated.
        Angles found;
        double elements[9];
        QuaternionToRotationMatrix(QuaternionFromEulerAngles(-a[0] * radian, -a[1] * radian, -a[2] * radian), elements);
        RotationMatrixToEulerAngles(elements, found[0], found[1], found[2]);
        EXPECT_LT(Difference(Turn(2, found[2]) * Turn(1, found[1]) * Turn(0, found[0]),
                             Turn(2, a[2]) * Turn(1, a[1]) * Turn(0, a[0])),
                  5e-8);  // half the digits where the sine is 1
        EXPECT_LE(std::abs(found[2]), 90 + 1e-5);
        EXPECT_LE(std::max(std::abs(found[0]), std::abs(found[1])), 180 + 1e-5);
    });
}

TEST(Rotation, AnglesOfSineAndCosine) {
    for (int degrees = -179; degrees <= 180; ++degrees) {
        double const angle = degrees * kPi / 180;
        EXPECT_NEAR(AngleFromSineAndCosine(std::sin(angle), std::cos(angle)), angle, 1e-15) << degrees;
    }
    EXPECT_EQ(AngleFromSineAndCosine(7, 0), kPi / 2);
    EXPECT_EQ(AngleFromSineAndCosine(0, -9), -kPi);
    EXPECT_EQ(AngleFromSineAndCosine(-7, 0.5), -std::acos(0.5));
    EXPECT_EQ(AngleFromSineAndCosine(-7, 0.8), -kPi / 2);
}

TEST(Rotation, NormalizedAnglesAreOfTheSameRotation) {
    ForManyAngles([](Angles const& a) {
        for (double const turns : {-720.0, 0.0, 360.0})
            for (double const centre : {0.0, 1e-6, 40.0}) {
                Angles const before{a[0] + turns, a[1] - turns, a[2] + turns};
                Angles after = before;
                qzILNormalizeAnglesToPlusMinus180(before[0], before[1], before[2], centre, after[0], after[1],
                                                  after[2]);
                EXPECT_LT(Difference(Turn(after), Turn(a)), 1e-13);
                EXPECT_TRUE(after[2] <= centre + 90 && (after[2] > centre - 90 || centre > 0));
                for (int i : {0, 1}) EXPECT_TRUE(after[i] >= centre - 180 && after[i] < centre + 180) << after[i];
            }
    });
    // Outside the half circle the outputs are turned as they stand.
    Angles after{5, 6, 0};
    qzILNormalizeAnglesToPlusMinus180(50, 60, 100, 0, after[0], after[1], after[2]);
    EXPECT_EQ(after, (Angles{-175, 174, -80}));
}

TEST(Rotation, TheClosestTripleIsOfTheSameRotation) {
    Angles const reference{30, -200, 500};
    auto const distance = [&](Angles const& a) {
        double largest = 0;
        for (int i = 0; i < 3; ++i) largest = std::max(largest, std::abs(a[i] - reference[i]));
        return largest;
    };
    auto const wrap = [](double a, double centre) { return centre + std::remainder(a - centre, 360); };
    ForManyAngles([&](Angles const& a) {
        Angles found;
        qzILFindClosestEulerAngles(a[0], a[1], a[2], reference[0], reference[1], reference[2], found[0], found[1],
                                   found[2]);
        EXPECT_LT(Difference(Turn(found), Turn(a)), 1e-13);
        Angles const same{wrap(a[0], 30), wrap(a[1], -200), wrap(a[2], 500)};
        Angles const turned{wrap(a[0] + 180, 30), wrap(180 - a[1], -200), wrap(a[2] + 180, 500)};
        EXPECT_NEAR(distance(found), std::min(distance(same), distance(turned)), 1e-12);
    });
    Angles tie;
    qzILFindClosestEulerAngles(90, 90, 90, 180, 90, 180, tie[0], tie[1], tie[2]);
    EXPECT_EQ(tie, (Angles{90, 90, 90}));
}

TEST(Rotation, InterpolatesBetweenTriples) {
    Angles const a{10, 20, 30}, b{-40, 35, 60}, c{15, -80, 45}, d{100, 10, -20};
    auto const expect = [](Angles const& got, Angles const& wanted) {
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(got[i], wanted[i], 1e-9) << i;
    };
    Angles r;
    auto const linear = [&](double t) {
        qzILQuaternionInterpolateRotationsLinear(t, a[0], a[1], a[2], b[0], b[1], b[2], r[0], r[1], r[2]);
        return r;
    };
    expect(linear(0), a);
    expect(linear(1), b);
    qzILQuaternionInterpolateRotationsLinear(0.25, 0, 350, 0, 0, 30, 0, r[0], r[1], r[2]);
    expect(r, {0, 0, 0});
    auto const cubic = [&](double t) {
        qzILQuaternionInterpolateRotationsCubic(t, a[0], a[1], a[2], b[0], b[1], b[2], c[0], c[1], c[2], d[0], d[1],
                                                d[2], r[0], r[1], r[2]);
        return r;
    };
    auto const timed = [&](double t, double t0, double t1, double t2, double t3) {
        qzILQuaternionInterpolateRotationsNonUniformCubic(t, a[0], a[1], a[2], t0, b[0], b[1], b[2], t1, c[0], c[1],
                                                          c[2], t2, d[0], d[1], d[2], t3, r[0], r[1], r[2]);
        return r;
    };
    expect(cubic(0), b);
    expect(cubic(1), c);
    expect(timed(11.5, 7, 9, 11, 13), timed(1.25, -1, 0, 1, 2));
    expect(cubic(0.7), timed(7 + 0.7 * 3, 4, 7, 10, 13));
    EXPECT_GT(std::abs(cubic(0.5)[0] - timed(0.5, -9, 0, 1, 2)[0]), 0.1);
}

}  // namespace
}  // namespace qzil::test
