#include "qzil/numeric/rotation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;
/// Negative, since the rotation matrix is transposed.
constexpr double kRadiansPerDegree = -0.017453292519943295;
constexpr double kUnitTolerance = 1e-12;

double LimitedToUnit(double value) {
    return std::clamp(value, -1.0, 1.0);
}

qzILQuaternion Slerped(qzILQuaternion const& a, qzILQuaternion const& b, double t) {
    qzILQuaternion result;
    result.Slerp(a, b, t);
    return result;
}

/// The inner control point of a curve at key q, between the keys p and r.
qzILQuaternion CubicControlQuaternion(qzILQuaternion const& p, qzILQuaternion const& q, qzILQuaternion const& r,
                                      double tp, double tq, double tr) {
    qzILQuaternion const reflected = Slerped(p, q, 2.0);
    return Slerped(reflected, r, (tq - tp) / ((tr - tq) + (tq - tp)));
}

qzILQuaternion FromDegrees(double rx, double ry, double rz) {
    return QuaternionFromEulerAngles(rx * kRadiansPerDegree, ry * kRadiansPerDegree, rz * kRadiansPerDegree);
}

void ToDegrees(qzILQuaternion const& q, double& rx, double& ry, double& rz) {
    double matrix[9];
    QuaternionToRotationMatrix(q, matrix);
    RotationMatrixToEulerAngles(matrix, rx, ry, rz);
}

/// The angle, in degrees, within 180 of a centre.
double Wrapped(double angle, double centre) {
    return angle - 360 * std::floor((angle - centre + 180) / 360);
}

struct EulerAngles {
    double dfX, dfY, dfZ;

    EulerAngles WrappedAround(EulerAngles const& centre) const {
        return {Wrapped(dfX, centre.dfX), Wrapped(dfY, centre.dfY), Wrapped(dfZ, centre.dfZ)};
    }
    double DistanceTo(EulerAngles const& other) const {
        return std::max({std::abs(dfX - other.dfX), std::abs(dfY - other.dfY), std::abs(dfZ - other.dfZ)});
    }
};

}  // namespace

void qzILQuaternion::Normalize() {
    double const norm = w * w + x * x + y * y + z * z;
    bool const unit = std::abs(norm - 1) < kUnitTolerance;
    if (!unit && norm < kUnitTolerance) {
        *this = qzILQuaternion();
        return;
    }
    if (!unit) {
        double const factor = 1 / std::sqrt(norm);
        *this = {w * factor, x * factor, y * factor, z * factor};
    }
    w = LimitedToUnit(w);
}

void qzILQuaternion::Slerp(qzILQuaternion const& a, qzILQuaternion const& b, double t) {
    double dot = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
    bool const flip = dot < 0;
    if (flip) dot = -dot;
    double weightA = 1 - t;
    double weightB = t;
    if (dot < 0.999999999999) {
        double const angle = std::acos(LimitedToUnit(dot));
        weightA = std::sin((1 - t) * angle) / std::sin(angle);
        weightB = std::sin(t * angle) / std::sin(angle);
    }
    if (flip) weightB = -weightB;
    *this = {weightA * a.w + weightB * b.w, weightA * a.x + weightB * b.x, weightA * a.y + weightB * b.y,
             weightA * a.z + weightB * b.z};
}

void qzILQuaternion::SlerpCubic(double t, qzILQuaternion const& q0, double t0, qzILQuaternion const& q1, double t1,
                                qzILQuaternion const& q2, double t2, qzILQuaternion const& q3, double t3) {
    if (std::abs(t2 - t1) < 1e-6) {
        *this = q1;
        return;
    }
    qzILQuaternion const a = CubicControlQuaternion(q0, q1, q2, t0, t1, t2);
    qzILQuaternion const b = CubicControlQuaternion(q3, q2, q1, t3, t2, t1);
    double const u = (t - t1) / (t2 - t1);
    qzILQuaternion const p1 = Slerped(q1, a, u);
    qzILQuaternion const p2 = Slerped(a, b, u);
    qzILQuaternion const p3 = Slerped(b, q2, u);
    Slerp(Slerped(p1, p2, u), Slerped(p2, p3, u), u);
}

qzILQuaternion QuaternionFromEulerAngles(double rx, double ry, double rz) {
    double const sinA = std::sin(0.5 * rx), cosA = std::cos(0.5 * rx);
    double const sinB = std::sin(0.5 * ry), cosB = std::cos(0.5 * ry);
    double const sinC = std::sin(0.5 * rz), cosC = std::cos(0.5 * rz);
    qzILQuaternion q(cosC * cosA * cosB - sinC * sinA * sinB, sinC * cosA * sinB + cosC * sinA * cosB,
                     cosA * sinB * cosC - sinA * cosB * sinC, cosA * cosB * sinC + sinA * sinB * cosC);
    q.Normalize();
    return q;
}

void QuaternionToRotationMatrix(qzILQuaternion const& q, double* matrix) {
    matrix[0] = 1 - 2 * q.y * q.y - 2 * q.z * q.z;
    matrix[1] = 2 * q.w * q.z + 2 * q.x * q.y;
    matrix[2] = 2 * q.x * q.z - 2 * q.w * q.y;
    matrix[3] = 2 * q.x * q.y - 2 * q.w * q.z;
    matrix[4] = 1 - 2 * q.x * q.x - 2 * q.z * q.z;
    matrix[5] = 2 * q.w * q.x + 2 * q.y * q.z;
    matrix[6] = 2 * q.w * q.y + 2 * q.x * q.z;
    matrix[7] = 2 * q.y * q.z - 2 * q.w * q.x;
    matrix[8] = 1 - 2 * q.x * q.x - 2 * q.y * q.y;
}

double AngleFromSineAndCosine(double sine, double cosine) {
    double const s = LimitedToUnit(sine);
    double const c = LimitedToUnit(cosine);
    // The function that is steeper there is the more exact one.
    if (std::abs(c) <= 0.707106781) return s < 0 ? -std::acos(c) : std::acos(c);
    double const angle = std::asin(s);
    if (!(c < 0)) return angle;
    return angle > 0 ? std::numbers::pi - angle : -std::numbers::pi - angle;
}

void RotationMatrixToEulerAngles(double const* matrix, double& rx, double& ry, double& rz) {
    double const y = std::asin(LimitedToUnit(-matrix[6]));
    double const cosine = std::cos(y);
    double x;
    double z;
    if (std::abs(cosine) > 1e-5) {
        x = AngleFromSineAndCosine(matrix[7] / cosine, matrix[8] / cosine);
        z = AngleFromSineAndCosine(matrix[3] / cosine, matrix[0] / cosine);
    } else if (y > 0) {
        // Here x and z turn about the same axis; each takes half.
        x = 0.5 * AngleFromSineAndCosine(matrix[1], matrix[4]);
        z = -x;
    } else {
        x = 0.5 * AngleFromSineAndCosine(-matrix[1], matrix[4]);
        z = x;
    }
    rx = x * kDegreesPerRadian;
    ry = y * kDegreesPerRadian;
    rz = z * kDegreesPerRadian;
    qzILNormalizeAnglesToPlusMinus180(rx, ry, rz, 1e-6, rx, ry, rz);
}

void qzILNormalizeAnglesToPlusMinus180(double rx, double ry, double rz, double centre, double& outX, double& outY,
                                       double& outZ) {
    outZ = rz - 360 * std::floor((rz + 180) / 360);
    bool const low = outZ <= centre - 90;
    if (low || outZ > centre + 90) {
        outX += 180;
        outY = 180 - outY;
        outZ += low ? 180 : -180;
    } else {
        outX = rx;
        outY = ry;
    }
    auto const wrap = [centre](double angle) { return angle - 360 * std::floor((angle + 180 - centre) / 360); };
    outX = wrap(outX);
    outY = wrap(outY);
}

void qzILFindClosestEulerAngles(double rx, double ry, double rz, double refX, double refY, double refZ, double& outX,
                                double& outY, double& outZ) {
    EulerAngles const reference{refX, refY, refZ};
    EulerAngles const same = EulerAngles{rx, ry, rz}.WrappedAround(reference);
    EulerAngles const turned = EulerAngles{180 + rx, 180 - ry, 180 + rz}.WrappedAround(reference);
    EulerAngles const& closest = turned.DistanceTo(reference) < same.DistanceTo(reference) ? turned : same;
    outX = closest.dfX;
    outY = closest.dfY;
    outZ = closest.dfZ;
}

void qzILQuaternionInterpolateRotationsLinear(double t, double rx0, double ry0, double rz0, double rx1, double ry1,
                                              double rz1, double& rx, double& ry, double& rz) {
    ToDegrees(Slerped(FromDegrees(rx0, ry0, rz0), FromDegrees(rx1, ry1, rz1), t), rx, ry, rz);
}

void qzILQuaternionInterpolateRotationsNonUniformCubic(double t, double rx0, double ry0, double rz0, double t0,
                                                       double rx1, double ry1, double rz1, double t1, double rx2,
                                                       double ry2, double rz2, double t2, double rx3, double ry3,
                                                       double rz3, double t3, double& rx, double& ry, double& rz) {
    qzILQuaternion q;
    q.SlerpCubic(t, FromDegrees(rx0, ry0, rz0), t0, FromDegrees(rx1, ry1, rz1), t1, FromDegrees(rx2, ry2, rz2), t2,
                 FromDegrees(rx3, ry3, rz3), t3);
    ToDegrees(q, rx, ry, rz);
}

void qzILQuaternionInterpolateRotationsCubic(double t, double rx0, double ry0, double rz0, double rx1, double ry1,
                                             double rz1, double rx2, double ry2, double rz2, double rx3, double ry3,
                                             double rz3, double& rx, double& ry, double& rz) {
    qzILQuaternionInterpolateRotationsNonUniformCubic(t, rx0, ry0, rz0, -1, rx1, ry1, rz1, 0, rx2, ry2, rz2, 1, rx3,
                                                      ry3, rz3, 2, rx, ry, rz);
}
