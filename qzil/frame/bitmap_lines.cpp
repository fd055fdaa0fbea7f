#include "qzil/frame/bitmap_lines.h"

#include "qzil/image/pixel_math.h"

using namespace qzil;

namespace {

/// Red, green and blue of a pixel in the other order.
template <class T>
void PutReversed(u8* target, T const* source, int shift = 0) {
    for (int c = 0; c < 3; ++c) target[c] = static_cast<u8>(source[2 - c] >> shift);
}

template <class T>
void PutGray(u8* target, T const* source, int shift) {
    target[0] = target[1] = target[2] = static_cast<u8>(*source >> shift);
}

/// Calls op(target, source) for every pixel; the sizes are samples.
template <int kTarget, int kSource, class To, class From, class Op>
void ForPixels(To* target, From const* source, int count, Op op) {
    for (std::ptrdiff_t i = 0; i < count; ++i) op(target + i * kTarget, source + i * kSource);
}

/// Calls op(color, alpha, pixel) for every pixel of an RGBA row and its parts.
template <int kColor, int kAlpha, class Part, class Whole, class Op>
void ForParts(Part* color, Part* alpha, Whole* pixel, int count, Op op) {
    for (std::ptrdiff_t i = 0; i < count; ++i) op(color + i * kColor, alpha + i * kAlpha, pixel + i * 4);
}

}  // namespace

void qzILRowDib8ToRgba32(unsigned char const* source, unsigned char* target, RGBQUAD const* palette, int count) {
    ForPixels<4, 1>(target, source, count, [palette](u8* to, u8 const* from) {
        RGBQUAD const color = palette[*from];
        to[0] = color.rgbRed;
        to[1] = color.rgbGreen;
        to[2] = color.rgbBlue;
        to[3] = 255;
    });
}

void qzILRowDib16ToRgba32(unsigned short const* source, unsigned char* target, int count) {
    ForPixels<4, 1>(target, source, count, [](u8* to, u16 const* from) {
        unsigned const w = *from;
        to[0] = static_cast<u8>((w >> 7 & 0xF8) | (w >> 12 & 7));
        to[1] = static_cast<u8>(w >> 5 << 3 | (w >> 7 & 7));
        to[2] = static_cast<u8>(w * 8 | (w >> 2 & 7));
        to[3] = 255;
    });
}

void qzILRowDib24ToRgba32(unsigned char const* source, unsigned char* target, int count) {
    ForPixels<4, 3>(target, source, count, [](u8* to, u8 const* from) {
        PutReversed(to, from);
        to[3] = 255;
    });
}

namespace {
/// Exchanges red and blue; also where both are one row.
void ReversePixels(u8 const* source, u8* target, int count) {
    ForPixels<4, 4>(target, source, count, [](u8* to, u8 const* from) {
        u8 const pixel[4] = {from[2], from[1], from[0], from[3]};
        for (int c = 0; c < 4; ++c) to[c] = pixel[c];
    });
}
}  // namespace

void qzILRowDib32ToRgba32(unsigned char const* source, unsigned char* target, int count) {
    ReversePixels(source, target, count);
}

void qzILRowMono8ToDib24(unsigned char const* source, unsigned char* target, int count) {
    ForPixels<3, 1>(target, source, count, [](u8* to, u8 const* from) { PutGray(to, from, 0); });
}

void qzILRowMono16ToDib24(unsigned short const* source, unsigned char* target, int count) {
    ForPixels<3, 1>(target, source, count, [](u8* to, u16 const* from) { PutGray(to, from, 8); });
}

void qzILRowRgba32ToDib24(unsigned char const* source, unsigned char* target, int count) {
    ForPixels<3, 4>(target, source, count, [](u8* to, u8 const* from) { PutReversed(to, from); });
}

void qzILRowRgba64ToDib24(unsigned short const* source, unsigned char* target, int count) {
    ForPixels<3, 4>(target, source, count, [](u8* to, u16 const* from) { PutReversed(to, from, 8); });
}

void qzILRowRgba32ToDib32(unsigned char const* source, unsigned char* target, int count) {
    ReversePixels(source, target, count);
}

// Deliberately empty: hosts find their 16-bit rows as they were.
void qzILRowRgba32ToDib16(unsigned char const*, unsigned short*, int) {
}

void qzILRowRgba32ToRgba64(unsigned char const* source, unsigned short* target, int count) {
    ForPixels<4, 4>(target, source, count, [](u16* to, u8 const* from) {
        for (int c = 0; c < 4; ++c) to[c] = static_cast<u16>(from[c] * 257);
    });
}

void qzILRowRgba64ToRgba32(unsigned short const* source, unsigned char* target, int count) {
    ForPixels<4, 4>(target, source, count, [](u8* to, u16 const* from) {
        for (int c = 0; c < 4; ++c) to[c] = static_cast<u8>(from[c]);
    });
}

void qzILRowSetChannelRgba32(unsigned char value, unsigned char* row, int count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) row[4 * i] = value;
}

void qzILRowSetChannelRgba64(unsigned short value, unsigned short* row, int count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) row[4 * i] = value;
}

void qzILRowCopyChannel32ToChannel32(unsigned char const* source, unsigned char* target, int count) {
    ForPixels<4, 4>(target, source, count, [](u8* to, u8 const* from) { *to = *from; });
}

void qzILRowMergeDib32AndAlpha32ToRgba32(unsigned char const* color, unsigned char const* alpha, unsigned char* target,
                                         int count) {
    ForParts<4, 4>(color, alpha, target, count, [](u8 const* from, u8 const* a, u8* to) {
        PutReversed(to, from);
        to[3] = *a;
    });
}

void qzILRowMergeDib24AndAlpha8ToRgba32(unsigned char const* color, unsigned char const* alpha, unsigned char* target,
                                        int count) {
    ForParts<3, 1>(color, alpha, target, count, [](u8 const* from, u8 const* a, u8* to) {
        PutReversed(to, from);
        to[3] = *a;
    });
}

void qzILRowMergeRgb24AndAlpha8ToRgba32(unsigned char const* color, unsigned char const* alpha, unsigned char* target,
                                        int count) {
    ForParts<3, 1>(color, alpha, target, count, [](u8 const* from, u8 const* a, u8* to) {
        for (int c = 0; c < 3; ++c) to[c] = from[c];
        to[3] = *a;
    });
}

void qzILRowSplitRgba32ToDib32AndAlpha32(unsigned char const* source, unsigned char* color, unsigned char* alpha,
                                         int count) {
    ForParts<4, 4>(color, alpha, source, count, [](u8* to, u8* a, u8 const* from) {
        PutReversed(to, from);
        *a = from[3];
    });
}

void qzILRowSplitRgba32ToRgb24AndAlpha8(unsigned char const* source, unsigned char* color, unsigned char* alpha,
                                        int count) {
    ForParts<3, 1>(color, alpha, source, count, [](u8* to, u8* a, u8 const* from) {
        for (int c = 0; c < 3; ++c) to[c] = from[c];
        *a = from[3];
    });
}

namespace {

/// A float sample v is the word v * iScale + iOffset.
struct WordLevels {
    int iScale, iOffset;
};
constexpr WordLevels kFullLevels{65535, 0};
/// 219 * 257 steps above 16 * 257.
constexpr WordLevels kVideoLevels{56283, 4112};

enum class ByteOrder { Native, Swapped };

constexpr u16 Ordered(u16 v, ByteOrder order) {
    return order == ByteOrder::Native ? v : static_cast<u16>(v << 8 | v >> 8);
}

template <int kChannels, WordLevels const& kLevels, ByteOrder kOrder = ByteOrder::Native>
void ToFloat(u16 const* source, float* target, int count) {
    ForPixels<kChannels, kChannels>(target, source, count, [](float* to, u16 const* from) {
        for (int c = 0; c < kChannels; ++c) {
            int const above = Ordered(from[c], kOrder) - kLevels.iOffset;
            to[c] = static_cast<float>(above) / static_cast<float>(kLevels.iScale);
        }
    });
}

/// In double the products are exact, and so is the rounding.
template <int kChannels, WordLevels const& kLevels, ByteOrder kOrder = ByteOrder::Native>
void ToWords(float const* source, u16* target, int count) {
    ForPixels<kChannels, kChannels>(target, source, count, [](u16* to, float const* from) {
        for (int c = 0; c < kChannels; ++c) {
            double const value = static_cast<double>(from[c]) * kLevels.iScale + kLevels.iOffset;
            to[c] = Ordered(TruncateTo<u16>(value + 0.5, 0.0, 65535.0), kOrder);
        }
    });
}

}  // namespace

void qzIlRowRgba64ToRgbaFloat(unsigned short const* source, float* target, int count) {
    ToFloat<4, kFullLevels>(source, target, count);
}
void qzIlRowRgb48ToRgbaFloat(unsigned short const* source, float* target, int count) {
    ToFloat<3, kFullLevels>(source, target, count);
}
void qzIlRowRgba64VideoToRgbaFloat(unsigned short const* source, float* target, int count) {
    ToFloat<4, kVideoLevels>(source, target, count);
}
void qzIlRowRgb48VideoToRgbaFloat(unsigned short const* source, float* target, int count) {
    ToFloat<3, kVideoLevels>(source, target, count);
}
void qzIlRowRgba64ToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count) {
    ToFloat<4, kFullLevels, ByteOrder::Swapped>(source, target, count);
}
void qzIlRowRgb48ToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count) {
    ToFloat<3, kFullLevels, ByteOrder::Swapped>(source, target, count);
}
void qzIlRowRgba64VideoToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count) {
    ToFloat<4, kVideoLevels, ByteOrder::Swapped>(source, target, count);
}
void qzIlRowRgb48VideoToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count) {
    ToFloat<3, kVideoLevels, ByteOrder::Swapped>(source, target, count);
}

void qzIlRowRgbaFloatToRgba64(float const* source, unsigned short* target, int count) {
    ToWords<4, kFullLevels>(source, target, count);
}
void qzIlRowRgbaFloatToRgba48(float const* source, unsigned short* target, int count) {
    ToWords<3, kFullLevels>(source, target, count);
}
void qzIlRowRgbaFloatToRgba64Video(float const* source, unsigned short* target, int count) {
    ToWords<4, kVideoLevels>(source, target, count);
}
void qzIlRowRgbaFloatToRgba48Video(float const* source, unsigned short* target, int count) {
    ToWords<3, kVideoLevels>(source, target, count);
}
void qzIlRowRgbaFloatToRgba64SwapEndian(float const* source, unsigned short* target, int count) {
    ToWords<4, kFullLevels, ByteOrder::Swapped>(source, target, count);
}
void qzIlRowRgbaFloatToRgba48SwapEndian(float const* source, unsigned short* target, int count) {
    ToWords<3, kFullLevels, ByteOrder::Swapped>(source, target, count);
}
void qzIlRowRgbaFloatToRgba64VideoSwapEndian(float const* source, unsigned short* target, int count) {
    ToWords<4, kVideoLevels, ByteOrder::Swapped>(source, target, count);
}
void qzIlRowRgbaFloatToRgba48VideoSwapEndian(float const* source, unsigned short* target, int count) {
    ToWords<3, kVideoLevels, ByteOrder::Swapped>(source, target, count);
}
