#include "qzil/pixel/color_blend_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

void ScaleAdd(Row const& row, ScaleAdd8 const& c) {
    u8* const out = Out<u8>(row.pOut);
    u8 const* const in = In<u8>(row.pA);
    Lanes<u8> const scale(c.aScale), add(c.aAdd);
    auto const rule = [](u16 v, u16 s, u16 a) { return static_cast<u16>(WideNormMult(s, v) + a); };
    ForPairs(row.iPixels * c.iSamples, [=, &scale, &add](Place at, auto which) {
        auto const s = Load(which, scale.At(at.iLane)), a = Load(which, add.At(at.iLane));
        Store(which, out + at.i, Each(rule, Load(which, in + at.i), s, a));
    });
}

/// A rule of input, colour, weight and mask over a line.
template <class T, class Rule>
QZIL_INLINE void ForMasked(Row const& row, ColorBlendConstants<T> const& c, Rule rule) {
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    void const* const mask = row.pMask;
    Lanes<T> const color(c.aColor), weight(c.aWeight);
    int const samples = row.iPixels * c.iSamples;
    WithMaskLayout(row, [&](auto layout) {
        ForPairs(samples, [=, &color, &weight](Place at, auto which) {
            auto const to = Load(which, color.At(at.iLane)), w = Load(which, weight.At(at.iLane));
            auto const m = LoadMask<T>(which, layout, mask, at);
            Store(which, out + at.i, Each(rule, Load(which, in + at.i), to, w, m));
        });
    });
}

void Mask8(Row const& row, ColorBlendConstants<u8> const& c) {
    ForMasked(row, c,
              [](u16 v, u16 color, u16 weight, u16 m) { return WideMixNormMult(v, color, WideNormMult(m, weight)); });
}

void Blend16(Row const& row, ColorBlendConstants<u16> const& c) {
    if (row.pMask) {
        ForMasked(row, c, [](u32 v, u32 color, u32 weight, u32 m) { return WideMix16(v, color, m * weight / 65535u); });
        return;
    }
    u16* const out = Out<u16>(row.pOut);
    u16 const* const in = In<u16>(row.pA);
    Lanes<u16> const color(c.aColor), weight(c.aWeight);
    auto const rule = [](u32 v, u32 to, u32 w) { return WideMix16(v, to, w); };
    ForPairs(row.iPixels * c.iSamples, [=, &color, &weight](Place at, auto which) {
        auto const to = Load(which, color.At(at.iLane)), w = Load(which, weight.At(at.iLane));
        Store(which, out + at.i, Each(rule, Load(which, in + at.i), to, w));
    });
}

/// What the weights leave of the input, and what they add of the colour.
struct Toward {
    Lanes<float> oScale;
    Lanes<float> oAdd;

    QZIL_INLINE explicit Toward(ColorBlendConstants<float> const& c)
        : oScale(1.0f - c.aWeight[0], 1.0f - c.aWeight[1], 1.0f - c.aWeight[2], 1.0f - c.aWeight[3]),
          oAdd(c.aColor[0] * c.aWeight[0], c.aColor[1] * c.aWeight[1], c.aColor[2] * c.aWeight[2],
               c.aColor[3] * c.aWeight[3]) {}
};

void BlendFloat(Row const& row, ColorBlendConstants<float> const& c) {
    float* const out = Out<float>(row.pOut);
    float const* const in = In<float>(row.pA);
    float const* const mask = In<float>(row.pMask);
    Toward const toward(c);
    Lanes<float> const &scale = toward.oScale, &add = toward.oAdd;
    Lanes<float> const color(c.aColor), weight(c.aWeight);
    int const samples = row.iPixels * c.iSamples;
    if (!mask) {
        ForLanes(samples, [=, &scale, &add](int i, int lane) { out[i] = scale[lane] * in[i] + add[lane]; });
        return;
    }
    ForLanes(samples, [=, &color, &weight](int i, int lane) {
        float const w = weight[lane] * (mask[i] >= 1.0f ? 1.0f : mask[i]);
        float const mixed = (1.0f - w) * in[i] + color[lane] * w;
        out[i] = mask[i] <= 0.0f ? in[i] : mixed;
    });
}

void BlendS2_14(Row const& row, ColorBlendConstants<float> const& c) {
    s16* const out = Out<s16>(row.pOut);
    s16 const* const in = In<s16>(row.pA);
    void const* const mask = row.pMask;
    Toward const toward(c);
    Lanes<float> const &scale = toward.oScale, &add = toward.oAdd;
    Lanes<float> const color(c.aColor), weight(c.aWeight);
    int const samples = row.iPixels * c.iSamples;
    if (!mask) {
        ForLanes(samples, [=, &scale, &add](int i, int lane) {
            out[i] = RoundToS2_14(scale[lane] * static_cast<float>(in[i]) + add[lane]);
        });
        return;
    }
    auto const rule = [](s32 v, s32 m, float to, float most) {
        float const w = most * (static_cast<float>(Clamp(m, 0, 16384)) / 16384.0f);
        s32 const mixed = RoundToS2_14((1.0f - w) * static_cast<float>(v) + to * w);
        return m < 1 ? v : mixed;
    };
    WithMaskLayout(row, [&](auto layout) {
        ForPairs(samples, [=, &color, &weight](Place at, auto which) {
            auto const v = Load(which, in + at.i), m = LoadMask<s16>(which, layout, mask, at);
            Two<float> const to{color[at.iLane], color[at.iLane + 1]}, most{weight[at.iLane], weight[at.iLane + 1]};
            Store(which, out + at.i, Each(rule, v, m, to, most));
        });
    });
}

void BlendMonoS2_14(Row const& row, ColorBlendMonoS14 const& c) {
    s16* const out = Out<s16>(row.pOut);
    s16 const* const in = In<s16>(row.pA);
    s16 const* const mask = In<s16>(row.pMask);
    s16 const color = c.iColor, alpha = c.iAlpha14;
    s32 const alpha16 = c.iAlpha16;
    if (!mask) {
        ForEach(row.iPixels, [=](int i) { out[i] = MixS2_14(in[i], color, alpha); });
        return;
    }
    ForEach(row.iPixels, [=](int i) {
        s32 const m = Clamp<s32>(mask[i], 0, 16384);
        s32 const weight = (m * alpha16 + 32768) >> 16;
        out[i] = MixS2_14(in[i], color, static_cast<s16>(m < 1 ? 0 : weight));
    });
}

}  // namespace

ColorBlendRows const g_oColorBlendRows{ScaleAdd, Mask8, Blend16, BlendFloat, BlendS2_14, BlendMonoS2_14};

QZIL_ROWS_END
