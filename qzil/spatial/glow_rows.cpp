#include "qzil/spatial/glow_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

constexpr int kPixels = 64;

/// Pixels that are worked on at a time, so that their weights stay at hand.
QZIL_INLINE void GlowPixels(u8* out, u8 const* blurred, u8 const* source, u32 const* table, int pixels) {
    u8 lumas[kPixels];
    u32 weights[kPixels];
    for (int i = 0; i < pixels; ++i) {
        // In memory order, whatever colours these are.
        u32 const sum = 299u * blurred[4 * i] + 587u * blurred[4 * i + 1] + 114u * blurred[4 * i + 2];
        lumas[i] = static_cast<u8>(sum / 1000u);
    }
    for (int i = 0; i < pixels; ++i) weights[i] = table[lumas[i]];
    u8 const* const weight = reinterpret_cast<u8 const*>(weights);
    constexpr u8 kColor[4] = {255, 255, 255, 0};
    Lanes<u8> const color(kColor);
    for (int i = 0; i < 4 * pixels; ++i) {
        u16 const glow = WideNormMult(blurred[i], weight[i]);
        // The screen of two values never passes 255: what is added is a share of what is left.
        u16 const screened = static_cast<u16>(glow + WideNormMult(source[i], static_cast<u16>(255 - glow)));
        u8 const bits = color[i % kBlock];
        out[i] = static_cast<u8>((screened & bits) | (source[i] & ~bits));
    }
}

void Glow8(kernel::Row const& row, GlowConstants const& c) {
    u8* const out = Out<u8>(row.pOut);
    u8 const *const blurred = In<u8>(row.pA), *const source = In<u8>(row.pB);
    int x = 0;
    for (; x + kPixels <= row.iPixels; x += kPixels) {
        GlowPixels(out + 4 * x, blurred + 4 * x, source + 4 * x, c.pWeights, kPixels);
    }
    GlowPixels(out + 4 * x, blurred + 4 * x, source + 4 * x, c.pWeights, row.iPixels - x);
}

}  // namespace

GlowRows const g_oGlowRows{Glow8};

QZIL_ROWS_END
