#include "qzil/numeric/matrix.h"
#include "qzil/numeric/unit_offset.h"

#include <cmath>

using qzil::ForEachElement;
using qzil::UnitOffsetArray;

namespace {

constexpr int kMaxSweeps = 50;

/// The cyclic method of Jacobi for eigenvalues, on arrays that are indexed from 1.
class Jacobi {
public:
    /// `work`: two vectors of `size` elements.
    Jacobi(double** a, int size, double* d, double** v, double** work)
        : m_ppA(a), m_ppV(v), m_pD(d), m_pB(work[1]), m_pZ(work[2]), m_iSize(size) {}

    qzILStatus Run() {
        for (int i = 1; i <= m_iSize; ++i) {
            for (int j = 1; j <= m_iSize; ++j) m_ppV[i][j] = i == j ? 1.0 : 0.0;
            m_pB[i] = m_pD[i] = m_ppA[i][i];
            m_pZ[i] = 0.0;
        }
        for (int sweep = 1; sweep <= kMaxSweeps; ++sweep) {
            double const sum = SumAboveDiagonal();
            if (sum == 0.0) return 1;
            double const threshold = sweep <= 3 ? 0.2 * sum / (static_cast<double>(m_iSize) * m_iSize) : 0.0;
            for (int p = 1; p < m_iSize; ++p)
                for (int q = p + 1; q <= m_iSize; ++q) Visit(p, q, sweep, threshold);
            for (int i = 1; i <= m_iSize; ++i) {
                m_pB[i] += m_pZ[i];
                m_pD[i] = m_pB[i];
                m_pZ[i] = 0.0;
            }
        }
        return -1;
    }

private:
    double SumAboveDiagonal() const {
        double sum = 0.0;
        for (int p = 1; p < m_iSize; ++p)
            for (int q = p + 1; q <= m_iSize; ++q) sum += std::abs(m_ppA[p][q]);
        return sum;
    }

    void Visit(int p, int q, int sweep, double threshold) {
        double const g = 100.0 * std::abs(m_ppA[p][q]);
        auto const hides = [g](double value) { return std::abs(value) + g == std::abs(value); };
        if (sweep > 4 && hides(m_pD[p]) && hides(m_pD[q])) {
            m_ppA[p][q] = 0.0;
        } else if (std::abs(m_ppA[p][q]) > threshold) {
            double const h = m_pD[q] - m_pD[p];
            Rotate(p, q, hides(h) ? m_ppA[p][q] / h : Tangent(h / (2.0 * m_ppA[p][q])));
        }
    }

    /// Of the smaller of the two angles that rotate the pair away.
    static double Tangent(double theta) {
        double const t = 1.0 / (std::abs(theta) + std::sqrt(1.0 + theta * theta));
        return theta < 0.0 ? -t : t;
    }

    void Rotate(int p, int q, double t) {
        double const c = 1.0 / std::sqrt(1.0 + t * t);
        double const s = t * c;
        double const tau = s / (1.0 + c);
        double const h = t * m_ppA[p][q];
        m_pZ[p] -= h;
        m_pZ[q] += h;
        m_pD[p] -= h;
        m_pD[q] += h;
        m_ppA[p][q] = 0.0;
        auto const turn = [s, tau](double& first, double& second) {
            double const old = first;
            first -= s * (second + old * tau);
            second += s * (old - second * tau);
        };
        for (int j = 1; j < p; ++j) turn(m_ppA[j][p], m_ppA[j][q]);
        for (int j = p + 1; j < q; ++j) turn(m_ppA[p][j], m_ppA[j][q]);
        for (int j = q + 1; j <= m_iSize; ++j) turn(m_ppA[p][j], m_ppA[q][j]);
        for (int j = 1; j <= m_iSize; ++j) turn(m_ppV[j][p], m_ppV[j][q]);
    }

    double** m_ppA;  ///< its part above the diagonal
    double** m_ppV;
    double* m_pD;
    double* m_pB;  ///< the eigenvalues at the beginning of a sweep
    double* m_pZ;  ///< what the sweep adds to them
    int m_iSize;
};

}  // namespace

/// `a`: symmetric, with as many rows as this and indices from 1; it is destroyed.
qzILStatus qzILMatrix::DestructiveJacobiUnitOffset(double** a, double* d, double** v) const {
    UnitOffsetArray const work(2, m_iRows);
    return work.IsNull() ? -1 : Jacobi(a, m_iRows, d, v, work.Get()).Run();
}

qzILStatus qzILMatrix::SymmetricEigensolve(qzILMatrix& values, qzILMatrix& vectors) const {
    if (!IsSquare()) return -1;
    int const size = m_iRows;
    UnitOffsetArray const a(size, size);
    UnitOffsetArray const right(size, size);
    UnitOffsetArray const diagonal(0, size);
    if (a.IsNull() || right.IsNull() || diagonal.IsNull()) return -1;
    ForEachElement(*this, [&](double element, int i, int j) { a[i + 1][j + 1] = element; });
    qzILStatus const status = DestructiveJacobiUnitOffset(a.Get(), diagonal.Vector(), right.Get());
    qzil::CopyFromUnitOffset(vectors, size, size, right.Get());
    values.Resize(size, 1);
    ForEachElement(values, [&](double& element, int i, int) { element = diagonal.Vector()[i + 1]; });
    return status;
}
