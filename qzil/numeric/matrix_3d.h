#pragma once

#include "qzil/numeric/matrix.h"

/// A 4 x 4 matrix that transforms points in space, the identity at first.
///
/// Each operation is multiplied on the right: the last call is applied to a point first. All return 1, or -1 when
/// neither rows nor columns are 4; when only one of them is, what there is of the first four columns is transformed,
/// and nothing with less than four.
class QZIL_API qzILMatrix3D : public qzILMatrix {
public:
    QZIL_CLASS_NAME(qzILMatrix3D)
    char const* GetActualClassName() const override { return m_ClassName; }

    qzILMatrix3D();
    /// The identity, with the first tolerance.
    void Init();
    /// Empty when the other is not 4 x 4.
    qzILMatrix3D(qzILMatrix const& other);
    qzILMatrix3D(qzILMatrix3D const&) = default;
    qzILMatrix3D& operator=(qzILMatrix3D const&) = default;
    /// Takes over any size.
    qzILMatrix3D& operator=(qzILMatrix const& other);

    [[nodiscard]] qzILStatus Translate(double x, double y, double z);
    [[nodiscard]] qzILStatus Scale(double x, double y, double z);
    /// By angles in radians.
    [[nodiscard]] qzILStatus RotateZAxis(double angle);
    [[nodiscard]] qzILStatus RotateYAxis(double angle);
    [[nodiscard]] qzILStatus RotateXAxis(double angle);

private:
    template <class F>
    qzILStatus ForEachRow(F&& f);
    qzILStatus RotateColumns(int p, int q, double angle);
};
