#include "qzil/pixel/channel_rows.h"

#include "qzil/kernel/shapes.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;
using kernel::Row;
using Pixel16 = u64 __attribute__((may_alias, aligned(1)));

/// A thousandth, truncated, of sums from 0 to 2^26. 0.008f lies so little above 1/125 that up to 2^23 a product reaches
/// an integer exactly where the quotient does.
QZIL_INLINE Vector Thousandth(Vector sum) {
    using Reals = float __attribute__((vector_size(kVectorBytes)));
    return __builtin_convertvector(__builtin_convertvector(sum >> 3, Reals) * 0.008f, Vector);
}

/// The luminance of the pixels of a vector in each of their channels: of 8 bits a pixel is one lane, of 16 bits two.
template <class T>
QZIL_INLINE Vector Luminance(Vector pixels) {
    if constexpr (sizeof(T) == 1) {
        Vector const bytes = AllLanes(0xFF00FF);
        Vector const redAndBlue = DotHalves(pixels & bytes, AllLanes(Halves(299, 114)));
        Vector const y = Thousandth(redAndBlue + DotHalves(pixels >> 8 & bytes, AllLanes(Halves(587, 0))));
        Vector const two = y | y << 8;
        return two | two << 16;
    } else {
        // Products take signed halves: every sample goes down by 32768, the sum up by 1000 times that.
        Vector const shifted = pixels ^ AllLanes(Halves(0x8000, 0x8000));
        Vector const parts = DotHalves(shifted, EvenOddLanes(Halves(299, 587), Halves(114, 0)));
        Vector64 const both = reinterpret_cast<Vector64>(parts);
        Vector const y = Thousandth(parts + reinterpret_cast<Vector>(both << 32 | both >> 32) + 1000 * 32768);
        return y | y << 16;
    }
}

/// All bits set in the alpha of the pixels of a vector.
template <class T>
QZIL_INLINE Vector AlphaBits() {
    return sizeof(T) == 1 ? AllLanes(Halves(0, 0xFF00)) : EvenOddLanes(0, Halves(0, 0xFFFF));
}

/// Calls op(place, bytes) for every vector of a line, the last one perhaps a part of one.
template <class Op>
QZIL_INLINE void ForVectors(int bytes, Op op) {
    int i = 0;
    for (; i + kVectorBytes <= bytes; i += kVectorBytes) op(i, kVectorBytes);
    if (i < bytes) op(i, bytes - i);
}

QZIL_INLINE Vector LoadPart(u8 const* from, int bytes) {
    Vector v{};
    __builtin_memcpy(&v, from, static_cast<unsigned>(bytes));
    return v;
}

template <class T>
void Gray(Row const& row, NoConstants const&) {
    auto* const out = Out<u8>(row.pOut);
    auto const* const in = In<u8>(row.pA);
    ForVectors(row.iPixels * 4 * static_cast<int>(sizeof(T)), [=](int i, int bytes) {
        Vector const pixels = LoadPart(in + i, bytes), alpha = AlphaBits<T>();
        Vector const gray = (Luminance<T>(pixels) & ~alpha) | (pixels & alpha);
        __builtin_memcpy(out + i, &gray, static_cast<unsigned>(bytes));
    });
}

void GrayFloat(Row const& row, NoConstants const&) {
    auto* const out = Out<float>(row.pOut);
    auto const* const in = In<float>(row.pA);
    auto const luminance = [=](int i) { return 0.299f * in[4 * i] + 0.587f * in[4 * i + 1] + 0.114f * in[4 * i + 2]; };
    if (!row.pMask) {
        ForEach(row.iPixels, [=](int i) {
            float const y = luminance(i), alpha = in[4 * i + 3];
            out[4 * i] = out[4 * i + 1] = out[4 * i + 2] = y;
            out[4 * i + 3] = alpha;
        });
        return;
    }
    auto const* const mask = In<float>(row.pMask);
    ForEach(row.iPixels, [=](int i) {
        float const y = luminance(i), m = mask[i];
        for (int c = 0; c < 3; ++c) {
            float const old = in[4 * i + c], mixed = MixFloat(old, y, m);
            out[4 * i + c] = m <= 0.0f ? old : m >= 1.0f ? y : mixed;
        }
        out[4 * i + 3] = in[4 * i + 3];
    });
}

QZIL_INLINE u8 Mix(u8 p, u8 r, u8 m) {
    return MixNormMult(p, r, m);
}
QZIL_INLINE u16 Mix(u16 p, u16 r, u16 m) {
    return Mix16(p, r, m);
}

/// Pixel by pixel: masks come here only from hosts that did not ask Verify.
template <class T>
void ToAlphaMasked(Row const& row) {
    auto* const out = Out<T>(row.pOut);
    auto const* const in = In<T>(row.pA);
    auto const* const mask = In<T>(row.pMask);
    int const pixels = row.iPixels;
    for (int i = 0; i < pixels; ++i) {
        T const* const pixel = in + 4 * i;
        if (mask[i] == 0) {
            __builtin_memmove(out + 4 * i, pixel, 4 * sizeof(T));
            continue;
        }
        T const y = static_cast<T>((299u * pixel[0] + 587u * pixel[1] + 114u * pixel[2]) / 1000u);
        out[4 * i + 3] = Mix(pixel[3], y, mask[i]);
    }
}

template <class T>
void ToAlpha(Row const& row, NoConstants const&) {
    if (row.pMask) return ToAlphaMasked<T>(row);
    auto* const out = Out<u8>(row.pOut);
    auto const* const in = In<u8>(row.pA);
    ForVectors(row.iPixels * 4 * static_cast<int>(sizeof(T)), [=](int i, int bytes) {
        Vector const old = LoadPart(out + i, bytes), alpha = AlphaBits<T>();
        Vector const pixels = (old & ~alpha) | (Luminance<T>(LoadPart(in + i, bytes)) & alpha);
        __builtin_memcpy(out + i, &pixels, static_cast<unsigned>(bytes));
    });
}

/// The bytes of a word where they belong; the rest is zero.
QZIL_INLINE u32 Moved(u32 word, ByteMoves const& moves) {
    u32 const turned1 = word << 8 | word >> 24, turned2 = word << 16 | word >> 16, turned3 = word << 24 | word >> 8;
    return (word & moves.aTurned[0]) | (turned1 & moves.aTurned[1]) | (turned2 & moves.aTurned[2]) |
           (turned3 & moves.aTurned[3]);
}

/// a / b truncated; 0 for a = 0. Both are below 2^17, where a float quotient is below an integer if the exact one is.
QZIL_INLINE s32 Quotient(s32 a, s32 b) {
    return static_cast<s32>(static_cast<float>(a) / static_cast<float>(Max(b, 1)));
}

/// Hue, lightness and saturation of a pixel, in this order from the low byte. The quotients are the entries of
/// ilNormDiv and ilHueTable.
QZIL_INLINE u32 HlsOf(u32 pixel) {
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

void Switch(Row const& row, ChannelSources const& c) {
    auto* const out = reinterpret_cast<PixelWord*>(row.pOut);
    auto const* const in = reinterpret_cast<PixelWord const*>(row.pA);
    ByteMoves const moves = c.oPixel;
    u32 const flip = c.uFlip;
    ForEach(row.iPixels, [=](int i) { out[i] = Moved(in[i], moves) ^ flip; });
}

void SwitchHls(Row const& row, ChannelSources const& c) {
    auto* const out = reinterpret_cast<PixelWord*>(row.pOut);
    auto const* const in = reinterpret_cast<PixelWord const*>(row.pA);
    ByteMoves const moves = c.oPixel, hls = c.oHls;
    u32 const flip = c.uFlip;
    ForEach(row.iPixels, [=](int i) {
        u32 const pixel = in[i];
        out[i] = (Moved(pixel, moves) | Moved(HlsOf(pixel), hls)) ^ flip;
    });
}

void Extract8(ConvertRow const& row, ChannelPlace const& c) {
    u8* const out = row.pOut;
    PixelWord const* const in = reinterpret_cast<PixelWord const*>(row.pIn);
    int const shift = 8 * c.iPlace;
    ForEach(row.iPixels, [=](int i) { out[i] = static_cast<u8>(in[i] >> shift); });
}

void Extract16(ConvertRow const& row, ChannelPlace const& c) {
    auto* const out = Out<u16>(row.pOut);
    Pixel16 const* const in = reinterpret_cast<Pixel16 const*>(row.pIn);
    int const shift = 16 * c.iPlace;
    ForEach(row.iPixels, [=](int i) { out[i] = static_cast<u16>(in[i] >> shift); });
}

void Extract32(ConvertRow const& row, ChannelPlace const& c) {
    PixelWord* const out = reinterpret_cast<PixelWord*>(row.pOut);
    PixelWord const* const in = reinterpret_cast<PixelWord const*>(row.pIn) + c.iPlace;
    ForEach(row.iPixels, [=](int i) { out[i] = in[4 * i]; });
}

template <class Pixel, class T, class Word>
QZIL_INLINE void Insert(ConvertRow const& row, ChannelPlace const& c, Word everywhere, Word full) {
    auto* const out = reinterpret_cast<Pixel*>(row.pOut);
    auto const* const in = In<T>(row.pIn);
    if (c.iPlace == 4) {
        ForEach(row.iPixels, [=](int i) { out[i] = everywhere * in[i]; });
        return;
    }
    int const shift = static_cast<int>(8 * sizeof(T)) * c.iPlace;
    Word const kept = ~(full << shift);
    ForEach(row.iPixels, [=](int i) { out[i] = (out[i] & kept) | Word{in[i]} << shift; });
}

void Insert8(ConvertRow const& row, ChannelPlace const& c) {
    Insert<PixelWord, u8, u32>(row, c, 0x01010101u, 0xFFu);
}
void Insert16(ConvertRow const& row, ChannelPlace const& c) {
    Insert<Pixel16, u16, u64>(row, c, 0x0001000100010001u, 0xFFFFu);
}

}  // namespace

ChannelRows const g_oChannelRows{Gray<u8>,  Gray<u16>, GrayFloat, ToAlpha<u8>, ToAlpha<u16>, Switch,
                                 SwitchHls, Extract8,  Extract16, Extract32,   Insert8,      Insert16};

QZIL_ROWS_END
