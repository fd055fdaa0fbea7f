#include "qzil/convert/depth_rows.h"

#include "qzil/kernel/loops.h"
#include "qzil/kernel/put.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;

/// A pixel with channels 0 and 2 exchanged, as one word.
QZIL_INLINE u32 Swapped(u32 pixel) {
    return (pixel & 0xFF00FF00u) | (pixel << 16 & 0xFF0000u) | (pixel >> 16 & 0xFFu);
}

QZIL_INLINE void SwapPixels(u8* to, u8 const* from, int pixels) {
    int done = 0;
    if constexpr (kMovesBytes) {
        Vector8 const pattern = PatternOf({2, 1, 0, 3, 6, 5, 4, 7});
        for (; done + kLanes32 <= pixels; done += kLanes32) {
            StoreVector(to + 4 * done, MoveBytes(LoadVector(from + 4 * done), pattern));
        }
    }
    PixelWord* const out = reinterpret_cast<PixelWord*>(to);
    PixelWord const* const in = reinterpret_cast<PixelWord const*>(from);
    for (int i = done; i < pixels; ++i) out[i] = Swapped(in[i]);
}

template <class From, class To>
void Linear(ConvertRow const& row, LinearDepth const& c) {
    auto* const out = Out<To>(row.pOut);
    auto const* in = In<From>(row.pIn);
    int const samples = row.iPixels * c.iSamples;
    Lanes<float> const scale(c.aScale), offset(c.aOffset);
    u8 swapped[4 * kernel::kStretchPixels];
    if constexpr (sizeof(From) == 1) {
        if (c.bSwap) {
            SwapPixels(swapped, row.pIn, row.iPixels);
            in = In<From>(swapped);
        }
    }
    ForLanes(samples, [=, &scale, &offset](int i, int lane) {
        Put(out + i, static_cast<float>(in[i]) * scale[lane] + offset[lane]);
    });
    if constexpr (sizeof(To) == 1) {
        if (c.bSwap) SwapPixels(row.pOut, row.pOut, row.iPixels);
    }
}

void Levels(ConvertRow const& row, LevelShift const& c) {
    PixelWord* const out = reinterpret_cast<PixelWord*>(row.pOut);
    PixelWord const* const in = reinterpret_cast<PixelWord const*>(row.pIn);
    s32 const scale = c.iScale, offset = c.iOffset;
    auto const shifted = [=](u32 v) {
        return static_cast<u32>(Clamp<s32>((static_cast<s32>(v & 255) * scale + offset) >> 16, 0, 255));
    };
    auto const pixel = [=](u32 p) {
        return shifted(p) | shifted(p >> 8) << 8 | shifted(p >> 16) << 16 | (p & 0xFF000000u);
    };
    if (c.bSwap) {
        ForEach(row.iPixels, [=](int i) { out[i] = Swapped(pixel(in[i])); });
    } else {
        ForEach(row.iPixels, [=](int i) { out[i] = pixel(in[i]); });
    }
}

void Widen8(ConvertRow const& row, SampleCount const& c) {
    auto* const out = Out<u16>(row.pOut);
    auto const* const in = row.pIn;
    ForEach(row.iPixels * c.iSamples, [=](int i) { out[i] = static_cast<u16>(in[i] * 257); });
}

void Narrow16(ConvertRow const& row, SampleCount const& c) {
    auto* const out = row.pOut;
    auto const* const in = In<u16>(row.pIn);
    ForEach(row.iPixels * c.iSamples, [=](int i) { out[i] = static_cast<u8>(in[i]); });
}

void Swap8(ConvertRow const& row, SampleCount const&) {
    SwapPixels(row.pOut, row.pIn, row.iPixels);
}

template <class T>
QZIL_INLINE void AddAlpha(ConvertRow const& row, T full) {
    auto* const out = Out<T>(row.pOut);
    auto const* const in = In<T>(row.pIn);
    ForEach(row.iPixels, [=](int i) {
        for (int k = 0; k < 3; ++k) out[4 * i + k] = in[3 * i + k];
        out[4 * i + 3] = full;
    });
}

template <class T>
void RemoveAlpha(ConvertRow const& row, SampleCount const&) {
    auto* const out = Out<T>(row.pOut);
    auto const* const in = In<T>(row.pIn);
    ForEach(row.iPixels, [=](int i) {
        for (int k = 0; k < 3; ++k) out[3 * i + k] = in[4 * i + k];
    });
}

void AddAlpha8(ConvertRow const& row, SampleCount const&) {
    AddAlpha<u8>(row, 255);
}
void AddAlphaFloat(ConvertRow const& row, SampleCount const&) {
    AddAlpha<float>(row, 1.0f);
}

}  // namespace

DepthRows const g_oDepthRows{Linear<u8, s16>,
                             Linear<u8, float>,
                             Linear<float, s16>,
                             Linear<s16, float>,
                             Linear<float, u8>,
                             Linear<s16, u8>,
                             Levels,
                             Widen8,
                             Narrow16,
                             Swap8,
                             AddAlpha8,
                             RemoveAlpha<u8>,
                             AddAlphaFloat,
                             RemoveAlpha<float>};

QZIL_ROWS_END
