#include "qzil/pixel/img_over_color_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Each pixel's alpha, widened, for both pairs of its samples.
QZIL_INLINE void SpreadAlpha(u16* out, u8 const* in, int pixels) {
    ForEach(pixels, [=](int i) {
        u32 pixel;
        __builtin_memcpy(&pixel, in + 4 * i, sizeof pixel);
        u32 const alpha = pixel >> 24;
        u32 const two = alpha | alpha << 16;
        __builtin_memcpy(out + 2 * i, &two, sizeof two);
    });
}

/// Pixels of a stretch whose alpha is spread at a time.
constexpr int kSpread = 256;

/// Calls op(first pixel, pixels, alpha) for parts of a stretch.
template <class Op>
QZIL_INLINE void ForAlpha(Row const& row, Op op) {
    alignas(64) u16 alpha[2 * kSpread];
    for (int x = 0; x < row.iPixels; x += kSpread) {
        int const pixels = Min(kSpread, row.iPixels - x);
        SpreadAlpha(alpha, In<u8>(row.pA) + 4 * x, pixels);
        op(x, pixels, alpha);
    }
}

/// The bits of a word from one value, the others from another.
QZIL_INLINE u16 Select(u16 word, u16 taken, u16 passed) {
    return static_cast<u16>((taken & word) | (passed & ~word));
}

QZIL_INLINE u16 AddLimited(u16 a, u16 b) {
    return static_cast<u16>(Min(a + b, 255));
}

QZIL_INLINE u16 Rest(u16 weight) {
    return static_cast<u16>(255 - weight);
}

/// Without a mask the weights are those of a full one. `plain` is the rule without a mask, of input, alpha and
/// background; `masked` has the mask behind them; both see which bits belong to the alpha channel.
template <class Plain, class Masked>
QZIL_INLINE void OverColor(Row const& row, OverColor8 const& c, Plain plain, Masked masked) {
    Lanes<u8> const background(c.aBackground), word(c.aWord), isAlpha(0, 0, 0, 255);
    ForAlpha(row, [&](int first, int pixels, u16 const* alpha) {
        u8* const out = Out<u8>(row.pOut) + 4 * first;
        u8 const* const in = In<u8>(row.pA) + 4 * first;
        u16 const* const mask = row.pMask ? In<u16>(row.pMask) + 2 * first : nullptr;
        auto const run = [&](auto result) {
            ForPairs(4 * pixels, [=, &background, &word, &isAlpha](Place at, auto which) {
                auto const behind = Load(which, background.At(at.iLane)), last = Load(which, isAlpha.At(at.iLane));
                auto const a = LoadMask<u8>(which, PerPair{}, alpha, at);
                StoreSelected(which, out + at.i, result(Load(which, in + at.i), a, behind, last, at, which), in + at.i,
                              word.At(at.iLane));
            });
        };
        if (mask) {
            run([=](auto v, auto a, auto behind, auto last, Place at, auto which) {
                return Each(masked, v, a, behind, last, LoadMask<u8>(which, PerPair{}, mask, at));
            });
        } else {
            run([=](auto v, auto a, auto behind, auto last, Place, auto) { return Each(plain, v, a, behind, last); });
        }
    });
}

void Premultiplied8(Row const& row, OverColor8 const& c) {
    u16 const opacity = c.uOpacity;
    auto const masked = [=](u16 v, u16 alpha, u16 background, u16, u16 m) {
        u16 const w = WideNormMult(m, opacity);
        u16 const scaled = WideNormMult(v, Rest(static_cast<u16>(m - w)));
        u16 const t = static_cast<u16>(m - WideNormMult(w, alpha));
        return AddLimited(scaled, WideNormMult(t, background));
    };
    if (opacity == 255) {
        auto const opaque = [](u16 v, u16 alpha, u16 background, u16) {
            return AddLimited(v, WideNormMult(Rest(alpha), background));
        };
        OverColor(row, c, opaque, masked);
    } else {
        auto const plain = [=](u16 v, u16 alpha, u16 background, u16) {
            u16 const t = Rest(WideNormMult(alpha, opacity));
            return AddLimited(WideNormMult(v, opacity), WideNormMult(t, background));
        };
        OverColor(row, c, plain, masked);
    }
}

void Straight8(Row const& row, OverColor8 const& c) {
    u16 const opacity = c.uOpacity;
    auto const masked = [=](u16 v, u16 alpha, u16 background, u16 isAlpha, u16 m) {
        u16 const weight = WideNormMult(alpha, opacity);
        u16 const w = Rest(WideNormMult(m, Rest(weight)));
        u16 const covered = WideMixNormMult(v, WideMixNormMult(background, 255, weight), m);
        return Select(isAlpha, covered, WideMixNormMult(background, v, w));
    };
    // The alpha channel's own foreground value is full.
    if (opacity == 255) {
        auto const opaque = [](u16 v, u16 alpha, u16 background, u16 isAlpha) {
            return WideMixNormMult(background, v | isAlpha, alpha);
        };
        OverColor(row, c, opaque, masked);
    } else {
        auto const plain = [=](u16 v, u16 alpha, u16 background, u16 isAlpha) {
            return WideMixNormMult(background, v | isAlpha, WideNormMult(alpha, opacity));
        };
        OverColor(row, c, plain, masked);
    }
}

/// x * weight / 255 with sign: the rounded 257 product.
QZIL_INLINE s32 Scale(s32 x, s32 weight) {
    return (x * weight * 257 + 32896) >> 16;
}

void Yuva8(Row const& row, OverColorYuva8 const& c) {
    u8* const out = Out<u8>(row.pOut);
    u8* const alphaOut = Out<u8>(row.pAlphaOut);
    u8 const* const in = In<u8>(row.pA);
    u8 const* const alpha = In<u8>(row.pAlphaIn);
    s32 const y = c.aBackground[0], cb = c.aBackground[1], cr = c.aBackground[2];
    s32 const opacity = c.uOpacity;
    u8 const backAlpha = c.uAlpha;
    bool const premultiplied = c.bPremultiplied;
    // A weight of 255 scales by exactly 1, so neither full alpha nor full opacity needs a case of its own.
    auto const over = [=](s32 sample, s32 center, s32 a, s32 t, s32 back) {
        s32 const x = Scale(Scale(sample - center, premultiplied ? 255 : a), opacity);
        return static_cast<u8>(Clamp(x + Scale(back, t) + center, 0, 255));
    };
    ForEach(row.iPixels / 2, [=](int i) {
        s32 const a0 = alpha[2 * i], a1 = alpha[2 * i + 1];
        s32 const t0 = 255 - NormMult(static_cast<u8>(a0), static_cast<u8>(opacity));
        s32 const t1 = 255 - NormMult(static_cast<u8>(a1), static_cast<u8>(opacity));
        u8 const s0 = in[4 * i], s1 = in[4 * i + 1], s2 = in[4 * i + 2], s3 = in[4 * i + 3];
        out[4 * i] = over(s0, 128, a0, t0, cb);
        out[4 * i + 1] = over(s1, 16, a0, t0, y);
        out[4 * i + 2] = over(s2, 128, a0, t0, cr);
        out[4 * i + 3] = over(s3, 16, a1, t1, y);
    });
    int const written = row.iPixels & ~1;
    if (c.bWritesAlpha) {
        ForEach(written, [=](int i) {
            u8 const w = NormMult(alpha[i], static_cast<u8>(opacity));
            alphaOut[i] = static_cast<u8>(AddLimited(w, NormMult(static_cast<u8>(255 - w), backAlpha)));
        });
    } else {
        ForEach(written, [=](int i) { alphaOut[i] = alpha[i]; });
    }
}

/// Samples as reals of their own scale.
struct FloatSamples {
    using T = float;
    static constexpr float kFull = 1.0f;
    QZIL_INLINE static float FromReal(float v) { return v; }
};
struct S14Samples {
    using T = s16;
    static constexpr float kFull = 16384.0f;
    QZIL_INLINE static s16 FromReal(float v) { return RoundToS2_14(v); }
};

/// The weights of one pixel.
struct Weights {
    float fBack;
    float fFront;
    float fKeep;  ///< of the input's alpha
    bool bCopies;
};

template <class S>
QZIL_INLINE Weights WeightsOf(OverColorReal const& c, float alpha, typename S::T const* mask) {
    float const raw = mask ? static_cast<float>(*mask) / S::kFull : 1.0f;
    float const m = raw > 1.0f ? 1.0f : raw;
    Weights weights{0, 0, 1.0f - (1.0f - c.fOpacity) * m, raw <= 0.0f};
    if (c.bHasAlpha) {
        float const limited = alpha > 0.0f ? (alpha < 1.0f ? alpha : 1.0f) : 0.0f;
        weights.fBack = (1.0f - limited * c.fOpacity) * m;
        weights.fFront = c.bPremultiplied ? weights.fKeep : 1.0f - weights.fBack;
    } else {
        weights.fBack = (1.0f - c.fOpacity) * m;
        weights.fFront = 1.0f - weights.fBack;
    }
    return weights;
}

template <class S>
QZIL_INLINE typename S::T Mixed(typename S::T in, float front, float back, float background) {
    return S::FromReal(front * static_cast<float>(in) + back * background);
}

template <class S>
void Rgba(Row const& row, OverColorReal const& constants) {
    using T = typename S::T;
    OverColorReal const c = constants;
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    T const* const mask = In<T>(row.pMask);
    ForEach(row.iPixels, [=](int i) {
        T const* const p = in + 4 * i;
        T const alpha = p[3];
        Weights const w = WeightsOf<S>(c, static_cast<float>(alpha) / S::kFull, mask ? mask + i : nullptr);
        for (int channel = 0; channel < 4; ++channel) {
            float const front = channel == 3 ? w.fKeep : w.fFront;
            T const result = Mixed<S>(p[channel], front, w.fBack, c.aBackground[channel]);
            out[4 * i + channel] = w.bCopies || !c.abSelected[channel] ? p[channel] : result;
        }
    });
}

/// Luma by its own pixel; chroma by the first pixel of its pair, counted from the line's start.
template <class S>
void Ycca(Row const& row, OverColorReal const& constants) {
    using T = typename S::T;
    OverColorReal const c = constants;
    T* const out = Out<T>(row.pOut);
    T* const alphaOut = Out<T>(row.pAlphaOut);
    T const* const in = In<T>(row.pA);
    T const* const alpha = In<T>(row.pAlphaIn);
    T const* const mask = In<T>(row.pMask);
    bool const hasAlpha = c.bHasAlpha && alpha && alphaOut;
    Weights chroma{};
    for (int i = 0; i < row.iPixels; ++i) {
        float const a = hasAlpha ? static_cast<float>(alpha[i]) / S::kFull : 1.0f;
        Weights const w = WeightsOf<S>(c, a, mask ? mask + i : nullptr);
        bool const odd = (i & 1) != 0;
        if (!odd) chroma = w;
        T const uv = in[2 * i], y = in[2 * i + 1];
        T const newUv = Mixed<S>(uv, chroma.fFront, chroma.fBack, c.aBackground[odd ? 2 : 0]);
        T const newY = Mixed<S>(y, w.fFront, w.fBack, c.aBackground[1]);
        out[2 * i] = chroma.bCopies ? uv : newUv;
        out[2 * i + 1] = w.bCopies ? y : newY;
        if (!hasAlpha) continue;
        T const newAlpha = Mixed<S>(alpha[i], w.fKeep, w.fBack, c.fAlpha);
        alphaOut[i] = w.bCopies || !c.bWritesAlpha ? alpha[i] : newAlpha;
    }
}

}  // namespace

OverColorRows const g_oOverColorRows{Premultiplied8,   Straight8,          Yuva8,           Rgba<FloatSamples>,
                                     Rgba<S14Samples>, Ycca<FloatSamples>, Ycca<S14Samples>};

QZIL_ROWS_END
