#pragma once

#include "qzil/kernel/shapes.h"

// Values on their way into samples: rounded half away from zero and limited to the sample's range; float as it is.

QZIL_ROWS_BEGIN

QZIL_INLINE void Put(float* out, float value) {
    *out = value;
}
QZIL_INLINE void Put(s16* out, float value) {
    *out = RoundToS2_14(value);
}
QZIL_INLINE void Put(u16* out, float value) {
    *out = RoundToWord(value);
}
QZIL_INLINE void Put(u8* out, float value) {
    *out = RoundToUbyte(value);
}

/// Four values on their way into samples side by side.
template <class T>
QZIL_INLINE void PutQuad(T* out, Quad<float> v) {
    if constexpr (sizeof(T) == 4) {
        StoreQuad(out, v);
    } else {
        auto const rounded = [](float value) {
            T sample;
            Put(&sample, value);
            return static_cast<s32>(sample);
        };
        StoreQuad(out, Quad<s32>{rounded(v.c0), rounded(v.c1), rounded(v.c2), rounded(v.c3)});
    }
}

/// Adds the running error to the values of a channel and carries what their rounding leaves over.
QZIL_INLINE void Diffuse(float* values, int first, int end, float& error) {
    for (int i = first; i < end; ++i) {
        float const value = values[i] + error;
        error = value - __builtin_truncf(value + __builtin_copysignf(kBelowHalf, value));
        values[i] = value;
    }
}

QZIL_ROWS_END
