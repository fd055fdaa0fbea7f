#include "model/convert_blocks.h"
#include "model/convert_model.h"

namespace qzil::test::model {
namespace {

struct Weights {
    double dfRed, dfGreen, dfBlue;
};
Weights WeightsOf(GUID const& ycc) {
    return IsFormat709(ycc) ? Weights{0.2126, 0.7152, 0.0722} : Weights{0.299, 0.587, 0.114};
}

/// Ranges of Y and chroma of a YCC format, and the values of black and of no colour.
struct YccScale {
    double dfLuma, dfChroma, dfBlack, dfGrey;
};
YccScale YccScaleOf(GUID const& ycc) {
    static constexpr YccScale kScales[] = {
        {219, 224, 16, 128}, {56064, 57344, 4096, 32768}, {16384, 16384, 0, 0}, {1, 1, 0, 0}};
    return kScales[static_cast<int>(DepthOf(ycc))];
}

/// Places of Y0, Y1, Cb and Cr in the four samples of two pixels.
struct PairPlaces {
    int iY0, iY1, iCb, iCr;
};
PairPlaces PlacesOf(GUID const& ycc) {
    return IsFormatAlternateYUV(ycc) ? PairPlaces{1, 3, 0, 2} : PairPlaces{0, 2, 1, 3};
}

/// Red, green and blue at an even column with the columns around it, as far as the picture goes.
template <class Filter>
Pixel Filtered(LineJob const& line, int x, Filter filter) {
    if (!line.bFilter) return line.oIn.GetRgba(x, line.iInY);
    std::array<Pixel, 5> taps;
    for (int t = -2; t <= 2; ++t) {
        taps[static_cast<std::size_t>(t + 2)] = line.oIn.GetRgba(std::clamp(x + t, 0, line.oIn.Width() - 1), line.iInY);
    }
    Pixel result{};
    for (std::size_t c = 0; c < 3; ++c) result[c] = filter(taps[0][c], taps[1][c], taps[2][c], taps[3][c], taps[4][c]);
    return result;
}

/// Two pixels at a time: `luma` of each, `chroma` of the even one or of the filtered columns, for plane 1 and 2.
template <class Filter, class Luma, class Chroma>
void ToPairs(LineJob const& line, float alphaScale, Filter filter, Luma luma, Chroma chroma) {
    PairPlaces const places = PlacesOf(line.oOut.Format());
    for (int x = 0; x < line.iWidth - 1; x += 2) {
        int const inX = line.iInX + x, outX = line.iOutX + x, y = line.iOutY;
        Pixel const even = line.oIn.GetRgba(inX, line.iInY), odd = line.oIn.GetRgba(inX + 1, line.iInY);
        Pixel const f = Filtered(line, inX, filter);
        line.oOut.Put(outX, y, places.iY0, luma(even));
        line.oOut.Put(outX, y, places.iY1, luma(odd));
        line.oOut.Put(outX, y, places.iCb, chroma(f, 1));
        line.oOut.Put(outX, y, places.iCr, chroma(f, 2));
        if (!IsFormatWithSeparateAlpha(line.oOut.Format())) continue;
        line.oOut.PutPlane(outX, y, even[3] * alphaScale);
        line.oOut.PutPlane(outX + 1, y, odd[3] * alphaScale);
    }
}

void ByteToYccLine(LineJob const& line) {
    GUID const& out = line.oOut.Format();
    ByteToYcc const& k = kByteToYcc[IsFormat709(out)][IsFormatVideoLevels(line.oIn.Format())];
    i64 carried[3] = {};
    for (i64& carry : carried) {
        if (line.bDither) carry = static_cast<i64>(line.oDraws.Uniform() * 65536.0f);
    }
    // The carried part takes the place of the half that rounds.
    auto const sum = [&](Pixel const& p, i64 const(&row)[3], i64 offset, i64& carry) {
        i64 const dot = Dot(row, static_cast<i64>(p[0]), static_cast<i64>(p[1]), static_cast<i64>(p[2]));
        i64 const acc = dot + offset + (line.bDither ? carry : 32768);
        carry = acc & 0xffff;
        return static_cast<float>(acc >> 16);
    };
    auto const filter = [](float a, float b, float c, float d, float e) {
        return static_cast<float>(static_cast<i64>(-a + 2 * b + 6 * c + 2 * d - e + 4) >> 3);
    };
    ToPairs(
        line, 1.0f, filter, [&](Pixel const& p) { return sum(p, k.piY, k.iLuma, carried[0]); },
        [&](Pixel const& p, int plane) { return sum(p, plane == 1 ? k.piCb : k.piCr, kGrey, carried[plane]); });
}

struct RealToYcc {
    float pfY[4], pfCb[3], pfCr[3], fGrey, fAlpha;
};
RealToYcc RealToYccOf(GUID const& in, GUID const& out) {
    auto const [r, g, b] = WeightsOf(out);
    YccScale const to = YccScaleOf(out);
    bool const video = IsFormatVideoLevels(in);
    double const full = static_cast<double>(FullOf(in)), colour = video ? 219.0 : full;
    double const y = to.dfLuma / colour, c = to.dfChroma / colour;
    Depth const depth = DepthOf(out);
    double const videoBlack = depth == Depth::Fixed ? -1197.0 : depth == Depth::Real ? -16.0 / 219.0 : 0.0;
    auto const f = [](double v) { return static_cast<float>(v); };
    return {{f(y * r), f(y * g), f(y * b), f(video ? videoBlack : to.dfBlack)},
            {f(c * (-r / (2 * (1 - b)))), f(c * (-g / (2 * (1 - b)))), f(c * 0.5)},
            {f(c * 0.5), f(c * (-g / (2 * (1 - r)))), f(c * (-b / (2 * (1 - r))))},
            f(to.dfGrey),
            f(static_cast<double>(FullOf(out)) / full)};
}

float Sum(Pixel const& p, float const* row, float offset) {
    return p[0] * row[0] + p[1] * row[1] + p[2] * row[2] + offset;
}

void RealToYccLine(LineJob const& line) {
    RealToYcc const k = RealToYccOf(line.oIn.Format(), line.oOut.Format());
    auto const filter = [](float a, float b, float c, float d, float e) {
        return -0.125f * (a + e) + 0.25f * (b + d) + 0.75f * c;
    };
    ToPairs(
        line, k.fAlpha, filter, [&k](Pixel const& p) { return Sum(p, k.pfY, k.pfY[3]); },
        [&k](Pixel const& p, int plane) { return Sum(p, plane == 1 ? k.pfCb : k.pfCr, k.fGrey); });
}

void To4444Line(LineJob const& line) {
    RealToYcc const k = RealToYccOf(line.oIn.Format(), line.oOut.Format());
    for (int x = 0; x < line.iWidth; ++x) {
        Pixel const p = line.oIn.GetRgba(line.iInX + x, line.iInY);
        float const samples[] = {Sum(p, k.pfCb, k.fGrey), Sum(p, k.pfY, k.pfY[3]), Sum(p, k.pfCr, k.fGrey),
                                 p[3] * k.fAlpha};
        for (int c = 0; c < 4; ++c) line.oOut.Put(line.iOutX + x, line.iOutY, c, samples[c]);
    }
}

struct RealFromYcc {
    float fLuma, fCrRed, fRed, fCbGreen, fCrGreen, fGreen, fCbBlue, fBlue, fAlpha;
};
RealFromYcc RealFromYccOf(GUID const& in, GUID const& out) {
    auto const [r, g, b] = WeightsOf(in);
    YccScale const from = YccScaleOf(in);
    bool const video = IsFormatVideoLevels(out);
    double const full = static_cast<double>(FullOf(out));
    double const gain = video ? 219.0 : full, offset = video ? 16.0 : 0.0;
    double const y = gain / from.dfLuma, c = gain / from.dfChroma;
    double const crRed = c * 2 * (1 - r), cbBlue = c * 2 * (1 - b);
    double const cbGreen = -c * (2 * b * (1 - b) / g), crGreen = -c * (2 * r * (1 - r) / g);
    double const black = offset - y * from.dfBlack;
    auto const f = [](double v) { return static_cast<float>(v); };
    return {f(y),
            f(crRed),
            f(black - crRed * from.dfGrey),
            f(cbGreen),
            f(crGreen),
            f(black - (cbGreen + crGreen) * from.dfGrey),
            f(cbBlue),
            f(black - cbBlue * from.dfGrey),
            f(full / static_cast<double>(FullOf(in)))};
}

/// A source of shared chroma, read at one column.
struct YccPixel {
    float fY, fCb, fCr, fAlpha;
};

/// The chroma of a column's own pair, or for odd columns with filtering the mean with the next pair, as long as that
/// one lies within the region with both its pixels.
YccPixel ReadYcc(LineJob const& line, int x, bool roundMean) {
    Samples const& in = line.oIn;
    PairPlaces const places = PlacesOf(in.Format());
    int const pair = x & ~1, y = line.iInY;
    YccPixel p{in.Get(pair, y, x % 2 ? places.iY1 : places.iY0), in.Get(pair, y, places.iCb),
               in.Get(pair, y, places.iCr), FullOf(in.Format())};
    if (IsFormatWithSeparateAlpha(in.Format())) p.fAlpha = in.GetPlane(x, y);
    if (!line.bFilter || x % 2 == 0 || pair + 3 >= line.iInX + line.iWidth) return p;
    auto const mean = [&](float a, float b) { return roundMean ? std::floor((a + b + 1) * 0.5f) : (a + b) * 0.5f; };
    p.fCb = mean(p.fCb, in.Get(pair + 2, y, places.iCb));
    p.fCr = mean(p.fCr, in.Get(pair + 2, y, places.iCr));
    return p;
}

Pixel ByteFromYccPixel(YccPixel const& p, ByteFromYcc const& k) {
    auto const y = static_cast<i64>(p.fY), cb = static_cast<i64>(p.fCb), cr = static_cast<i64>(p.fCr);
    return {static_cast<float>(RedOf(k, y, cb, cr)), static_cast<float>(GreenOf(k, y, cb, cr)),
            static_cast<float>(BlueOf(k, y, cb, cr)), p.fAlpha};
}

Pixel RealFromYccPixel(YccPixel const& p, RealFromYcc const& k, bool alphaPlane, float full) {
    float const y = p.fY * k.fLuma;
    return {p.fCr * k.fCrRed + y + k.fRed, p.fCb * k.fCbGreen + p.fCr * k.fCrGreen + y + k.fGreen,
            p.fCb * k.fCbBlue + y + k.fBlue, alphaPlane ? p.fAlpha * k.fAlpha : full};
}

/// The value with its carried error, rounded; the unclamped value less that is carried on.
float DiffuseRounded(float value, float& carried) {
    float const v = value + carried;
    float const rounded = std::trunc(v) + (std::fabs(v - std::trunc(v)) >= 0.5f ? std::copysign(1.0f, v) : 0.0f);
    carried = v - rounded;
    return rounded;
}

}  // namespace

void ToYccLine(LineJob const& line) {
    GUID const& out = line.oOut.Format();
    if (IsFormatYCCA4444(out)) return To4444Line(line);
    bool const bytes = DepthOf(line.oIn.Format()) == Depth::Byte && DepthOf(out) == Depth::Byte;
    bytes ? ByteToYccLine(line) : RealToYccLine(line);
}

void FromYccLine(LineJob const& line) {
    GUID const &in = line.oIn.Format(), &out = line.oOut.Format();
    bool const bytes = DepthOf(in) == Depth::Byte && DepthOf(out) == Depth::Byte;
    bool const dither = line.bDither && !bytes && DepthOf(out) == Depth::Byte;
    bool const alphaPlane = IsFormatWithSeparateAlpha(in);
    RealFromYcc const real = RealFromYccOf(in, out);
    ByteFromYcc const& integer = kByteFromYcc[IsFormat709(in)][IsFormatVideoLevels(out)];
    Pixel errors{};
    for (float& error : errors) {
        if (dither) error = line.oDraws.Uniform() - 0.5f;
    }
    for (int i = 0; i < (line.iWidth & ~1); ++i) {
        int const x = line.iInX + i;
        if ((x | 1) >= line.oIn.Width()) continue;  // half a pair: its second chroma sample is not there
        YccPixel const p = ReadYcc(line, x, bytes);
        Pixel pixel = bytes ? ByteFromYccPixel(p, integer) : RealFromYccPixel(p, real, alphaPlane, FullOf(out));
        for (std::size_t c = 0; dither && c < (alphaPlane ? 4u : 3u); ++c)
            pixel[c] = DiffuseRounded(pixel[c], errors[c]);
        line.oOut.PutRgba(line.iOutX + i, line.iOutY, pixel);
    }
}

}  // namespace qzil::test::model
