#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// Toward a colour by weight, times the mask where there is one.
template <class T>
struct ColorBlend;

/// Without a mask: NormMult(scale, in) + add.
template <>
struct ColorBlend<u8> {
    Channels<u8> oScale, oAdd;
    Channels<u8> oColor, oWeight;

    /// `weight` in the selected channels; the others keep every value exactly.
    static ColorBlend Make(Channels<u8> const& color, Channels<u8> const& weight) {
        ColorBlend rule{{}, {}, color, weight};
        for (int i = 0; i < 4; ++i) {
            rule.oScale.aValues[i] = static_cast<u8>(255 - weight.aValues[i]);
            rule.oAdd.aValues[i] = NormMult(weight.aValues[i], color.aValues[i]);
        }
        return rule;
    }

    QZIL_CHANNELS(oScale, oAdd)
    QZIL_INLINE u16 operator()(u16 v, u16 scale, u16 add) const {
        return static_cast<u16>(WideNormMult(scale, v) + add);
    }
    QZIL_MASKED_CHANNELS(oColor, oWeight)
    QZIL_INLINE u16 Masked(u16 v, u16 color, u16 weight, u16 m) const {
        return WideMixNormMult(v, color, WideNormMult(m, weight));
    }
};

template <>
struct ColorBlend<u16> {
    Channels<u16> oColor, oWeight;

    QZIL_CHANNELS(oColor, oWeight)
    QZIL_INLINE u32 operator()(u32 v, u32 color, u32 weight) const { return WideMix16(v, color, weight); }
    QZIL_INLINE u32 Masked(u32 v, u32 color, u32 weight, u32 m) const {
        return WideMix16(v, color, m * weight / 65535u);
    }
};

/// Without a mask: scale * in + add. A mask that is not a number gives a result that is none.
template <>
struct ColorBlend<float> {
    Channels<float> oScale, oAdd;
    Channels<float> oColor;
    Channels<u32> oSelected;
    float fWeight;

    /// A scale of 1 and nothing to add in channels that are not selected.
    static ColorBlend Make(Channels<float> const& color, Channels<u32> const& selected, float weight) {
        ColorBlend rule{{}, {}, color, selected, weight};
        for (int i = 0; i < 4; ++i) {
            float const w = selected.aValues[i] != 0 ? weight : 0.0f;
            rule.oScale.aValues[i] = 1.0f - w;
            rule.oAdd.aValues[i] = color.aValues[i] * w;
        }
        return rule;
    }

    QZIL_CHANNELS(oScale, oAdd)
    QZIL_INLINE float operator()(float v, float scale, float add) const { return scale * v + add; }
    QZIL_MASKED_CHANNELS(oColor, oSelected)
    QZIL_INLINE float Masked(float v, float color, u32 selected, float m) const {
        float const w = fWeight * (m >= 1.0f ? 1.0f : m);
        float const mixed = (1.0f - w) * v + color * w;
        return m <= 0.0f || selected == 0 ? v : mixed;
    }
};

/// The float rule on values of 16384.
template <>
struct ColorBlend<s16> {
    Channels<float> oScale, oAdd;
    Channels<float> oColor;
    float fWeight;

    QZIL_CHANNELS(oScale, oAdd)
    QZIL_INLINE s32 operator()(s32 v, float scale, float add) const {
        return RoundToS2_14(scale * static_cast<float>(v) + add);
    }
    QZIL_MASKED_CHANNELS(oColor)
    QZIL_INLINE s32 Masked(s32 v, float color, s32 m) const {
        float const w = fWeight * (static_cast<float>(Clamp(m, 0, 16384)) / 16384.0f);
        s32 const mixed = RoundToS2_14((1.0f - w) * static_cast<float>(v) + color * w);
        return m < 1 ? v : mixed;
    }
};
QZIL_OPERATION(ColorBlend)

/// S2.14 mono, in integers.
template <class T>
struct MonoColorBlend {
    s32 iColor, iWeight14, iWeight16;

    QZIL_INLINE s32 operator()(s32 v) const { return WideMixS2_14(v, iColor, iWeight14); }
    QZIL_INLINE s32 Masked(s32 v, s32 m) const {
        s32 const weight = (Clamp(m, 0, 16384) * iWeight16 + 32768) >> 16;
        return WideMixS2_14(v, iColor, m < 1 ? 0 : weight);
    }
};
QZIL_OPERATION(MonoColorBlend, s16)

}  // namespace qzil
