#include "qzil/image/core_values.h"

#include "qzil/image/color.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "qzil/numeric/matrix_3d.h"
#include "qzil/numeric/random_number.h"
#include "qzil/numeric/rotation.h"
#include "qzil/platform/host.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

void PrintTo(qzILBbox2l const& box, std::ostream* stream) {
    *stream << '(' << box.Origin.x << ", " << box.Origin.y << ", " << box.Size.x << ", " << box.Size.y << ')';
}

namespace {

TEST(Error, ClassOfACodeFollowsFromItsHighHalf) {
    // The first code of each class and of the next.
    for (unsigned const code : {0u, 1u, 0xFFFFu, 0x10000u, 0x1FFFFu, 0x20000u, 0x2FFFFu, 0x30000u, 0xFFFFFFFFu}) {
        qzILError error(code);
        SCOPED_TRACE(code);
        EXPECT_EQ(error.IsNoError(), code == 0);
        EXPECT_EQ(error.IsFatalError(), code == 0x10000 || code == 0x1FFFF);
        EXPECT_EQ(error.IsWarning(), code == 0x20000 || code == 0x2FFFF);
        qzILError const copy(error);
        error.Trash();
        EXPECT_EQ(static_cast<unsigned>(error), code);
        EXPECT_TRUE(error == copy);
        error.Init();
        EXPECT_EQ(error == copy, code == 0);
        EXPECT_TRUE(error == qzILError());
        error.SetErrorCode(code);
        EXPECT_EQ(error.GetErrorCode(), code);
    }
}

/// Classes of values and numbers are known by name, and go back to their first values.
template <class T>
char const* NameOf() {
    EXPECT_STREQ(T::GetClassNameA(), T::m_ClassName);
    T object;
    EXPECT_STREQ(object.GetActualClassName(), T::m_ClassName);
    object.Trash();
    object.Init();
    return T::m_ClassName;
}

template <class... T>
std::vector<std::string> NamesOf() {
    return {NameOf<T>()...};
}

TEST(CoreValues, ClassNames) {
    EXPECT_EQ((NamesOf<qzILError, qzILBbox2l, qzILVector2l, qzILVector2f, qzILVector2d, qzILColor, qzILImageHelper,
                       qzILMatrix, qzILMatrix3D, qzILQuaternion, qzILRandomNumber, CMFImage>()),
              (std::vector<std::string>{"qzILError", "qzILBbox2l", "qzILVector2l", "qzILVector2f", "qzILVector2d",
                                        "qzILColor", "qzILImageHelper", "qzILMatrix", "qzILMatrix3D", "qzILQuaternion",
                                        "qzILRandomNumber", "CMFImage"}));
    qzILMemoryPool pool(1, 1, 1, 1, 1, 1);
    EXPECT_STREQ(pool.GetActualClassName(), qzILMemoryPool::GetClassNameA());
    qzILMatrix3D matrix;
    matrix.SetToZero();
    matrix.SetEpsilon(1);
    matrix.Init();
    EXPECT_TRUE(matrix == qzILMatrix3D() && !matrix.IsVerySmall(0.5)) << "the identity, told by the first tolerance";
}

TEST(Vectors, SumsWithDoublesAreDoubles) {
    qzILVector2d const exact(1.0 / 3, 1e-12);
    EXPECT_EQ((qzILVector2l(1, 1) + exact), qzILVector2d(1 + exact.x, 1 + exact.y));
    EXPECT_EQ((qzILVector2l(1, 1) - exact), qzILVector2d(1 - exact.x, 1 - exact.y));
}

TEST(Flags, MasksSetClearAndTestTheWord) {
    unsigned const initial = qzILGetAllFlags();
    EXPECT_EQ(initial, 1u) << "the word at load";
    EXPECT_TRUE(qzILGetFlags(0));
    qzILSetFlags(0x16, 5);
    EXPECT_EQ(qzILGetAllFlags(), 0x17u);
    EXPECT_TRUE(qzILGetFlags(0x12));
    EXPECT_FALSE(qzILGetFlags(0x1A)) << "one bit of the mask is missing";
    qzILSetFlags(0x3, 0);
    EXPECT_EQ(qzILGetAllFlags(), 0x14u);
    qzILSetAllFlags(0);
    EXPECT_TRUE(qzILGetFlags(0));
    EXPECT_FALSE(qzILGetFlags(1));
    qzILSetAllFlags(initial);
    EXPECT_EQ(qzILFast(), 1);
}

std::vector<std::string> g_oTraced;

TEST(Trace, FormatsAndCutsAt511Bytes) {
    g_oTraced.clear();
    qzil::platform::SetDebugOutputHook([](char const* text) { g_oTraced.emplace_back(text); });
    _qzILTRACE("line %d of %s", 7, "field");
    std::string const text(600, 'x');
    for (int length : {510, 511, 512, 600}) _qzILTRACE("%.*s", length, text.c_str());
    qzil::platform::SetDebugOutputHook(nullptr);
    _qzILTRACE("dropped");
    auto const cut = [&](std::size_t length) { return text.substr(0, length); };
    EXPECT_EQ(g_oTraced, (std::vector{std::string("line 7 of field"), cut(510), cut(511), cut(511), cut(511)}));
}

template <class To, class From>
To Assigned(From const& from) {
    To to;
    to = from;
    return to;
}

TEST(Vectors, ConversionsTruncate) {
    EXPECT_EQ(Assigned<qzILVector2l>(qzILVector2f(2.9f, -2.9f)), qzILVector2l(2, -2));
    EXPECT_EQ(Assigned<qzILVector2l>(qzILVector2d(-0.999, 7.5)), qzILVector2l(0, 7));
    EXPECT_EQ(Assigned<qzILVector2f>(qzILVector2l(-3, 4)), qzILVector2f(-3, 4));
    EXPECT_EQ(Assigned<qzILVector2f>(qzILVector2d(0.1, -0.25)), qzILVector2f(0.1f, -0.25f));
    EXPECT_EQ(Assigned<qzILVector2d>(qzILVector2l(5, -6)), qzILVector2d(5, -6));
    EXPECT_EQ(Assigned<qzILVector2d>(qzILVector2f(0.1f, 2.5f)), qzILVector2d(static_cast<double>(0.1f), 2.5));
}

/// Sum and difference with a vector of integers, by each form of the operator.
template <class Vector>
void ExpectSums(qzILVector2l const& l) {
    Vector const v(0.5, 0.25), sum(3.5, -3.75), difference(-2.5, 4.25);
    EXPECT_EQ(v + l, sum);
    EXPECT_EQ(v - l, difference);
    Vector changed = v;
    EXPECT_EQ(changed += l, sum);
    changed = v;
    EXPECT_EQ(changed -= l, difference);
}

TEST(Vectors, MixedArithmeticKeepsTheStatedType) {
    qzILVector2l const l(3, -4);
    ExpectSums<qzILVector2d>(l);
    ExpectSums<qzILVector2f>(l);
    static_assert(std::is_same_v<decltype(l + qzILVector2f()), qzILVector2f>);
    EXPECT_EQ(l + qzILVector2f(0.75f, 0.75f), qzILVector2f(3.75f, -3.25f));
    EXPECT_EQ(l - qzILVector2f(0.75f, 0.75f), qzILVector2f(2.25f, -4.75f));
    EXPECT_EQ(l * 0.5f, qzILVector2f(1.5f, -2.0f));
    EXPECT_EQ(0.5f * l, qzILVector2f(1.5f, -2.0f));
    qzILVector2l sum = l;
    sum += qzILVector2f(1.9f, 1.9f);
    EXPECT_EQ(sum, qzILVector2l(4, -3)) << "truncated before the addition: -4 + 1, not truncate(-2.1)";
    sum -= qzILVector2f(-1.9f, 0.9f);
    EXPECT_EQ(sum, qzILVector2l(5, -3));
}

TEST(Rectangle, EmptyMeansASideBelowOne) {
    EXPECT_TRUE(qzILBbox2l().IsEmpty());
    EXPECT_TRUE(qzILBbox2l(5, 5, 0, 3).IsEmpty());
    EXPECT_TRUE(qzILBbox2l(5, 5, 3, -1).IsEmpty());
    EXPECT_FALSE(qzILBbox2l(-5, -5, 1, 1).IsEmpty());
    EXPECT_FALSE(qzILBbox2l(0, 0, 0, 0) == qzILBbox2l(5, 5, 0, 0)) << "empty rectangles differ by origin";
    EXPECT_FALSE(qzILBbox2l(1, 2, 3, 4) == qzILBbox2l(1, 2, 3, 5));
}

TEST(Rectangle, Intersection) {
    auto const box = [](std::vector<int> const& n) { return qzILBbox2l(n[0], n[1], n[2], n[3]); };
    for (auto const& row : qzil::test::ReadTable("image/rectangles.tsv")) {
        auto const a = box(row.Numbers("a")), b = box(row.Numbers("b")), both = box(row.Numbers("both"));
        EXPECT_EQ(a.Intersect(b), both);
        EXPECT_EQ(b.Intersect(a), both);
    }
}

// Every cell of a grid round both rectangles belongs to one of the four boxes exactly when it is in outer but not
// inner.
TEST(SplitBoxes, CoverOuterMinusInnerOnce) {
    qzILBbox2l const outer(-2, 3, 7, 6);
    auto const holds = [](qzILBbox2l const& b, int x, int y) {
        return x >= b.Origin.x && x < b.Origin.x + b.Size.x && y >= b.Origin.y && y < b.Origin.y + b.Size.y;
    };
    for (int ix = -2; ix <= 4; ++ix) {
        for (int iy = 3; iy <= 8; ++iy) {
            for (int w = 0; ix + w <= 5; ++w) {
                for (int h = 0; iy + h <= 9; ++h) {
                    qzILBbox2l const inner(ix, iy, w, h);
                    qzILBbox2l boxes[4];
                    qzILSplitBoxes(inner, outer, &boxes[0], &boxes[1], &boxes[2], &boxes[3]);
                    for (int y = 0; y < 12; ++y) {
                        for (int x = -5; x < 8; ++x) {
                            int count = 0;
                            for (auto const& box : boxes) count += holds(box, x, y);
                            ASSERT_EQ(count, holds(outer, x, y) && !holds(inner, x, y))
                                << x << ' ' << y << ' ' << ::testing::PrintToString(inner);
                        }
                    }
                }
            }
        }
    }
}

TEST(SplitBoxes, SidesHaveTheRowsOfInnerAndTheOthersTheFullWidth) {
    qzILBbox2l left, top, right, bottom;
    qzILSplitBoxes({3, 4, 5, 6}, {1, 1, 20, 30}, &left, &top, &right, &bottom);
    EXPECT_EQ(left, qzILBbox2l(1, 4, 2, 6));
    EXPECT_EQ(right, qzILBbox2l(8, 4, 13, 6));
    // Which of the two is above depends on the row order of the format: y grows upward on a top-down one.
    qzILBbox2l const low = top.Origin.y < bottom.Origin.y ? top : bottom;
    qzILBbox2l const high = top.Origin.y < bottom.Origin.y ? bottom : top;
    EXPECT_EQ(low, qzILBbox2l(1, 1, 20, 3));
    EXPECT_EQ(high, qzILBbox2l(1, 10, 20, 21));

    qzILSplitBoxes({7, 7, 0, 5}, {1, 1, 20, 30}, &left, &top, &right, &bottom);
    EXPECT_EQ(left, qzILBbox2l(1, 1, 20, 30));
    EXPECT_TRUE(top.IsEmpty() && right.IsEmpty() && bottom.IsEmpty());

    // The default mask rectangle reaches the end of the 32-bit coordinates.
    constexpr int kMax = 0x7FFFFFFF;
    qzILSplitBoxes({5, 6, 2, 3}, {1, 1, kMax, kMax}, &left, &top, &right, &bottom);
    EXPECT_EQ(left, qzILBbox2l(1, 6, 4, 3));
    EXPECT_EQ(right, qzILBbox2l(7, 6, kMax - 6, 3));
    EXPECT_EQ(top.Size.y + std::int64_t{bottom.Size.y}, std::int64_t{kMax} - 3);
}

}  // namespace
