#include "qzil/convert/ycc_float_rows.h"

#include "qzil/kernel/loops.h"
#include "qzil/kernel/put.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;

constexpr int kMaxPixels = kernel::kStretchPixels;
constexpr int kMaxPairs = kMaxPixels / 2;

/// A channel of a stretch, even and odd pixels apart, with a pair before and one behind.
struct PairPlane {
    float aEven[kMaxPairs + 2], aOdd[kMaxPairs + 2];

    QZIL_INLINE float* Even() { return aEven + 1; }
    QZIL_INLINE float* Odd() { return aOdd + 1; }
};

/// Fills the planes of red, green and blue; what lies around the stretch is clamped to what can be read.
template <class From>
QZIL_INLINE void Split(ConvertRow const& row, PairPlane* planes) {
    auto const* const in = In<From>(row.pIn);
    float *const redEven = planes[0].Even(), *const greenEven = planes[1].Even(), *const blueEven = planes[2].Even();
    float *const redOdd = planes[0].Odd(), *const greenOdd = planes[1].Odd(), *const blueOdd = planes[2].Odd();
    auto const split = [=](int k, int evenPixel, int oddPixel) {
        Quad<float> const even = LoadQuad<float>(in + 4 * evenPixel), odd = LoadQuad<float>(in + 4 * oddPixel);
        redEven[k] = even.c0, greenEven[k] = even.c1, blueEven[k] = even.c2;
        redOdd[k] = odd.c0, greenOdd[k] = odd.c1, blueOdd[k] = odd.c2;
    };
    int const pairs = row.iPixels / 2;
    ForEach(pairs, [=](int k) { split(k, 2 * k, 2 * k + 1); });
    split(-1, Max(-2, row.iFirst), Max(-1, row.iFirst));
    split(pairs, Min(2 * pairs, row.iLast), Min(2 * pairs + 1, row.iLast));
}

/// The chroma filter: five pixels around each even one.
QZIL_INLINE void Filter(PairPlane& plane, float* filtered, int pairs) {
    float const *const even = plane.Even(), *const odd = plane.Odd();
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
    PairPlane planes[3];
    Split<From>(row, planes);
    float filtered[3][kMaxPairs];
    float const* sources[3];  // of the chroma of each pair
    for (int n = 0; n < 3; ++n) {
        sources[n] = c.bFilter ? filtered[n] : planes[n].Even();
        if (c.bFilter) Filter(planes[n], filtered[n], pairs);
    }
    float const *const r = sources[0], *const g = sources[1], *const b = sources[2];
    float const *const r0 = planes[0].Even(), *const g0 = planes[1].Even(), *const b0 = planes[2].Even();
    float const *const r1 = planes[0].Odd(), *const g1 = planes[1].Odd(), *const b1 = planes[2].Odd();
    auto* const out = Out<To>(row.pOut);
    auto const pair = [=](int k, auto put) {
        put(out + 4 * k, Weighted(c.aY, r0[k], g0[k], b0[k]), Weighted(c.aY, r1[k], g1[k], b1[k]),
            Weighted(c.aCb, r[k], g[k], b[k]), Weighted(c.aCr, r[k], g[k], b[k]));
    };
    if (c.bAlternate) {
        auto const put = [](To* to, float y0, float y1, float cb, float cr) { PutQuad(to, {cb, y0, cr, y1}); };
        ForEach(pairs, [=](int k) { pair(k, put); });
    } else {
        auto const put = [](To* to, float y0, float y1, float cb, float cr) { PutQuad(to, {y0, cb, y1, cr}); };
        ForEach(pairs, [=](int k) { pair(k, put); });
    }
}

template <class From, class To>
void To4444(ConvertRow const& row, RgbToYcc const& constants) {
    RgbToYcc const c = constants;
    auto* const out = Out<To>(row.pOut);
    auto const* const in = In<From>(row.pIn);
    float const dither = sizeof(To) == 1 ? c.fDither : 0.0f;
    ForEach(row.iPixels, [=](int i) {
        Quad<float> const pixel = LoadQuad<float>(in + 4 * i);
        auto const weighted = [=](float const* factors) {
            float const sum = Weighted(factors, pixel.c0, pixel.c1, pixel.c2);
            return sizeof(To) == 1 ? sum + dither : sum;
        };
        float const alpha = pixel.c3 * c.fAlpha;
        PutQuad(out + 4 * i,
                {weighted(c.aCb), weighted(c.aY), weighted(c.aCr), sizeof(To) == 1 ? alpha + dither : alpha});
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
    // Luma and chroma of each pixel.
    float y[kMaxPixels], cb[kMaxPixels], cr[kMaxPixels];
    float *const py = y, *const pb = cb, *const pr = cr;
    struct Pair {
        float fY0, fY1, fCb, fCr;
    };
    auto const pair = [=](int k, auto alternate) -> Pair {
        Quad<float> const v = LoadQuad<float>(in + 4 * k);
        if constexpr (alternate) return {v.c1, v.c3, v.c0, v.c2};
        return {v.c0, v.c2, v.c1, v.c3};
    };
    auto const split = [=](auto alternate) {
        auto const put = [=](int k, Pair v, float oddCb, float oddCr) {
            py[2 * k] = v.fY0 * c.fY, py[2 * k + 1] = v.fY1 * c.fY;
            pb[2 * k] = v.fCb, pb[2 * k + 1] = oddCb;
            pr[2 * k] = v.fCr, pr[2 * k + 1] = oddCr;
        };
        // The chroma of the next pair counts when the whole pair lies in the region.
        int const mixed = c.bInterpolate ? Clamp(row.iLast - 1, 0, 2 * pairs) / 2 : 0;
        ForEach(mixed, [=](int k) {
            Pair const v = pair(k, alternate), next = pair(k + 1, alternate);
            put(k, v, (v.fCb + next.fCb) * 0.5f, (v.fCr + next.fCr) * 0.5f);
        });
        ForEach(pairs - mixed, [=](int n) {
            Pair const v = pair(mixed + n, alternate);
            put(mixed + n, v, v.fCb, v.fCr);
        });
    };
    c.bAlternate ? split(std::true_type{}) : split(std::false_type{});
    ForEach(2 * pairs, [=](int i) {
        red[i] = pr[i] * c.aRed[0] + py[i] + c.aRed[1];
        green[i] = pb[i] * c.aGreen[0] + pr[i] * c.aGreen[1] + py[i] + c.aGreen[2];
        blue[i] = pb[i] * c.aBlue[0] + py[i] + c.aBlue[1];
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
        if constexpr (kSamples == 4) {
            PutQuad(out + 4 * i, {first[i], second[i], third[i], alpha[i]});
        } else {
            Put(out + 3 * i, first[i]);
            Put(out + 3 * i + 1, second[i]);
            Put(out + 3 * i + 2, third[i]);
        }
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
