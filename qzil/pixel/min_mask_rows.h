#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// Colour times mask, the smaller of mask and alpha: 0 for an empty mask, the value itself for a full one.
template <class T>
struct MinMask {
    Channels<T> oIsAlpha;

    QZIL_CHANNELS(oIsAlpha)
    QZIL_INLINE u16 Masked(u16 v, u16 isAlpha, u16 m) const { return isAlpha != 0 ? Min(m, v) : WideMix257(0, v, m); }
};

/// S2.14 alpha may lie outside 0 to full scale, where the smaller value is not the end's.
template <>
struct MinMask<s16> {
    Channels<s16> oIsAlpha;

    QZIL_CHANNELS(oIsAlpha)
    QZIL_INLINE s32 Masked(s32 v, s32 isAlpha, s32 mask) const {
        s32 const m = Clamp(mask, 0, 16384);
        s32 const least = m == 16384 ? v : m == 0 ? 0 : Min(m, v);
        return isAlpha != 0 ? least : WideMixS2_14(0, v, m);
    }
};

/// A mask that is not a number gives a colour that is none, and leaves alpha as it is.
template <>
struct MinMask<float> {
    Channels<float> oIsAlpha;

    QZIL_CHANNELS(oIsAlpha)
    QZIL_INLINE float Masked(float v, float isAlpha, float m) const {
        float const between = isAlpha != 0.0f ? Min(m, v) : v * m;
        return m >= 1.0f ? v : m <= 0.0f ? 0.0f : between;
    }
};
QZIL_OPERATION(MinMask, u8, s16, float)

}  // namespace qzil
