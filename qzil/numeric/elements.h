#pragma once

#include "qzil/numeric/matrix.h"

namespace qzil {

/// Calls f(element, row, column) for each element, row after row.
template <class Matrix, class F>
void ForEachElement(Matrix& matrix, F&& f) {
    for (int i = 0; i < matrix.GetNumRows(); ++i)
        for (int j = 0; j < matrix.GetNumCols(); ++j) f(matrix(i, j), i, j);
}

}  // namespace qzil
