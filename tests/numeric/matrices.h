#pragma once

#include "qzil/numeric/matrix.h"
#include "qzil/numeric/random_number.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qzil::test {

/// Elements of -1 to 1.
inline qzILMatrix RandomMatrix(int rows, int columns, int seed) {
    qzILRandomNumber random;
    random.SetFixedSeed(seed);
    random.SetUniform(-1, 1);
    qzILMatrix matrix(rows, columns);
    for (int i = 0; i < matrix.GetNumRows(); ++i)
        for (int j = 0; j < matrix.GetNumCols(); ++j) matrix(i, j) = random.GetNumber();
    return matrix;
}

inline qzILMatrix Identity(int size) {
    qzILMatrix matrix(size, size);
    matrix.SetToIdentity();
    return matrix;
}

/// The largest difference of two elements; infinite for other sizes or a NaN.
inline double Difference(qzILMatrix const& a, qzILMatrix const& b) {
    if (a.GetNumRows() != b.GetNumRows() || a.GetNumCols() != b.GetNumCols()) return HUGE_VAL;
    double largest = 0;
    for (int i = 0; i < a.GetNumRows(); ++i)
        for (int j = 0; j < a.GetNumCols(); ++j) {
            double const difference = std::abs(a(i, j) - b(i, j));
            if (!(difference <= largest)) largest = std::isnan(difference) ? HUGE_VAL : difference;
        }
    return largest;
}

}  // namespace qzil::test
