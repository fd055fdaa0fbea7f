#include "qzil/image/pixel_math.h"

#include "support/picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using Int = std::int64_t;
using qzil::test::Random;

Int NormMultRule(Int a, Int b) {
    return (a * b + 127) / 255;
}

TEST(Tables, EveryEntryFollowsItsRule) {
    for (Int a = 0; a < 256; ++a) {
        for (Int b = 0; b < 256; ++b) {
            ASSERT_EQ(ilNormMult[a][b], NormMultRule(a, b)) << a << ' ' << b;
            ASSERT_EQ(ilInvNormMult[a][b], a + b - NormMultRule(a, b)) << a << ' ' << b;
            ASSERT_EQ(ilNormDiv[a][b], b == 0 ? 0 : std::min<Int>(255, (a * 255 + b / 2) / b)) << a << ' ' << b;
            // 42.5 a / b + 0.5 over the common denominator 2 b
            ASSERT_EQ(ilHueTable[a][b], b == 0 ? 0 : std::min<Int>(255, (85 * a + b) / (2 * b))) << a << ' ' << b;
            ASSERT_EQ(qzil::NormMult(static_cast<qzil::u8>(a), static_cast<qzil::u8>(b)), NormMultRule(a, b));
        }
    }
}

TEST(PixelMath, DivisionBy255IsRoundedToNearest) {
    for (Int t = 0; t <= 255 * 255; ++t) {
        // No tie is possible: 255 is odd.
        ASSERT_EQ(qzil::DivideBy255(static_cast<qzil::u16>(t)), (2 * t + 255) / 510) << t;
    }
}

Int Mix257Rule(Int a, Int b, Int m) {
    return a + ((m * (b - a) * 257 + 32896) >> 16);
}

TEST(PixelMath, EightBitMixesOverEveryPairAndWeight) {
    using Math = qzILImageMath<qzILFormat<unsigned char>>;
    static std::array<std::array<Int, 256>, 256> l_oMult;
    for (Int a = 0; a < 256; ++a) {
        for (Int b = 0; b < 256; ++b) l_oMult[a][b] = NormMultRule(a, b);
    }
    for (int m = 0; m < 256; ++m) {
        auto const w = static_cast<qzil::u8>(m);
        for (int a = 0; a < 256; ++a) {
            auto const p = static_cast<qzil::u8>(a);
            for (int b = 0; b < 256; ++b) {
                auto const r = static_cast<qzil::u8>(b);
                if (qzil::Mix257(p, r, w) != Mix257Rule(a, b, m) ||
                    qzil::MixNormMult(p, r, w) != l_oMult[255 - m][a] + l_oMult[m][b]) {
                    FAIL() << "a " << a << " b " << b << " m " << m << ": " << int{qzil::Mix257(p, r, w)}
                           << ", expected " << Mix257Rule(a, b, m) << "; by table " << int{qzil::MixNormMult(p, r, w)}
                           << ", expected " << l_oMult[255 - m][a] + l_oMult[m][b];
                }
            }
            ASSERT_EQ(Math::Blend(p, w, 0), p);
            ASSERT_EQ(Math::Blend(p, w, 255), w);
            ASSERT_EQ(Math::BlendByTable(p, w, 0), p);
            ASSERT_EQ(Math::BlendByTable(p, w, 255), w);
        }
    }
}

// End values and their neighbours, powers of two, and a coarse grid.
template <class T>
std::vector<T> Structured() {
    std::vector<T> values;
    Int const low = std::numeric_limits<T>::min();
    Int const high = std::numeric_limits<T>::max();
    for (Int base : {low, high, Int{0}, Int{255}, Int{256}, Int{16384}, Int{32767}}) {
        for (Int d = -2; d <= 2; ++d) {
            if (base + d >= low && base + d <= high) values.push_back(static_cast<T>(base + d));
        }
    }
    for (Int v = low; v <= high; v += 2731) values.push_back(static_cast<T>(v));
    return values;
}

/// A mix over structured and random values, against its rule; the weight is one of 0 to `full`.
template <class T>
void ExpectMix(T (*mix)(T, T, T), T (*blend)(T, T, T), Int (*rule)(Int, Int, Int), Int full) {
    auto const check = [&](T a, T b, T m) {
        ASSERT_EQ(mix(a, b, m), rule(a, b, m)) << a << ' ' << b << ' ' << m;
        ASSERT_EQ(blend(a, b, m), rule(a, b, m)) << a << ' ' << b << ' ' << m;
    };
    auto const values = Structured<T>();
    for (auto a : values) {
        for (auto b : values) {
            for (auto m : values) {
                if (m >= 0 && m <= full) check(a, b, m);
            }
        }
    }
    Random random(16);
    for (int i = 0; i < 1000000; ++i) {
        auto const bits = random.Next();
        Int const m = static_cast<Int>((bits >> 32) % static_cast<std::uint64_t>(full + 1));
        check(static_cast<T>(bits), static_cast<T>(bits >> 16), static_cast<T>(m));
    }
    for (int v = 0; v < 65536; ++v) {
        auto const a = static_cast<T>(v);
        for (Int const end : {Int{0}, Int{1}, Int{16384}, Int{32768}, Int{65534}, Int{65535}}) {
            auto const b = static_cast<T>(end);
            if (a >= 0 && a <= full) {
                check(a, b, a);
                check(b, a, a);
            }
            ASSERT_EQ(mix(a, b, 0), a);
            ASSERT_EQ(mix(a, b, static_cast<T>(full)), b);
        }
    }
}

TEST(PixelMath, SixteenBitMix) {
    ExpectMix<qzil::u16>(
        qzil::Mix16, qzILImageMath<qzILFormat<unsigned short>>::Blend,
        [](Int a, Int b, Int m) { return a + ((m * 0x10001 * (b - a) + 0x80008000) >> 32); }, 65535);
}

TEST(PixelMath, FixedPointMix) {
    using Math = qzILImageMath<qzILFormat<short>>;
    ExpectMix<short>(
        qzil::MixS2_14, Math::Blend,
        [](Int a, Int b, Int m) { return std::clamp<Int>(a + ((m * (b - a) + 8192) >> 14), -32768, 32767); }, 16384);
    EXPECT_EQ(Math::Blend(-7, 900, -1), -7) << "a mask below black is black";
    EXPECT_EQ(Math::Blend(-7, 900, 16385), 900) << "a mask above full is full";
}

TEST(PixelMath, FloatMix) {
    using Math = qzILImageMath<qzILFormat<float>>;
    constexpr float kInf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(Math::Blend(0.25f, 0.75f, 0.5f), 0.5f);
    EXPECT_EQ(Math::Blend(0.1f, 0.7f, 0.3f), 0.1f + 0.3f * (0.7f - 0.1f));
    EXPECT_EQ(Math::Blend(0.25f, kInf, 0.0f), 0.25f) << "no weight gives exactly a";
    EXPECT_EQ(Math::Blend(kInf, 0.25f, 1.0f), 0.25f) << "full weight gives exactly b";
    EXPECT_EQ(Math::Blend(1e30f, 1.0f, 1.0f), 1.0f);
}

template <class T>
void ExpectNearestOfEveryValue(double scale) {
    using Format = qzILFormat<T>;
    for (Int c = std::numeric_limits<T>::min(); c <= std::numeric_limits<T>::max(); ++c) {
        ASSERT_EQ(Format::FromReal(static_cast<double>(c) / scale), c);
        ASSERT_EQ(Format::FromReal((static_cast<double>(c) + 0.49) / scale), c) << c;
        ASSERT_EQ(Format::FromReal((static_cast<double>(c) - 0.49) / scale), c) << c;
        ASSERT_EQ(Format::ToFloat(static_cast<T>(c)), static_cast<float>(c) / static_cast<float>(scale));
    }
    EXPECT_EQ(Format::FromReal(1e300), std::numeric_limits<T>::max());
    EXPECT_EQ(Format::FromReal(-1e300), std::numeric_limits<T>::min());
    EXPECT_EQ(Format::FromReal(std::numeric_limits<double>::infinity()), std::numeric_limits<T>::max());
}

TEST(PixelMath, ParametersBecomeChannelValues) {
    ExpectNearestOfEveryValue<unsigned char>(255.0);
    ExpectNearestOfEveryValue<unsigned short>(65535.0);
    ExpectNearestOfEveryValue<short>(16384.0);
    using Short = qzILFormat<short>;
    EXPECT_EQ(Short::FromReal(2.0), 32767);
    EXPECT_EQ(Short::FromReal(-2.0), -32768);
    EXPECT_EQ(Short::FromReal(0.5 / 16384), 1) << "halves go away from zero";
    EXPECT_EQ(Short::FromReal(-0.5 / 16384), -1);
    EXPECT_EQ(Short::FromReal(32766.75 / 16384), 32767);
    EXPECT_EQ(qzILFormat<unsigned char>::FromReal(0.5 / 255), 1);
    EXPECT_EQ(qzILFormat<float>::FromReal(-3.25), -3.25f);
    static_assert(qzILFormat<unsigned char>::kFull == 255 && qzILFormat<unsigned short>::kFull == 65535 &&
                  qzILFormat<short>::kFull == 16384 && qzILFormat<float>::kFull == 1.0f);
}

TEST(PixelMath, RoundingGoesHalfAwayFromZero) {
    for (auto const& [value, expected] : std::vector<std::pair<double, int>>{
             {0.5, 1}, {-0.5, -1}, {0.49, 0}, {-0.49, 0}, {1.5, 2}, {2.5, 3}, {-2.5, -3}, {-1.51, -2}, {0.0, 0}}) {
        EXPECT_EQ(qzil::RoundHalfAway(value), expected) << value;
        EXPECT_EQ(qzil::RoundHalfAwayFloat(static_cast<float>(value)), expected) << value;
        EXPECT_EQ(qzil::RoundToS2_14(static_cast<float>(value)), expected) << value;
    }
    // The float below each half of a level, the half, and whole numbers to where floats have no halves any more.
    for (int level = 0; level < 1 << 23; level += level < 70000 ? 1 : 997) {
        float const half = static_cast<float>(level) + 0.5f, below = std::nextafter(half, 0.0f);
        ASSERT_EQ(qzil::RoundHalfAwayFloat(below), level);
        ASSERT_EQ(qzil::RoundHalfAwayFloat(-below), -level);
        ASSERT_EQ(qzil::RoundHalfAwayFloat(half), level + 1);
        ASSERT_EQ(qzil::RoundToLevel(below, 65535.0f), std::min(level, 65535));
        ASSERT_EQ(qzil::RoundToLevel(half, 65535.0f), std::min(level + 1, 65535));
    }
    EXPECT_EQ(qzil::RoundToS2_14(40000.0f), 32767);
    EXPECT_EQ(qzil::RoundToS2_14(-40000.0f), -32768);
}

template <int N>
void ExpectFixedMath() {
    using Fixed = qzILFixedMath<N>;
    constexpr Int kOne = Int{1} << N;
    constexpr Int kHalf = kOne / 2;
    static_assert(Fixed::kOne == kOne && Fixed::kHalf == kHalf);
    static_assert(sizeof(typename Fixed::Sum) == (N == 31 ? 8 : 4));
    EXPECT_EQ(Fixed::Weight(0.75), kOne / 4 * 3);
    EXPECT_EQ(Fixed::Weight(0.9999999999), kOne - 1) << "weights are truncated";
    EXPECT_EQ(Fixed::Weight(-0.25), -kOne / 4);
    struct Case {
        Int iSum, iUnsigned, iSigned;
    };
    for (Case const c : {Case{0, 0, 0}, Case{kHalf - 1, 0, 0}, Case{kHalf, 1, 1}, Case{3 * kOne, 3, 3},
                         Case{3 * kOne + kHalf, 4, 4}, Case{-1, 0, -1}, Case{-kHalf, 0, -1}, Case{-kHalf - 1, -1, -2},
                         Case{-kOne, -1, -2}, Case{-kOne - kHalf, -1, -2}, Case{-5 * kOne, -5, -6}}) {
        auto const sum = static_cast<typename Fixed::Sum>(c.iSum);
        EXPECT_EQ(Fixed::Narrow(sum), c.iUnsigned) << c.iSum;
        EXPECT_EQ(Fixed::NarrowSigned(sum), c.iSigned) << c.iSum;
    }
}

TEST(FixedPoint, SumsAreNarrowedByTheirSign) {
    ExpectFixedMath<16>();
    ExpectFixedMath<20>();
    ExpectFixedMath<31>();
}

template <class T, int N>
void ExpectInterpolation() {
    using Unsigned = qzILFixedPoint<qzILImageMath<qzILFormat<T>>, N>;
    using Signed = qzILSignedFixedPoint<qzILImageMath<qzILFormat<T>>, N>;
    constexpr Int kOne = Int{1} << N;
    Random random(N);
    for (int i = 0; i < 20000; ++i) {
        auto const a = static_cast<T>(random.Next());
        auto const b = static_cast<T>(random.Next());
        Int const w = static_cast<Int>(random.Next() % static_cast<std::uint64_t>(kOne + 1));
        auto const weight = static_cast<typename Unsigned::Sum>(w);
        Int const sum = (kOne - w) * a + w * b;
        // Signed channels make negative sums in either form.
        auto const expected = static_cast<T>((sum + (sum < 0 ? -kOne : 0) + kOne / 2) >> N);
        ASSERT_EQ(Signed::Interpolate(a, b, weight), expected) << Int{a} << ' ' << Int{b} << ' ' << w;
        ASSERT_EQ(Unsigned::Interpolate(a, b, weight), expected) << Int{a} << ' ' << Int{b} << ' ' << w;
    }
}

TEST(FixedPoint, InterpolationUsesTheNarrowRuleOfItsKind) {
    ExpectInterpolation<unsigned char, 16>();
    ExpectInterpolation<unsigned char, 20>();
    ExpectInterpolation<unsigned short, 31>();
    ExpectInterpolation<short, 31>();
    using Signed = qzILSignedFixedPoint<qzILImageMath<qzILFormat<short>>, 31>;
    EXPECT_EQ(Signed::Interpolate(-1, -1, 0), -2) << "deliberately one unit low";
    using Floating = qzILFloatingPoint<qzILImageMath<qzILFormat<float>>>;
    EXPECT_EQ(Floating::Interpolate(0.25f, 0.75f, Floating::Weight(0.5)), 0.5f);
}

}  // namespace
