#include "qzil/numeric/bi_polynomial.h"

#include <climits>
#include <cmath>

namespace {

double Power(double x, int exponent) {
    switch (exponent) {
        case 0: return 1.0;
        case 1: return x;
        case 2: return x * x;
        case 3: return x * x * x;
        default: return std::pow(x, exponent);
    }
}

}  // namespace

void FitBiPolynomial(double* values, double* xs, double* ys, int numPoints, int orderX, int orderY,
                     double** coefficients, qzILMatrixCondition& condition, bool wantConditionNumber,
                     qzILMatrixNorm norm, double* conditionNumber) {
    condition = qzILMatrixSingular;
    if (numPoints <= 0 || orderX <= 0 || orderY <= 0) return;
    std::int64_t const unknowns = (std::int64_t{orderX} + 1) * (std::int64_t{orderY} + 1);
    if (unknowns > INT_MAX) return;
    qzILMatrix powers(numPoints, static_cast<int>(unknowns));
    for (int point = 0; point < powers.GetNumRows(); ++point)
        for (int i = 0; i < orderX; ++i)
            for (int j = 0; j < orderY; ++j) powers(point, i * orderY + j) = Power(xs[point], i) * Power(ys[point], j);
    qzILMatrix const solution =
        powers.SolveSystem(qzILMatrix(values, numPoints, 1), condition, wantConditionNumber, norm, conditionNumber);
    if (solution.GetNumRows() != unknowns) return;
    for (int i = 0; i < orderX; ++i)
        for (int j = 0; j < orderY; ++j) coefficients[i][j] = solution(i * orderY + j, 0);
}
