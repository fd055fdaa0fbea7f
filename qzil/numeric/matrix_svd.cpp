#include "qzil/numeric/matrix.h"
#include "qzil/numeric/unit_offset.h"

#include <algorithm>
#include <cmath>

using qzil::ForEachElement;
using qzil::UnitOffsetArray;

namespace {

constexpr int kMaxIterations = 30;
/// Sums of products of two numbers up to 2 to this, and their reciprocals, keep all their digits.
constexpr int kMaxExponent = 400;

bool IsNegligible(double value, double norm) {
    return std::abs(value) + norm == norm;
}

/// A rotation in a plane.
struct Rotation {
    double dfCosine;
    double dfSine;

    /// Turns (a, b) onto the first axis, and returns the length. Of (0, 0) any rotation makes that; the last one stays.
    double Align(double a, double b) {
        double const length = qzILMatrix::Pythagoras(a, b);
        if (length != 0.0) {
            dfCosine = a / length;
            dfSine = b / length;
        }
        return length;
    }
    /// Turns a pair of numbers.
    void Turn(double& a, double& b) const {
        double const first = a;
        a = dfCosine * first + dfSine * b;
        b = dfCosine * b - dfSine * first;
    }
    /// Turns two columns of `rows` rows from 1 on.
    void TurnColumns(double** array, int rows, int p, int q) const {
        for (int i = 1; i <= rows; ++i) Turn(array[i][p], array[i][q]);
    }
};

/// The singular value decomposition of Golub and Reinsch (1970), on arrays that are indexed from 1.
///
/// The vectors of the reflections stay in `a`, scaled to a sum of magnitudes of 1, until the transformations are
/// accumulated: so they keep all digits, however small the column or row was.
class GolubReinsch {
public:
    /// `work`: three vectors of `columns` elements.
    GolubReinsch(double** a, int rows, int columns, double* d, double** v, double** work)
        : m_ppA(a),
          m_ppV(v),
          m_pD(d),
          m_pE(work[1]),
          m_pLeft(work[2]),
          m_pRight(work[3]),
          m_iRows(rows),
          m_iColumns(columns) {}

    qzILStatus Run() {
        Bidiagonalize();
        AccumulateRight();
        AccumulateLeft();
        for (int k = m_iColumns; k >= 1; --k)
            if (!Diagonalize(k)) return -1;
        return 1;
    }

private:
    /// Leaves the diagonal in d and what stands above it, from index 2 on, in e.
    void Bidiagonalize() {
        for (int i = 1; i <= m_iColumns; ++i) {
            m_pD[i] = ReflectColumn(i);
            m_dfNorm = std::max(m_dfNorm, std::abs(m_pD[i]) + std::abs(m_pE[i]));
            if (i < m_iColumns) m_pE[i + 1] = ReflectRow(i);
        }
    }

    struct Reflection {
        double dfScale = 0.0;   ///< what the vector was divided by
        double dfLength = 0.0;  ///< of the scaled vector, with the sign of where it goes; 0 when there is nothing to do
        double dfDivisor = 1.0;  ///< half the squared length of the reflection's vector, negative
    };

    /// Turns the vector at(first), ..., at(last) into that of the reflection which leaves only its first element.
    template <class At>
    static Reflection MakeReflection(int first, int last, At&& at) {
        double scale = 0.0;
        for (int k = first; k <= last; ++k) scale += std::abs(at(k));
        if (scale == 0.0) return {};
        double sum = 0.0;
        for (int k = first; k <= last; ++k) {
            at(k) /= scale;
            sum += qzILMatrix::Square(at(k));
        }
        double const length = -qzILMatrix::Sign(std::sqrt(sum), at(first));
        double const divisor = at(first) * length - sum;
        at(first) -= length;
        return {scale, length, divisor};
    }

    /// Reflects the columns from i on so that column i ends at its row i; returns what stands there.
    double ReflectColumn(int i) {
        auto const [scale, length, divisor] = MakeReflection(i, m_iRows, [&](int k) -> double& { return m_ppA[k][i]; });
        m_pLeft[i] = length;
        for (int j = i + 1; length != 0.0 && j <= m_iColumns; ++j) ApplyLeft(i, j, divisor);
        return scale * length;
    }

    /// Applies the reflection whose vector is column i to column j.
    void ApplyLeft(int i, int j, double divisor) {
        double sum = 0.0;
        for (int k = i; k <= m_iRows; ++k) sum += m_ppA[k][i] * m_ppA[k][j];
        double const f = sum / divisor;
        for (int k = i; k <= m_iRows; ++k) m_ppA[k][j] += f * m_ppA[k][i];
    }

    /// The same with the rows from i on, so that row i ends at column i + 1.
    double ReflectRow(int i) {
        auto const [scale, length, divisor] =
            MakeReflection(i + 1, m_iColumns, [&](int k) -> double& { return m_ppA[i][k]; });
        m_pRight[i] = length;
        for (int j = i + 1; length != 0.0 && j <= m_iRows; ++j) {
            double sum = 0.0;
            for (int k = i + 1; k <= m_iColumns; ++k) sum += m_ppA[j][k] * m_ppA[i][k];
            for (int k = i + 1; k <= m_iColumns; ++k) m_ppA[j][k] += sum * (m_ppA[i][k] / divisor);
        }
        return scale * length;
    }

    void AccumulateRight() {
        for (int i = m_iColumns; i >= 1; --i) {
            int const l = i + 1;
            for (int j = l; j <= m_iColumns; ++j) m_ppV[i][j] = m_ppV[j][i] = 0.0;
            m_ppV[i][i] = 1.0;
            if (i == m_iColumns || m_pRight[i] == 0.0) continue;
            double const h = m_pRight[i] * m_ppA[i][l];
            for (int j = l; j <= m_iColumns; ++j) {
                double sum = 0.0;
                for (int k = l; k <= m_iColumns; ++k) sum += m_ppA[i][k] * m_ppV[k][j];
                for (int k = l; k <= m_iColumns; ++k) m_ppV[k][j] += sum / h * m_ppA[i][k];
            }
        }
    }

    /// In place of the vectors, column after column.
    void AccumulateLeft() {
        for (int i = m_iColumns; i >= 1; --i) {
            for (int j = i + 1; j <= m_iColumns; ++j) m_ppA[i][j] = 0.0;
            double const g = m_pLeft[i];
            for (int j = i + 1; g != 0.0 && j <= m_iColumns; ++j) ApplyLeft(i, j, g * m_ppA[i][i]);
            for (int k = m_iRows; k >= i; --k) m_ppA[k][i] = g == 0.0 ? 0.0 : m_ppA[k][i] / g;
            m_ppA[i][i] += 1.0;
        }
    }

    /// Makes e[k] negligible and d[k] a singular value.
    bool Diagonalize(int k) {
        for (int iteration = 0;; ++iteration) {
            int const l = FindBlock(k);
            if (l == k) {
                MakePositive(k);
                return true;
            }
            if (iteration == kMaxIterations) return false;
            QrStep(l, k);
        }
    }

    /// The first index of the unreduced block that ends at k.
    int FindBlock(int k) {
        for (int l = k; l > 1; --l) {
            if (IsNegligible(m_pE[l], m_dfNorm)) return l;
            if (IsNegligible(m_pD[l - 1], m_dfNorm)) {
                Cancel(l, k);
                return l;
            }
        }
        return 1;
    }

    /// Rotates e[l] away, where d[l - 1] is negligible.
    void Cancel(int l, int k) {
        Rotation rotation{0.0, 1.0};
        for (int i = l; i <= k; ++i) {
            double const f = rotation.dfSine * m_pE[i];
            m_pE[i] *= rotation.dfCosine;
            if (IsNegligible(f, m_dfNorm)) break;
            m_pD[i] = rotation.Align(m_pD[i], -f);
            rotation.TurnColumns(m_ppA, m_iRows, l - 1, i);
        }
    }

    void MakePositive(int k) {
        if (m_pD[k] >= 0.0) return;
        m_pD[k] = -m_pD[k];
        for (int j = 1; j <= m_iColumns; ++j) m_ppV[j][k] = -m_ppV[j][k];
    }

    /// The shift that takes e[k] to 0, as the first pair to rotate away has it.
    double Shifted(int l, int k) const {
        double const x = m_pD[l], y = m_pD[k - 1], z = m_pD[k];
        double const g = m_pE[k - 1], h = m_pE[k];
        double const f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
        double const root = qzILMatrix::Sign(qzILMatrix::Pythagoras(f, 1.0), f);
        return ((x - z) * (x + z) + h * (y / (f + root) - h)) / x;
    }

    void QrStep(int l, int k) {
        double f = Shifted(l, k);
        double x = m_pD[l];
        Rotation rotation{1.0, 1.0};  // the first pair is taken as it is
        for (int j = l; j < k; ++j) {
            int const i = j + 1;
            double h = rotation.dfSine * m_pE[i];
            double g = rotation.dfCosine * m_pE[i];
            double y = m_pD[i];
            m_pE[j] = rotation.Align(f, h);
            f = x;
            rotation.Turn(f, g);
            h = rotation.dfSine * y;
            y = rotation.dfCosine * y;
            rotation.TurnColumns(m_ppV, m_iColumns, j, i);
            m_pD[j] = rotation.Align(f, h);
            f = g;
            x = y;
            rotation.Turn(f, x);
            rotation.TurnColumns(m_ppA, m_iRows, j, i);
        }
        m_pE[l] = 0.0;
        m_pE[k] = f;
        m_pD[k] = x;
    }

    double** m_ppA;   ///< in the end the left vectors
    double** m_ppV;   ///< the right vectors
    double* m_pD;     ///< the singular values
    double* m_pE;     ///< what stands above them
    double* m_pLeft;  ///< lengths of the reflections of columns, and of rows
    double* m_pRight;
    int m_iRows;
    int m_iColumns;
    double m_dfNorm = 0.0;
};

/// The power of two that brings a matrix into the range in which squares keep their digits.
int ScalingExponent(qzILMatrix const& matrix) {
    double largest = 0.0;
    ForEachElement(matrix, [&](double element, int, int) { largest = std::max(largest, std::abs(element)); });
    if (largest == 0.0) return 0;
    int const exponent = std::ilogb(largest);
    return std::clamp(exponent, -kMaxExponent, kMaxExponent) - exponent;
}

bool IsFinite(qzILMatrix const& matrix) {
    bool finite = true;
    ForEachElement(matrix, [&](double element, int, int) { finite = finite && std::isfinite(element); });
    return finite;
}

}  // namespace

/// `a` has rows x columns elements with indices from 1, at least as many rows as columns, and becomes the left vectors.
qzILStatus qzILMatrix::ThinSVDUnitOffsetInPlace(double** a, int rows, int columns, double* d, double** v) {
    UnitOffsetArray const work(3, columns);
    return work.IsNull() ? -1 : GolubReinsch(a, rows, columns, d, v, work.Get()).Run();
}

qzILStatus qzILMatrix::ThinSVD(qzILMatrix& u, qzILMatrix& d, qzILMatrix& v) const {
    if (!IsFinite(*this)) return -1;
    int const rows = m_iRows;
    int const columns = m_iColumns;
    // Rows of zeros make a wide matrix square.
    UnitOffsetArray const a(std::max(rows, columns), columns);
    UnitOffsetArray const right(columns, columns);
    UnitOffsetArray const values(0, columns);
    if (a.IsNull() || right.IsNull() || values.IsNull()) return -1;
    int const exponent = ScalingExponent(*this);
    ForEachElement(*this, [&](double element, int i, int j) { a[i + 1][j + 1] = std::ldexp(element, exponent); });
    if (ThinSVDUnitOffsetInPlace(a.Get(), std::max(rows, columns), columns, values.Vector(), right.Get()) != 1)
        return -1;
    qzil::CopyFromUnitOffset(u, rows, columns, a.Get());
    qzil::CopyFromUnitOffset(v, columns, columns, right.Get());
    d.Resize(columns, columns);
    for (int i = 0; i < d.m_iRows; ++i) d(i, i) = std::ldexp(values.Vector()[i + 1], -exponent);
    bool const complete = u.m_iRows == rows && d.m_iRows == columns && v.m_iRows == columns;
    return complete ? 1 : -1;
}
