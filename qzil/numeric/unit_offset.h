#pragma once

#include "qzil/numeric/arrays.h"
#include "qzil/numeric/elements.h"

#include <algorithm>

namespace qzil {

/// An array of doubles with both indices from 1, freed at the end of the block. Zero at first.
class UnitOffsetArray {
public:
    UnitOffsetArray(int rows, int columns) : m_iRows(rows + 1), m_ppRows(New2DArray(rows + 1, columns + 1)) {
        for (int i = 0; m_ppRows != nullptr && i < m_iRows; ++i) std::fill_n(m_ppRows[i], columns + 1, 0.0);
    }
    UnitOffsetArray(UnitOffsetArray const&) = delete;
    UnitOffsetArray& operator=(UnitOffsetArray const&) = delete;
    ~UnitOffsetArray() { Delete2DArray(m_ppRows, m_iRows); }

    bool IsNull() const { return m_ppRows == nullptr; }
    double** Get() const { return m_ppRows; }
    double* operator[](int row) const { return m_ppRows[row]; }
    /// The only row of a vector.
    double* Vector() const { return m_ppRows[0]; }

private:
    int m_iRows;
    double** m_ppRows;
};

/// Takes a matrix over, from one that is indexed from 1.
inline void CopyFromUnitOffset(qzILMatrix& matrix, int rows, int columns, double** array) {
    matrix.Resize(rows, columns);
    ForEachElement(matrix, [&](double& element, int i, int j) { element = array[i + 1][j + 1]; });
}

}  // namespace qzil
