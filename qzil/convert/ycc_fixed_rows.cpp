#include "qzil/convert/ycc_fixed_rows.h"

#include "qzil/kernel/loops.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;

/// Pixels that the chroma filter reads before and behind a stretch.
constexpr int kMargin = 2;

QZIL_INLINE s32 Byte(u32 word, int shift) {
    return static_cast<s32>(word >> shift & 255u);
}

/// The pixels of a stretch as words, with the margins, clamped to what can be read.
struct PixelWords {
    u32 aWords[kernel::kStretchPixels + 2 * kMargin];

    template <int kBytes>
    QZIL_INLINE u32 const* Read(ConvertRow const& row) {
        u8 const* const in = row.pIn;
        u32* const words = aWords + kMargin;
        if constexpr (kBytes == 4) {
            __builtin_memcpy(words, in, static_cast<unsigned long>(4 * row.iPixels));
        } else {
            // Four pixels are three words.
            PixelWord const* const packed = reinterpret_cast<PixelWord const*>(in);
            ForEach(row.iPixels / 4, [=](int i) {
                u32 const w0 = packed[3 * i], w1 = packed[3 * i + 1], w2 = packed[3 * i + 2];
                words[4 * i] = w0 & 0xFFFFFFu;
                words[4 * i + 1] = w0 >> 24 | (w1 & 0xFFFFu) << 8;
                words[4 * i + 2] = w1 >> 16 | (w2 & 0xFFu) << 16;
                words[4 * i + 3] = w2 >> 8;
            });
            for (int i = row.iPixels & ~3; i < row.iPixels; ++i) words[i] = At<3>(in, i);
        }
        for (int i = -kMargin; i < 0; ++i) words[i] = At<kBytes>(in, Max(i, row.iFirst));
        for (int i = 0; i < kMargin; ++i) {
            words[row.iPixels + i] = At<kBytes>(in, Min(row.iPixels + i, row.iLast));
        }
        return words;
    }

    template <int kBytes>
    QZIL_INLINE static u32 At(u8 const* line, int position) {
        u8 const* const p = line + kBytes * position;
        return static_cast<u32>(p[0] | p[1] << 8 | p[2] << 16);
    }
};

/// The constants of the vector loop. Factors are halves of lanes, as DotHalves multiplies them; what does not fit 16
/// bits is shared out over two of them.
struct PairFactors {
    Vector oLumaOuter, oLumaGreen, oLumaOffset;
    Vector oChromaOuter, oChromaGreen, oChromaOffset;
    Vector8 oGreenTwice;   ///< byte 1 of each pixel into both halves
    Vector8 oOuterOfEven;  ///< bytes 0 and 2 of the even pixel, for both lanes
    Vector8 oGreenOfEven;  ///< byte 1 of the even pixel, and the byte whose factor needs a second half

    PairFactors(RgbToPairs const& c, bool filter) {
        s32 const green = c.aY[1] / 2;
        oLumaOuter = AllLanes(Halves(c.aY[0], c.aY[2]));
        oLumaGreen = AllLanes(Halves(green, c.aY[1] - green));
        oLumaOffset = AllLanes(c.aY[3]);
        // Of the factors of chroma only the largest one, of blue in Cb and of red in Cr, may exceed 16 bits.
        u8 const cbPlace = c.aCb[0] > c.aCb[2] ? 0 : 2, crPlace = static_cast<u8>(2 - cbPlace);
        auto const low = [](s32 factor) { return Min(factor, 32767); };
        oChromaOuter = EvenOddLanes(Halves(low(c.aCb[0]), low(c.aCb[2])), Halves(low(c.aCr[0]), low(c.aCr[2])));
        oChromaGreen = EvenOddLanes(Halves(c.aCb[1], c.aCb[cbPlace] - low(c.aCb[cbPlace])),
                                    Halves(c.aCr[1], c.aCr[crPlace] - low(c.aCr[crPlace])));
        oChromaOffset = EvenOddLanes(c.aCb[3], c.aCr[3]);
        constexpr u8 z = 8;
        oGreenTwice = PatternOf({1, z, 1, z, 5, z, 5, z});
        if (filter) {
            // From 16-bit values of channels 0, 2 and 1.
            u8 const cb = cbPlace, cr = crPlace;
            oOuterOfEven = PatternOf({0, 1, 2, 3, 0, 1, 2, 3});
            oGreenOfEven = PatternOf({4, 5, cb, static_cast<u8>(cb + 1), 4, 5, cr, static_cast<u8>(cr + 1)});
        } else {
            oOuterOfEven = PatternOf({0, z, 2, z, 0, z, 2, z});
            oGreenOfEven = PatternOf({1, z, cbPlace, z, 1, z, crPlace, z});
        }
    }
};

/// The chroma filter around even pixels, (-1 2 6 2 -1) / 8, for channels 0 and 2 in the even lane and channel 1 in the
/// odd one, in 16 bits. `channels` lays the bytes of a pair's two pixels side by side.
QZIL_INLINE Vector Filtered(u32 const* pixels, Vector8 channels) {
    auto const pair = [=](int distance) { return MoveBytes(LoadVector(pixels + distance), channels); };
    return RoundedEighths(DotBytes(pair(-2), -1, 2) + DotBytes(pair(0), 6, 2) + DotBytes(pair(2), -1, 0));
}

/// The output of a vector of pixels, two 16-bit values for each, to be limited to bytes: luma of every pixel, Cb on the
/// even and Cr on the odd ones.
template <bool kFilter, bool kChromaFirst>
QZIL_INLINE Vector PairWords(u32 const* pixels, PairFactors const& f, Vector8 channels) {
    Vector const word = LoadVector(pixels);
    Vector const luma = DotHalves(word & 0x00FF00FF, f.oLumaOuter) +
                        DotHalves(MoveBytes(word, f.oGreenTwice), f.oLumaGreen) + f.oLumaOffset;
    Vector const source = kFilter ? Filtered(pixels, channels) : word;
    Vector const chroma = DotHalves(MoveBytes(source, f.oOuterOfEven), f.oChromaOuter) +
                          DotHalves(MoveBytes(source, f.oGreenOfEven), f.oChromaGreen) + f.oChromaOffset;
    return kChromaFirst ? JoinHighHalves(chroma, luma) : JoinHighHalves(luma, chroma);
}

template <bool kFilter, bool kChromaFirst>
QZIL_INLINE void ToPairs(u32 const* pixels, u8* out, int count, RgbToPairs const& c) {
    PairFactors const f(c, kFilter);
    Vector8 const channels = PatternOf({0, 4, 2, 6, 1, 5, 8, 8});
    auto const store = [&f, channels](u8* to, u32 const* from) {
        StoreLimitedBytes(to, PairWords<kFilter, kChromaFirst>(from, f, channels),
                          PairWords<kFilter, kChromaFirst>(from + kLanes32, f, channels));
    };
    constexpr int kStep = 2 * kLanes32;
    int i = 0;
    for (; i + kStep <= count; i += kStep) store(out + 2 * i, pixels + i);
    if (i == count) return;
    u32 rest[kStep + 2 * kMargin] = {};
    u8 result[2 * kStep];
    unsigned long const read = static_cast<unsigned long>(count - i + (kFilter ? 2 * kMargin : 0));
    __builtin_memcpy(kFilter ? rest : rest + kMargin, kFilter ? pixels + i - kMargin : pixels + i, 4 * read);
    store(result, rest + kMargin);
    __builtin_memcpy(out + 2 * i, result, static_cast<unsigned long>(2 * (count - i)));
}

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
    bool const inside = !c.bFilter || (row.iFirst <= -kMargin && row.iLast >= row.iPixels - 1 + kMargin);
    PixelWords words;
    u32 const* pixels = nullptr;
    if (!c.bSourceAlpha) {
        pixels = words.Read<3>(row);
    } else if (inside) {
        pixels = reinterpret_cast<u32 const*>(row.pIn);
    } else {
        pixels = words.Read<4>(row);
    }
    bool const chromaFirst = c.oOrder.iCb == 0;
    if (c.bFilter) {
        chromaFirst ? ToPairs<true, true>(pixels, row.pOut, row.iPixels, c)
                    : ToPairs<true, false>(pixels, row.pOut, row.iPixels, c);
    } else {
        chromaFirst ? ToPairs<false, true>(pixels, row.pOut, row.iPixels, c)
                    : ToPairs<false, false>(pixels, row.pOut, row.iPixels, c);
    }
}

/// `alpha(i)` gives the fourth byte of pixel i. With kMixed the odd pixels get the mean of their own and the next
/// pair's chroma.
template <bool kMixed, class Alpha>
QZIL_INLINE void FromPairs(u8* to, u8 const* from, int firstPair, int endPair, PairsToRgb const& c, Alpha alpha) {
    PixelWord* const out = reinterpret_cast<PixelWord*>(to);
    PixelWord const* const in = reinterpret_cast<PixelWord const*>(from);
    s32 const ky = c.iY, r0 = c.aRed[0], r1 = c.aRed[1], g0 = c.aGreen[0], g1 = c.aGreen[1], g2 = c.aGreen[2];
    s32 const b0 = c.aBlue[0], b1 = c.aBlue[1];
    PairOrder const order = c.oOrder;
    int const red = c.iRed, blue = c.iBlue;
    struct Chroma {
        s32 iRed, iGreen, iBlue;
    };
    auto const chroma = [=](s32 cb, s32 cr) { return Chroma{cr * r0 + r1, cb * g0 + cr * g1 + g2, cb * b0 + b1}; };
    // An integer part outside 0 to 255 saturates, as the sums stay within 32 bits.
    auto const limited = [](s32 sum) { return static_cast<u32>(Clamp<s32>(sum >> 16, 0, 255)); };
    auto const pixel = [=](s32 y, Chroma t) {
        s32 const luma = y * ky;
        return limited(t.iRed + luma) << red | limited(t.iGreen + luma) << 8 | limited(t.iBlue + luma) << blue;
    };
    ForEach(endPair - firstPair, [=](int n) {
        int const k = firstPair + n;
        u32 const word = in[k];
        s32 const cb = Byte(word, order.iCb), cr = Byte(word, order.iCr);
        Chroma const even = chroma(cb, cr);
        Chroma odd = even;
        if constexpr (kMixed) {
            u32 const next = in[k + 1];
            odd = chroma((cb + Byte(next, order.iCb) + 1) >> 1, (cr + Byte(next, order.iCr) + 1) >> 1);
        }
        out[2 * k] = pixel(Byte(word, order.iY0), even) | alpha(2 * k);
        out[2 * k + 1] = pixel(Byte(word, order.iY1), odd) | alpha(2 * k + 1);
    });
}

template <class Alpha>
QZIL_INLINE void FromAllPairs(u8* to, ConvertRow const& row, PairsToRgb const& c, Alpha alpha) {
    int const pairs = row.iPixels / 2;
    // The chroma of the next pair counts when the whole pair lies in the region.
    int const mixed = c.bInterpolate ? Clamp(row.iLast - 1, 0, 2 * pairs) / 2 : 0;
    FromPairs<true>(to, row.pIn, 0, mixed, c, alpha);
    FromPairs<false>(to, row.pIn, mixed, pairs, c, alpha);
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
