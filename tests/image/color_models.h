#pragma once

#include "qzil/image/color.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

/// The colour models as plain formulas, one for each direction.
namespace qzil::test {

using Triple = std::array<double, 3>;

struct ColorModel {
    char const* pName;
    XFColorModel uModel;
    void (qzILColor::*pGet)(double*, double*, double*, double*) const;
    void (qzILColor::*pSet)(double const*, double const*, double const*, double const*);
    Triple (*pFromRgb)(Triple const&);
    Triple (*pToRgb)(Triple const&);
    double dfRoundTrip;  ///< what a colour may lose on the way there and back
};

inline Triple Affine(Triple const& v, double const (&m)[4][4]) {
    Triple result{};
    for (int c = 0; c < 3; ++c) result[c] = v[0] * m[0][c] + v[1] * m[1][c] + v[2] * m[2][c] + m[3][c];
    return result;
}

inline Triple Clamped(Triple v) {
    for (double& x : v) x = std::clamp(x, 0.0, 1.0);
    return v;
}

inline Triple Cmy(Triple const& v) {
    return {1 - v[0], 1 - v[1], 1 - v[2]};
}

// Coefficients that have a test of their own.
inline Triple YccFromRgb(Triple const& v) {
    return Affine(v, qzILColor::s_dfArrayRGBAtoYCCAOffset);
}
inline Triple RgbFromYcc(Triple const& v) {
    return Affine(v, qzILColor::s_dfArrayYCCAOffsettoRGBA);
}
inline Triple Ycc709FromRgb(Triple const& v) {
    return Affine(v, qzILColor::s_dfArrayRGBAtoYCCA709Offset);
}
inline Triple RgbFromYcc709(Triple const& v) {
    return Affine(v, qzILColor::s_dfArrayYCCA709OffsettoRGBA);
}

inline double Luma(Triple const& v) {
    return 0.299 * v[0] + 0.587 * v[1] + 0.114 * v[2];
}
inline Triple YuvFromRgb(Triple const& v) {
    return {Luma(v), (-0.147 * v[0] - 0.289 * v[1] + 0.436 * v[2] + 0.436) * 1.146789,
            (0.615 * v[0] - 0.515 * v[1] - 0.1 * v[2] + 0.615) * 0.813008};
}
inline Triple RgbFromYuv(Triple const& v) {
    double const u = 0.872 * v[1] - 0.436;
    double const w = 1.23 * v[2] - 0.615;
    return Clamped({v[0] + 1.14 * w, v[0] - 0.395 * u - 0.581 * w, v[0] + 2.032 * u});
}
inline Triple YiqFromRgb(Triple const& v) {
    return {Luma(v), (0.596 * v[0] - 0.274 * v[1] - 0.322 * v[2] + 0.596) * 0.8389262,
            (0.212 * v[0] - 0.523 * v[1] + 0.311 * v[2] + 0.523) * 0.9560229};
}
inline Triple RgbFromYiq(Triple const& v) {
    double const i = 1.192 * v[1] - 0.596;
    double const q = 1.046 * v[2] - 0.523;
    return Clamped({v[0] + 0.956 * i + 0.621 * q, v[0] - 0.272 * i - 0.647 * q, v[0] - 1.109 * i + 1.704 * q});
}

inline double Hue(Triple const& v) {
    double const high = std::max({v[0], v[1], v[2]});
    double const d = high - std::min({v[0], v[1], v[2]});
    if (d == 0) return 0;
    double degrees = v[0] == high ? (v[1] - v[2]) / d : v[1] == high ? 2 + (v[2] - v[0]) / d : 4 + (v[0] - v[1]) / d;
    degrees *= 60;
    return (degrees < 0 ? degrees + 360 : degrees) / 360;
}
inline Triple HsvFromRgb(Triple const& v) {
    double const high = std::max({v[0], v[1], v[2]});
    double const low = std::min({v[0], v[1], v[2]});
    return {Hue(v), high == 0 ? 0 : (high - low) / high, high};
}
inline Triple HlsFromRgb(Triple const& v) {
    double const high = std::max({v[0], v[1], v[2]});
    double const low = std::min({v[0], v[1], v[2]});
    double const l = (high + low) / 2;
    double const d = high - low;
    return {Hue(v), l, d == 0 ? 0 : l <= 0.5 ? d / (high + low) : d / (2 - high - low)};
}
/// Piecewise linear walk round the hexagon: a channel is high for a third of the circle, low for a third.
inline Triple OnHexagon(double hue, double low, double high) {
    Triple rgb{};
    for (int c = 0; c < 3; ++c) {
        double const away = std::abs(std::remainder(hue - c / 3.0, 1.0)) * 6;  // 0 at the channel's own hue, 3 opposite
        rgb[c] = low + (high - low) * std::clamp(2 - away, 0.0, 1.0);
    }
    return rgb;
}
inline Triple RgbFromHsv(Triple const& v) {
    return OnHexagon(v[0], v[2] * (1 - v[1]), v[2]);
}
inline Triple RgbFromHls(Triple const& v) {
    double const m2 = v[1] <= 0.5 ? v[1] + v[2] * v[1] : v[1] + v[2] - v[2] * v[1];
    return OnHexagon(v[0], 2 * v[1] - m2, m2);
}

inline constexpr ColorModel kColorModels[] = {
    {"CMY", 16, &qzILColor::GetColorAsCMYA, &qzILColor::SetColorAsCMYA, Cmy, Cmy, 1e-12},
    {"YCC", 64, &qzILColor::GetColorAsYCCA, &qzILColor::SetColorAsYCCA, YccFromRgb, RgbFromYcc, 2e-5},
    {"YCC 709", 512, &qzILColor::GetColorAsYCCA709, &qzILColor::SetColorAsYCCA709, Ycc709FromRgb, RgbFromYcc709, 2e-5},
    {"YUV", 128, &qzILColor::GetColorAsYUVA, &qzILColor::SetColorAsYUVA, YuvFromRgb, RgbFromYuv, 0.004},
    {"YIQ", 256, &qzILColor::GetColorAsYIQA, &qzILColor::SetColorAsYIQA, YiqFromRgb, RgbFromYiq, 0.004},
    {"HSV", 8, &qzILColor::GetColorAsHSVA, &qzILColor::SetColorAsHSVA, HsvFromRgb, RgbFromHsv, 1e-9},
    {"HLS", 4, &qzILColor::GetColorAsHLSA, &qzILColor::SetColorAsHLSA, HlsFromRgb, RgbFromHls, 1e-9},
};

inline Triple GetTriple(qzILColor const& color, ColorModel const& model) {
    Triple v{};
    (color.*model.pGet)(&v[0], &v[1], &v[2], nullptr);
    return v;
}

inline void SetTriple(qzILColor& color, ColorModel const& model, Triple const& v) {
    (color.*model.pSet)(&v[0], &v[1], &v[2], nullptr);
}

/// Whether red, green and blue differ by no more than a tolerance.
inline bool IsNear(qzILColor const& a, qzILColor const& b, double tolerance) {
    return std::abs(a.GetRed() - b.GetRed()) <= tolerance && std::abs(a.GetGreen() - b.GetGreen()) <= tolerance &&
           std::abs(a.GetBlue() - b.GetBlue()) <= tolerance;
}

inline std::string DescribeColor(qzILColor const& color) {
    return std::to_string(color.GetRed()) + ' ' + std::to_string(color.GetGreen()) + ' ' +
           std::to_string(color.GetBlue()) + ' ' + std::to_string(color.GetAlpha());
}

}  // namespace qzil::test
