#pragma once

#include "qzil/kernel/row.h"

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

/// Adds the running error to the values of a channel and carries what their rounding leaves over.
QZIL_INLINE void Diffuse(float* values, int first, int end, float& error) {
    for (int i = first; i < end; ++i) {
        float const value = values[i] + error;
        error = value - __builtin_truncf(value + __builtin_copysignf(0.5f, value));
        values[i] = value;
    }
}

QZIL_ROWS_END
