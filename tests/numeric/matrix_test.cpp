#include "numeric/matrices.h"
#include "support/allocation_hook.h"
#include "support/table.h"

#include "qzil/numeric/arrays.h"
#include "qzil/numeric/bi_polynomial.h"
#include "qzil/numeric/matrix_3d.h"

#include <algorithm>
#include <array>
#include <climits>
#include <functional>
#include <vector>

namespace qzil::test {
namespace {

TEST(Arrays, BlocksAreCutOutOfArrays) {
    constexpr int kRows = 4, kColumns = 5;
    for (Row const& tested : ReadTable("numeric/blocks.tsv")) {
        SCOPED_TRACE(tested["block"]);
        std::vector<int> const n = tested.Numbers("block");
        double** array = New2DArray(kRows, kColumns);
        for (int i = 0; i < kRows * kColumns; ++i) array[i / kColumns][i % kColumns] = i + 1;
        double** const old = array;
        bool const can = tested.Number("can be") != 0;
        ASSERT_EQ(Truncate2DArray(array, kRows, kColumns, n[0], n[1], n[2], n[3]), can ? 1 : -1);
        EXPECT_TRUE(can || array == old);
        for (int k = 0; can && k < n[2] * n[3]; ++k) {
            long const row = long{n[0]} + k / n[3], column = long{n[1]} + k % n[3];
            bool const inside = row >= 0 && row < kRows && column >= 0 && column < kColumns;
            EXPECT_EQ(array[k / n[3]][k % n[3]], inside ? row * kColumns + column + 1 : 0) << k;
        }
        Delete2DArray(array, can ? n[2] : kRows);
    }
    double** none = nullptr;
    EXPECT_EQ(Truncate2DArray(none, 1, 1, 0, 0, 1, 1), -1);
    Delete2DArray(none, 7);
    for (int const bad : {0, -1, INT_MIN}) EXPECT_TRUE(!New2DArray(bad, 3) && !New2DArray(3, bad));
}

TEST(Matrix, IsEmptyUntilItHasASize) {
    qzILMatrix matrix;
    double const values[] = {1, 2, 3, 4};
    EXPECT_TRUE(matrix.IsNotValid() && matrix.GetElemsPtr() == nullptr && matrix.GetNumRows() == 0);
    matrix.SetMatrix(values, qzILMatrixRowAfterRow, qzILMatrixFirstRowFirst, qzILMatrixFirstColumnFirst);
    EXPECT_EQ(matrix, qzILMatrix());
    EXPECT_TRUE(std::isnan(matrix.Mean()));
    matrix.SetSize(2, 2);
    matrix.SetToConstant(3);
    EXPECT_EQ(matrix.Mean(), 3);
    matrix.Resize(2, 2);
    EXPECT_TRUE(matrix.IsValid() && Difference(matrix, qzILMatrix(2, 2)) == 0);
    for (auto const [rows, columns] : {std::array{0, 2}, {2, 0}, {-1, 3}, {INT_MIN, INT_MIN}}) {
        matrix.Resize(rows, columns);
        EXPECT_TRUE(matrix.IsNotValid() && matrix.GetNumRows() == 0 && matrix.GetNumCols() == 0);
        matrix = qzILMatrix(values, 2, 2);
    }
    EXPECT_TRUE(qzILMatrix(static_cast<double const*>(nullptr), 2, 2).IsValid());
}

TEST(Matrix, ArraysAreReadAndWrittenInEveryOrder) {
    double const elements[] = {1, 2, 3, 4, 5, 6};
    double const* const pointers[] = {elements, elements + 3};
    qzILMatrix const matrix(pointers, 2, 3);
    EXPECT_EQ(matrix, qzILMatrix(elements, 2, 3));
    EXPECT_EQ(matrix(1, 0), 4);
    for (bool const byColumns : {false, true}) {
        for (bool const up : {false, true}) {
            for (bool const left : {false, true}) {
                auto const format = byColumns ? qzILMatrixColumnAfterColumn : qzILMatrixRowAfterRow;
                auto const rows = up ? qzILMatrixLastRowFirst : qzILMatrixFirstRowFirst;
                auto const columns = left ? qzILMatrixLastColumnFirst : qzILMatrixFirstColumnFirst;
                std::array<double, 6> stored{}, expected{};
                for (int k = 0; k < 6; ++k) {
                    int const i = byColumns ? k % 2 : k / 3, j = byColumns ? k / 2 : k % 3;
                    expected[static_cast<std::size_t>(k)] = matrix(up ? 1 - i : i, left ? 2 - j : j);
                }
                matrix.StoreElems(stored.data(), format, rows, columns);
                EXPECT_EQ(stored, expected) << byColumns << up << left;
                EXPECT_EQ(qzILMatrix(expected.data(), 2, 3, format, rows, columns), matrix);
            }
        }
    }
    matrix.StoreElems(nullptr, qzILMatrixRowAfterRow, qzILMatrixFirstRowFirst, qzILMatrixFirstColumnFirst);
}

TEST(Matrix, ComparesWithinTheToleranceOfTheLeft) {
    qzILMatrix matrix(1, 1);
    double const step = 1e-6;
    EXPECT_FALSE(matrix.IsVerySmall(step) || matrix.IsVerySmall(-step));
    EXPECT_TRUE(matrix.IsVerySmall(std::nextafter(step, 0)) && matrix.IsAlmostEqual(5, 5 + 0.9e-6));
    qzILMatrix other = matrix;
    other(0, 0) = 0.5;
    other.SetEpsilon(1);
    EXPECT_TRUE(other == matrix);
    EXPECT_FALSE(matrix == other);
    EXPECT_TRUE(qzILMatrix(other) == matrix && (other * 1 == matrix) && (other.Transpose() == matrix));
    matrix = other;
    EXPECT_FALSE(matrix.IsVerySmall(0.5));
    EXPECT_FALSE(qzILMatrix(2, 3) == qzILMatrix(3, 2));
    EXPECT_TRUE(qzILMatrix() == qzILMatrix());
    matrix(0, 0) = NAN;
    EXPECT_TRUE(matrix == *&matrix);
    EXPECT_FALSE(matrix == qzILMatrix(matrix));
}

TEST(Matrix, HelpersHaveKnownValues) {
    EXPECT_EQ(qzILMatrix::Sign(-3, 0.0), 3);
    EXPECT_EQ(qzILMatrix::Sign(3, -1), -3);
    EXPECT_EQ(qzILMatrix::Square(-3), 9);
    EXPECT_EQ(qzILMatrix::Pythagoras(0, 0), 0);
    EXPECT_NEAR(qzILMatrix::Pythagoras(-3e300, 4e300) / 5e300, 1, 1e-15);
    EXPECT_NEAR(qzILMatrix::Pythagoras(4e-300, 3e-300) / 5e-300, 1, 1e-15);
    double const values[] = {7, 8, 9};
    double diagonal[3] = {-1, -1, -1};
    qzILMatrix wide(2, 3);
    wide.SetToConstant(5);
    wide.MakeDiag(values, 3);
    EXPECT_EQ(wide.Trace(), 15);
    EXPECT_EQ(wide.Norm(qzILMatrixOneNorm), 8);
    wide.GetDiag(diagonal);
    EXPECT_TRUE(diagonal[0] == 7 && diagonal[1] == 8 && diagonal[2] == -1);
    wide.MakeDiag(values, 1);
    EXPECT_EQ(wide.Mean(), 7.0 / 6);
    wide.SetToIdentity();
    EXPECT_EQ(wide.Trace(), 2);
    EXPECT_EQ(wide.Mean(), 2.0 / 6);
}

TEST(Matrix, CalculatesElementByElement) {
    double const a[] = {1, 2, 3, 4, 5, 6};
    double const b[] = {2, -1, 0, 3};
    qzILMatrix const wide(a, 2, 3);
    qzILMatrix const square(b, 2, 2);
    auto const expect = [](qzILMatrix const& got, std::vector<double> const& elements, int rows) {
        EXPECT_EQ(Difference(got, qzILMatrix(elements.data(), rows, static_cast<int>(elements.size()) / rows)), 0);
    };
    expect(square * wide, {-2, -1, 0, 12, 15, 18}, 2);
    expect(wide.Transpose(), {1, 4, 2, 5, 3, 6}, 3);
    expect(wide * 2, {2, 4, 6, 8, 10, 12}, 2);
    expect(wide / 4, {0.25, 0.5, 0.75, 1, 1.25, 1.5}, 2);
    expect(wide + wide, {2, 4, 6, 8, 10, 12}, 2);
    // Where sizes differ, only what both have counts.
    expect(wide - square, {-1, 3, 0, 4, 2, 0}, 2);
    expect(square + wide, {3, 1, 4, 8}, 2);
    expect(wide * wide, {9, 12, 15, 24, 33, 42}, 2);
    expect(wide + wide.Transpose(), {2, 6, 0, 6, 10, 0}, 2);
    EXPECT_TRUE((qzILMatrix() * wide).IsNotValid() && (qzILMatrix() + wide).IsNotValid());
    expect(wide * qzILMatrix(1, 1), {0, 0}, 2);
    EXPECT_EQ(square.InnerProduct(square), 14);
    qzILMatrix fives(2, 3);
    fives.SetToConstant(5);
    EXPECT_NEAR(wide.CorrelationCoefficient(wide * 3 + fives), 1, 1e-15);
    EXPECT_NEAR(wide.CorrelationCoefficient(wide * -2), -1, 1e-15);
    EXPECT_TRUE((square + square.Transpose()).IsSymmetric());
    EXPECT_FALSE(square.IsSymmetric() || wide.IsSymmetric() || wide.IsOrthogonal() || square.IsOrthogonal());
}

TEST(Matrix, MultipliesInPlace) {
    for (int const size : {4, 3}) {
        qzILMatrix const a = RandomMatrix(size, size, 1);
        qzILMatrix const b = RandomMatrix(size, size, 2);
        qzILMatrix m = a;
        m.PostMultiply(b);
        EXPECT_LT(Difference(m, a * b), 1e-15);
        m = a;
        m.PreMultiply(b);
        EXPECT_LT(Difference(m, b * a), 1e-15);
        m.PostMultiply(m);
        EXPECT_LT(Difference(m, b * a * b * a), 1e-15);
    }
}

TEST(Matrix, RunsOutOfMemoryWithoutHarm) {
    qzILMatrix const square = RandomMatrix(4, 4, 1);
    qzILMatrix const tall = RandomMatrix(6, 3, 2);
    std::vector<double> numbers(16, 1.0);
    using Action = std::function<void(qzILMatrix&)>;
    qzILMatrixCondition condition;
    Action const actions[] = {
        [&](qzILMatrix& m) { m = tall; },
        [&](qzILMatrix& m) { m.PostMultiply(tall); },
        [&](qzILMatrix& m) { m = m + square * 2 - m.Transpose(); },
        [&](qzILMatrix& m) { m = tall.Inverse(condition); },
        [&](qzILMatrix& m) { m = tall.Transpose().Inverse(condition); },
        [&](qzILMatrix& m) { m = tall.SolveSystem(tall, condition, true, qzILMatrixOneNorm, numbers.data()); },
        [&](qzILMatrix& m) { m.SetToConstant(tall.SeparateIntoTensorProduct(m, m)); },
        [&](qzILMatrix& m) { m.SetToConstant(square.SymmetricEigensolve(m, m)); },
        [&](qzILMatrix& m) {
            m.SetToConstant(tall.CorrelationCoefficient(tall) + tall.ConditionNumber(qzILMatrixTwoNorm));
        },
        [&](qzILMatrix& m) { m = qzILMatrix3D(m); },
        [&](qzILMatrix& m) { m.SetToConstant(m.IsOrthogonal() + m.IsSymmetric() + m.Rank()); },
        [&](qzILMatrix& m) {
            FitBiPolynomial(numbers.data(), numbers.data(), numbers.data(), 9, 1, 1, m.GetElemsPtr(), condition, false,
                            qzILMatrixOneNorm, nullptr);
        },
        [&](qzILMatrix&) {
            double** array = New2DArray(3, 3);
            if (array != nullptr) Delete2DArray(array, Truncate2DArray(array, 3, 3, 1, 1, 2, 2) == 1 ? 2 : 3);
        },
    };
    for (Action const& action : actions) {
        SCOPED_TRACE(&action - actions);
        for (std::uint64_t nth = 1, failed = 1; failed != 0; ++nth) {
            std::int64_t const before = LiveBlocks();
            {
                qzILMatrix matrix(square);
                AllocationFailure const failure(nth);
                EXPECT_NO_THROW(action(matrix));
                failed = failure.Happened();
                EXPECT_TRUE(matrix.IsValid() || (matrix.GetElemsPtr() == nullptr && matrix.GetNumRows() == 0));
            }
            EXPECT_EQ(LiveBlocks(), before) << nth;
        }
    }
}

TEST(Matrix3D, OperationsAreRightFactors) {
    double const angle = 0.7, c = std::cos(angle), s = std::sin(angle);
    struct {
        std::function<qzILStatus(qzILMatrix3D&)> apply;
        double factor[16];
    } const kCases[] = {
        {[](qzILMatrix3D& m) { return m.Translate(2, 3, 4); }, {1, 0, 0, 2, 0, 1, 0, 3, 0, 0, 1, 4, 0, 0, 0, 1}},
        {[](qzILMatrix3D& m) { return m.Scale(2, 3, 4); }, {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1}},
        {[=](qzILMatrix3D& m) { return m.RotateZAxis(angle); }, {c, -s, 0, 0, s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
        {[=](qzILMatrix3D& m) { return m.RotateYAxis(angle); }, {c, 0, s, 0, 0, 1, 0, 0, -s, 0, c, 0, 0, 0, 0, 1}},
        {[=](qzILMatrix3D& m) { return m.RotateXAxis(angle); }, {1, 0, 0, 0, 0, c, -s, 0, 0, s, c, 0, 0, 0, 0, 1}},
    };
    qzILMatrix const random = RandomMatrix(4, 4, 3);
    for (auto const& tested : kCases) {
        qzILMatrix3D m;
        EXPECT_EQ(tested.apply(m), 1);
        EXPECT_EQ(Difference(m, qzILMatrix(tested.factor, 4, 4)), 0);
        m = random;
        EXPECT_EQ(tested.apply(m), 1);
        EXPECT_LT(Difference(m, random * qzILMatrix(tested.factor, 4, 4)), 1e-15);
        for (auto const [rows, columns, status] :
             {std::array{4, 2, 1}, {4, 6, 1}, {2, 4, 1}, {6, 4, 1}, {3, 3, -1}, {0, 0, -1}, {6, 6, -1}}) {
            qzILMatrix const other = RandomMatrix(rows, columns, 4);
            m = other;
            EXPECT_EQ(tested.apply(m), status);
            EXPECT_EQ(Difference(m, other) > 0, status == 1 && columns >= 4) << rows << " x " << columns;
        }
    }
    qzILMatrix3D turned;
    EXPECT_EQ(turned.RotateXAxis(1), 1);
    EXPECT_EQ(turned.RotateYAxis(2), 1);
    EXPECT_TRUE(turned.IsOrthogonal());
    EXPECT_EQ(turned.Translate(1, 0, 0), 1);
    EXPECT_FALSE(turned.IsOrthogonal());
    EXPECT_EQ(Difference(qzILMatrix3D(random), random), 0);
    EXPECT_TRUE(qzILMatrix3D(qzILMatrix(4, 5)).IsNotValid());
}

TEST(BiPolynomial, IsFoundAgainFromItsValues) {
    for (auto const [points, orderX, orderY] :
         {std::array{60, 1, 1}, {60, 3, 2}, {60, 2, 4}, {200, 5, 1}, {200, 1, 6}, {12, 3, 2}}) {
        SCOPED_TRACE(testing::Message() << points << " points, " << orderX << " x " << orderY);
        qzILMatrix const wanted = RandomMatrix(orderX, orderY, 7);
        qzILMatrix const places = RandomMatrix(2, points, 8) * 1.5;
        std::vector<double> values(points);
        for (int k = 0; k < points; ++k)
            for (int i = 0; i < orderX; ++i)
                for (int j = 0; j < orderY; ++j)
                    values[k] += wanted(i, j) * std::pow(places(0, k), i) * std::pow(places(1, k), j);
        qzILMatrix found(orderX, orderY);
        qzILMatrixCondition condition = qzILMatrixWellConditioned;
        double number = 0;
        FitBiPolynomial(values.data(), places.GetElemsPtr()[0], places.GetElemsPtr()[1], points, orderX, orderY,
                        found.GetElemsPtr(), condition, true, qzILMatrixTwoNorm, &number);
        EXPECT_LT(Difference(found, wanted), 1e-9);
        EXPECT_EQ(condition, qzILMatrixSingular);  // by the columns that are not used
        EXPECT_EQ(number, HUGE_VAL);
    }
    for (auto const [points, orderX, orderY] :
         {std::array{0, 1, 1}, {-1, 1, 1}, {1, 0, 1}, {1, 1, INT_MIN}, {1, INT_MAX, INT_MAX}}) {
        qzILMatrixCondition condition = qzILMatrixWellConditioned;
        FitBiPolynomial(nullptr, nullptr, nullptr, points, orderX, orderY, nullptr, condition, false, qzILMatrixOneNorm,
                        nullptr);
        EXPECT_EQ(condition, qzILMatrixSingular);
    }
}

}  // namespace
}  // namespace qzil::test
