#pragma once

#include "qzil/platform/api.h"

#include <cstdint>

// This header is included by sources that are compiled once per CPU level. Everything in it is always inlined, so that
// no shared function can be emitted from an object built for a newer processor, and it uses no std algorithm.
#define QZIL_INLINE [[gnu::always_inline]] inline

/// (a * b + 127) / 255: a * b / 255 rounded to nearest. Row a, column b.
extern QZIL_API unsigned char const ilNormMult[256][256];
/// a + b - ilNormMult[a][b].
extern QZIL_API unsigned char const ilInvNormMult[256][256];
/// 0 for b = 0, else min(255, (a * 255 + b / 2) / b).
extern QZIL_API unsigned char const ilNormDiv[256][256];
/// 0 for b = 0, else min(255, truncate(42.5 * a / b + 0.5)): a fraction of a sixth of the 8-bit hue circle.
extern QZIL_API unsigned char const ilHueTable[256][256];

namespace qzil {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using s16 = std::int16_t;
using s32 = std::int32_t;
using s64 = std::int64_t;

template <class T>
QZIL_INLINE constexpr T Min(T a, T b) {
    return b < a ? b : a;
}

template <class T>
QZIL_INLINE constexpr T Max(T a, T b) {
    return a < b ? b : a;
}

template <class T>
QZIL_INLINE constexpr T Clamp(T value, T low, T high) {
    return Min(Max(value, low), high);
}

/// t / 255 rounded to nearest, for t up to 255 * 255. One multiply-high in a 16-bit lane: 257 / 65536 falls short of
/// 1 / 255 by less than what the 128 adds.
QZIL_INLINE constexpr u16 DivideBy255(u16 t) {
    return static_cast<u16>(static_cast<u32>(static_cast<u16>(t + 128)) * 257u >> 16);
}

// The rules below exist on samples, and on values widened to twice the width of a sample, as loops hold them.

/// The entry of ilNormMult.
QZIL_INLINE constexpr u16 WideNormMult(u16 a, u16 b) {
    return DivideBy255(static_cast<u16>(a * b));
}
QZIL_INLINE constexpr u8 NormMult(u8 a, u8 b) {
    return static_cast<u8>(WideNormMult(a, b));
}

/// The table mix of 8-bit values: p for m = 0, r for m = 255, by the formula alone.
QZIL_INLINE constexpr u16 WideMixNormMult(u16 p, u16 r, u16 m) {
    return static_cast<u16>(WideNormMult(static_cast<u16>(255 - m), p) + WideNormMult(m, r));
}
QZIL_INLINE constexpr u8 MixNormMult(u8 p, u8 r, u8 m) {
    return static_cast<u8>(WideMixNormMult(p, r, m));
}

/// The rounded 257 mix of 8-bit values, p + ((m * (r - p) * 257 + 32896) >> 16): p for m = 0, r for m = 255.
/// With t = m * (r - p) + 128 it is p + ((t + (t >> 8)) >> 8), since 32896 is 128 * 257. Shifted up by 255 * p the sum
/// stays in 16 unsigned bits: with z = 255 * p + t, the result is (z + ((z + p) >> 8)) >> 8.
QZIL_INLINE constexpr u16 WideMix257(u16 p, u16 r, u16 m) {
    u16 const z = static_cast<u16>((255 - m) * p + m * r + 128);
    return static_cast<u16>(static_cast<u16>(z + (static_cast<u16>(z + p) >> 8)) >> 8);
}
QZIL_INLINE constexpr u8 Mix257(u8 p, u8 r, u8 m) {
    return static_cast<u8>(WideMix257(p, r, m));
}

/// The 16-bit mix, p + ((w * 0x10001 * (r - p) + 0x80008000) >> 32): p for w = 0, r for w = 65535.
/// As for the 8-bit mix, z = 65535 * p + w * (r - p) + 32768 and the sums behind it fit 32 unsigned bits, since
/// 65535 * 65535 + 32768 + 2 * 65535 is below 2^32.
QZIL_INLINE constexpr u32 WideMix16(u32 p, u32 r, u32 w) {
    u32 const z = (p << 16) - p + w * (r - p) + 32768u;
    return (z + ((z + p) >> 16)) >> 16;
}
QZIL_INLINE constexpr u16 Mix16(u16 p, u16 r, u16 w) {
    return static_cast<u16>(WideMix16(p, r, w));
}

QZIL_INLINE constexpr s16 ClampS16(s32 value) {
    return static_cast<s16>(Clamp<s32>(value, -32768, 32767));
}

/// The S2.14 mix, p + ((w * (r - p) + 8192) >> 14) limited to the channel. For w of 0 to 16384 the product is below
/// 2^31: |r - p| is at most 65535.
QZIL_INLINE constexpr s32 WideMixS2_14(s32 p, s32 r, s32 w) {
    return Clamp<s32>(p + ((w * (r - p) + 8192) >> 14), -32768, 32767);
}
QZIL_INLINE constexpr s16 MixS2_14(s16 p, s16 r, s16 w) {
    return static_cast<s16>(WideMixS2_14(p, r, w));
}

QZIL_INLINE constexpr float MixFloat(float p, float r, float w) {
    return p + w * (r - p);
}

/// Truncation toward zero of what lies in low..high; NaN gives low.
template <class T>
QZIL_INLINE constexpr T TruncateTo(double value, double low, double high) {
    if (!(value > low)) return static_cast<T>(low);
    return static_cast<T>(value < high ? value : high);
}

/// The integer nearest to a value, halves away from zero, limited to 32 bits.
QZIL_INLINE constexpr s32 RoundHalfAway(double value) {
    return TruncateTo<s32>(value + (value < 0 ? -0.5 : 0.5), -2147483648.0, 2147483647.0);
}

/// The float below 0.5. Added to a float and truncated, it rounds every half up as 0.5 would, and nothing below a half:
/// 0.5 itself makes a 1 of 0.49999997, whose sum is rounded up.
inline constexpr float kBelowHalf = 0x1.fffffep-2f;

/// The same in float, for values already known to fit. Without a branch: loops over it become vectors.
QZIL_INLINE constexpr s32 RoundHalfAwayFloat(float value) {
    return static_cast<s32>(value + __builtin_copysignf(kBelowHalf, value));
}

/// The nearest integer in low..high, halves away from zero. NaN gives the lower limit.
QZIL_INLINE constexpr s32 RoundToRange(float value, float low, float high) {
    float const above = value > low ? value : low;
    return RoundHalfAwayFloat(above < high ? above : high);
}
/// The same for 0..high, with fewer steps.
QZIL_INLINE constexpr s32 RoundToLevel(float value, float high) {
    float const above = value > 0.0f ? value + kBelowHalf : 0.0f;
    return static_cast<s32>(above < high + 0.5f ? above : high + 0.5f);
}
QZIL_INLINE constexpr s16 RoundToS2_14(float value) {
    return static_cast<s16>(RoundToRange(value, -32768.0f, 32767.0f));
}
QZIL_INLINE constexpr u16 RoundToWord(float value) {
    return static_cast<u16>(RoundToLevel(value, 65535.0f));
}
QZIL_INLINE constexpr u8 RoundToUbyte(float value) {
    return static_cast<u8>(RoundToLevel(value, 255.0f));
}

}  // namespace qzil

/// A type with the storage of T that overloads and templates tell apart from it.
template <class T, class Tag>
struct _true_typedef {
    T m_Value;
};
struct _qzILS10_6;

/// A channel type: its black and full values, its range, and the conversions to and from real numbers.
///
/// | T | black | full | range |
/// |---|---|---|---|
/// | unsigned char | 0 | 255 | 0 to 255 |
/// | unsigned short | 0 | 65535 | 0 to 65535 |
/// | short (S2.14) | 0 | 16384 | -32768 to 32767 |
/// | float | 0.0 | 1.0 | unlimited |
/// | _true_typedef<short, _qzILS10_6> | 0 | 65535 | 0 to 65535, held in an unsigned short |
template <class T>
struct qzILFormat;

template <>
struct qzILFormat<unsigned char> {
    using Channel = unsigned char;
    static constexpr Channel kBlack = 0;
    static constexpr Channel kFull = 255;
    static constexpr Channel kLowest = 0;
    static constexpr Channel kHighest = 255;
    static constexpr double kScale = 255.0;

    /// A parameter as a channel value: v * 255 + 0.5, limited to the range, truncated. NaN gives 0.
    QZIL_INLINE static constexpr Channel FromReal(double v) {
        return qzil::TruncateTo<Channel>(v * 255.0 + 0.5, 0.0, 255.0);
    }
    QZIL_INLINE static constexpr float ToFloat(Channel c) { return static_cast<float>(c) / 255.0f; }
};

template <>
struct qzILFormat<unsigned short> {
    using Channel = unsigned short;
    static constexpr Channel kBlack = 0;
    static constexpr Channel kFull = 65535;
    static constexpr Channel kLowest = 0;
    static constexpr Channel kHighest = 65535;
    static constexpr double kScale = 65535.0;

    QZIL_INLINE static constexpr Channel FromReal(double v) {
        return qzil::TruncateTo<Channel>(v * 65535.0 + 0.5, 0.0, 65535.0);
    }
    QZIL_INLINE static constexpr float ToFloat(Channel c) { return static_cast<float>(c) / 65535.0f; }
};

template <>
struct qzILFormat<_true_typedef<short, _qzILS10_6>> : qzILFormat<unsigned short> {};

template <>
struct qzILFormat<short> {
    using Channel = short;
    static constexpr Channel kBlack = 0;
    static constexpr Channel kFull = 16384;
    static constexpr Channel kLowest = -32768;
    static constexpr Channel kHighest = 32767;
    static constexpr double kScale = 16384.0;

    /// v * 16384 limited to the range, then rounded half away from zero. NaN gives the lowest value.
    QZIL_INLINE static constexpr Channel FromReal(double v) {
        double const t = v * 16384.0;
        if (!(t > -32768.0)) return -32768;
        if (t >= 32767.0) return 32767;
        return static_cast<Channel>(t >= 0.0 ? t + 0.5 : t - 0.5);
    }
    QZIL_INLINE static constexpr float ToFloat(Channel c) { return static_cast<float>(c) / 16384.0f; }
};

template <>
struct qzILFormat<float> {
    using Channel = float;
    static constexpr Channel kBlack = 0.0f;
    static constexpr Channel kFull = 1.0f;
    static constexpr double kScale = 1.0;

    QZIL_INLINE static constexpr Channel FromReal(double v) { return static_cast<float>(v); }
    QZIL_INLINE static constexpr float ToFloat(Channel c) { return c; }
};

/// Blend rules on the channels of a format F. `Blend` takes a toward b by weight m: 0 (or less) gives a, full weight
/// (or more) gives b, both exactly.
template <class F>
struct qzILImageMath;

template <>
struct qzILImageMath<qzILFormat<unsigned char>> {
    using Format = qzILFormat<unsigned char>;
    using Channel = Format::Channel;
    /// a + ((m * (b - a) * 257 + 32896) >> 16)
    QZIL_INLINE static constexpr Channel Blend(Channel a, Channel b, Channel m) { return qzil::Mix257(a, b, m); }
    /// ilNormMult[255 - m][a] + ilNormMult[m][b]
    QZIL_INLINE static constexpr Channel BlendByTable(Channel a, Channel b, Channel m) {
        return qzil::MixNormMult(a, b, m);
    }
};

template <>
struct qzILImageMath<qzILFormat<unsigned short>> {
    using Format = qzILFormat<unsigned short>;
    using Channel = Format::Channel;
    /// a + ((m * 0x10001 * (b - a) + 0x80008000) >> 32)
    QZIL_INLINE static constexpr Channel Blend(Channel a, Channel b, Channel m) { return qzil::Mix16(a, b, m); }
};

template <>
struct qzILImageMath<qzILFormat<_true_typedef<short, _qzILS10_6>>> : qzILImageMath<qzILFormat<unsigned short>> {};

template <>
struct qzILImageMath<qzILFormat<short>> {
    using Format = qzILFormat<short>;
    using Channel = Format::Channel;
    /// a + ((m * (b - a) + 8192) >> 14), limited to the channel
    QZIL_INLINE static constexpr Channel Blend(Channel a, Channel b, Channel m) {
        return qzil::MixS2_14(a, b, qzil::Clamp<short>(m, 0, 16384));
    }
};

template <>
struct qzILImageMath<qzILFormat<float>> {
    using Format = qzILFormat<float>;
    using Channel = Format::Channel;
    /// a + m * (b - a)
    QZIL_INLINE static constexpr Channel Blend(Channel a, Channel b, Channel m) {
        return m <= 0.0f ? a : m >= 1.0f ? b : qzil::MixFloat(a, b, m);
    }
};

namespace qzil {

template <int N>
struct SumOf {
    using Type = s64;
};
template <>
struct SumOf<16> {
    using Type = s32;
};
template <>
struct SumOf<20> {
    using Type = s32;
};

}  // namespace qzil

/// Fixed-point weights of N fraction bits and the sums formed with them: 32 bits wide for N up to 20, else 64.
template <int N>
struct qzILFixedMath {
    using Sum = typename qzil::SumOf<N>::Type;
    static constexpr Sum kOne = Sum{1} << N;
    static constexpr Sum kHalf = Sum{1} << (N - 1);

    /// truncate(w * 2^N), limited to the width of a sum.
    QZIL_INLINE static constexpr Sum Weight(double w) {
        if constexpr (sizeof(Sum) == 4) {
            return qzil::TruncateTo<Sum>(w * static_cast<double>(kOne), -2147483648.0, 2147483647.0);
        } else {
            return qzil::TruncateTo<Sum>(w * static_cast<double>(kOne), -4611686018427387904.0, 4611686018427387904.0);
        }
    }
    /// (s + HALF) >> N
    QZIL_INLINE static constexpr Sum Narrow(Sum s) { return (s + kHalf) >> N; }
    /// (s + (s < 0 ? -ONE : 0) + HALF) >> N: a negative sum is deliberately pulled down by one whole unit before the
    /// usual rounding, so that exactly -1.0 becomes -2.
    QZIL_INLINE static constexpr Sum NarrowSigned(Sum s) { return (s + (s < 0 ? -kOne : 0) + kHalf) >> N; }
};

/// The arithmetic M with unsigned fixed-point weights of N fraction bits.
template <class M, int N>
struct qzILFixedPoint : M {
    using Fixed = qzILFixedMath<N>;
    using Sum = typename Fixed::Sum;
    using Channel = typename M::Channel;

    QZIL_INLINE static constexpr Sum Weight(double w) { return Fixed::Weight(w); }
    /// Signed channels make negative sums, which follow the signed rule.
    QZIL_INLINE static constexpr Sum Narrow(Sum s) {
        return Channel(-1) < Channel(0) ? Fixed::NarrowSigned(s) : Fixed::Narrow(s);
    }
    /// a toward b by a weight of 0 to ONE.
    QZIL_INLINE static constexpr Channel Interpolate(Channel a, Channel b, Sum w) {
        return static_cast<Channel>(Narrow((Fixed::kOne - w) * a + w * b));
    }
};

/// The arithmetic M with signed fixed-point weights of N fraction bits; sums may be negative.
template <class M, int N>
struct qzILSignedFixedPoint : qzILFixedPoint<M, N> {
    using typename qzILFixedPoint<M, N>::Sum;
    using typename qzILFixedPoint<M, N>::Channel;

    QZIL_INLINE static constexpr Sum Narrow(Sum s) { return qzILFixedMath<N>::NarrowSigned(s); }
    QZIL_INLINE static constexpr Channel Interpolate(Channel a, Channel b, Sum w) {
        return static_cast<Channel>(Narrow((qzILFixedMath<N>::kOne - w) * a + w * b));
    }
};

/// The arithmetic M with float weights.
template <class M>
struct qzILFloatingPoint : M {
    using Sum = float;
    using Channel = typename M::Channel;

    QZIL_INLINE static constexpr Sum Weight(double w) { return static_cast<float>(w); }
    QZIL_INLINE static constexpr Sum Narrow(Sum s) { return s; }
    QZIL_INLINE static constexpr Channel Interpolate(Channel a, Channel b, Sum w) { return (1.0f - w) * a + w * b; }
};

/// Pixel layouts over the channels of a format F.
template <class F>
struct qzILFormat1Channel : F {
    static constexpr int kChannels = 1;
};
template <class F>
struct qzILFormat4Channel : F {
    static constexpr int kChannels = 4;
};
