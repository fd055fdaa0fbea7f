#include "qzil/pixel/img_over_color_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Each pixel's alpha, widened, for both pairs of its samples.
QZIL_INLINE void SpreadAlpha(u16* out, u8 const* in, int pixels) {
    ForEach(pixels, [=](int i) {
        u32 pixel;
        __builtin_memcpy(&pixel, in + 4 * i, sizeof pixel);
        u32 const alpha = pixel >> 24;
        u32 const two = alpha | alpha << 16;
        __builtin_memcpy(out + 2 * i, &two, sizeof two);
    });
}

/// Pixels of a stretch whose alpha is spread at a time.
constexpr int kSpread = 256;

template <class Rule>
void AlphaRow(Row const& row, Rule const& constants) {
    Rule const rule = constants;
    Lanes<u8> const background(rule.oBackground.aValues), isAlpha(0, 0, 0, 255);
    Lanes<u8> const selected = SelectedLanes<u8>(row.uSelected);
    alignas(64) u16 alpha[2 * kSpread];
    for (int first = 0; first < row.iPixels; first += kSpread) {
        int const pixels = Min(kSpread, row.iPixels - first);
        u8* const out = Out<u8>(row.pOut) + 4 * first;
        u8 const* const in = In<u8>(row.pA) + 4 * first;
        SpreadAlpha(alpha, in, pixels);
        auto const run = [&](auto result) {
            ForSamplePairs(4 * pixels, [=, &background, &selected, &isAlpha, &alpha](PairPlace at, auto which) {
                auto const behind = Load(which, background.At(at.iLane)), last = Load(which, isAlpha.At(at.iLane));
                auto const a = LoadMask<u8>(which, PerPair{}, alpha, at);
                StoreSelected(which, out + at.i, result(Load(which, in + at.i), a, behind, last, at, which), in + at.i,
                              selected.At(at.iLane));
            });
        };
        if (row.pMask) {
            u16 const* const mask = In<u16>(row.pMask) + 2 * first;
            run([=](auto v, auto a, auto behind, auto last, PairPlace at, auto which) {
                auto const masked = [=](auto... values) { return rule.Masked(values...); };
                return ApplyToPair(masked, v, a, behind, last, LoadMask<u8>(which, PerPair{}, mask, at));
            });
        } else if (rule.uOpacity == 255) {
            run([=](auto v, auto a, auto behind, auto last, PairPlace, auto) {
                return ApplyToPair([=](auto... x) { return rule.Opaque(x...); }, v, a, behind, last);
            });
        } else {
            run([=](auto v, auto a, auto behind, auto last, PairPlace, auto) {
                return ApplyToPair([=](auto... x) { return rule.Plain(x...); }, v, a, behind, last);
            });
        }
    }
}

/// An odd last pixel is not written.
void PlaneRow(Row const& row, PlaneOverColor<u8> const& constants) {
    PlaneOverColor<u8> const rule = constants;
    u8* const out = Out<u8>(row.pOut);
    u8* const alphaOut = Out<u8>(row.pAlphaOut);
    u8 const* const in = In<u8>(row.pA);
    u8 const* const alpha = In<u8>(row.pAlphaIn);
    ForEach(row.iPixels / 2, [=](int i) {
        u8 const a0 = alpha[2 * i], a1 = alpha[2 * i + 1];
        s32 const t0 = 255 - NormMult(a0, rule.uOpacity), t1 = 255 - NormMult(a1, rule.uOpacity);
        u8 const s0 = in[4 * i], s1 = in[4 * i + 1], s2 = in[4 * i + 2], s3 = in[4 * i + 3];
        out[4 * i] = rule.Over(s0, 128, a0, t0, rule.iCb);
        out[4 * i + 1] = rule.Over(s1, 16, a0, t0, rule.iY);
        out[4 * i + 2] = rule.Over(s2, 128, a0, t0, rule.iCr);
        out[4 * i + 3] = rule.Over(s3, 16, a1, t1, rule.iY);
    });
    int const written = row.iPixels & ~1;
    if (rule.bWritesAlpha) {
        ForEach(written, [=](int i) { alphaOut[i] = rule.Alpha(alpha[i]); });
    } else {
        ForEach(written, [=](int i) { alphaOut[i] = alpha[i]; });
    }
}

/// Luma by its own pixel; chroma by the first pixel of its pair, counted from the line's start.
template <class T>
void PairRow(Row const& row, RealOverColor<T> const& constants) {
    RealOverColor<T> const rule = constants;
    T* const out = Out<T>(row.pOut);
    T* const alphaOut = Out<T>(row.pAlphaOut);
    T const* const in = In<T>(row.pA);
    T const* const alpha = In<T>(row.pAlphaIn);
    T const* const mask = In<T>(row.pMask);
    bool const hasAlpha = rule.bHasAlpha && alpha && alphaOut;
    typename RealOverColor<T>::Weights chroma{};
    for (int i = 0; i < row.iPixels; ++i) {
        T const a = hasAlpha ? alpha[i] : kFullScale<T>;
        auto const w = rule.WeightsOf(a, mask ? mask[i] : kFullScale<T>);
        bool const odd = (i & 1) != 0;
        if (!odd) chroma = w;
        T const uv = in[2 * i], y = in[2 * i + 1];
        T const newUv = rule.Mixed(uv, chroma.fFront, chroma.fBack, rule.aBackground[odd ? 2 : 0]);
        T const newY = rule.Mixed(y, w.fFront, w.fBack, rule.aBackground[1]);
        out[2 * i] = chroma.bCopies ? uv : newUv;
        out[2 * i + 1] = w.bCopies ? y : newY;
        if (!hasAlpha) continue;
        T const newAlpha = rule.Mixed(a, w.fKeep, w.fBack, rule.fAlpha);
        alphaOut[i] = w.bCopies || !rule.Selects(3) ? a : newAlpha;
    }
}

constexpr With kPixels8{.eSelection = Selection::Rule, .bTakesMask = true};
constexpr unsigned kChromaFirstAlpha = 1u << static_cast<int>(kernel::Layout::ChromaFirstAlpha);
constexpr With kPairs{
    .uLayouts = kChromaFirst | kChromaFirstAlpha, .eMaskLayout = kernel::MaskLayout::Pixel, .bTakesMask = true};

}  // namespace

kernel::Operation<OverColor, u8> const g_oOverColor = kStretch<OverColor, u8, AlphaRow<OverColor<u8>>, kPixels8>;
kernel::Operation<StraightOverColor, u8> const g_oStraightOverColor =
    kStretch<StraightOverColor, u8, AlphaRow<StraightOverColor<u8>>, kPixels8>;
kernel::Operation<PlaneOverColor, u8> const g_oPlaneOverColor =
    kStretch<PlaneOverColor, u8, PlaneRow, With{.uLayouts = kChromaFirstAlpha, .bWritesAll = false}>;
kernel::Operation<RealOverColor, s16, float> const g_oRealOverColor =
    kPixel<RealOverColor, With{.eSelection = Selection::Rule}, s16, float> |
    kStretch<RealOverColor, s16, PairRow<s16>, kPairs> | kStretch<RealOverColor, float, PairRow<float>, kPairs>;

QZIL_ROWS_END
