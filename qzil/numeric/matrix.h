#pragma once

#include "qzil/image/core_values.h"

#include <cstdint>

/// How an array outside holds a matrix.
enum qzILMatrixStoringFormat : std::int32_t { qzILMatrixRowAfterRow = 0, qzILMatrixColumnAfterColumn = 1 };
enum qzILMatrixRowOrder : std::int32_t { qzILMatrixFirstRowFirst = 0, qzILMatrixLastRowFirst = 1 };
enum qzILMatrixColumnOrder : std::int32_t { qzILMatrixFirstColumnFirst = 0, qzILMatrixLastColumnFirst = 1 };

enum qzILMatrixNorm : std::int32_t {
    qzILMatrixOneNorm = 0,       ///< largest absolute column sum
    qzILMatrixTwoNorm = 1,       ///< largest singular value
    qzILMatrixInfinityNorm = 2,  ///< largest absolute row sum
    qzILMatrixFrobeniusNorm = 3  ///< root of the sum of squares; every other value means it, too
};

enum qzILMatrixCondition : std::int32_t {
    qzILMatrixWellConditioned = 0,
    qzILMatrixIllConditioned = 1,  ///< a singular value was very small and was dropped
    qzILMatrixSingular = 2         ///< a singular value was exactly 0
};

/// A matrix of doubles, indexed from 0.
///
/// A matrix without storage is empty, 0 x 0 and not valid; so is one for which memory ran out. Operations on operands
/// whose sizes do not fit each other use the elements that both have; nothing else reports it. Matrices that operations
/// return have the tolerance of the left operand, copies that of the original; assignment leaves it alone.
class QZIL_API qzILMatrix {
public:
    QZIL_CLASS_NAME(qzILMatrix)
    virtual char const* GetActualClassName() const { return m_ClassName; }

    qzILMatrix() = default;
    /// All elements 0.
    qzILMatrix(int rows, int columns) { Resize(rows, columns); }
    /// From an array of rows * columns elements, by default row after row.
    qzILMatrix(double const* elements, int rows, int columns);
    qzILMatrix(double const* const* elements, int rows, int columns);
    qzILMatrix(double const* elements, int rows, int columns, qzILMatrixStoringFormat format,
               qzILMatrixRowOrder rowOrder, qzILMatrixColumnOrder columnOrder);
    qzILMatrix(qzILMatrix const& other);
    virtual ~qzILMatrix();
    qzILMatrix& operator=(qzILMatrix const& other);

    /// Makes all elements 0, also when the size stays. Empty for a size that is not positive or out of memory.
    void Resize(int rows, int columns);
    /// Empty, with the first tolerance.
    void Init();
    void Trash() { Resize(0, 0); }
    void SetSize(int rows, int columns) { Resize(rows, columns); }
    /// The tolerance of `IsVerySmall` and of all tests, 1e-6 at first.
    void SetEpsilon(double epsilon) { m_dfEpsilon = epsilon; }
    bool IsValid() const { return m_bValid; }
    bool IsNotValid() const { return !m_bValid; }
    double** GetElemsPtr() const { return m_ppElements; }
    int GetNumRows() const { return m_iRows; }
    int GetNumCols() const { return m_iColumns; }
    bool IsSquare() const { return m_iRows == m_iColumns; }
    /// Not checked.
    double& operator()(int row, int column) { return m_ppElements[row][column]; }
    double const& operator()(int row, int column) const { return m_ppElements[row][column]; }

    void SetToConstant(double value);
    void SetToZero() { SetToConstant(0.0); }
    /// Ones where row and column are equal, in a rectangular matrix, too.
    void SetToIdentity();
    /// The first elements of an array on the diagonal, 0 elsewhere and behind its end. The size stays.
    void MakeDiag(double const* elements, int count);
    /// Writes min(rows, columns) elements.
    void GetDiag(double* elements) const;
    double Mean() const;  ///< NaN when empty
    double Trace() const;

    static double Sign(double a, double b);  ///< the magnitude of a, negative when b is
    static double Square(double value) { return value * value; }
    /// Within the tolerance of 0, exclusive.
    bool IsVerySmall(double value) const { return -m_dfEpsilon < value && value < m_dfEpsilon; }
    bool IsAlmostEqual(double a, double b) const { return IsVerySmall(a - b); }
    /// The root of a * a + b * b; the squares may lie outside the range of doubles.
    static double Pythagoras(double a, double b);

    /// Equal sizes and elements within the tolerance of the left matrix.
    bool operator==(qzILMatrix const& other) const;
    qzILMatrix Transpose() const;
    /// Sums and differences have the size of the left operand, and 0 where the right one has no element.
    qzILMatrix operator+(qzILMatrix const& other) const;
    qzILMatrix operator-(qzILMatrix const& other) const;
    qzILMatrix operator*(double factor) const;
    qzILMatrix operator/(double divisor) const { return *this * (1 / divisor); }
    qzILMatrix operator*(qzILMatrix const& other) const;
    void PostMultiply(qzILMatrix const& other);  ///< becomes this * other
    void PreMultiply(qzILMatrix const& other);   ///< becomes other * this

    /// Read and write rows * columns elements. Nothing happens without an array.
    void SetMatrix(double const* elements, qzILMatrixStoringFormat format, qzILMatrixRowOrder rowOrder,
                   qzILMatrixColumnOrder columnOrder);
    void StoreElems(double* elements, qzILMatrixStoringFormat format, qzILMatrixRowOrder rowOrder,
                    qzILMatrixColumnOrder columnOrder) const;

    bool IsSymmetric() const;
    bool IsOrthogonal() const;
    int Rank() const { return EffectiveRank(0.0); }
    int EffectiveRank(double threshold) const;  ///< number of singular values above the threshold
    bool IsSeparable() const { return EffectiveRank(m_dfEpsilon) == 1; }
    /// The column `left` and the column `right` whose product, left * right transposed, is nearest to this. -1, with
    /// columns of zeros, when the decomposition fails.
    [[nodiscard]] qzILStatus SeparateIntoTensorProduct(qzILMatrix& left, qzILMatrix& right) const;

    /// this = u * d * v transposed. u: rows x columns, d: columns x columns, diagonal, the singular values, none
    /// negative, in no order; v: columns x columns. u and v have orthonormal columns; with fewer rows than columns u
    /// has orthonormal rows. -1, with u, d and v as they were, when it does not converge or an element is not finite;
    /// -1 without memory.
    [[nodiscard]] qzILStatus ThinSVD(qzILMatrix& u, qzILMatrix& d, qzILMatrix& v) const;
    double Norm(qzILMatrixNorm norm) const;
    /// Infinite for a singular matrix. For the two-norm the ratio of the largest and the smallest singular value, NaN
    /// for an empty matrix; for others the norm of this times the norm of the inverse.
    double ConditionNumber(qzILMatrixNorm norm) const;
    /// The inverse by singular values, of which those that are 0 or very small are left out; for a rectangular matrix
    /// the pseudo-inverse. Zero and `qzILMatrixSingular` when the decomposition does not converge.
    qzILMatrix Inverse(qzILMatrixCondition& condition) const;
    /// By the normal equations: the inverse of (transpose * this), times the transpose.
    qzILMatrix PseudoInverse(qzILMatrixCondition& condition) const;
    /// The solution x of this * x = b, in the least squares when not square. When wanted, `conditionNumber` is that of
    /// the inverse, not of this matrix, deliberately.
    qzILMatrix SolveSystem(qzILMatrix const& b, qzILMatrixCondition& condition, bool wantConditionNumber,
                           qzILMatrixNorm norm, double* conditionNumber) const;
    double InnerProduct(qzILMatrix const& other) const;  ///< trace of other transposed * this
    /// -1 to 1; of the elements without their means.
    double CorrelationCoefficient(qzILMatrix const& other) const;
    /// Eigenvalues, rows x 1, in no order, and eigenvectors, as columns, of a symmetric matrix; what stands below the
    /// diagonal is not read. -1 when it does not converge, and, with both as they were, when the matrix is not square.
    [[nodiscard]] qzILStatus SymmetricEigensolve(qzILMatrix& values, qzILMatrix& vectors) const;
    void OutputToDebug() const {}

protected:
    /// A walk over all elements: an outer and an inner loop, and where they begin and step.
    struct ArrayTraversalParameters {
        int iOuterCount, iInnerCount;
        int iRowStart, iRowStepInner, iRowStepOuter;
        int iColumnStart, iColumnStepInner, iColumnStepOuter;
    };
    void GetArrayTraversalParameters(qzILMatrixStoringFormat format, qzILMatrixRowOrder rowOrder,
                                     qzILMatrixColumnOrder columnOrder, ArrayTraversalParameters& parameters) const;
    void LoadArray(double const* elements, ArrayTraversalParameters const& parameters);
    void StoreArray(double* elements, ArrayTraversalParameters const& parameters) const;

private:
    bool Has(int row, int column) const { return row < m_iRows && column < m_iColumns; }
    bool Is4x4() const { return m_bValid && m_iRows == 4 && m_iColumns == 4; }
    qzILMatrix Result(int rows, int columns) const;
    void SetToProduct(qzILMatrix const& a, qzILMatrix const& b);
    qzILMatrix SingularValues() const;
    double LargestSum(bool ofRows) const;
    [[nodiscard]] static qzILStatus ThinSVDUnitOffsetInPlace(double** a, int rows, int columns, double* d, double** v);
    [[nodiscard]] qzILStatus DestructiveJacobiUnitOffset(double** a, double* d, double** v) const;

    double** m_ppElements = nullptr;
    std::int32_t m_iRows = 0;
    std::int32_t m_iColumns = 0;
    bool m_bValid = false;
    double m_dfEpsilon = 1e-6;
};
