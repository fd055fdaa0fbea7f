#pragma once

#include "qzil/platform/api.h"

/// A rotation as a quaternion.
class QZIL_API qzILQuaternion {
public:
    QZIL_CLASS_NAME(qzILQuaternion)
    char const* GetActualClassName() const { return m_ClassName; }

    qzILQuaternion() = default;
    qzILQuaternion(double w_, double x_, double y_, double z_) : w(w_), x(x_), y(y_), z(z_) {}

    void Init() { *this = qzILQuaternion(); }
    void Trash() {}
    /// Makes the length 1; a quaternion of no length becomes the rotation by nothing.
    void Normalize();
    /// Becomes the rotation at `t` on the shorter arc from `a`, at 0, to `b`, at 1; `t` may lie outside.
    void Slerp(qzILQuaternion const& a, qzILQuaternion const& b, double t);
    /// Becomes the rotation at time `t`, t1 to t2, on a smooth curve through q1 and q2 that heeds q0 and q3.
    void SlerpCubic(double t, qzILQuaternion const& q0, double t0, qzILQuaternion const& q1, double t1,
                    qzILQuaternion const& q2, double t2, qzILQuaternion const& q3, double t3);

    double w = 1;
    double x = 0;
    double y = 0;
    double z = 0;
};

/// The product of the rotations about x, y and z by angles in radians, with length 1.
QZIL_API qzILQuaternion QuaternionFromEulerAngles(double rx, double ry, double rz);

/// Nine numbers, row after row: the transpose of the matrix that rotates column vectors. It goes with quaternions of
/// negated angles.
QZIL_API void QuaternionToRotationMatrix(qzILQuaternion const& q, double* matrix);

/// The Euler angles, in degrees and normalised, of nine numbers, row after row.
QZIL_API void RotationMatrixToEulerAngles(double const* matrix, double& rx, double& ry, double& rz);

/// The angle in radians, -pi to pi; sine and cosine are limited to -1 to 1.
QZIL_API double AngleFromSineAndCosine(double sine, double cosine);

/// Brings Euler angles, in degrees, to the triple of the same rotation with rz within 90 of the centre, rx and ry
/// within 180. `outX` and `outY` must hold rx and ry at the call.
QZIL_API void qzILNormalizeAnglesToPlusMinus180(double rx, double ry, double rz, double centre, double& outX,
                                                double& outY, double& outZ);

/// Of the two Euler triples of a rotation, in degrees, the one closer to a reference.
QZIL_API void qzILFindClosestEulerAngles(double rx, double ry, double rz, double refX, double refY, double refZ,
                                         double& outX, double& outY, double& outZ);

/// The rotation at `t` on the shorter way from one, at 0, to another, at 1; all in degrees.
QZIL_API void qzILQuaternionInterpolateRotationsLinear(double t, double rx0, double ry0, double rz0, double rx1,
                                                       double ry1, double rz1, double& rx, double& ry, double& rz);

/// The rotation at time `t`, t1 to t2, on a smooth curve through four rotations at times t0 to t3; all in degrees.
QZIL_API void qzILQuaternionInterpolateRotationsNonUniformCubic(double t, double rx0, double ry0, double rz0, double t0,
                                                                double rx1, double ry1, double rz1, double t1,
                                                                double rx2, double ry2, double rz2, double t2,
                                                                double rx3, double ry3, double rz3, double t3,
                                                                double& rx, double& ry, double& rz);

/// The same with times of -1, 0, 1 and 2.
QZIL_API void qzILQuaternionInterpolateRotationsCubic(double t, double rx0, double ry0, double rz0, double rx1,
                                                      double ry1, double rz1, double rx2, double ry2, double rz2,
                                                      double rx3, double ry3, double rz3, double& rx, double& ry,
                                                      double& rz);
