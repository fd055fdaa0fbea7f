#include "qzil/convert/ycc_fixed_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;
using Word = u32 __attribute__((may_alias, aligned(1)));

constexpr int kMaxPairs = kernel::kStretchPixels / 2;

QZIL_INLINE s32 Byte(u32 word, int shift) {
    return static_cast<s32>(word >> shift & 255u);
}

/// The pixels of a stretch apart, with what the chroma filter needs beside them.
struct SplitPixels {
    u32 aEven[kMaxPairs + 2];  ///< from pair -1 to the pair behind the last
    u32 aOdd[kMaxPairs + 2];   ///< from pair -1

    QZIL_INLINE u32* Even() { return aEven + 1; }
    QZIL_INLINE u32* Odd() { return aOdd + 1; }
};

template <int kBytes>
QZIL_INLINE u32 PixelAt(u8 const* line, int position) {
    u8 const* const p = line + kBytes * position;
    u32 const color = static_cast<u32>(p[0] | p[1] << 8 | p[2] << 16);
    return kBytes == 4 ? color | static_cast<u32>(p[3]) << 24 : color;
}

template <int kBytes>
QZIL_INLINE void Split(ConvertRow const& row, SplitPixels& split) {
    u8 const* const in = row.pIn;
    u32* const even = split.Even();
    u32* const odd = split.Odd();
    int const pairs = row.iPixels / 2;
    if constexpr (kBytes == 4) {
        auto const* const words = reinterpret_cast<Word const*>(in);
        ForEach(pairs, [=](int k) {
            even[k] = words[2 * k];
            odd[k] = words[2 * k + 1];
        });
    } else {
        ForEach(pairs, [=](int k) {
            even[k] = PixelAt<3>(in, 2 * k);
            odd[k] = PixelAt<3>(in, 2 * k + 1);
        });
    }
    even[-1] = PixelAt<kBytes>(in, Max(-2, row.iFirst));
    odd[-1] = PixelAt<kBytes>(in, Max(-1, row.iFirst));
    even[pairs] = PixelAt<kBytes>(in, Min(2 * pairs, row.iLast));
}

/// The chroma filter of a pair for two channels 16 bits apart: (-1 2 6 2 -1) / 8 around the even pixel. Sums are kept
/// above 0 by 512, the quotients thus by 64.
QZIL_INLINE u32 Filtered(u32 before2, u32 before1, u32 at, u32 after1, u32 after2, int shift) {
    constexpr u32 kFields = 0x00FF00FFu, kBias = 516u * 0x10001u;
    auto const fields = [=](u32 pixel) { return pixel >> shift & kFields; };
    return 2 * (fields(before1) + fields(after1)) + 6 * fields(at) - fields(before2) - fields(after2) + kBias;
}

/// `pair(k)` gives the even and the odd pixel, `chroma(k)` the red, green and blue that chroma is made of.
template <class Pair, class Chroma>
QZIL_INLINE void ToPairs(ConvertRow const& row, RgbToPairs const& c, s32 cbOffset, s32 crOffset, Pair pair,
                         Chroma chroma) {
    auto* const out = reinterpret_cast<Word*>(row.pOut);
    s32 const y0 = c.aY[0], y1 = c.aY[1], y2 = c.aY[2], y3 = c.aY[3];
    s32 const b0 = c.aCb[0], b1 = c.aCb[1], b2 = c.aCb[2];
    s32 const r0 = c.aCr[0], r1 = c.aCr[1], r2 = c.aCr[2];
    PairOrder const order = c.oOrder;
    auto const luma = [=](u32 p) {
        return static_cast<u32>((Byte(p, 0) * y0 + Byte(p, 8) * y1 + Byte(p, 16) * y2 + y3) >> 16) & 255u;
    };
    auto const limited = [](s32 sum) { return static_cast<u32>(Clamp<s32>(sum >> 16, 0, 255)); };
    ForEach(row.iPixels / 2, [=](int k) {
        auto const pixels = pair(k);
        auto const f = chroma(k, pixels.uEven);
        u32 const cb = limited(f.iFirst * b0 + f.iSecond * b1 + f.iThird * b2 + cbOffset);
        u32 const cr = limited(f.iFirst * r0 + f.iSecond * r1 + f.iThird * r2 + crOffset);
        out[k] = cb << order.iCb | luma(pixels.uEven) << order.iY0 | cr << order.iCr | luma(pixels.uOdd) << order.iY1;
    });
}

struct TwoPixels {
    u32 uEven, uOdd;
};
struct Channels {
    s32 iFirst, iSecond, iThird;
};

void CopyAlpha(ConvertRow const& row, bool sourceAlpha) {
    u8* const out = row.pAlphaOut;
    if (!out) return;
    if (sourceAlpha) {
        u8 const* const in = row.pIn;
        ForEach(row.iPixels, [=](int i) { out[i] = in[4 * i + 3]; });
    } else {
        ForEach(row.iPixels, [=](int i) { out[i] = 255; });
    }
}

void RgbToPairsRow(ConvertRow const& row, RgbToPairs const& c) {
    CopyAlpha(row, c.bSourceAlpha);
    auto const own = [](int, u32 p) { return Channels{Byte(p, 0), Byte(p, 8), Byte(p, 16)}; };
    if (!c.bFilter && c.bSourceAlpha) {
        auto const* const in = reinterpret_cast<Word const*>(row.pIn);
        ToPairs(row, c, c.aCb[3], c.aCr[3], [=](int k) { return TwoPixels{in[2 * k], in[2 * k + 1]}; }, own);
        return;
    }
    SplitPixels split;
    if (c.bSourceAlpha) {
        Split<4>(row, split);
    } else {
        Split<3>(row, split);
    }
    u32 const* const even = split.Even();
    u32 const* const odd = split.Odd();
    auto const pair = [=](int k) { return TwoPixels{even[k], odd[k]}; };
    if (!c.bFilter) {
        ToPairs(row, c, c.aCb[3], c.aCr[3], pair, own);
        return;
    }
    s32 const cbOffset = c.aCb[3] - 64 * (c.aCb[0] + c.aCb[1] + c.aCb[2]);
    s32 const crOffset = c.aCr[3] - 64 * (c.aCr[0] + c.aCr[1] + c.aCr[2]);
    ToPairs(row, c, cbOffset, crOffset, pair, [=](int k, u32 at) {
        u32 const outer = Filtered(even[k - 1], odd[k - 1], at, odd[k], even[k + 1], 0);
        u32 const inner = Filtered(even[k - 1], odd[k - 1], at, odd[k], even[k + 1], 8);
        return Channels{static_cast<s32>((outer & 0xFFFFu) >> 3), static_cast<s32>((inner & 0xFFFFu) >> 3),
                        static_cast<s32>(outer >> 19)};
    });
}

/// `alpha(i)` gives the fourth byte of pixel i, `next(k)` the pair whose chroma is mixed into the odd pixel of pair k.
template <class Alpha, class Next>
QZIL_INLINE void FromPairs(u8* to, u8 const* from, int firstPair, int endPair, PairsToRgb const& c, Alpha alpha,
                           Next next) {
    auto* const out = reinterpret_cast<Word*>(to);
    auto const* const in = reinterpret_cast<Word const*>(from);
    s32 const ky = c.iY, r0 = c.aRed[0], r1 = c.aRed[1], g0 = c.aGreen[0], g1 = c.aGreen[1], g2 = c.aGreen[2];
    s32 const b0 = c.aBlue[0], b1 = c.aBlue[1];
    PairOrder const order = c.oOrder;
    int const red = c.iRed, blue = c.iBlue;
    // An integer part outside 0 to 255 saturates, as the sums stay within 32 bits.
    auto const limited = [](s32 sum) { return static_cast<u32>(Clamp<s32>(sum >> 16, 0, 255)); };
    auto const pixel = [=](s32 y, s32 cb, s32 cr) {
        s32 const luma = y * ky;
        return limited(cr * r0 + r1 + luma) << red | limited(cb * g0 + cr * g1 + g2 + luma) << 8 |
               limited(cb * b0 + b1 + luma) << blue;
    };
    ForEach(endPair - firstPair, [=](int n) {
        int const k = firstPair + n;
        u32 const word = in[k], other = next(in, k);
        s32 const cb = Byte(word, order.iCb), cr = Byte(word, order.iCr);
        s32 const cb2 = (cb + Byte(other, order.iCb) + 1) >> 1, cr2 = (cr + Byte(other, order.iCr) + 1) >> 1;
        out[2 * k] = pixel(Byte(word, order.iY0), cb, cr) | alpha(2 * k);
        out[2 * k + 1] = pixel(Byte(word, order.iY1), cb2, cr2) | alpha(2 * k + 1);
    });
}

template <class Alpha>
QZIL_INLINE void FromAllPairs(u8* to, ConvertRow const& row, PairsToRgb const& c, Alpha alpha) {
    int const pairs = row.iPixels / 2;
    // The chroma of the next pair counts when the whole pair lies in the region.
    int const mixed = c.bInterpolate ? Clamp(row.iLast - 1, 0, 2 * pairs) / 2 : 0;
    FromPairs(to, row.pIn, 0, mixed, c, alpha, [](Word const* in, int k) -> u32 { return in[k + 1]; });
    FromPairs(to, row.pIn, mixed, pairs, c, alpha, [](Word const* in, int k) -> u32 { return in[k]; });
}

void PairsToRgbRow(ConvertRow const& row, PairsToRgb const& c) {
    auto const opaque = [](int) { return 0xFF000000u; };
    if (!c.bTargetAlpha) {
        u8 pixels[4 * kernel::kStretchPixels];
        FromAllPairs(pixels, row, c, opaque);
        u8* const out = row.pOut;
        u8 const* const in = pixels;
        ForEach(row.iPixels, [=](int i) {
            for (int n = 0; n < 3; ++n) out[3 * i + n] = in[4 * i + n];
        });
    } else if (u8 const* const plane = row.pAlphaIn) {
        FromAllPairs(row.pOut, row, c, [=](int i) { return static_cast<u32>(plane[i]) << 24; });
    } else {
        FromAllPairs(row.pOut, row, c, opaque);
    }
}

}  // namespace

YccFixedRows const g_oYccFixedRows{RgbToPairsRow, PairsToRgbRow};

QZIL_ROWS_END
