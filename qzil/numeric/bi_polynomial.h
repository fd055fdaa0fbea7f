#pragma once

#include "qzil/numeric/matrix.h"

/// Fits values at points (x, y) by a polynomial, the sum of coefficients[i][j] * x^i * y^j with i below orderX and j
/// below orderY, in the least squares. The system solved has (orderX + 1) * (orderY + 1) unknowns, of which the last
/// ones are not used, deliberately: hence with as many points as unknowns it is solved as a square one, and it is
/// always reported singular. `condition` and `conditionNumber` are those of `qzILMatrix::SolveSystem`. For sizes that
/// are not positive, or too large, the condition is singular and nothing else is written.
QZIL_API void FitBiPolynomial(double* values, double* xs, double* ys, int numPoints, int orderX, int orderY,
                              double** coefficients, qzILMatrixCondition& condition, bool wantConditionNumber,
                              qzILMatrixNorm norm, double* conditionNumber);
