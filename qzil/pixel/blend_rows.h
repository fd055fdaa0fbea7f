#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// A toward B by one weight.
template <class T>
struct Blend {
    T oWeight;

    QZIL_INLINE Wide<T> operator()(Wide<T> a, Wide<T> b) const {
        if constexpr (sizeof(T) == 1) {
            return WideMixNormMult(a, b, oWeight);
        } else {
            return WideMix16(a, b, oWeight);
        }
    }
};

/// The mask is folded into the weight: from the passed-through pixel at 0 to alpha at full.
template <>
struct Blend<s16> {
    s32 iWeight14, iWeight16;
    bool bPassB;

    QZIL_INLINE s32 operator()(s32 a, s32 b) const { return WideMixS2_14(a, b, iWeight14); }
    QZIL_INLINE s32 Masked(s32 a, s32 b, s32 m) const {
        // iWeight16 * m stays below 2^30 within the range in which it counts.
        s32 const inside = Clamp(m, 0, 16384);
        s32 const folded = ((iWeight16 * inside + 32768) >> 16) + (bPassB ? 16384 - inside : 0);
        s32 const weight = m > 16383 ? iWeight14 : folded;
        return WideMixS2_14(a, b, m < 1 ? (bPassB ? 16384 : 0) : weight);
    }
};

/// A channel that is not selected has the weight 0 or 1 that stands for the passed-through pixel, or, with a mask, is
/// that pixel itself. A mask that is not a number gives a result that is none.
template <>
struct Blend<float> {
    Channels<float> oWeight;
    Channels<u32> oSelected;
    float fAlpha;
    bool bPassB;

    QZIL_CHANNELS(oWeight)
    QZIL_INLINE float operator()(float a, float b, float weight) const { return a + (b - a) * weight; }

    QZIL_MASKED_CHANNELS(oSelected)
    QZIL_INLINE float Masked(float a, float b, u32 selected, float m) const {
        float const folded = bPassB ? 1.0f - m + m * fAlpha : fAlpha * m;
        float const mixed = a + (b - a) * (m >= 1.0f ? fAlpha : folded);
        return m <= 0.0f || selected == 0 ? (bPassB ? b : a) : mixed;
    }
};
QZIL_OPERATION(Blend)

/// (A * weight of A + B * weight of B) >> 16 for 8 bits, >> 15 for 16 bits. Two products of at most 65535 * 32768, or
/// 255 * 65536, fit 32 unsigned bits; the low bits are kept unsaturated.
template <class T>
struct GeneralBlend {
    static constexpr int kShift = sizeof(T) == 1 ? 16 : 15;
    u32 uWeightA, uWeightB;

    QZIL_INLINE T operator()(T a, T b) const { return static_cast<T>((a * uWeightA + b * uWeightB) >> kShift); }
};
QZIL_OPERATION(GeneralBlend, u8, u16)

}  // namespace qzil
