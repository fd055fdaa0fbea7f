#pragma once

#include "qzil/kernel/loops.h"

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

/// Four samples side by side, a pixel or a pair of 4:2:2. Integers are moved as words: a loop over them then needs no
/// vector that takes samples apart.
struct Four {
    float fFirst, fSecond, fThird, fFourth;
};

template <class T>
QZIL_INLINE Four LoadFour(T const* in) {
    if constexpr (sizeof(T) == 4) {
        return {in[0], in[1], in[2], in[3]};
    } else {
        PixelWord const* const words = reinterpret_cast<PixelWord const*>(in);
        constexpr int kBits = 8 * sizeof(T), kPerWord = 4 / sizeof(T);
        auto const sample = [=](int n) {
            u32 const high = words[n / kPerWord] << (32 - kBits * (n % kPerWord + 1));
            if constexpr (T(-1) < T(0)) return static_cast<float>(static_cast<s32>(high) >> (32 - kBits));
            return static_cast<float>(static_cast<s32>(high >> (32 - kBits)));
        };
        return {sample(0), sample(1), sample(2), sample(3)};
    }
}

template <class T>
QZIL_INLINE void PutFour(T* out, Four v) {
    if constexpr (sizeof(T) == 4) {
        out[0] = v.fFirst, out[1] = v.fSecond, out[2] = v.fThird, out[3] = v.fFourth;
    } else {
        PixelWord* const words = reinterpret_cast<PixelWord*>(out);
        auto const bits = [](float value) {
            if constexpr (sizeof(T) == 1) return u32{RoundToUbyte(value)};
            if constexpr (T(-1) > T(0)) return u32{RoundToWord(value)};
            return u32{static_cast<u16>(RoundToS2_14(value))};
        };
        u32 const first = bits(v.fFirst), second = bits(v.fSecond), third = bits(v.fThird), fourth = bits(v.fFourth);
        if constexpr (sizeof(T) == 1) {
            words[0] = first | second << 8 | third << 16 | fourth << 24;
        } else {
            words[0] = first | second << 16;
            words[1] = third | fourth << 16;
        }
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
