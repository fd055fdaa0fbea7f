#include "numeric/matrices.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace qzil::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Case {
    std::string name;
    qzILMatrix matrix;
    std::vector<double> values = {};  ///< known singular values, falling
};

/// A matrix with known singular values, rotated on both sides.
qzILMatrix Composed(std::vector<double> const& values, int rows) {
    int const columns = static_cast<int>(values.size());
    qzILMatrix middle(rows, columns);
    middle.MakeDiag(values.data(), columns);
    auto const reflection = [](int size) {
        qzILMatrix const v = RandomMatrix(size, 1, size + 5);
        return Identity(size) - v * v.Transpose() * (2 / v.InnerProduct(v));
    };
    return reflection(rows) * middle * reflection(columns);
}

std::vector<Case> Cases() {
    std::vector<Case> cases;
    for (auto const [rows, columns] : std::vector<std::array<int, 2>>{
             {1, 1}, {2, 2}, {3, 3}, {7, 7}, {40, 40}, {5, 3}, {50, 4}, {3, 1}, {1, 3}, {3, 5}, {4, 50}})
        for (double const scale : {1.0, 1e-300, 1e-160, 1e160, 1e300})
            cases.push_back({"random " + std::to_string(rows) + " x " + std::to_string(columns) + " times " +
                                 std::to_string(std::log10(scale)),
                             RandomMatrix(rows, columns, rows * 64 + columns) * scale});
    for (int rank = 1; rank < 6; ++rank)
        cases.push_back({"rank " + std::to_string(rank), RandomMatrix(8, rank, 3) * RandomMatrix(rank, 6, 4)});
    for (auto const& values : std::vector<std::vector<double>>{{3, 2, 1},
                                                               {1, 1, 1, 1},
                                                               {5, 0, 0},
                                                               {1e150, 1, 1e-150},
                                                               {4, 4, 1e-9, 1e-9, 0},
                                                               {2, 1, 0.5, 0.25, 0.125, 1e-15, 1e-16}})
        for (int const extra : {0, 4}) {
            int const columns = static_cast<int>(values.size());
            cases.push_back({"known " + std::to_string(columns), Composed(values, columns + extra), values});
        }
    double const graded[] = {1e-310, 0, 0, 0, 1, 0, 0, 0, 1e150};
    cases.push_back({"graded", qzILMatrix(graded, 3, 3), {1e150, 1, 1e-310}});
    double const shift[] = {0, 1, 0, 0, 0, 1, 0, 0, 0};
    cases.push_back({"nilpotent", qzILMatrix(shift, 3, 3), {1, 1, 0}});
    qzILMatrix ones(6, 6);
    ones.SetToConstant(1);
    cases.push_back({"ones", ones, {6, 0, 0, 0, 0, 0}});
    qzILMatrix hilbert(12, 12);
    for (int i = 0; i < 144; ++i) hilbert(i / 12, i % 12) = 1.0 / (i / 12 + i % 12 + 1);
    cases.push_back({"hilbert", hilbert});
    cases.push_back({"empty", qzILMatrix()});
    cases.push_back({"zero", qzILMatrix(8, 6), {0, 0, 0, 0, 0, 0}});
    return cases;
}

/// The matrix divided by its largest element, which is returned.
double Normalized(qzILMatrix& matrix) {
    double largest = 0;
    for (int i = 0; i < matrix.GetNumRows(); ++i)
        for (int j = 0; j < matrix.GetNumCols(); ++j) largest = std::max(largest, std::abs(matrix(i, j)));
    for (int i = 0; i < matrix.GetNumRows() && largest > 0; ++i)
        for (int j = 0; j < matrix.GetNumCols(); ++j) matrix(i, j) /= largest;
    return largest;
}

TEST(Svd, RebuildsTheMatrixFromOrthonormalVectors) {
    for (Case const& tested : Cases()) {
        SCOPED_TRACE(tested.name);
        qzILMatrix matrix = tested.matrix;
        int const rows = matrix.GetNumRows();
        int const columns = matrix.GetNumCols();
        qzILMatrix u, d, v;
        ASSERT_EQ(matrix.ThinSVD(u, d, v), 1);
        std::vector<double> values(columns);
        d.GetDiag(values.data());
        double const scale = Normalized(matrix);
        for (int i = 0; i < columns; ++i) {
            EXPECT_GE(d(i, i), 0);
            if (scale > 0) d(i, i) /= scale;
        }
        EXPECT_LT(Difference(u * d * v.Transpose(), matrix), 1e-12);
        EXPECT_LT(Difference(v.Transpose() * v, Identity(columns)), 1e-12);
        EXPECT_LT(Difference(v * v.Transpose(), Identity(columns)), 1e-12);
        qzILMatrix const products = rows < columns ? u * u.Transpose() : u.Transpose() * u;
        EXPECT_LT(Difference(products, Identity(std::min(rows, columns))), 1e-12);
        std::sort(values.begin(), values.end(), std::greater<>());
        for (std::size_t i = 0; i < tested.values.size(); ++i)
            EXPECT_NEAR(values[i], tested.values[i], 1e-14 * tested.values[0]);
        double const largest = values.empty() ? 0.0 : values[0];
        EXPECT_LE(std::abs(std::max(0.0, tested.matrix.Norm(qzILMatrixTwoNorm)) - largest), 1e-14 * largest);
    }
}

TEST(Svd, KeepsTinyValuesBesideHugeOnes) {
    double const values[] = {1e-200, 1e200, 1};
    qzILMatrix matrix(3, 3);
    matrix.MakeDiag(values, 3);
    qzILMatrix u, d, v;
    ASSERT_EQ(matrix.ThinSVD(u, d, v), 1);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(d(i, i) / values[i], 1, 1e-15);
}

TEST(Svd, RefusesWhatIsNotFiniteAndWritesNothing) {
    for (double const bad : {kNaN, HUGE_VAL, -HUGE_VAL}) {
        qzILMatrix matrix = RandomMatrix(4, 3, 1);
        matrix(2, 1) = bad;
        qzILMatrix u, d(1, 1), v;
        EXPECT_EQ(matrix.ThinSVD(u, d, v), -1);
        EXPECT_TRUE(u.IsNotValid() && v.IsNotValid() && d.GetNumRows() == 1);
        qzILMatrixCondition condition;
        EXPECT_EQ(matrix.Inverse(condition), qzILMatrix(3, 4));
        EXPECT_EQ(condition, qzILMatrixSingular);
        EXPECT_EQ(matrix.Rank(), 0);
        EXPECT_EQ(matrix.Norm(qzILMatrixTwoNorm), -HUGE_VAL);
        EXPECT_TRUE(std::isnan(matrix.ConditionNumber(qzILMatrixTwoNorm)));
        EXPECT_EQ(matrix.SeparateIntoTensorProduct(u, v), -1);
        EXPECT_EQ(u, qzILMatrix(4, 1));
        EXPECT_EQ(v, qzILMatrix(3, 1));
    }
}

TEST(Svd, GivesRankAndTensorProduct) {
    for (auto const [rows, columns] : std::vector<std::array<int, 2>>{{3, 3}, {7, 3}, {3, 7}, {1, 5}, {5, 1}}) {
        SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(columns));
        qzILMatrix const full = RandomMatrix(rows, columns, 9);
        EXPECT_EQ(full.Rank(), std::min(rows, columns));
        EXPECT_EQ(full.EffectiveRank(100), 0);
        EXPECT_EQ(full.IsSeparable(), std::min(rows, columns) == 1);
        qzILMatrix const product = RandomMatrix(rows, 1, 5) * RandomMatrix(1, columns, 6);
        EXPECT_TRUE(product.IsSeparable());
        qzILMatrix left, right;
        EXPECT_EQ(product.SeparateIntoTensorProduct(left, right), 1);
        EXPECT_LT(Difference(left * right.Transpose(), product), 1e-14);
        EXPECT_NEAR(left.InnerProduct(left), right.InnerProduct(right), 1e-14);
        qzILMatrix self = product;
        EXPECT_EQ(self.SeparateIntoTensorProduct(self, right), 1);
        EXPECT_LT(Difference(self, left), 1e-15);
    }
    EXPECT_EQ(qzILMatrix(4, 4).Rank(), 0);
    qzILMatrix strict = Identity(1) * 1e-6;
    EXPECT_FALSE(strict.IsSeparable());
    strict.SetEpsilon(1e-7);
    EXPECT_TRUE(strict.IsSeparable());
}

TEST(Inverse, IsThatOfMooreAndPenroseAndTellsTheCondition) {
    struct {
        std::vector<double> values;
        int rows;
        qzILMatrixCondition condition;
        qzILMatrixCondition ofNormalEquations;  ///< their singular values are the squares
    } const kCases[] = {
        {{3, 2, 0.5}, 3, qzILMatrixWellConditioned, qzILMatrixWellConditioned},
        {{3, 2, 0.5}, 6, qzILMatrixWellConditioned, qzILMatrixWellConditioned},
        {{3, 2, 1e-5}, 3, qzILMatrixWellConditioned, qzILMatrixIllConditioned},
        {{3, 2, 1e-7}, 3, qzILMatrixIllConditioned, qzILMatrixIllConditioned},
    };
    for (auto const& tested : kCases)
        for (bool const wide : {false, true}) {
            qzILMatrix const tall = Composed(tested.values, tested.rows);
            qzILMatrix const a = wide ? tall.Transpose() : tall;
            qzILMatrixCondition condition;
            qzILMatrix const inverse = a.Inverse(condition);
            EXPECT_EQ(condition, tested.condition);
            EXPECT_LT(Difference(a * inverse * a, a), 1e-6);
            EXPECT_LT(Difference(inverse * a * inverse, inverse), 1e-6);
            EXPECT_TRUE((a * inverse).IsSymmetric());
            EXPECT_TRUE((inverse * a).IsSymmetric());
            qzILMatrix const pseudo = tall.PseudoInverse(condition);
            EXPECT_EQ(condition, tested.ofNormalEquations);
            double const allowed = condition == qzILMatrixWellConditioned ? 1e-12 : HUGE_VAL;
            EXPECT_LE(Difference(wide ? pseudo.Transpose() : pseudo, inverse), allowed);
        }
    double const diagonal[] = {2, 0, 1e-7};
    qzILMatrix singular(3, 3);
    singular.MakeDiag(diagonal, 3);
    qzILMatrixCondition condition;
    qzILMatrix expected(3, 3);
    expected(0, 0) = 0.5;
    EXPECT_LT(Difference(singular.Inverse(condition), expected), 1e-15);
    EXPECT_EQ(condition, qzILMatrixSingular);
    singular.SetEpsilon(1e-8);
    expected(2, 2) = 1e7;
    EXPECT_LT(Difference(singular.Inverse(condition), expected), 1e-7);
    EXPECT_FALSE(singular.Inverse(condition).IsVerySmall(1e-7));
    for (int norm = 0; norm < 5; ++norm)
        EXPECT_EQ(singular.ConditionNumber(static_cast<qzILMatrixNorm>(norm)), HUGE_VAL) << norm;
}

TEST(Norms, AndConditionNumbersAreKnown) {
    double const elements[] = {1, -2, 3, 4, 5, -6};
    qzILMatrix const a(elements, 2, 3);
    double const known[] = {9, std::sqrt((91 + std::sqrt(6273.0)) / 2), 15, std::sqrt(91.0), std::sqrt(91.0)};
    double const empty[] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL, 0, 0};
    for (int i = 0; i < 5; ++i) {
        auto const norm = static_cast<qzILMatrixNorm>(i);
        EXPECT_NEAR(a.Norm(norm), known[i], 1e-14) << i;
        EXPECT_EQ(qzILMatrix().Norm(norm), empty[i]) << i;
        // The inverse of the transpose is the transpose of the inverse, and rows become columns.
        auto const turned = static_cast<qzILMatrixNorm>(i == 0 ? 2 : i == 2 ? 0 : i);
        EXPECT_NEAR(a.ConditionNumber(norm), a.Transpose().ConditionNumber(turned), 1e-12) << i;
        EXPECT_NEAR((Identity(4) * 7).ConditionNumber(norm), i < 3 ? 1 : 4, 1e-14) << i;
    }
    EXPECT_NEAR(Composed({8, 4, 2}, 5).Transpose().ConditionNumber(qzILMatrixTwoNorm), 4, 1e-14);
    EXPECT_TRUE(std::isnan(qzILMatrix().ConditionNumber(qzILMatrixTwoNorm)));
}

TEST(SolveSystem, SolvesAndGivesTheConditionOfTheInverse) {
    for (int const rows : {4, 9}) {
        qzILMatrix const a = RandomMatrix(rows, 4, 21);
        qzILMatrix const x = RandomMatrix(4, 2, 22);
        qzILMatrixCondition condition;
        EXPECT_LT(Difference(a.SolveSystem(a * x, condition, true, qzILMatrixOneNorm, nullptr), x), 1e-11);
        EXPECT_EQ(condition, qzILMatrixWellConditioned);
    }
    // The inverse has a very small singular value, this has not.
    qzILMatrix a = Identity(2);
    a(0, 0) = 1e7;
    qzILMatrixCondition condition;
    double number = -1;
    a.SolveSystem(a, condition, false, qzILMatrixOneNorm, &number);
    EXPECT_EQ(number, -1);
    a.SolveSystem(a, condition, true, qzILMatrixOneNorm, &number);
    EXPECT_NEAR(number, 1, 1e-14);
    EXPECT_NEAR(a.ConditionNumber(qzILMatrixOneNorm), 1e7, 1e-6);
}

TEST(Eigen, VectorsAreStretchedByValues) {
    for (int const size : {0, 1, 2, 3, 10, 40})
        for (double const scale : {1.0, 1e-150, 1e150}) {
            qzILMatrix const random = RandomMatrix(size, size, size + 1);
            qzILMatrix const a = random + random.Transpose();
            qzILMatrix values, vectors;
            ASSERT_EQ((a * scale).SymmetricEigensolve(values, vectors), 1);
            ASSERT_EQ(values.GetNumRows(), size);
            qzILMatrix stretch(size, size);
            for (int i = 0; i < size; ++i) stretch(i, i) = values(i, 0) / scale;
            EXPECT_LT(Difference(a * vectors, vectors * stretch), 1e-12) << size;
            EXPECT_LT(Difference(vectors.Transpose() * vectors, Identity(size)), 1e-12) << size;
        }
    double const elements[] = {2, 1, 99, 2};  // what stands below the diagonal is not read
    qzILMatrix values, vectors;
    EXPECT_EQ(qzILMatrix(elements, 2, 2).SymmetricEigensolve(values, vectors), 1);
    EXPECT_NEAR(values(0, 0) * values(1, 0), 3, 1e-14);
    EXPECT_EQ((Identity(3) * kNaN).SymmetricEigensolve(values, vectors), -1);
    EXPECT_EQ(qzILMatrix(2, 3).SymmetricEigensolve(values, vectors), -1);
    EXPECT_EQ(values.GetNumRows(), 3);
}

}  // namespace
}  // namespace qzil::test
