#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// B's colour times B's alpha / A's alpha. 16-bit types: a 64-bit product with 31 fraction bits, of which a negative
/// one is deliberately pulled down by one unit.
template <class T>
struct AdjustPremult {
    QZIL_INLINE Quad<s32> operator()(Quad<s32> a, Quad<s32> b) const {
        constexpr s64 kUnit = s64{1} << 31;
        constexpr s64 kLow = T(-1) < T(0) ? -32768 : 0, kHigh = T(-1) < T(0) ? 32767 : 65535;
        bool const copies = a.c3 == 0 || a.c3 == b.c3;
        double const divisor = copies ? 1.0 : static_cast<double>(a.c3);
        s64 const ratio = static_cast<s64>(static_cast<double>(b.c3) / divisor * 2147483648.0);
        auto const scaled = [=](s32 c) {
            s64 const product = c * ratio, pulled = product < 0 ? product - kUnit : product;
            return copies ? c : static_cast<s32>(Clamp<s64>((pulled + kUnit / 2) >> 31, kLow, kHigh));
        };
        return {scaled(b.c0), scaled(b.c1), scaled(b.c2), b.c3};
    }
};

/// Pixels as words: a channel at a time in every 32-bit lane.
template <>
struct AdjustPremult<u8> {
    QZIL_INLINE u32 operator()(u32 a, u32 b) const {
        s32 const from = static_cast<s32>(a >> 24), to = static_cast<s32>(b >> 24);
        // trunc(to / from * 65536). The numerator is exact in float, and the quotient's rounding error stays below
        // 1 / from, the distance of a fraction of that divisor from the next integer. A ratio of 65536 copies.
        bool const copies = from == 0 || from == to;
        float const quotient = static_cast<float>(to * 65536) / static_cast<float>(Max(from, 1));
        u32 const ratio = copies ? 65536u : static_cast<u32>(static_cast<s32>(quotient));
        // 255 * 255 * 65536 + 32768 is below 2^32.
        auto const scaled = [=](u32 c) { return Min(((c & 255u) * ratio + 32768u) >> 16, 255u); };
        return scaled(b) | scaled(b >> 8) << 8 | scaled(b >> 16) << 16 | (b & 0xFF000000u);
    }
};

/// A colour that is not a number stays none; so does one under an alpha that is none.
template <>
struct AdjustPremult<float> {
    QZIL_INLINE Quad<float> operator()(Quad<float> a, Quad<float> b) const {
        bool const copies = a.c3 == 0.0f || a.c3 == b.c3;
        double const ratio = static_cast<double>(b.c3) / static_cast<double>(a.c3);
        auto const scaled = [=](float c) { return copies ? c : static_cast<float>(c * ratio); };
        return {scaled(b.c0), scaled(b.c1), scaled(b.c2), b.c3};
    }
};
QZIL_OPERATION(AdjustPremult)

/// Integer division rounded half away from zero. A divisor of 0 gives 0 or `high` by the sign of the numerator.
QZIL_INLINE s64 DivideRounded(s64 numerator, s64 divisor, s64 high) {
    if (divisor == 0) return numerator > 0 ? high : 0;
    s64 const half = divisor / 2;
    return (numerator < 0) == (divisor < 0) ? (numerator + half) / divisor : (numerator - half) / divisor;
}

/// The background, premultiplied, in samples. Without alpha it plays no part in the colours that are rebuilt.
template <class T>
struct Unpremultiply {
    s32 aBackground[3];
    s32 iAlpha;

    QZIL_INLINE Quad<s32> operator()(Quad<s32> in) const {
        constexpr bool kSigned = T(-1) < T(0);
        constexpr s64 kHigh = kFullScale<T>, kLargest = kSigned ? 32767 : 65535;
        s64 n = in.c3;
        if (iAlpha == kHigh) {
            n = 0;
        } else if (iAlpha != 0) {
            n = Clamp<s64>(DivideRounded((n - iAlpha) * kHigh, kHigh - iAlpha, kHigh), 0, kHigh);
        }
        auto const term = [=](s32 v, s64 g) {
            s64 const distance = v - g;
            return Min(DivideRounded(distance * kHigh, distance >= 0 ? kHigh - g : -g, kHigh), kLargest);
        };
        n = Max(Max(n, term(in.c0, aBackground[0])), Max(term(in.c1, aBackground[1]), term(in.c2, aBackground[2])));
        s64 const k = n == 0 ? 0 : static_cast<s64>(static_cast<double>(kHigh) / static_cast<double>(n) * 2147483648.0);
        auto const rebuilt = [=, this](s32 v, s64 g) {
            s64 const base = iAlpha == 0 ? 0 : g, product = (v - base) * k;
            s64 const half = 0x40000000LL;
            s64 const scaled = kSigned && product < 0 ? -((half - product) >> 31) : (product + half) >> 31;
            return static_cast<s32>(n == 0 ? (v > g ? kHigh : 0) : Clamp<s64>(base + scaled, 0, kHigh));
        };
        return {rebuilt(in.c0, aBackground[0]), rebuilt(in.c1, aBackground[1]), rebuilt(in.c2, aBackground[2]),
                static_cast<s32>(n)};
    }
};

/// (x * 255 + divisor / 2) / divisor for x of 0 to divisor, 0 for a divisor of 0, by a float reciprocal: the numerator
/// plus one half is exact, its quotient lies at least 0.5 / 255 off every integer, and the error below 256 * 2^-22.
struct Divide255 {
    s32 iHalf;
    float fReciprocal;

    explicit Divide255(s32 divisor)
        : iHalf(divisor / 2), fReciprocal(divisor == 0 ? 0.0f : 1.0f / static_cast<float>(divisor)) {}
    QZIL_INLINE s32 operator()(s32 x) const {
        return static_cast<s32>((static_cast<float>(x * 255 + iHalf) + 0.5f) * fReciprocal);
    }
};

template <>
struct Unpremultiply<u8> {
    s32 aBackground[3];
    s32 iAlpha;
    Divide255 aAbove[3] = {Divide255(255 - aBackground[0]), Divide255(255 - aBackground[1]),
                           Divide255(255 - aBackground[2])};
    Divide255 aBelow[3] = {Divide255(aBackground[0]), Divide255(aBackground[1]), Divide255(aBackground[2])};
    Divide255 oAlphaAbove{255 - iAlpha};
    s32 aBase[3] = {iAlpha == 0 ? 0 : aBackground[0], iAlpha == 0 ? 0 : aBackground[1],
                    iAlpha == 0 ? 0 : aBackground[2]};

    QZIL_INLINE u32 operator()(u32 pixel) const {
        auto const channel = [=](int c) { return static_cast<s32>(pixel >> (8 * c) & 255u); };
        auto const term = [&](int c) {
            s32 const v = channel(c), g = aBackground[c];
            s32 const up = aAbove[c](Max(v - g, 0)), down = aBelow[c](Max(g - v, 0));
            return v >= g ? up : down;
        };
        s32 const n = Max(Max(term(0), term(1)), Max(term(2), oAlphaAbove(Max(channel(3) - iAlpha, 0))));
        // trunc(255 / n * 32768): as above, the float quotient never reaches an integer that the true one does not.
        s32 const k = static_cast<s32>(8355840.0f / static_cast<float>(Max(n, 1)));
        auto const rebuilt = [&](int c) {
            // 255 * 255 * 32768 + 16384 is below 2^31.
            s32 const v = channel(c);
            s32 const scaled = Clamp(aBase[c] + (((v - aBase[c]) * k + 16384) >> 15), 0, 255);
            s32 const empty = v > aBackground[c] ? 255 : 0;
            return static_cast<u32>(n == 0 ? empty : scaled);
        };
        return rebuilt(0) | rebuilt(1) << 8 | rebuilt(2) << 16 | static_cast<u32>(n) << 24;
    }
};

template <>
struct Unpremultiply<float> {
    float aBackground[3];
    float fAlpha;
    static constexpr float kLimit = 1e6f;

    QZIL_INLINE static float Quotient(float numerator, float divisor) {
        if (divisor != 0.0f) return numerator / divisor;
        return numerator < 0.0f ? -kLimit : numerator > 0.0f ? kLimit : 0.0f;
    }
    QZIL_INLINE Quad<float> operator()(Quad<float> in) const {
        float n = in.c3;
        if (fAlpha == 1.0f) {
            n = 0.0f;
        } else if (fAlpha != 0.0f) {
            n = Clamp((n - fAlpha) / (1.0f - fAlpha), 0.0f, 1.0f);
        }
        auto const term = [](float v, float g) {
            return Quotient((v - g) * kLimit, v >= g ? kLimit - g : -kLimit - g);
        };
        n = Max(n, term(in.c0, aBackground[0]));
        n = Max(n, term(in.c1, aBackground[1]));
        n = Max(n, term(in.c2, aBackground[2]));
        double const k = 1.0 / static_cast<double>(n);
        auto const rebuilt = [=, this](float v, float g) {
            float const empty = v > g ? kLimit : v < g ? -kLimit : 0.0f;
            float const scaled = fAlpha == 0.0f ? static_cast<float>(v * k) : static_cast<float>(g + (v - g) * k);
            return n == 0.0f ? empty : scaled;
        };
        return {rebuilt(in.c0, aBackground[0]), rebuilt(in.c1, aBackground[1]), rebuilt(in.c2, aBackground[2]), n};
    }
};
QZIL_OPERATION(Unpremultiply)

}  // namespace qzil
