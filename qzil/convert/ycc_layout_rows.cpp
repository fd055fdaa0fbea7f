#include "qzil/convert/ycc_layout_rows.h"

#include "qzil/kernel/loops.h"
#include "qzil/kernel/put.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::ConvertRow;

constexpr int kMaxPixels = kernel::kStretchPixels;

/// Values of a stretch, with two positions before and behind it.
struct Values {
    float aAll[kMaxPixels + 4];

    QZIL_INLINE float* At() { return aAll + 2; }
};

/// Luma of every pixel and chroma of every site of the input.
struct Planes {
    Values oY, oCb, oCr;
};

/// The places of a layout as constants: loops over them become vectors.
template <int kLumaStep, int kLuma, int kCb, int kCr>
struct Layout {
    static constexpr int iLumaStep = kLumaStep, iLuma = kLuma, iCb = kCb, iCr = kCr;
};

/// Calls f with the layout of some places. There are four.
template <class F>
QZIL_INLINE void WithLayout(YccPlaces const& at, F f) {
    if (at.bPairs) {
        at.iLuma == 1 ? f(Layout<2, 1, 0, 2>{}) : f(Layout<2, 0, 1, 3>{});
    } else {
        at.iLuma == 1 ? f(Layout<4, 1, 0, 2>{}) : f(Layout<4, 0, 1, 2>{});
    }
}

template <class From>
QZIL_INLINE void Read(ConvertRow const& row, YccPlaces const& at, Planes& planes) {
    auto const* const in = In<From>(row.pIn);
    float *const y = planes.oY.At(), *const cb = planes.oCb.At(), *const cr = planes.oCr.At();
    int const sites = at.bPairs ? row.iPixels / 2 : row.iPixels;
    WithLayout(at, [=]<class L>(L) {
        ForEach(row.iPixels, [=](int i) { y[i] = static_cast<float>(in[i * L::iLumaStep + L::iLuma]); });
        ForEach(sites, [=](int i) {
            cb[i] = static_cast<float>(in[4 * i + L::iCb]);
            cr[i] = static_cast<float>(in[4 * i + L::iCr]);
        });
    });
    auto const beside = [=](int to, int from) {
        cb[to] = static_cast<float>(in[4 * from + at.iCb]);
        cr[to] = static_cast<float>(in[4 * from + at.iCr]);
    };
    if (at.bPairs) {
        // The next pair counts when the whole of it can be read; else the last one stands in for it.
        beside(sites, 2 * sites + 1 <= row.iLast ? sites : sites - 1);
    } else {
        beside(-2, Max(-2, row.iFirst));
        beside(-1, Max(-1, row.iFirst));
        beside(sites, Min(sites, row.iLast));
        beside(sites + 1, Min(sites + 1, row.iLast));
    }
}

/// Writes luma, chroma and, into pixels that hold it, alpha.
template <class To>
QZIL_INLINE void Write(ConvertRow const& row, YccPlaces const& at, Planes& planes, float const* alpha) {
    auto* const to = Out<To>(row.pOut);
    float const *const y = planes.oY.At(), *const cb = planes.oCb.At(), *const cr = planes.oCr.At();
    WithLayout(at, [=]<class L>(L) {
        if constexpr (L::iLumaStep == 2) {
            ForEach(row.iPixels / 2, [=](int k) {
                Put(to + 4 * k + L::iLuma, y[2 * k]);
                Put(to + 4 * k + L::iLuma + 2, y[2 * k + 1]);
                Put(to + 4 * k + L::iCb, cb[k]);
                Put(to + 4 * k + L::iCr, cr[k]);
            });
        } else {
            ForEach(row.iPixels, [=](int i) {
                Put(to + 4 * i + L::iLuma, y[i]);
                Put(to + 4 * i + L::iCb, cb[i]);
                Put(to + 4 * i + L::iCr, cr[i]);
                Put(to + 4 * i + 3, alpha[i]);
            });
        }
    });
}

/// Pairs of one type, in one order or with luma and chroma exchanged.
template <class T>
QZIL_INLINE void MovePairs(ConvertRow const& row, bool exchange) {
    auto* const out = Out<T>(row.pOut);
    auto const* const in = In<T>(row.pIn);
    if (!exchange) {
        __builtin_memcpy(out, in, sizeof(T) * static_cast<unsigned long>(2 * row.iPixels));
        return;
    }
    ForEach(row.iPixels, [=](int i) {
        T const first = in[2 * i], second = in[2 * i + 1];
        out[2 * i] = second;
        out[2 * i + 1] = first;
    });
}

/// Chroma of every pixel, from the sites of pairs.
QZIL_INLINE void Spread(float const* sites, float* pixels, int pairs, bool filter) {
    if (filter) {
        ForEach(pairs, [=](int k) {
            pixels[2 * k] = sites[k];
            pixels[2 * k + 1] = (sites[k] + sites[k + 1]) * 0.5f;
        });
    } else {
        ForEach(pairs, [=](int k) { pixels[2 * k] = pixels[2 * k + 1] = sites[k]; });
    }
}

/// Chroma of the even pixels, from sites at every pixel.
QZIL_INLINE void Gather(float const* pixels, float* sites, int pairs, bool filter) {
    if (filter) {
        ForEach(pairs, [=](int k) {
            float const* const p = pixels + 2 * k;
            sites[k] = -0.125f * (p[-2] + p[2]) + 0.25f * (p[-1] + p[1]) + 0.75f * p[0];
        });
    } else {
        ForEach(pairs, [=](int k) { sites[k] = pixels[2 * k]; });
    }
}

/// The output's values: chroma at its sites, luma and alpha of every pixel.
template <class From>
QZIL_INLINE void Transform(ConvertRow const& row, YccToYcc const& c, Planes& in, Planes& out) {
    int const pixels = row.iPixels, pairs = pixels / 2;
    float *const y = in.oY.At(), *cb = in.oCb.At(), *cr = in.oCr.At();
    float *const y2 = out.oY.At(), *const cb2 = out.oCb.At(), *const cr2 = out.oCr.At();
    Values spreadCb, spreadCr, gatheredCb, gatheredCr;
    if (c.oIn.bPairs && (c.bMatrix || !c.oOut.bPairs)) {
        Spread(cb, spreadCb.At(), pairs, c.bFilter);
        Spread(cr, spreadCr.At(), pairs, c.bFilter);
    }
    float const* const pixelCb = c.oIn.bPairs ? spreadCb.At() : cb;
    float const* const pixelCr = c.oIn.bPairs ? spreadCr.At() : cr;
    if (!c.oIn.bPairs && c.oOut.bPairs) {
        Gather(cb, gatheredCb.At(), pairs, c.bFilter);
        Gather(cr, gatheredCr.At(), pairs, c.bFilter);
        cb = gatheredCb.At();
        cr = gatheredCr.At();
    } else if (c.oIn.bPairs && !c.oOut.bPairs) {
        cb = spreadCb.At();
        cr = spreadCr.At();
    }
    float const *const siteCb = cb, *const siteCr = cr;
    int const sites = c.oOut.bPairs ? pairs : pixels;
    float const y0 = c.aY[0], yb = c.aY[1], yr = c.aY[2], yo = c.aY[3];
    float const b0 = c.aCb[0], b1 = c.aCb[1], b2 = c.aCb[2], r0 = c.aCr[0], r1 = c.aCr[1], r2 = c.aCr[2];
    if (c.bCopies) {
        ForEach(pixels, [=](int i) { y2[i] = y[i]; });
        ForEach(sites, [=](int i) {
            cb2[i] = siteCb[i];
            cr2[i] = siteCr[i];
        });
    } else if (c.bMatrix) {
        ForEach(pixels, [=](int i) { y2[i] = y[i] * y0 + pixelCb[i] * yb + pixelCr[i] * yr + yo; });
        ForEach(sites, [=](int i) {
            cb2[i] = siteCb[i] * b0 + siteCr[i] * b1 + b2;
            cr2[i] = siteCb[i] * r0 + siteCr[i] * r1 + r2;
        });
    } else {
        ForEach(pixels, [=](int i) { y2[i] = y[i] * y0 + yo; });
        ForEach(sites, [=](int i) {
            cb2[i] = siteCb[i] * b0 + b2;
            cr2[i] = siteCr[i] * r1 + r2;
        });
    }
}

template <class From>
QZIL_INLINE void ReadAlpha(ConvertRow const& row, YccToYcc const& c, float* alpha) {
    float const factor = c.fAlpha, full = c.fFullAlpha;
    int const place = c.oIn.iAlpha;
    auto const* const plane = In<From>(row.pAlphaIn);
    auto const* const in = In<From>(row.pIn);
    if (plane) {
        ForEach(row.iPixels, [=](int i) { alpha[i] = static_cast<float>(plane[i]) * factor; });
    } else if (place >= 0) {
        ForEach(row.iPixels, [=](int i) { alpha[i] = static_cast<float>(in[4 * i + place]) * factor; });
    } else {
        ForEach(row.iPixels, [=](int i) { alpha[i] = full; });
    }
}

template <class To>
QZIL_INLINE void WriteAlphaPlane(ConvertRow const& row, float const* alpha) {
    auto* const plane = Out<To>(row.pAlphaOut);
    if (plane) ForEach(row.iPixels, [=](int i) { Put(plane + i, alpha[i]); });
}

template <class From, class To>
void Convert(ConvertRow const& row, YccToYcc const& c) {
    Planes in, out;
    Values alphaValues;
    float* const alpha = alphaValues.At();
    bool const hasAlpha = row.pAlphaOut || c.oOut.iAlpha >= 0;
    if (hasAlpha) ReadAlpha<From>(row, c, alpha);
    if constexpr (sizeof(From) == sizeof(To)) {
        if (c.bCopies && c.oIn.bPairs && c.oOut.bPairs) {
            MovePairs<To>(row, c.oIn.iLuma != c.oOut.iLuma);
            WriteAlphaPlane<To>(row, alpha);
            return;
        }
    }
    Read<From>(row, c.oIn, in);
    Transform<From>(row, c, in, out);
    if (c.pErrors) {
        int const sites = c.oOut.bPairs ? row.iPixels / 2 : row.iPixels;
        int const skipped = c.oOut.bPairs ? 0 : row.iSkip;
        Diffuse(out.oY.At(), row.iSkip, row.iPixels, c.pErrors[0]);
        Diffuse(out.oCb.At(), skipped, sites, c.pErrors[1]);
        Diffuse(out.oCr.At(), skipped, sites, c.pErrors[2]);
        if (hasAlpha && (row.pAlphaIn || c.oIn.iAlpha >= 0)) Diffuse(alpha, row.iSkip, row.iPixels, c.pErrors[3]);
    }
    Write<To>(row, c.oOut, out, alpha);
    WriteAlphaPlane<To>(row, alpha);
}

template <class From, class To>
void ToKey(ConvertRow const& row, KeyLevels const& c) {
    auto const* const alpha = In<From>(row.pAlphaIn);
    auto* const to = Out<To>(row.pOut);
    float const scale = c.fScale, offset = c.fOffset, neutral = c.fNeutral;
    YccPlaces const at = c.oPlaces;
    ForEach(row.iPixels,
            [=](int i) { Put(to + i * at.iLumaStep + at.iLuma, static_cast<float>(alpha[i]) * scale + offset); });
    ForEach(row.iPixels / 2, [=](int i) {
        Put(to + 4 * i + at.iCb, neutral);
        Put(to + 4 * i + at.iCr, neutral);
    });
}

template <class From, class To>
void FromKey(ConvertRow const& row, KeyLevels const& c) {
    auto* const alpha = Out<To>(row.pAlphaOut);
    auto const* const in = In<From>(row.pIn);
    float const scale = c.fScale, offset = c.fOffset;
    YccPlaces const at = c.oPlaces;
    ForEach(row.iPixels,
            [=](int i) { Put(alpha + i, static_cast<float>(in[i * at.iLumaStep + at.iLuma]) * scale + offset); });
}

}  // namespace

YccLayoutRows const g_oYccLayoutRows{
    {{Convert<u8, u8>, Convert<u8, u16>, Convert<u8, s16>, Convert<u8, float>},
     {Convert<u16, u8>, Convert<u16, u16>, Convert<u16, s16>, Convert<u16, float>},
     {Convert<s16, u8>, Convert<s16, u16>, Convert<s16, s16>, Convert<s16, float>},
     {Convert<float, u8>, Convert<float, u16>, Convert<float, s16>, Convert<float, float>}},
    {{ToKey<u8, u8>, ToKey<u8, u16>, ToKey<u8, s16>, ToKey<u8, float>},
     {ToKey<u16, u8>, ToKey<u16, u16>, ToKey<u16, s16>, ToKey<u16, float>},
     {ToKey<s16, u8>, ToKey<s16, u16>, ToKey<s16, s16>, ToKey<s16, float>},
     {ToKey<float, u8>, ToKey<float, u16>, ToKey<float, s16>, ToKey<float, float>}},
    {{FromKey<u8, u8>, FromKey<u8, u16>, FromKey<u8, s16>, FromKey<u8, float>},
     {FromKey<u16, u8>, FromKey<u16, u16>, FromKey<u16, s16>, FromKey<u16, float>},
     {FromKey<s16, u8>, FromKey<s16, u16>, FromKey<s16, s16>, FromKey<s16, float>},
     {FromKey<float, u8>, FromKey<float, u16>, FromKey<float, s16>, FromKey<float, float>}},
};

QZIL_ROWS_END
