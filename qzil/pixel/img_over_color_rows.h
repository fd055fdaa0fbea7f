#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// 8-bit RGBA whose colours are multiplied by its alpha. Without a mask the weights are those of a full one.
template <class T>
struct OverColor {
    Channels<T> oBackground;  ///< premultiplied
    u16 uOpacity;

    /// `v` of a pixel with this alpha, over `background`, without a mask.
    QZIL_INLINE u16 Plain(u16 v, u16 alpha, u16 background, u16) const {
        u16 const t = Opposite(WideNormMult(alpha, uOpacity));
        return AddLimited(WideNormMult(v, uOpacity), WideNormMult(t, background));
    }
    QZIL_INLINE u16 Opaque(u16 v, u16 alpha, u16 background, u16) const {
        return AddLimited(v, WideNormMult(Opposite(alpha), background));
    }
    QZIL_INLINE u16 Masked(u16 v, u16 alpha, u16 background, u16, u16 m) const {
        u16 const w = WideNormMult(m, uOpacity);
        u16 const scaled = WideNormMult(v, Opposite(static_cast<u16>(m - w)));
        u16 const t = static_cast<u16>(m - WideNormMult(w, alpha));
        return AddLimited(scaled, WideNormMult(t, background));
    }

    QZIL_INLINE static u16 Opposite(u16 weight) { return static_cast<u16>(255 - weight); }
    QZIL_INLINE static u16 AddLimited(u16 a, u16 b) { return static_cast<u16>(Min(a + b, 255)); }
};
QZIL_OPERATION(OverColor, u8)

/// 8-bit RGBA with straight colours. The alpha channel's own foreground value is full; its bits are those of `isAlpha`.
template <class T>
struct StraightOverColor {
    Channels<T> oBackground;  ///< premultiplied
    u16 uOpacity;

    QZIL_INLINE u16 Plain(u16 v, u16 alpha, u16 background, u16 isAlpha) const {
        return WideMixNormMult(background, v | isAlpha, WideNormMult(alpha, uOpacity));
    }
    QZIL_INLINE u16 Opaque(u16 v, u16 alpha, u16 background, u16 isAlpha) const {
        return WideMixNormMult(background, v | isAlpha, alpha);
    }
    QZIL_INLINE u16 Masked(u16 v, u16 alpha, u16 background, u16 isAlpha, u16 m) const {
        u16 const weight = WideNormMult(alpha, uOpacity);
        u16 const w = static_cast<u16>(255 - WideNormMult(m, static_cast<u16>(255 - weight)));
        u16 const covered = WideMixNormMult(v, WideMixNormMult(background, 255, weight), m);
        return static_cast<u16>((covered & isAlpha) | (WideMixNormMult(background, v, w) & ~isAlpha));
    }
};
QZIL_OPERATION(StraightOverColor, u8)

/// 8-bit 4:2:2 with an alpha plane.
template <class T>
struct PlaneOverColor {
    s32 iY, iCb, iCr;  ///< of the premultiplied background, less 16, 128 and 128
    u8 uAlpha;
    u8 uOpacity;
    bool bPremultiplied;
    bool bWritesAlpha;

    /// x * weight / 255 with sign: the rounded 257 product.
    QZIL_INLINE static s32 Scale(s32 x, s32 weight) { return (x * weight * 257 + 32896) >> 16; }
    /// A weight of 255 scales by exactly 1, so neither full alpha nor full opacity needs a case of its own.
    QZIL_INLINE T Over(s32 sample, s32 center, s32 alpha, s32 t, s32 back) const {
        s32 const x = Scale(Scale(sample - center, bPremultiplied ? 255 : alpha), uOpacity);
        return static_cast<T>(Clamp(x + Scale(back, t) + center, 0, 255));
    }
    QZIL_INLINE T Alpha(T alpha) const {
        T const w = NormMult(alpha, uOpacity);
        return static_cast<T>(Min(w + NormMult(static_cast<T>(255 - w), uAlpha), 255));
    }
};
QZIL_OPERATION(PlaneOverColor, u8)

/// Float and S2.14. The background is premultiplied and in the scale of the samples: RGBA, or Cb, Y, Cr, Y and alpha.
/// What is not a number stays none; such a mask copies nothing.
template <class T>
struct RealOverColor {
    float aBackground[4];
    float fAlpha;
    float fOpacity;
    bool bPremultiplied;
    bool bHasAlpha;
    unsigned uSelected;

    struct Weights {
        float fBack;
        float fFront;
        float fKeep;  ///< of the input's alpha
        bool bCopies;
    };
    /// `mask` in samples, full scale without one.
    QZIL_INLINE Weights WeightsOf(T alpha, T mask) const {
        constexpr float kFull = kFullScale<T>;
        float const raw = static_cast<float>(mask) / kFull;
        float const m = raw > 1.0f ? 1.0f : raw;
        Weights weights{0, 0, 1.0f - (1.0f - fOpacity) * m, raw <= 0.0f};
        if (bHasAlpha) {
            float const a = static_cast<float>(alpha) / kFull;
            float const limited = a > 0.0f ? (a < 1.0f ? a : 1.0f) : 0.0f;
            weights.fBack = (1.0f - limited * fOpacity) * m;
            weights.fFront = bPremultiplied ? weights.fKeep : 1.0f - weights.fBack;
        } else {
            weights.fBack = (1.0f - fOpacity) * m;
            weights.fFront = 1.0f - weights.fBack;
        }
        return weights;
    }
    QZIL_INLINE static T Mixed(T in, float front, float back, float background) {
        float const value = front * static_cast<float>(in) + back * background;
        if constexpr (std::is_same_v<T, s16>) {
            return RoundToS2_14(value);
        } else {
            return value;
        }
    }
    QZIL_INLINE bool Selects(int channel) const { return (uSelected >> channel & 1) != 0; }

    QZIL_INLINE Quad<T> Masked(Quad<T> p, T m) const {
        Weights const w = WeightsOf(p.c3, m);
        auto const mixed = [&](T v, int channel, float front) {
            T const result = Mixed(v, front, w.fBack, aBackground[channel]);
            return w.bCopies || !Selects(channel) ? v : result;
        };
        return {mixed(p.c0, 0, w.fFront), mixed(p.c1, 1, w.fFront), mixed(p.c2, 2, w.fFront), mixed(p.c3, 3, w.fKeep)};
    }
    QZIL_INLINE Quad<T> operator()(Quad<T> p) const { return Masked(p, kFullScale<T>); }
};
QZIL_OPERATION(RealOverColor, s16, float)

}  // namespace qzil
