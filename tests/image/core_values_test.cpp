#include "qzil/image/core_values.h"

#include "qzil/image/image_ops.h"
#include "qzil/platform/host.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

void PrintTo(qzILBbox2l const& box, std::ostream* stream) {
    *stream << '(' << box.Origin.x << ", " << box.Origin.y << ", " << box.Size.x << ", " << box.Size.y << ')';
}

namespace {

TEST(Error, ClassOfACodeFollowsFromItsHighHalf) {
    struct Case {
        unsigned uCode;
        bool bNone, bFatal, bWarning;
    };
    for (Case const c : {Case{0, true, false, false}, Case{1, false, false, false}, Case{0xFFFF, false, false, false},
                         Case{0x10000, false, true, false}, Case{0x1FFFF, false, true, false},
                         Case{0x20000, false, false, true}, Case{0x2FFFF, false, false, true},
                         Case{0x30000, false, false, false}, Case{0xFFFFFFFF, false, false, false}}) {
        qzILError const error(c.uCode);
        SCOPED_TRACE(c.uCode);
        EXPECT_EQ(error.IsNoError(), c.bNone);
        EXPECT_EQ(error.IsFatalError(), c.bFatal);
        EXPECT_EQ(error.IsWarning(), c.bWarning);
        EXPECT_EQ(static_cast<unsigned>(error), c.uCode);
    }
}

TEST(Error, CopiesComparesAndStartsAnew) {
    static_assert(std::has_virtual_destructor_v<qzILError>);
    qzILError error;
    EXPECT_TRUE(error.IsNoError());
    error.SetErrorCode(0x10003);
    qzILError const copy(error);
    qzILError assigned;
    assigned = error;
    EXPECT_EQ(copy.GetErrorCode(), 0x10003u);
    EXPECT_TRUE(assigned == copy);
    error.Trash();
    EXPECT_EQ(error.GetErrorCode(), 0x10003u);
    error.Init();
    EXPECT_EQ(error.GetErrorCode(), 0u);
    EXPECT_FALSE(error == copy);
    EXPECT_STREQ(error.GetClassNameA(), "qzILError");
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
    ASSERT_EQ(g_oTraced.size(), 5u);
    EXPECT_EQ(g_oTraced[0], "line 7 of field");
    EXPECT_EQ(g_oTraced[1].size(), 510u);
    EXPECT_EQ(g_oTraced[2].size(), 511u);
    EXPECT_EQ(g_oTraced[3].size(), 511u);
    EXPECT_EQ(g_oTraced[4], text.substr(0, 511));
}

TEST(Vectors, DefaultsAndConversions) {
    EXPECT_EQ(qzILVector2l(), qzILVector2l(0, 0));
    EXPECT_EQ(qzILVector2f(), qzILVector2f(0, 0));
    EXPECT_EQ(qzILVector2d(), qzILVector2d(0, 0));
    qzILVector2l l;
    l = qzILVector2f(2.9f, -2.9f);
    EXPECT_EQ(l, qzILVector2l(2, -2));
    l = qzILVector2d(-0.999, 7.5);
    EXPECT_EQ(l, qzILVector2l(0, 7));
    qzILVector2f f;
    f = qzILVector2l(-3, 4);
    EXPECT_EQ(f, qzILVector2f(-3, 4));
    f = qzILVector2d(0.1, -0.25);
    EXPECT_EQ(f, qzILVector2f(0.1f, -0.25f));
    qzILVector2d d;
    d = qzILVector2l(5, -6);
    EXPECT_EQ(d, qzILVector2d(5, -6));
    d = qzILVector2f(0.1f, 2.5f);
    EXPECT_EQ(d, qzILVector2d(static_cast<double>(0.1f), 2.5));
}

TEST(Vectors, MixedArithmeticKeepsTheStatedType) {
    qzILVector2l const l(3, -4);
    EXPECT_EQ(qzILVector2d(0.5, 0.25) + l, qzILVector2d(3.5, -3.75));
    EXPECT_EQ(qzILVector2d(0.5, 0.25) - l, qzILVector2d(-2.5, 4.25));
    EXPECT_EQ(qzILVector2f(0.5f, 0.25f) + l, qzILVector2f(3.5f, -3.75f));
    EXPECT_EQ(qzILVector2f(0.5f, 0.25f) - l, qzILVector2f(-2.5f, 4.25f));
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
    qzILVector2d d(0.5, 0.5);
    d += l;
    EXPECT_EQ(d, qzILVector2d(3.5, -3.5));
    d -= l;
    EXPECT_EQ(d, qzILVector2d(0.5, 0.5));
    qzILVector2f f(0.5f, 0.5f);
    f += l;
    EXPECT_EQ(f, qzILVector2f(3.5f, -3.5f));
    f -= l;
    EXPECT_EQ(f, qzILVector2f(0.5f, 0.5f));
}

TEST(Rectangle, EmptyMeansASideBelowOne) {
    EXPECT_TRUE(qzILBbox2l().IsEmpty());
    EXPECT_TRUE(qzILBbox2l(5, 5, 0, 3).IsEmpty());
    EXPECT_TRUE(qzILBbox2l(5, 5, 3, -1).IsEmpty());
    EXPECT_FALSE(qzILBbox2l(-5, -5, 1, 1).IsEmpty());
}

TEST(Rectangle, ConstructorOrderAndEquality) {
    qzILBbox2l const box(1, 2, 3, 4);
    EXPECT_EQ(box.Origin, qzILVector2l(1, 2));
    EXPECT_EQ(box.Size, qzILVector2l(3, 4));
    EXPECT_FALSE(box == qzILBbox2l(0, 2, 3, 4));
    EXPECT_FALSE(box == qzILBbox2l(1, 0, 3, 4));
    EXPECT_FALSE(box == qzILBbox2l(1, 2, 0, 4));
    EXPECT_FALSE(box == qzILBbox2l(1, 2, 3, 0));
    EXPECT_FALSE(qzILBbox2l(0, 0, 0, 0) == qzILBbox2l(5, 5, 0, 0)) << "empty rectangles differ by origin";
}

TEST(Rectangle, Intersection) {
    struct Case {
        qzILBbox2l oA, oB, oExpected;
    };
    constexpr int kHuge = 0x7FFFFFFF;
    for (auto const& [a, b, expected] : {
             Case{{0, 0, 10, 10}, {4, 6, 10, 10}, {4, 6, 6, 4}},
             Case{{0, 0, 10, 10}, {2, 3, 4, 5}, {2, 3, 4, 5}},
             Case{{-5, -5, 10, 10}, {-10, 0, 8, 2}, {-5, 0, 3, 2}},
             Case{{0, 0, 2, 2}, {4, 0, 2, 2}, {4, 0, 0, 2}},
             Case{{0, 0, 2, 2}, {2, 2, 2, 2}, {2, 2, 0, 0}},
             Case{{5, 5, 0, 3}, {0, 0, 10, 10}, {0, 0, 0, 0}},
             Case{{5, 5, -7, 3}, {0, 0, 10, 10}, {0, 0, 0, 0}},
             Case{{0, 0, kHuge, kHuge}, {5, 6, 7, 8}, {5, 6, 7, 8}},
             Case{{1, 1, kHuge, kHuge}, {5, 6, 7, 8}, {5, 6, 7, 8}},
             Case{{-kHuge - 1, -kHuge - 1, kHuge, kHuge}, {-100, -100, 50, 60}, {-100, -100, 50, 60}},
             Case{{-kHuge - 1, 0, 5, 5}, {kHuge - 5, 0, 5, 5}, {kHuge - 5, 0, 0, 5}},
         }) {
        EXPECT_EQ(a.Intersect(b), expected);
        EXPECT_EQ(b.Intersect(a), expected);
    }
}

TEST(Rectangle, ClassNames) {
    EXPECT_STREQ(qzILBbox2l::GetClassNameA(), "qzILBbox2l");
    EXPECT_STREQ(qzILVector2l::GetClassNameA(), "qzILVector2l");
    EXPECT_STREQ(qzILVector2f::GetClassNameA(), "qzILVector2f");
    EXPECT_STREQ(qzILVector2d::GetClassNameA(), "qzILVector2d");
    static_assert(std::has_virtual_destructor_v<qzILBbox2l> && std::has_virtual_destructor_v<qzILVector2l> &&
                  std::has_virtual_destructor_v<qzILVector2f> && std::has_virtual_destructor_v<qzILVector2d>);
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
}

}  // namespace
