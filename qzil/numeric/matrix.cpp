#include "qzil/numeric/matrix.h"

#include "qzil/numeric/arrays.h"
#include "qzil/numeric/elements.h"

#include <algorithm>
#include <cmath>

using qzil::ForEachElement;

qzILMatrix::qzILMatrix(double const* elements, int rows, int columns)
    : qzILMatrix(elements, rows, columns, qzILMatrixRowAfterRow, qzILMatrixFirstRowFirst, qzILMatrixFirstColumnFirst) {
}

qzILMatrix::qzILMatrix(double const* const* elements, int rows, int columns) : qzILMatrix(rows, columns) {
    if (elements == nullptr) return;
    ForEachElement(*this, [&](double& element, int i, int j) { element = elements[i][j]; });
}

qzILMatrix::qzILMatrix(double const* elements, int rows, int columns, qzILMatrixStoringFormat format,
                       qzILMatrixRowOrder rowOrder, qzILMatrixColumnOrder columnOrder)
    : qzILMatrix(rows, columns) {
    SetMatrix(elements, format, rowOrder, columnOrder);
}

qzILMatrix::qzILMatrix(qzILMatrix const& other) : m_dfEpsilon(other.m_dfEpsilon) {
    *this = other;
}

qzILMatrix::~qzILMatrix() {
    Delete2DArray(m_ppElements, m_iRows);
}

qzILMatrix& qzILMatrix::operator=(qzILMatrix const& other) {
    if (this == &other) return *this;
    Resize(other.m_iRows, other.m_iColumns);
    ForEachElement(*this, [&](double& element, int i, int j) { element = other(i, j); });
    return *this;
}

void qzILMatrix::Init() {
    Resize(0, 0);
    m_dfEpsilon = qzILMatrix().m_dfEpsilon;
}

void qzILMatrix::Resize(int rows, int columns) {
    if (!m_bValid || rows != m_iRows || columns != m_iColumns) {
        Delete2DArray(m_ppElements, m_iRows);
        m_ppElements = New2DArray(rows, columns);
        m_bValid = m_ppElements != nullptr;
        m_iRows = m_bValid ? rows : 0;
        m_iColumns = m_bValid ? columns : 0;
    }
    SetToZero();
}

/// A zero matrix with the tolerance of this.
qzILMatrix qzILMatrix::Result(int rows, int columns) const {
    qzILMatrix result(rows, columns);
    result.m_dfEpsilon = m_dfEpsilon;
    return result;
}

void qzILMatrix::SetToConstant(double value) {
    ForEachElement(*this, [value](double& element, int, int) { element = value; });
}

void qzILMatrix::SetToIdentity() {
    ForEachElement(*this, [](double& element, int i, int j) { element = i == j ? 1.0 : 0.0; });
}

void qzILMatrix::MakeDiag(double const* elements, int count) {
    ForEachElement(*this, [&](double& element, int i, int j) { element = i == j && i < count ? elements[i] : 0.0; });
}

void qzILMatrix::GetDiag(double* elements) const {
    for (int i = 0; i < std::min(m_iRows, m_iColumns); ++i) elements[i] = m_ppElements[i][i];
}

double qzILMatrix::Mean() const {
    double sum = 0.0;
    ForEachElement(*this, [&](double element, int, int) { sum += element; });
    return sum / (static_cast<double>(m_iRows) * m_iColumns);
}

double qzILMatrix::Trace() const {
    double sum = 0.0;
    for (int i = 0; i < std::min(m_iRows, m_iColumns); ++i) sum += m_ppElements[i][i];
    return sum;
}

double qzILMatrix::Sign(double a, double b) {
    return b >= 0 ? std::abs(a) : -std::abs(a);
}

double qzILMatrix::Pythagoras(double a, double b) {
    double const larger = std::max(std::abs(a), std::abs(b));
    double const smaller = std::min(std::abs(a), std::abs(b));
    return larger == 0 ? 0.0 : larger * std::sqrt(1 + Square(smaller / larger));
}

bool qzILMatrix::operator==(qzILMatrix const& other) const {
    if (this == &other) return true;
    if (m_iRows != other.m_iRows || m_iColumns != other.m_iColumns) return false;
    for (int i = 0; i < m_iRows; ++i)
        for (int j = 0; j < m_iColumns; ++j)
            if (!IsAlmostEqual(m_ppElements[i][j], other(i, j))) return false;
    return true;
}

qzILMatrix qzILMatrix::Transpose() const {
    qzILMatrix result = Result(m_iColumns, m_iRows);
    ForEachElement(result, [this](double& element, int i, int j) { element = m_ppElements[j][i]; });
    return result;
}

qzILMatrix qzILMatrix::operator+(qzILMatrix const& other) const {
    qzILMatrix result = Result(m_iRows, m_iColumns);
    ForEachElement(result, [&](double& element, int i, int j) {
        if (other.Has(i, j)) element = m_ppElements[i][j] + other(i, j);
    });
    return result;
}

qzILMatrix qzILMatrix::operator-(qzILMatrix const& other) const {
    qzILMatrix result = Result(m_iRows, m_iColumns);
    ForEachElement(result, [&](double& element, int i, int j) {
        if (other.Has(i, j)) element = m_ppElements[i][j] - other(i, j);
    });
    return result;
}

qzILMatrix qzILMatrix::operator*(double factor) const {
    qzILMatrix result = Result(m_iRows, m_iColumns);
    ForEachElement(result, [&](double& element, int i, int j) { element = m_ppElements[i][j] * factor; });
    return result;
}

qzILMatrix qzILMatrix::operator*(qzILMatrix const& other) const {
    qzILMatrix result = Result(m_iRows, other.m_iColumns);
    ForEachElement(result, [&](double& element, int i, int j) {
        for (int k = 0; k < std::min(m_iColumns, other.m_iRows); ++k) element += m_ppElements[i][k] * other(k, j);
    });
    return result;
}

/// Becomes a * b; either may be this.
void qzILMatrix::SetToProduct(qzILMatrix const& a, qzILMatrix const& b) {
    if (!a.Is4x4() || !b.Is4x4()) {
        *this = a * b;
        return;
    }
    // Without a matrix in between: transforms chain many of these.
    double product[16];
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            product[4 * j + i] = a(i, 0) * b(0, j) + a(i, 1) * b(1, j) + a(i, 2) * b(2, j) + a(i, 3) * b(3, j);
    SetMatrix(product, qzILMatrixColumnAfterColumn, qzILMatrixFirstRowFirst, qzILMatrixFirstColumnFirst);
}

void qzILMatrix::PostMultiply(qzILMatrix const& other) {
    SetToProduct(*this, other);
}

void qzILMatrix::PreMultiply(qzILMatrix const& other) {
    SetToProduct(other, *this);
}

void qzILMatrix::GetArrayTraversalParameters(qzILMatrixStoringFormat format, qzILMatrixRowOrder rowOrder,
                                             qzILMatrixColumnOrder columnOrder,
                                             ArrayTraversalParameters& parameters) const {
    parameters = {};
    if (format == qzILMatrixColumnAfterColumn) {
        parameters.iOuterCount = m_iColumns;
        parameters.iInnerCount = m_iRows;
        parameters.iRowStepInner = 1;
        parameters.iColumnStepOuter = 1;
    } else {
        parameters.iOuterCount = m_iRows;
        parameters.iInnerCount = m_iColumns;
        parameters.iRowStepOuter = 1;
        parameters.iColumnStepInner = 1;
    }
    if (rowOrder == qzILMatrixLastRowFirst) {
        parameters.iRowStart = m_iRows - 1;
        parameters.iRowStepInner *= -1;
        parameters.iRowStepOuter *= -1;
    }
    if (columnOrder == qzILMatrixLastColumnFirst) {
        parameters.iColumnStart = m_iColumns - 1;
        parameters.iColumnStepInner *= -1;
        parameters.iColumnStepOuter *= -1;
    }
}

namespace {

/// Calls f(row, column) in the order of the walk.
template <class Parameters, class F>
void Traverse(Parameters const& p, F&& f) {
    for (int outer = 0; outer < p.iOuterCount; ++outer)
        for (int inner = 0; inner < p.iInnerCount; ++inner)
            f(p.iRowStart + inner * p.iRowStepInner + outer * p.iRowStepOuter,
              p.iColumnStart + inner * p.iColumnStepInner + outer * p.iColumnStepOuter);
}

}  // namespace

void qzILMatrix::LoadArray(double const* elements, ArrayTraversalParameters const& parameters) {
    Traverse(parameters, [&](int row, int column) { m_ppElements[row][column] = *elements++; });
}

void qzILMatrix::StoreArray(double* elements, ArrayTraversalParameters const& parameters) const {
    Traverse(parameters, [&](int row, int column) { *elements++ = m_ppElements[row][column]; });
}

void qzILMatrix::SetMatrix(double const* elements, qzILMatrixStoringFormat format, qzILMatrixRowOrder rowOrder,
                           qzILMatrixColumnOrder columnOrder) {
    if (elements == nullptr) return;
    ArrayTraversalParameters parameters;
    GetArrayTraversalParameters(format, rowOrder, columnOrder, parameters);
    LoadArray(elements, parameters);
}

void qzILMatrix::StoreElems(double* elements, qzILMatrixStoringFormat format, qzILMatrixRowOrder rowOrder,
                            qzILMatrixColumnOrder columnOrder) const {
    if (elements == nullptr) return;
    ArrayTraversalParameters parameters;
    GetArrayTraversalParameters(format, rowOrder, columnOrder, parameters);
    StoreArray(elements, parameters);
}
