#include "qzil/pixel/blend_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Mixes A and B by one weight in the selected channels.
template <class T, class Mix>
QZIL_INLINE void Blend(Row const& row, BlendWeight<T> const& c, Mix mix) {
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    T const* const pass = In<T>(row.pPass);
    int const samples = row.iPixels * c.iSamples;
    typename Widened<T>::Value const weight = c.oWeight;
    auto const mixed = [=](Place at, auto which) {
        auto const byWeight = [=](auto x, auto y) { return mix(x, y, weight); };
        return Each(byWeight, Load(which, a + at.i), Load(which, b + at.i));
    };
    if ((c.aWord[0] & c.aWord[1] & c.aWord[2] & c.aWord[3]) == static_cast<T>(~T{0})) {
        ForPairs(samples, [=](Place at, auto which) { Store(which, out + at.i, mixed(at, which)); });
    } else {
        Lanes<T> const word(c.aWord);
        ForPairs(samples, [=, &word](Place at, auto which) {
            StoreSelected(which, out + at.i, mixed(at, which), pass + at.i, word.At(at.iLane));
        });
    }
}

void Blend8(Row const& row, BlendWeight<u8> const& c) {
    Blend(row, c, [](u16 a, u16 b, u16 w) { return WideMixNormMult(a, b, w); });
}

void Blend16(Row const& row, BlendWeight<u16> const& c) {
    Blend(row, c, [](u32 a, u32 b, u32 w) { return WideMix16(a, b, w); });
}

void BlendS2_14(Row const& row, BlendWeight<s16> const& c) {
    Blend(row, c, [](s32 a, s32 b, s32 w) { return WideMixS2_14(a, b, w); });
}

void BlendFloat(Row const& row, BlendLanesFloat const& c) {
    float* const out = Out<float>(row.pOut);
    float const* const a = In<float>(row.pA);
    float const* const b = In<float>(row.pB);
    Lanes<float> const weight(c.aWeights);
    ForLanes(row.iPixels * c.iSamples, [=, &weight](int i, int lane) { out[i] = a[i] + (b[i] - a[i]) * weight[lane]; });
}

/// The mask is folded into the weight: from the passed-through pixel at 0 to alpha at full.
void BlendMaskS214(Row const& row, BlendMaskS2_14 const& c) {
    s16* const out = Out<s16>(row.pOut);
    s16 const* const a = In<s16>(row.pA);
    s16 const* const b = In<s16>(row.pB);
    s32 const alpha14 = c.iAlpha14, alpha16 = c.iAlpha16;
    s32 const pass = c.bPassB ? 16384 : 0;
    s32 const backward = c.bPassB ? -1 : 0;
    auto const fold = [=](s32 m, s32 selected) {
        // alpha16 * m stays below 2^30 within the range in which it counts.
        s32 const inside = Clamp(m, 0, 16384);
        s32 const folded = ((alpha16 * inside + 32768) >> 16) + ((16384 - inside) & backward);
        s32 const weight = m > 16383 ? alpha14 : folded;
        return m < 1 || selected == 0 ? pass : weight;
    };
    Lanes<s16> const selected(c.abSelected[0], c.abSelected[1], c.abSelected[2], c.abSelected[3]);
    int const samples = row.iPixels * c.iSamples;
    void const* const mask = row.pMask;
    WithMaskLayout(row, [&](auto layout) {
        ForPairs(samples, [=, &selected](Place at, auto which) {
            auto const m = LoadMask<s16>(which, layout, mask, at);
            auto const weight = Each(fold, m, Load(which, selected.At(at.iLane)));
            auto const mix = [](s32 x, s32 y, s32 w) { return WideMixS2_14(x, y, w); };
            Store(which, out + at.i, Each(mix, Load(which, a + at.i), Load(which, b + at.i), weight));
        });
    });
}

void BlendMaskF(Row const& row, BlendMaskFloat const& c) {
    float* const out = Out<float>(row.pOut);
    float const* const a = In<float>(row.pA);
    float const* const b = In<float>(row.pB);
    float const* const mask = In<float>(row.pMask);
    float const alpha = c.fAlpha;
    s32 const selected[4] = {c.abSelected[0], c.abSelected[1], c.abSelected[2], c.abSelected[3]};
    Lanes<s32> const lanes(selected);
    auto const blend = [=, &lanes](float const* pass, auto fold) {
        ForLanes(row.iPixels * c.iSamples, [=, &lanes](int i, int lane) {
            float const m = mask[i];
            float const weight = m >= 1.0f ? alpha : fold(m);
            float const mixed = a[i] + (b[i] - a[i]) * weight;
            out[i] = m <= 0.0f || !lanes[lane] ? pass[i] : mixed;
        });
    };
    if (c.bPassB) {
        blend(b, [alpha](float m) { return 1.0f - m + m * alpha; });
    } else {
        blend(a, [alpha](float m) { return alpha * m; });
    }
}

template <class T, int kShift>
void General(Row const& row, GeneralBlendWeights const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    u32 const weightA = c.uWeightA, weightB = c.uWeightB;
    // Two products of at most 65535 * 32768, or 255 * 65536, fit 32 unsigned bits; the low bits are kept unsaturated.
    ForEach(row.iPixels * c.iSamples,
            [=](int i) { out[i] = static_cast<T>((a[i] * weightA + b[i] * weightB) >> kShift); });
}

}  // namespace

BlendRows const g_oBlendRows{Blend8,        Blend16,    BlendS2_14,      BlendFloat,
                             BlendMaskS214, BlendMaskF, General<u8, 16>, General<u16, 15>};

QZIL_ROWS_END
