#pragma once

#include "qzil/kernel/convert_row.h"
#include "qzil/kernel/operation.h"

namespace qzil {

/// Luminance in the three colour channels. A float mask that is not a number gives colours that are none.
template <class T>
struct Grayscale {};

template <>
struct Grayscale<float> {
    QZIL_INLINE Quad<float> operator()(Quad<float> p) const {
        float const y = 0.299f * p.c0 + 0.587f * p.c1 + 0.114f * p.c2;
        return {y, y, y, p.c3};
    }
    QZIL_INLINE Quad<float> Masked(Quad<float> p, float m) const {
        float const y = operator()(p).c0;
        auto const mixed = [=](float old) { return m <= 0.0f ? old : m >= 1.0f ? y : MixFloat(old, y, m); };
        return {mixed(p.c0), mixed(p.c1), mixed(p.c2), p.c3};
    }
};
QZIL_OPERATION(Grayscale, u8, u16, float)

/// Luminance in alpha; colours stay as the output has them.
template <class T>
struct LuminanceToAlpha {};
QZIL_OPERATION(LuminanceToAlpha, u8, u16)

/// Which bytes of a word go where: `aTurned[n]` selects from the word turned up by n bytes.
struct ByteMoves {
    u32 aTurned[4];

    /// The bytes where they belong; the rest is zero.
    QZIL_INLINE u32 operator()(u32 word) const {
        u32 const turned1 = word << 8 | word >> 24, turned2 = word << 16 | word >> 16, turned3 = word << 24 | word >> 8;
        return (word & aTurned[0]) | (turned1 & aTurned[1]) | (turned2 & aTurned[2]) | (turned3 & aTurned[3]);
    }
};

/// A pixel of bytes of the old pixel, of which some bits are flipped.
template <class T>
struct ChannelSwitch {
    ByteMoves oPixel;
    u32 uFlip;

    QZIL_INLINE u32 operator()(u32 pixel) const { return oPixel(pixel) ^ uFlip; }
};
QZIL_OPERATION(ChannelSwitch, u8)

/// The same with bytes of hue, lightness and saturation.
template <class T>
struct HlsSwitch {
    ByteMoves oPixel, oHls;
    u32 uFlip;

    /// a / b truncated; 0 for a = 0. Both are below 2^17, where a float quotient is below an integer if the exact one
    /// is.
    QZIL_INLINE static s32 Quotient(s32 a, s32 b) {
        return static_cast<s32>(static_cast<float>(a) / static_cast<float>(Max(b, 1)));
    }
    /// Hue, lightness and saturation of a pixel, in this order from the low byte. The quotients are the entries of
    /// ilNormDiv and ilHueTable.
    QZIL_INLINE static u32 HlsOf(u32 pixel) {
        s32 const r = static_cast<s32>(pixel & 255), g = static_cast<s32>(pixel >> 8 & 255),
                  b = static_cast<s32>(pixel >> 16 & 255);
        s32 const high = Max(Max(r, g), b), low = Min(Min(r, g), b), sum = high + low, spread = high - low;
        s32 const lightness = (sum + 1) >> 1;
        s32 const most = lightness >= 128 ? 510 - sum : sum;
        s32 const saturation = Quotient(spread * 255 + (most >> 1), most);
        // The tests for the largest channel go in this order: red, green, blue.
        s32 const way = r == high ? g - b : g == high ? b - r : r - g;
        s32 const start = r == high ? 0 : g == high ? 85 : 170;
        s32 const part = Quotient(85 * Max(way, -way) + spread, 2 * spread);
        s32 const hue = start + (way < 0 ? -part : part);
        return static_cast<u32>((hue & 255) | lightness << 8 | saturation << 16);
    }
    QZIL_INLINE u32 operator()(u32 pixel) const { return (oPixel(pixel) | oHls(HlsOf(pixel))) ^ uFlip; }
};
QZIL_OPERATION(HlsSwitch, u8)

/// One channel's place in a pixel; 4 stands for all of them.
struct ChannelPlace {
    int iPlace;
};

struct ChannelRows {
    kernel::TypedConvertRow<ChannelPlace> pExtract8, pExtract16, pExtract32, pInsert8, pInsert16;
};
QZIL_ROW_TABLE(ChannelRows)

}  // namespace qzil
