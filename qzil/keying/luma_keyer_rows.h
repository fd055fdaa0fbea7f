#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

template <class V>
struct LumaWeights {
    V r, g, b;
};

/// Luma by weights of 16 fraction bits, which add up to 1: the sum of 16-bit samples just fits 32 bits, of S2.14 with
/// its sign.
template <class T>
QZIL_INLINE s32 LumaOf(Quad<s32> p, LumaWeights<s32> w) {
    auto const product = [](s32 v, s32 weight) { return static_cast<u32>(v) * static_cast<u32>(weight); };
    u32 const sum = product(p.c0, w.r) + product(p.c1, w.g) + product(p.c2, w.b) + 32768u;
    return T(-1) < T(0) ? static_cast<s32>(sum) >> 16 : static_cast<s32>(sum >> 16);
}

/// B's pixel with an alpha of A's luma. Gain and offset have 31 fraction bits: reals hold the products exactly.
template <class T>
struct LumaKey {
    LumaWeights<s32> oWeights;
    double dfGain;
    double dfOffset;
    bool bReverses;
    bool bKeepsAlpha;

    QZIL_INLINE Quad<s32> operator()(Quad<s32> a, Quad<s32> b) const {
        constexpr s32 kFull = kFullScale<T>;
        // A negative sum is 0, however it would be rounded.
        double const sum = dfGain * LumaOf<T>(a, oWeights) + dfOffset + 0x1p30;
        s32 const key = static_cast<s32>(Clamp(sum * 0x1p-31, 0.0, static_cast<double>(kFull)));
        s32 const alpha = bReverses ? kFull - key : key;
        return {b.c0, b.c1, b.c2, bKeepsAlpha ? Min(alpha, b.c3) : alpha};
    }
};

/// With 20 fraction bits: 255 * 3 * 2^20 + 2^19 is below 2^31.
template <>
struct LumaKey<u8> {
    LumaWeights<s32> oWeights;
    s32 iGain;
    s32 iOffset;
    bool bReverses;
    bool bKeepsAlpha;

    QZIL_INLINE Quad<s32> operator()(Quad<s32> a, Quad<s32> b) const {
        s32 const key = Clamp((iGain * LumaOf<u8>(a, oWeights) + iOffset + 0x80000) >> 20, 0, 255);
        s32 const alpha = bReverses ? 255 - key : key;
        return {b.c0, b.c1, b.c2, bKeepsAlpha ? Min(alpha, b.c3) : alpha};
    }
};

template <>
struct LumaKey<float> {
    LumaWeights<float> oWeights;
    float fGain;
    float fOffset;
    bool bReverses;
    bool bKeepsAlpha;

    QZIL_INLINE Quad<float> operator()(Quad<float> a, Quad<float> b) const {
        float const luma = oWeights.r * a.c0 + oWeights.g * a.c1 + oWeights.b * a.c2;
        float const key = Clamp(fGain * luma + fOffset, 0.0f, 1.0f);
        float const alpha = bReverses ? 1.0f - key : key;
        return {b.c0, b.c1, b.c2, bKeepsAlpha ? Min(alpha, b.c3) : alpha};
    }
};
QZIL_OPERATION(LumaKey)

}  // namespace qzil
