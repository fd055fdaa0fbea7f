#include "qzil/pixel/premult_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// 8-bit pixels are worked on as words, a channel at a time in every 32-bit lane.

QZIL_INLINE s32 ChannelOf(u32 pixel, int channel) {
    return static_cast<s32>(pixel >> (8 * channel) & 255u);
}

void Adjust8(Row const& row, AdjustPremulClassAttributes const&) {
    PixelWord* const out = Out<PixelWord>(row.pOut);
    PixelWord const* const a = In<PixelWord>(row.pA);
    PixelWord const* const b = In<PixelWord>(row.pB);
    ForEach(row.iPixels, [=](int i) {
        s32 const from = ChannelOf(a[i], 3), to = ChannelOf(b[i], 3);
        // trunc(to / from * 65536). The numerator is exact in float, and the quotient's rounding error stays below
        // 1 / from, the distance of a fraction of that divisor from the next integer. A ratio of 65536 copies.
        bool const copies = from == 0 || from == to;
        float const quotient = static_cast<float>(to * 65536) / static_cast<float>(Max(from, 1));
        u32 const ratio = copies ? 65536u : static_cast<u32>(static_cast<s32>(quotient));
        // 255 * 255 * 65536 + 32768 is below 2^32.
        u32 const c0 = Min((static_cast<u32>(ChannelOf(b[i], 0)) * ratio + 32768u) >> 16, 255u);
        u32 const c1 = Min((static_cast<u32>(ChannelOf(b[i], 1)) * ratio + 32768u) >> 16, 255u);
        u32 const c2 = Min((static_cast<u32>(ChannelOf(b[i], 2)) * ratio + 32768u) >> 16, 255u);
        out[i] = c0 | c1 << 8 | c2 << 16 | (b[i] & 0xFF000000u);
    });
}

/// Both 16-bit types: a 64-bit product with 31 fraction bits. A negative one is deliberately pulled down by one unit.
template <class T>
void Adjust16(Row const& row, AdjustPremulClassAttributes const&) {
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    constexpr s64 kUnit = s64{1} << 31;
    s64 const low = T(-1) < T(0) ? -32768 : 0, high = T(-1) < T(0) ? 32767 : 65535;
    for (int i = 0; i < 4 * row.iPixels; i += 4) {
        T const from = a[i + 3], to = b[i + 3];
        bool const copies = from == 0 || from == to;
        double const divisor = copies ? 1.0 : static_cast<double>(from);
        s64 const ratio = static_cast<s64>(static_cast<double>(to) / divisor * 2147483648.0);
        for (int channel = 0; channel < 3; ++channel) {
            s64 const product = b[i + channel] * ratio;
            s64 const pulled = product < 0 ? product - kUnit : product;
            T const scaled = static_cast<T>(Clamp<s64>((pulled + kUnit / 2) >> 31, low, high));
            out[i + channel] = copies ? b[i + channel] : scaled;
        }
        out[i + 3] = to;
    }
}

void AdjustFloat(Row const& row, AdjustPremulClassAttributes const&) {
    float* const out = Out<float>(row.pOut);
    float const* const a = In<float>(row.pA);
    float const* const b = In<float>(row.pB);
    for (int i = 0; i < 4 * row.iPixels; i += 4) {
        float const from = a[i + 3], to = b[i + 3];
        bool const copies = from == 0.0f || from == to;
        double const ratio = static_cast<double>(to) / static_cast<double>(from);
        for (int channel = 0; channel < 3; ++channel) {
            float const c = b[i + channel];
            out[i + channel] = copies ? c : static_cast<float>(c * ratio);
        }
        out[i + 3] = to;
    }
}

/// (x * 255 + divisor / 2) / divisor for x of 0 to divisor, 0 for a divisor of 0, by a float reciprocal: the numerator
/// plus one half is exact, its quotient lies at least 0.5 / 255 off every integer, and the error below 256 * 2^-22.
struct Divide255 {
    s32 iHalf;
    float fReciprocal;

    QZIL_INLINE explicit Divide255(s32 divisor)
        : iHalf(divisor / 2), fReciprocal(divisor == 0 ? 0.0f : 1.0f / static_cast<float>(divisor)) {}
    QZIL_INLINE s32 operator()(s32 x) const {
        return static_cast<s32>((static_cast<float>(x * 255 + iHalf) + 0.5f) * fReciprocal);
    }
};

void Unpremultiply8(Row const& row, UnpremultiplyClassAttributes<u8> const& c) {
    PixelWord* const out = Out<PixelWord>(row.pOut);
    PixelWord const* const in = In<PixelWord>(row.pA);
    s32 const g0 = c.aBackground[0], g1 = c.aBackground[1], g2 = c.aBackground[2], alpha = c.oAlpha;
    Divide255 const above0(255 - g0), above1(255 - g1), above2(255 - g2), below0(g0), below1(g1), below2(g2);
    Divide255 const alphaAbove(255 - alpha);
    auto const term = [](s32 v, s32 g, Divide255 const& above, Divide255 const& below) {
        s32 const up = above(Max(v - g, 0)), down = below(Max(g - v, 0));
        return v >= g ? up : down;
    };
    ForEach(row.iPixels, [=](int i) {
        s32 const v0 = ChannelOf(in[i], 0), v1 = ChannelOf(in[i], 1), v2 = ChannelOf(in[i], 2), a = ChannelOf(in[i], 3);
        s32 const t3 = alphaAbove(Max(a - alpha, 0));
        s32 const n =
            Max(Max(term(v0, g0, above0, below0), term(v1, g1, above1, below1)), Max(term(v2, g2, above2, below2), t3));
        // trunc(255 / n * 32768): as above, the float quotient never reaches an integer that the true one does not.
        s32 const k = static_cast<s32>(8355840.0f / static_cast<float>(Max(n, 1)));
        auto const rebuild = [n, k](s32 v, s32 g) {
            // 255 * 255 * 32768 + 16384 is below 2^31.
            s32 const scaled = Clamp(g + (((v - g) * k + 16384) >> 15), 0, 255);
            s32 const empty = v > g ? 255 : 0;
            return static_cast<u32>(n == 0 ? empty : scaled);
        };
        out[i] = rebuild(v0, g0) | rebuild(v1, g1) << 8 | rebuild(v2, g2) << 16 | static_cast<u32>(n) << 24;
    });
}

/// Integer division rounded half away from zero. A divisor of 0 gives low, 0 or high by the sign of the numerator.
QZIL_INLINE s64 DivideRounded(s64 numerator, s64 divisor, s64 low, s64 high) {
    if (divisor == 0) return numerator < 0 ? low : numerator > 0 ? high : 0;
    s64 const half = divisor / 2;
    return (numerator < 0) == (divisor < 0) ? (numerator + half) / divisor : (numerator - half) / divisor;
}

template <class T>
void Unpremultiply16(Row const& row, UnpremultiplyClassAttributes<T> const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    constexpr bool kSigned = T(-1) < T(0);
    constexpr s64 kHigh = kSigned ? 16384 : 65535;
    constexpr s64 kLargest = kSigned ? 32767 : 65535;
    s64 const alpha = c.oAlpha;
    s64 const background[3] = {c.aBackground[0], c.aBackground[1], c.aBackground[2]};
    for (int i = 0; i < 4 * row.iPixels; i += 4) {
        s64 n = in[i + 3];
        if (alpha == kHigh) {
            n = 0;
        } else if (alpha != 0) {
            n = Clamp<s64>(DivideRounded((n - alpha) * kHigh, kHigh - alpha, 0, kHigh), 0, kHigh);
        }
        for (int channel = 0; channel < 3; ++channel) {
            s64 const g = background[channel], distance = in[i + channel] - g;
            s64 const term = DivideRounded(distance * kHigh, distance >= 0 ? kHigh - g : -g, 0, kHigh);
            n = Max(n, Min(term, kLargest));
        }
        s64 const k = n == 0 ? 0 : static_cast<s64>(static_cast<double>(kHigh) / static_cast<double>(n) * 2147483648.0);
        for (int channel = 0; channel < 3; ++channel) {
            s64 const g = background[channel], distance = in[i + channel] - g;
            s64 const product = distance * k;
            s64 scaled = (product + 0x40000000LL) >> 31;
            if (kSigned && product < 0) scaled = -((0x40000000LL - product) >> 31);
            s64 const empty = distance > 0 ? kHigh : 0;
            out[i + channel] = static_cast<T>(n == 0 ? empty : Clamp<s64>(g + scaled, 0, kHigh));
        }
        out[i + 3] = static_cast<T>(n);
    }
}

void UnpremultiplyFloat(Row const& row, UnpremultiplyClassAttributes<float> const& c) {
    float* const out = Out<float>(row.pOut);
    float const* const in = In<float>(row.pA);
    constexpr float kLimit = 1e6f;
    float const alpha = c.oAlpha;
    float const background[3] = {c.aBackground[0], c.aBackground[1], c.aBackground[2]};
    auto const divide = [](float numerator, float divisor) {
        if (divisor != 0.0f) return numerator / divisor;
        return numerator < 0.0f ? -kLimit : numerator > 0.0f ? kLimit : 0.0f;
    };
    for (int i = 0; i < 4 * row.iPixels; i += 4) {
        float n = in[i + 3];
        if (alpha == 1.0f) {
            n = 0.0f;
        } else if (alpha != 0.0f) {
            n = Clamp((n - alpha) / (1.0f - alpha), 0.0f, 1.0f);
        }
        for (int channel = 0; channel < 3; ++channel) {
            float const g = background[channel], v = in[i + channel];
            n = Max(n, divide((v - g) * kLimit, v >= g ? kLimit - g : -kLimit - g));
        }
        double const k = 1.0 / static_cast<double>(n);
        for (int channel = 0; channel < 3; ++channel) {
            float const g = background[channel], v = in[i + channel];
            float const empty = v > g ? kLimit : v < g ? -kLimit : 0.0f;
            float const scaled = alpha == 0.0f ? static_cast<float>(v * k) : static_cast<float>(g + (v - g) * k);
            out[i + channel] = n == 0.0f ? empty : scaled;
        }
        out[i + 3] = n;
    }
}

}  // namespace

PremultRows const g_oPremultRows{
    {Adjust8, Adjust16<u16>, Adjust16<s16>, AdjustFloat},
    Unpremultiply8,
    Unpremultiply16<u16>,
    Unpremultiply16<s16>,
    UnpremultiplyFloat,
};

QZIL_ROWS_END
