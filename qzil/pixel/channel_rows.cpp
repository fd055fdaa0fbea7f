#include "qzil/pixel/channel_rows.h"

#include "qzil/kernel/shapes.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;
using kernel::Row;
using Pixel16 = Unaligned<u64>;

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
void GrayRow(Row const& row, Grayscale<T> const&) {
    auto* const out = Out<u8>(row.pOut);
    auto const* const in = In<u8>(row.pA);
    ForVectors(row.iSamples * static_cast<int>(sizeof(T)), [=](int i, int bytes) {
        Vector const pixels = LoadPart(in + i, bytes), alpha = AlphaBits<T>();
        Vector const gray = (Luminance<T>(pixels) & ~alpha) | (pixels & alpha);
        __builtin_memcpy(out + i, &gray, static_cast<unsigned>(bytes));
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
void ToAlphaRow(Row const& row, LuminanceToAlpha<T> const&) {
    if (row.pMask) return ToAlphaMasked<T>(row);
    auto* const out = Out<u8>(row.pOut);
    auto const* const in = In<u8>(row.pA);
    ForVectors(row.iSamples * static_cast<int>(sizeof(T)), [=](int i, int bytes) {
        Vector const old = LoadPart(out + i, bytes), alpha = AlphaBits<T>();
        Vector const pixels = (old & ~alpha) | (Luminance<T>(LoadPart(in + i, bytes)) & alpha);
        __builtin_memcpy(out + i, &pixels, static_cast<unsigned>(bytes));
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

// The rows copy alpha, which mixes with itself to itself.
constexpr With kGray{.eMix8 = kernel::MixRule::Mix257, .bHasChannels = false};
kernel::Operation<Grayscale, u8, u16, float> const g_oGrayscale = kStretch<Grayscale, u8, GrayRow<u8>, kGray> |
                                                                  kStretch<Grayscale, u16, GrayRow<u16>, kGray> |
                                                                  kPixel<Grayscale, kGray, float>;

constexpr With kToAlpha{
    .eMaskLayout = kernel::MaskLayout::Pixel, .bTakesMask = true, .bHasChannels = false, .bWritesAll = false};
kernel::Operation<LuminanceToAlpha, u8, u16> const g_oLuminanceToAlpha =
    kStretch<LuminanceToAlpha, u8, ToAlphaRow<u8>, kToAlpha> |
    kStretch<LuminanceToAlpha, u16, ToAlphaRow<u16>, kToAlpha>;

// Unselected channels are their own sources, and a mask's mix of a channel with itself keeps it.
constexpr With kSwitch{.eSelection = Selection::Rule};
kernel::Operation<ChannelSwitch, u8> const g_oChannelSwitch = kPixel<ChannelSwitch, kSwitch, u8>;
kernel::Operation<HlsSwitch, u8> const g_oHlsSwitch = kPixel<HlsSwitch, kSwitch, u8>;

ChannelRows const g_oChannelRows{.pExtract8 = Extract8,
                                 .pExtract16 = Extract16,
                                 .pExtract32 = Extract32,
                                 .pInsert8 = Insert8,
                                 .pInsert16 = Insert16};

QZIL_ROWS_END
