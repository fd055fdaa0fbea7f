#pragma once

#include "qzil/image/color.h"

#include <array>
#include <cmath>
#include <string>

/// The colour models with a pair of functions each.
namespace qzil::test {

using Triple = std::array<double, 3>;

struct ColorModel {
    char const* pName;
    XFColorModel uModel;
    void (qzILColor::*pGet)(double*, double*, double*, double*) const;
    void (qzILColor::*pSet)(double const*, double const*, double const*, double const*);
    double dfRoundTrip;  ///< what a colour may lose on the way there and back: coefficients of three to nine places
};

inline constexpr ColorModel kColorModels[] = {
    {"CMY", 16, &qzILColor::GetColorAsCMYA, &qzILColor::SetColorAsCMYA, 1e-12},
    {"YCC", 64, &qzILColor::GetColorAsYCCA, &qzILColor::SetColorAsYCCA, 2e-5},
    {"YCC 709", 512, &qzILColor::GetColorAsYCCA709, &qzILColor::SetColorAsYCCA709, 2e-5},
    {"YUV", 128, &qzILColor::GetColorAsYUVA, &qzILColor::SetColorAsYUVA, 0.004},
    {"YIQ", 256, &qzILColor::GetColorAsYIQA, &qzILColor::SetColorAsYIQA, 0.004},
    {"HSV", 8, &qzILColor::GetColorAsHSVA, &qzILColor::SetColorAsHSVA, 1e-9},
    {"HLS", 4, &qzILColor::GetColorAsHLSA, &qzILColor::SetColorAsHLSA, 1e-9},
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
