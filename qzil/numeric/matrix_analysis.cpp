#include "qzil/numeric/elements.h"
#include "qzil/numeric/matrix.h"

#include <algorithm>
#include <cmath>
#include <limits>

using qzil::ForEachElement;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace

bool qzILMatrix::IsSymmetric() const {
    return IsSquare() && *this == Transpose();
}

bool qzILMatrix::IsOrthogonal() const {
    if (!IsSquare()) return false;
    qzILMatrixCondition condition;
    qzILMatrix const inverse = Inverse(condition);
    return condition != qzILMatrixSingular && Transpose() == inverse;
}

/// The singular values as a diagonal, min(rows, columns) of them; empty when the decomposition does not converge.
qzILMatrix qzILMatrix::SingularValues() const {
    qzILMatrix u;
    qzILMatrix d;
    qzILMatrix v;
    // A wide matrix would get further values, all 0 but for rounding, of which nobody wants to know.
    qzILStatus const status = m_iRows < m_iColumns ? Transpose().ThinSVD(u, d, v) : ThinSVD(u, d, v);
    return status == 1 ? d : qzILMatrix();
}

int qzILMatrix::EffectiveRank(double threshold) const {
    qzILMatrix const d = SingularValues();
    int rank = 0;
    for (int i = 0; i < d.m_iRows; ++i)
        if (std::abs(d(i, i)) > threshold) ++rank;
    return rank;
}

qzILStatus qzILMatrix::SeparateIntoTensorProduct(qzILMatrix& left, qzILMatrix& right) const {
    qzILMatrix u;
    qzILMatrix d;
    qzILMatrix v;
    bool const solved = ThinSVD(u, d, v) == 1;
    int const rows = m_iRows;
    int const columns = m_iColumns;
    left.Resize(rows, 1);
    right.Resize(columns, 1);
    if (!solved || d.IsNotValid() || left.IsNotValid() || right.IsNotValid()) return -1;
    int largest = 0;
    for (int k = 1; k < columns; ++k)
        if (d(k, k) > d(largest, largest)) largest = k;
    double const root = std::sqrt(d(largest, largest));
    ForEachElement(left, [&](double& element, int i, int) { element = root * u(i, largest); });
    ForEachElement(right, [&](double& element, int j, int) { element = root * v(j, largest); });
    return 1;
}

/// The largest sum of the magnitudes of a row, or of a column.
double qzILMatrix::LargestSum(bool ofRows) const {
    double largest = -kInfinity;
    for (int i = 0; i < (ofRows ? m_iRows : m_iColumns); ++i) {
        double sum = 0.0;
        for (int j = 0; j < (ofRows ? m_iColumns : m_iRows); ++j)
            sum += std::abs(ofRows ? m_ppElements[i][j] : m_ppElements[j][i]);
        if (sum > largest) largest = sum;
    }
    return largest;
}

double qzILMatrix::Norm(qzILMatrixNorm norm) const {
    if (norm == qzILMatrixOneNorm || norm == qzILMatrixInfinityNorm) return LargestSum(norm == qzILMatrixInfinityNorm);
    if (norm == qzILMatrixTwoNorm) {
        qzILMatrix const d = SingularValues();
        double largest = -kInfinity;
        for (int i = 0; i < d.m_iRows; ++i) largest = std::max(largest, d(i, i));
        return largest;
    }
    double sum = 0.0;
    ForEachElement(*this, [&](double element, int, int) { sum += Square(element); });
    return std::sqrt(sum);
}

double qzILMatrix::ConditionNumber(qzILMatrixNorm norm) const {
    if (norm != qzILMatrixTwoNorm) {
        qzILMatrixCondition condition;
        qzILMatrix const inverse = Inverse(condition);
        return condition == qzILMatrixSingular ? kInfinity : Norm(norm) * inverse.Norm(norm);
    }
    qzILMatrix const d = SingularValues();
    if (d.m_iRows == 0) return std::numeric_limits<double>::quiet_NaN();
    double smallest = d(0, 0);
    double largest = d(0, 0);
    for (int i = 1; i < d.m_iRows; ++i) {
        smallest = std::min(smallest, d(i, i));
        largest = std::max(largest, d(i, i));
    }
    return smallest == 0.0 ? kInfinity : largest / smallest;
}

qzILMatrix qzILMatrix::Inverse(qzILMatrixCondition& condition) const {
    if (m_iRows < m_iColumns) return Transpose().Inverse(condition).Transpose();
    qzILMatrix u;
    qzILMatrix d;
    qzILMatrix v;
    if (ThinSVD(u, d, v) != 1) {
        condition = qzILMatrixSingular;
        return Result(m_iColumns, m_iRows);
    }
    condition = qzILMatrixWellConditioned;
    for (int i = 0; i < d.m_iRows; ++i) {
        double const value = d(i, i);
        if (value == 0.0)
            condition = qzILMatrixSingular;
        else if (IsVerySmall(value) && condition != qzILMatrixSingular)
            condition = qzILMatrixIllConditioned;
        d(i, i) = value == 0.0 || IsVerySmall(value) ? 0.0 : 1 / value;
    }
    v.SetEpsilon(m_dfEpsilon);
    return v * d * u.Transpose();
}

qzILMatrix qzILMatrix::PseudoInverse(qzILMatrixCondition& condition) const {
    qzILMatrix const transpose = Transpose();
    return (transpose * *this).Inverse(condition) * transpose;
}

qzILMatrix qzILMatrix::SolveSystem(qzILMatrix const& b, qzILMatrixCondition& condition, bool wantConditionNumber,
                                   qzILMatrixNorm norm, double* conditionNumber) const {
    qzILMatrix const inverse = IsSquare() ? Inverse(condition) : PseudoInverse(condition);
    if (wantConditionNumber && conditionNumber != nullptr) *conditionNumber = inverse.ConditionNumber(norm);
    return inverse * b;
}

double qzILMatrix::InnerProduct(qzILMatrix const& other) const {
    return (other.Transpose() * *this).Trace();
}

double qzILMatrix::CorrelationCoefficient(qzILMatrix const& other) const {
    auto const centred = [](qzILMatrix matrix) {
        double const mean = matrix.Mean();
        ForEachElement(matrix, [mean](double& element, int, int) { element -= mean; });
        return matrix;
    };
    qzILMatrix const a = centred(*this);
    qzILMatrix const b = centred(other);
    return a.InnerProduct(b) / (a.Norm(qzILMatrixFrobeniusNorm) * b.Norm(qzILMatrixFrobeniusNorm));
}
