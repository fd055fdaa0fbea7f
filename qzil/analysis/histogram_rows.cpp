#include "qzil/analysis/histogram_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

QZIL_INLINE void Count(Bins const& bins, float value) {
    double const v = value;
    u32 bin = 0;
    if (v > bins.dfUpper) {
        bin = bins.uLast;
    } else if (v >= bins.dfLower) {
        bin = Min(static_cast<u32>((v - bins.dfLower) * bins.dfInverseWidth), bins.uLast);
    }
    bins.pBins[bin] += 1.0f;
}

QZIL_INLINE void CountIf(Bins const& bins, float value) {
    if (bins.pBins) Count(bins, value);
}

/// How far the composite signal swings about the luma: chroma is the amplitude of its carrier.
QZIL_INLINE void CountSwing(Bins const& bins, float y, float cb, float cr, float setup) {
    float const range = 100.0f - setup;
    float const level = (y * 255.0f - 16.0f) * range * 0.00456621f + setup;
    float const a = cb * range * 0.992679f, b = cr * range * 1.40022f;
    float const swing = __builtin_sqrtf(a * a + b * b);
    auto const count = [&](float value) { Count(bins, static_cast<float>((value + 30.0) * 0.00714286)); };
    count(level - swing);
    count(level + swing);
}

struct Triple {
    float f0, f1, f2;
};

/// Of the matrix's four lines the last is added.
QZIL_INLINE Triple Through(double const (*matrix)[4], Triple v) {
    auto const column = [=](int i) {
        return static_cast<float>(matrix[0][i] * v.f0 + matrix[1][i] * v.f1 + matrix[2][i] * v.f2 + matrix[3][i]);
    };
    return {column(0), column(1), column(2)};
}

QZIL_INLINE void CountColors(HistogramBins const& bins, Triple v) {
    CountIf(bins.oChannel0, v.f0);
    CountIf(bins.oChannel1, v.f1);
    CountIf(bins.oChannel2, v.f2);
    CountIf(bins.oAverage, (v.f0 + v.f1 + v.f2) / 3.0f);
}

void CountPixelsRow(Row const& row, CountPixels<float> const& rule) {
    HistogramBins const bins = *rule.pBins;
    auto const* const in = In<float>(row.pA);
    auto const* const mask = In<float>(row.pMask);
    u32 count = 0;
    for (int i = 0; i < row.iPixels; ++i) {
        if (mask && !(mask[i] >= 0.0f)) continue;
        ++count;
        Triple const v{in[4 * i], in[4 * i + 1], in[4 * i + 2]};
        CountColors(bins, v);
        CountIf(bins.oAlpha, in[4 * i + 3]);
        if (bins.oComposite.pBins) {
            Triple const ycc = Through(rule.pToYcc, v);
            CountSwing(bins.oComposite, ycc.f0, ycc.f1, ycc.f2, rule.fSetup);
            CountIf(bins.oLuma, ycc.f0);
        } else if (rule.b709) {
            CountIf(bins.oLuma, 0.2126f * v.f0 + 0.7152f * v.f1 + 0.0722f * v.f2);
        } else {
            CountIf(bins.oLuma, static_cast<float>(0.299 * v.f0 + 0.587 * v.f1 + 0.114 * v.f2));
        }
    }
    *rule.pCount += count;
}

/// A pixel alone at the end of a line is no pair, and does not count.
template <bool kChromaFirst>
void CountPairsRow(Row const& row, CountPairs<float> const& rule) {
    HistogramBins const bins = *rule.pBins;
    bool const colors = bins.oChannel0.pBins || bins.oChannel1.pBins || bins.oChannel2.pBins || bins.oAverage.pBins;
    auto const* const in = In<float>(row.pA);
    auto const* const alpha = In<float>(row.pAlphaIn);
    int const pairs = row.iPixels / 2;
    auto const count = [&](int pixel, float y, float cb, float cr) {
        if (colors) CountColors(bins, Through(rule.pToRgb, {y, cb, cr}));
        if (alpha) CountIf(bins.oAlpha, alpha[pixel]);
        CountIf(bins.oLuma, y);
        if (bins.oComposite.pBins) CountSwing(bins.oComposite, y, cb, cr, rule.fSetup);
    };
    for (int k = 0; k < pairs; ++k) {
        auto const pair = LoadPair<kChromaFirst, float>(in + 4 * k);
        auto const next = LoadPair<kChromaFirst, float>(in + 4 * Min(k + 1, pairs - 1));
        count(2 * k, pair.y0, pair.cb, pair.cr);
        bool const last = k == pairs - 1;
        count(2 * k + 1, pair.y1, last ? pair.cb : (pair.cb + next.cb) * 0.5f,
              last ? pair.cr : (pair.cr + next.cr) * 0.5f);
    }
    *rule.pCount += static_cast<u32>(2 * pairs);
}

constexpr With kPixelsOf{
    .uLayouts = kRgba, .eMaskLayout = kernel::MaskLayout::Pixel, .bTakesMask = true, .bHasChannels = false};
constexpr With kPairsOf{.uLayouts = kVideoAlpha & ~(1u << static_cast<int>(kernel::Layout::LumaFirstAlpha)),
                        .bHasChannels = false,
                        .bIgnoresMask = true};

}  // namespace

kernel::Operation<CountPixels, float> const g_oCountPixels = kStretch<CountPixels, float, CountPixelsRow, kPixelsOf>;
kernel::Operation<CountPairs, float> const g_oCountPairs = kStretch<CountPairs, float, CountPairsRow<true>, kPairsOf>;

QZIL_ROWS_END
