#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// x / d as a share of full scale, for x of 0 to d: what ilNormDiv has at 8 bits, else truncated. The real type holds
/// the numerator, and a quotient that is not whole lies further from an integer than it is rounded.
template <class T>
QZIL_INLINE s32 Ramp(s32 x, s32 d) {
    if constexpr (sizeof(T) == 1) {
        return static_cast<s32>(static_cast<float>(x * 255 + (d >> 1)) / static_cast<float>(Max(d, 1)));
    } else {
        constexpr double kFull = kFullScale<T>;
        return static_cast<s32>(static_cast<double>(x) * kFull / static_cast<double>(Max(d, 1)));
    }
}

/// B's pixel with an alpha by how far a channel of A exceeds the others.
template <class T>
struct LinearKey {
    s32 iThreshold;
    s32 iSoftness;
    s32 iBlue;  ///< all bits set when blue is the key's channel, else none

    QZIL_INLINE Quad<s32> operator()(Quad<s32> a, Quad<s32> b) const {
        constexpr s32 kFull = kFullScale<T>;
        s32 const exchanged = (a.c1 ^ a.c2) & iBlue;
        s32 const key = a.c1 ^ exchanged, others = Max(a.c0, a.c2 ^ exchanged);
        s32 const low = Clamp<s32>(others - iThreshold, 0, kFull), high = Min(low + iSoftness, kFull);
        s32 const ramp = Ramp<T>(Clamp(high - key, 0, high - low), high - low);
        return {b.c0, b.c1, b.c2, key <= low ? kFull : key >= high ? 0 : ramp};
    }
};

template <>
struct LinearKey<float> {
    float fThreshold;
    float fSoftness;
    bool bBlue;

    QZIL_INLINE Quad<float> operator()(Quad<float> a, Quad<float> b) const {
        float const key = bBlue ? a.c2 : a.c1, others = Max(a.c0, bBlue ? a.c1 : a.c2);
        float const low = Clamp(others - fThreshold, 0.0f, 1.0f), high = Clamp(low + fSoftness, 0.0f, 1.0f);
        float const ramp = (high - key) / (high - low);
        return {b.c0, b.c1, b.c2, key <= low ? 1.0f : key >= high ? 0.0f : ramp};
    }
};
QZIL_OPERATION(LinearKey)

}  // namespace qzil
