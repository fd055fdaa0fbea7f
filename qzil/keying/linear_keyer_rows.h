#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// x / d as a share of full scale, for x of 0 to d: what ilNormDiv has at 8 bits, else truncated. The numerator is an
/// integer that the real type holds, and its quotient, unless whole, lies further from an integer than it is rounded.
template <class T>
QZIL_INLINE s32 Ramp(s32 x, s32 d) {
    using Real = std::conditional_t<sizeof(T) == 1, float, double>;
    constexpr s32 kFull = kFullScale<T>;
    s32 const half = sizeof(T) == 1 ? d / 2 : 0;
    return static_cast<s32>((static_cast<Real>(x) * static_cast<Real>(kFull) + static_cast<Real>(half)) /
                            static_cast<Real>(Max(d, 1)));
}

/// B's pixel with an alpha by how far a channel of A exceeds the others.
template <class T>
struct LinearKey {
    s32 iThreshold;
    s32 iSoftness;
    bool bBlue;

    QZIL_INLINE Quad<s32> operator()(Quad<s32> a, Quad<s32> b) const {
        constexpr s32 kFull = kFullScale<T>;
        s32 const key = bBlue ? a.c2 : a.c1, others = Max(a.c0, bBlue ? a.c1 : a.c2);
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
