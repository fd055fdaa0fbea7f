#include "qzil/convert/ycc_float_rows.h"

#include "qzil/kernel/put.h"
#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;

constexpr int kMaxPixels = kernel::kStretchPixels;
constexpr int kMaxPairs = kMaxPixels / 2;

/// One channel of a stretch, the even and the odd pixels apart, with a pair before and one behind for the filter.
struct Plane {
    float aEven[kMaxPairs + 2];
    float aOdd[kMaxPairs + 2];

    QZIL_INLINE float* Even() { return aEven + 1; }
    QZIL_INLINE float* Odd() { return aOdd + 1; }
};

template <class From>
QZIL_INLINE void SplitChannel(ConvertRow const& row, int channel, Plane& plane) {
    auto const* const in = In<From>(row.pIn) + channel;
    float* const even = plane.Even();
    float* const odd = plane.Odd();
    int const pairs = row.iPixels / 2;
    ForEach(pairs, [=](int k) {
        even[k] = static_cast<float>(in[8 * k]);
        odd[k] = static_cast<float>(in[8 * k + 4]);
    });
    auto const at = [=](int position) { return static_cast<float>(in[4 * position]); };
    even[-1] = at(Max(-2, row.iFirst));
    odd[-1] = at(Max(-1, row.iFirst));
    even[pairs] = at(Min(2 * pairs, row.iLast));
}

/// What the chroma of each pair is made of, in place of the even pixels.
QZIL_INLINE void FilterEven(Plane& plane, float* filtered, int pairs) {
    float const* const even = plane.Even();
    float const* const odd = plane.Odd();
    ForEach(pairs, [=](int k) {
        filtered[k] = -0.125f * (even[k - 1] + even[k + 1]) + 0.25f * (odd[k - 1] + odd[k]) + 0.75f * even[k];
    });
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
    Plane planes[3];
    float filtered[3][kMaxPairs];
    for (int n = 0; n < 3; ++n) {
        SplitChannel<From>(row, n, planes[n]);
        if (c.bFilter) FilterEven(planes[n], filtered[n], pairs);
    }
    float const *const r0 = planes[0].Even(), *const g0 = planes[1].Even(), *const b0 = planes[2].Even();
    float const *const r1 = planes[0].Odd(), *const g1 = planes[1].Odd(), *const b1 = planes[2].Odd();
    float const* const rf = c.bFilter ? filtered[0] : r0;
    float const* const gf = c.bFilter ? filtered[1] : g0;
    float const* const bf = c.bFilter ? filtered[2] : b0;
    auto* const out = Out<To>(row.pOut);
    auto const pair = [=](int k, int luma, int chroma) {
        Put(out + 4 * k + chroma, Weighted(c.aCb, rf[k], gf[k], bf[k]));
        Put(out + 4 * k + luma, Weighted(c.aY, r0[k], g0[k], b0[k]));
        Put(out + 4 * k + chroma + 2, Weighted(c.aCr, rf[k], gf[k], bf[k]));
        Put(out + 4 * k + luma + 2, Weighted(c.aY, r1[k], g1[k], b1[k]));
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
    ForEach(mixed,
            [=](int k) { pixel(2 * k + 1, (pb[k] + pb[k + 1]) * 0.5f, (pr[k] + pr[k + 1]) * 0.5f); });
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
