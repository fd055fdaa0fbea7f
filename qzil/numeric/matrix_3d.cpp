#include "qzil/numeric/matrix_3d.h"

#include <cmath>

qzILMatrix3D::qzILMatrix3D() : qzILMatrix(4, 4) {
    SetToIdentity();
}

qzILMatrix3D::qzILMatrix3D(qzILMatrix const& other) : qzILMatrix(other) {
    if (other.GetNumRows() != 4 || other.GetNumCols() != 4) Resize(0, 0);
}

qzILMatrix3D& qzILMatrix3D::operator=(qzILMatrix const& other) {
    qzILMatrix::operator=(other);
    return *this;
}

void qzILMatrix3D::Init() {
    qzILMatrix::Init();
    Resize(4, 4);
    SetToIdentity();
}

/// Calls f(row), a pointer to at least four elements.
template <class F>
qzILStatus qzILMatrix3D::ForEachRow(F&& f) {
    if (GetNumRows() != 4 && GetNumCols() != 4) return -1;
    for (int i = 0; GetNumCols() >= 4 && i < GetNumRows(); ++i) f(GetElemsPtr()[i]);
    return 1;
}

qzILStatus qzILMatrix3D::Translate(double x, double y, double z) {
    return ForEachRow([=](double* row) { row[3] += x * row[0] + y * row[1] + z * row[2]; });
}

qzILStatus qzILMatrix3D::Scale(double x, double y, double z) {
    return ForEachRow([=](double* row) {
        row[0] *= x;
        row[1] *= y;
        row[2] *= z;
    });
}

/// Column p becomes cos * p + sin * q, column q becomes cos * q - sin * p.
qzILStatus qzILMatrix3D::RotateColumns(int p, int q, double angle) {
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    return ForEachRow([=](double* row) {
        double const old = row[p];
        row[p] = c * old + s * row[q];
        row[q] = -s * old + c * row[q];
    });
}

qzILStatus qzILMatrix3D::RotateZAxis(double angle) {
    return RotateColumns(0, 1, angle);
}

qzILStatus qzILMatrix3D::RotateYAxis(double angle) {
    return RotateColumns(2, 0, angle);
}

qzILStatus qzILMatrix3D::RotateXAxis(double angle) {
    return RotateColumns(1, 2, angle);
}
