#include "qzil/convert/ycc_float_rows.h"

#include "qzil/kernel/put.h"
#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;

constexpr int kMaxPixels = kernel::kStretchPixels;
constexpr int kMaxPairs = kMaxPixels / 2;

/// Pixels that the chroma filter reads before and behind a stretch.
constexpr int kMargin = 2;

/// Red, green and blue of a stretch with the margins, clamped to what can be read.
struct Planes {
    float aValues[3][kMaxPixels + 2 * kMargin];

    QZIL_INLINE float* At(int channel) { return aValues[channel] + kMargin; }
};

template <class From>
QZIL_INLINE void Split(ConvertRow const& row, Planes& planes) {
    auto const* const in = In<From>(row.pIn);
    float *const red = planes.At(0), *const green = planes.At(1), *const blue = planes.At(2);
    auto const copy = [=](int to, int from) {
        red[to] = static_cast<float>(in[4 * from]);
        green[to] = static_cast<float>(in[4 * from + 1]);
        blue[to] = static_cast<float>(in[4 * from + 2]);
    };
    ForEach(row.iPixels, [=](int i) { copy(i, i); });
    for (int i = -kMargin; i < 0; ++i) copy(i, Max(i, row.iFirst));
    for (int i = row.iPixels; i < row.iPixels + kMargin; ++i) copy(i, Min(i, row.iLast));
}

/// What the chroma of each pair is made of: the even pixel or, filtered, five pixels around it.
QZIL_INLINE void ChromaSource(float const* plane, float* source, int pairs, bool filter) {
    if (filter) {
        ForEach(pairs, [=](int k) {
            float const* const p = plane + 2 * k;
            source[k] = -0.125f * (p[-2] + p[2]) + 0.25f * (p[-1] + p[1]) + 0.75f * p[0];
        });
    } else {
        ForEach(pairs, [=](int k) { source[k] = plane[2 * k]; });
    }
}

QZIL_INLINE float Weighted(float const* factors, float red, float green, float blue) {
    return red * factors[0] + green * factors[1] + blue * factors[2] + factors[3];
}

template <class From, class To>
QZIL_INLINE void AlphaPlane(ConvertRow const& row, float factor) {
    auto* const out = Out<To>(row.pAlphaOut);
    auto const* const in = In<From>(row.pIn);
    ForEach(row.iPixels, [=](int i) { Put(out + i, static_cast<float>(in[4 * i + 3]) * factor); });
}

template <class From, class To>
void To422(ConvertRow const& row, RgbToYcc const& constants) {
    if (row.pAlphaOut) AlphaPlane<From, To>(row, constants.fAlpha);
    RgbToYcc const c = constants;
    int const pairs = row.iPixels / 2;
    Planes planes;
    Split<From>(row, planes);
    float sources[3][kMaxPairs], lumas[kMaxPixels];
    for (int n = 0; n < 3; ++n) ChromaSource(planes.At(n), sources[n], pairs, c.bFilter);
    float const *const red = planes.At(0), *const green = planes.At(1), *const blue = planes.At(2);
    float const *const r = sources[0], *const g = sources[1], *const b = sources[2];
    float* const y = lumas;
    ForEach(row.iPixels, [=](int i) { y[i] = Weighted(c.aY, red[i], green[i], blue[i]); });
    auto* const out = Out<To>(row.pOut);
    auto const pair = [=](int k, int luma, int chroma) {
        Put(out + 4 * k + chroma, Weighted(c.aCb, r[k], g[k], b[k]));
        Put(out + 4 * k + luma, y[2 * k]);
        Put(out + 4 * k + chroma + 2, Weighted(c.aCr, r[k], g[k], b[k]));
        Put(out + 4 * k + luma + 2, y[2 * k + 1]);
    };
    if (c.bAlternate) {
        ForEach(pairs, [=](int k) { pair(k, 1, 0); });
    } else {
        ForEach(pairs, [=](int k) { pair(k, 0, 1); });
    }
}

template <class From, class To>
void To4444(ConvertRow const& row, RgbToYcc const& constants) {
    RgbToYcc const c = constants;
    auto* const out = Out<To>(row.pOut);
    auto const* const in = In<From>(row.pIn);
    auto const put = [=](int i, float value) {
        if constexpr (sizeof(To) == 1) value += c.fDither;
        Put(out + i, value);
    };
    ForEach(row.iPixels, [=](int i) {
        auto const red = static_cast<float>(in[4 * i]), green = static_cast<float>(in[4 * i + 1]);
        auto const blue = static_cast<float>(in[4 * i + 2]), alpha = static_cast<float>(in[4 * i + 3]);
        put(4 * i, Weighted(c.aCb, red, green, blue));
        put(4 * i + 1, Weighted(c.aY, red, green, blue));
        put(4 * i + 2, Weighted(c.aCr, red, green, blue));
        put(4 * i + 3, alpha * c.fAlpha);
    });
}

/// Red, green, blue and alpha of a stretch.
struct Channels {
    float aValues[4][kMaxPixels];
};

template <class From>
QZIL_INLINE void FromPairs(ConvertRow const& row, YccToRgb const& constants, Channels& channels) {
    YccToRgb const c = constants;
    float *const red = channels.aValues[0], *const green = channels.aValues[1], *const blue = channels.aValues[2];
    auto const* const in = In<From>(row.pIn);
    int const pairs = row.iPixels / 2;
    int const chroma = c.bAlternate ? 0 : 1, luma = 1 - chroma;
    float y[kMaxPixels], cb[kMaxPairs + 1], cr[kMaxPairs + 1];
    float *const py = y, *const pb = cb, *const pr = cr;
    // The chroma of the next pair counts when the whole pair lies in the region.
    int const mixed = c.bInterpolate ? Clamp(row.iLast - 1, 0, 2 * pairs) / 2 : 0;
    ForEach(pairs, [=](int k) {
        py[2 * k] = static_cast<float>(in[4 * k + luma]) * c.fY;
        py[2 * k + 1] = static_cast<float>(in[4 * k + luma + 2]) * c.fY;
    });
    ForEach(mixed == pairs ? pairs + 1 : pairs, [=](int k) {
        pb[k] = static_cast<float>(in[4 * k + chroma]);
        pr[k] = static_cast<float>(in[4 * k + chroma + 2]);
    });
    auto const pixel = [=](int i, float b, float r) {
        red[i] = r * c.aRed[0] + py[i] + c.aRed[1];
        green[i] = b * c.aGreen[0] + r * c.aGreen[1] + py[i] + c.aGreen[2];
        blue[i] = b * c.aBlue[0] + py[i] + c.aBlue[1];
    };
    ForEach(pairs, [=](int k) { pixel(2 * k, pb[k], pr[k]); });
    ForEach(mixed, [=](int k) { pixel(2 * k + 1, (pb[k] + pb[k + 1]) * 0.5f, (pr[k] + pr[k + 1]) * 0.5f); });
    ForEach(pairs - mixed, [=](int n) {
        int const k = mixed + n;
        pixel(2 * k + 1, pb[k], pr[k]);
    });
}

template <class To, int kSamples>
QZIL_INLINE void Interleave(ConvertRow const& row, Channels const& channels, bool bgr) {
    auto* const out = Out<To>(row.pOut);
    float const* const first = channels.aValues[bgr ? 2 : 0];
    float const* const second = channels.aValues[1];
    float const* const third = channels.aValues[bgr ? 0 : 2];
    float const* const alpha = channels.aValues[3];
    ForEach(row.iPixels, [=](int i) {
        Put(out + kSamples * i, first[i]);
        Put(out + kSamples * i + 1, second[i]);
        Put(out + kSamples * i + 2, third[i]);
        if constexpr (kSamples == 4) Put(out + kSamples * i + 3, alpha[i]);
    });
}

template <class From, class To>
void From422(ConvertRow const& row, YccToRgb const& c) {
    Channels channels;
    FromPairs<From>(row, c, channels);
    float* const alpha = channels.aValues[3];
    float const factor = c.fAlpha, full = c.fFullAlpha;
    if (auto const* const plane = In<From>(row.pAlphaIn)) {
        ForEach(row.iPixels, [=](int i) { alpha[i] = static_cast<float>(plane[i]) * factor; });
    } else {
        ForEach(row.iPixels, [=](int i) { alpha[i] = full; });
    }
    if (c.pErrors) {
        int const dithered = row.pAlphaIn ? 4 : 3;
        for (int n = 0; n < dithered; ++n) Diffuse(channels.aValues[n], row.iSkip, row.iPixels, c.pErrors[n]);
    }
    if (c.bTargetAlpha) {
        Interleave<To, 4>(row, channels, c.bBgr);
    } else {
        Interleave<To, 3>(row, channels, c.bBgr);
    }
}

}  // namespace

YccFloatRows const g_oYccFloatRows{
    {nullptr, To422<u8, s16>, To422<u8, u16>, To422<u8, float>},
    {To422<s16, u8>, To422<s16, s16>, To422<s16, u16>, To422<s16, float>},
    {To422<float, u8>, To422<float, s16>, To422<float, u16>, To422<float, float>},
    {To4444<u8, u8>, nullptr, To4444<u8, u16>, nullptr},
    {To4444<s16, u8>, To4444<s16, s16>, To4444<s16, u16>, nullptr},
    {To4444<float, u8>, nullptr, To4444<float, u16>, To4444<float, float>},
    {nullptr, From422<u8, s16>, nullptr, From422<u8, float>},
    {From422<s16, u8>, From422<s16, s16>, nullptr, From422<s16, float>},
    {From422<u16, u8>, From422<u16, s16>, nullptr, From422<u16, float>},
    {From422<float, u8>, From422<float, s16>, nullptr, From422<float, float>},
};

QZIL_ROWS_END
