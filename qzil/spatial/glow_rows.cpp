#include "qzil/spatial/glow_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

constexpr int kPixels = 128;

/// A block of pixels, so that their weights stay at hand.
template <class Count>
QZIL_INLINE void GlowPixels(u8* out, u8 const* blurred, u8 const* source, u32 const* table, Count pixels) {
    u8 lumas[kPixels];
    u32 weights[kPixels];
    ForEach(pixels, [=, &lumas](int i) {
        u32 pixel;
        __builtin_memcpy(&pixel, blurred + 4 * i, sizeof pixel);
        // In memory order, whatever colours these are.
        u32 const sum = 299u * (pixel & 255) + 587u * (pixel >> 8 & 255) + 114u * (pixel >> 16 & 255);
        // sum / 1000 for all sums up to 255000: a division by 8, and by 125.
        lumas[i] = static_cast<u8>((sum >> 3) * 33555u >> 22);
    });
    for (int i = 0; i < pixels; ++i) weights[i] = table[lumas[i]];
    u8 const* const weight = reinterpret_cast<u8 const*>(weights);
    ForSamplePairs(4 * pixels, [=](PairPlace at, auto which) {
        auto const glow = ApplyToPair([](u16 b, u16 w) { return WideNormMult(b, w); }, Load(which, blurred + at.i),
                                      Load(which, weight + at.i));
        auto const below = Load(which, source + at.i);
        // The screen of two values never passes 255: what is added is a share of what is left.
        auto const screened = ApplyToPair(
            [](u16 g, u16 s) { return static_cast<u16>(g + WideNormMult(s, static_cast<u16>(255 - g))); }, glow, below);
        // The odd one of every other pair is alpha.
        u16 const alpha = (at.i & 2) != 0 ? 0xFFFF : 0;
        u16 const odd = static_cast<u16>((below.oOdd & alpha) | (screened.oOdd & ~alpha));
        Store(which, out + at.i, SamplePair<u16>{screened.oEven, odd});
    });
}

void GlowRow(kernel::Row const& row, Glow<u8> const& glow) {
    u8* const out = Out<u8>(row.pOut);
    u8 const *const blurred = In<u8>(row.pA), *const source = In<u8>(row.pB);
    int x = 0;
    for (; x + kPixels <= row.iPixels; x += kPixels) {
        GlowPixels(out + 4 * x, blurred + 4 * x, source + 4 * x, glow.aWeights, std::integral_constant<int, kPixels>());
    }
    GlowPixels(out + 4 * x, blurred + 4 * x, source + 4 * x, glow.aWeights, row.iPixels - x);
}

}  // namespace

kernel::Operation<Glow, u8> const g_oGlow = kStretch<Glow, u8, GlowRow, With{}>;

QZIL_ROWS_END
