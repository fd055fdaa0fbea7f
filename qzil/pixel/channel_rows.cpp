#include "qzil/pixel/channel_rows.h"

#include "qzil/kernel/shapes.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;
using kernel::Row;
using Pixel8 = u32 __attribute__((may_alias, aligned(1)));
using Pixel16 = u64 __attribute__((may_alias, aligned(1)));

constexpr u32 kAlpha8 = 0xFF000000u;
constexpr u64 kAlpha16 = 0xFFFF000000000000u;

/// (299 c0 + 587 c1 + 114 c2) / 1000. The quotient by 8 is divided by 125 in one product: up to 31875, 33555 / 2^22
/// exceeds 1 / 125 by less than a fraction could show.
QZIL_INLINE u32 Luminance(u32 pixel) {
    u32 const sum = (pixel & 255u) * 299u + (pixel >> 8 & 255u) * 587u + (pixel >> 16 & 255u) * 114u;
    return (sum >> 3) * 33555u >> 22;
}

/// The same of 16-bit channels: up to 8191875, 34359739 / 2^32 serves for 1 / 125.
QZIL_INLINE u64 Luminance(u64 pixel) {
    u64 const sum = (pixel & 0xFFFFu) * 299u + (pixel >> 16 & 0xFFFFu) * 587u + (pixel >> 32 & 0xFFFFu) * 114u;
    return (sum >> 3) * 34359739u >> 32;
}

void Gray8(Row const& row, NoConstants const&) {
    Pixel8* const out = static_cast<Pixel8*>(row.pOut);
    Pixel8 const* const in = static_cast<Pixel8 const*>(row.pA);
    ForEach(row.iPixels, [=](int i) {
        u32 const pixel = in[i];
        out[i] = Luminance(pixel) * 0x010101u | (pixel & kAlpha8);
    });
}

void Gray16(Row const& row, NoConstants const&) {
    Pixel16* const out = static_cast<Pixel16*>(row.pOut);
    Pixel16 const* const in = static_cast<Pixel16 const*>(row.pA);
    ForEach(row.iPixels, [=](int i) {
        u64 const pixel = in[i], y = Luminance(pixel);
        out[i] = y | y << 16 | y << 32 | (pixel & kAlpha16);
    });
}

void GrayFloat(Row const& row, NoConstants const&) {
    auto* const out = Out<float>(row.pOut);
    auto const* const in = In<float>(row.pA);
    ForEach(row.iPixels, [=](int i) {
        float const y = 0.299f * in[4 * i] + 0.587f * in[4 * i + 1] + 0.114f * in[4 * i + 2], alpha = in[4 * i + 3];
        out[4 * i] = y;
        out[4 * i + 1] = y;
        out[4 * i + 2] = y;
        out[4 * i + 3] = alpha;
    });
}

/// Alpha of the output by `mix` of the input's alpha, luminance and mask; a mask of 0 takes the whole input pixel.
template <class Pixel, class T, class Mix>
QZIL_INLINE void Alpha(Row const& row, Pixel alphaBits, int shift, Mix mix) {
    auto* const out = static_cast<Pixel*>(row.pOut);
    auto const* const in = static_cast<Pixel const*>(row.pA);
    auto const* const mask = In<T>(row.pMask);
    using Word = decltype(Luminance(in[0]));
    if (!mask) {
        ForEach(row.iPixels, [=](int i) { out[i] = (out[i] & ~alphaBits) | Luminance(Word{in[i]}) << shift; });
        return;
    }
    ForEach(row.iPixels, [=](int i) {
        Word const pixel = in[i];
        T const alpha = mix(static_cast<T>(pixel >> shift), static_cast<T>(Luminance(pixel)), mask[i]);
        out[i] = mask[i] == 0 ? pixel : (out[i] & ~alphaBits) | static_cast<Word>(alpha) << shift;
    });
}

void Alpha8(Row const& row, NoConstants const&) {
    Alpha<Pixel8, u8>(row, kAlpha8, 24, [](u8 p, u8 r, u8 m) { return MixNormMult(p, r, m); });
}

void Alpha16(Row const& row, NoConstants const&) {
    Alpha<Pixel16, u16>(row, kAlpha16, 48, [](u16 p, u16 r, u16 m) { return Mix16(p, r, m); });
}

/// The byte that a source takes, and whether its bits are turned over; zero and full have no byte.
struct ByteSource {
    int iByte;  ///< 8 for none
    u32 uInvert;

    QZIL_INLINE explicit ByteSource(int source)
        : iByte(source < 8 ? source & 3 : 8), uInvert((source >= 4 && source < 8) || source == 12 ? 255u : 0u) {}
};

void Switch(Row const& row, ChannelSources const& c) {
    Pixel8* const out = static_cast<Pixel8*>(row.pOut);
    Pixel8 const* const in = static_cast<Pixel8 const*>(row.pA);
    BytePattern pattern{};
    u32 invert = 0;
    u32 taken[4];
    int from[4];
    for (int n = 0; n < 4; ++n) {
        ByteSource const source(c.aSource[n]);
        pattern.aFrom[n] = static_cast<u8>(source.iByte);
        pattern.aFrom[n + 4] = static_cast<u8>(source.iByte < 8 ? source.iByte + 4 : 8);
        invert |= source.uInvert << (8 * n);
        taken[n] = source.iByte < 8 ? 255u : 0u;
        from[n] = 8 * (source.iByte & 3);
    }
    int done = 0;
    if constexpr (kMovesBytes) {
        Vector8 const moves = PatternOf(pattern);
        Vector const inverted = AllLanes(static_cast<s32>(invert));
        for (; done + kLanes32 <= row.iPixels; done += kLanes32) {
            StoreVector(out + done, MoveBytes(LoadVector(in + done), moves) ^ inverted);
        }
    }
    u32 const t0 = taken[0], t1 = taken[1], t2 = taken[2], t3 = taken[3];
    int const f0 = from[0], f1 = from[1], f2 = from[2], f3 = from[3];
    ForEach(row.iPixels - done, [=](int n) {
        u32 const p = in[done + n];
        u32 const moved = (p >> f0 & t0) | (p >> f1 & t1) << 8 | (p >> f2 & t2) << 16 | (p >> f3 & t3) << 24;
        out[done + n] = moved ^ invert;
    });
}

struct Hls {
    u8 uHue, uLightness, uSaturation;
};

Hls HlsOf(u8 const* pixel) {
    int const r = pixel[0], g = pixel[1], b = pixel[2];
    int const largest = Max(Max(r, g), b), smallest = Min(Min(r, g), b);
    int const sum = largest + smallest, range = largest - smallest;
    int const lightness = (sum + 1) >> 1;
    u8 const saturation = lightness >= 128 ? ilNormDiv[range][510 - sum] : ilNormDiv[range][sum];
    auto const part = [range](int distance) -> int { return ilHueTable[distance < 0 ? -distance : distance][range]; };
    int hue = 0;
    if (range != 0) {
        if (r == largest) {
            hue = g < b ? -part(g - b) : part(g - b);
        } else if (g == largest) {
            hue = b >= r ? 85 + part(b - r) : 85 - part(r - b);
        } else {
            hue = r >= g ? part(r - g) - 86 : 170 - part(g - r);
        }
    }
    return {static_cast<u8>(hue), static_cast<u8>(lightness), saturation};
}

void SwitchHls(Row const& row, ChannelSources const& c) {
    u8* out = static_cast<u8*>(row.pOut);
    u8 const* in = static_cast<u8 const*>(row.pA);
    for (int i = 0; i < row.iPixels; ++i, in += 4, out += 4) {
        Hls const hls = HlsOf(in);
        u8 working[13] = {in[0], in[1], in[2], in[3]};
        for (int n = 0; n < 4; ++n) working[4 + n] = static_cast<u8>(~in[n]);
        working[8] = hls.uHue;
        working[9] = hls.uLightness;
        working[10] = hls.uSaturation;
        working[12] = 255;
        for (int n = 0; n < 4; ++n) out[n] = working[c.aSource[n]];
    }
}

void Extract8(ConvertRow const& row, ChannelPlace const& c) {
    u8* const out = row.pOut;
    Pixel8 const* const in = reinterpret_cast<Pixel8 const*>(row.pIn);
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
    Pixel8* const out = reinterpret_cast<Pixel8*>(row.pOut);
    Pixel8 const* const in = reinterpret_cast<Pixel8 const*>(row.pIn) + c.iPlace;
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
    Insert<Pixel8, u8, u32>(row, c, 0x01010101u, 0xFFu);
}
void Insert16(ConvertRow const& row, ChannelPlace const& c) {
    Insert<Pixel16, u16, u64>(row, c, 0x0001000100010001u, 0xFFFFu);
}

}  // namespace

ChannelRows const g_oChannelRows{Gray8,     Gray16,   GrayFloat, Alpha8,    Alpha16, Switch,
                                 SwitchHls, Extract8, Extract16, Extract32, Insert8, Insert16};

QZIL_ROWS_END
