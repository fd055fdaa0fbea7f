#include "qzil/image/color_models.h"

#include "qzil/image/color.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <cmath>

namespace qzil {
namespace {

/// Video levels: RGB spans 219 of 255 steps above 16.
constexpr double kVideoFoot = 0.06274509803921569;
constexpr double kVideoScale = 0.8588235294117647;

Triple Same(Triple const& in) {
    return in;
}

Triple Transform(Triple const& in, double const (&m)[4][4]) {
    Triple out{};
    for (int i = 0; i < 3; ++i) out.c[i] = in.c[0] * m[0][i] + in.c[1] * m[1][i] + in.c[2] * m[2][i] + m[3][i];
    return out;
}

double Limit(double value) {
    return std::clamp(value, 0.0, 1.0);
}

Triple Complement(Triple const& in) {
    return {{1 - in.c[0], 1 - in.c[1], 1 - in.c[2]}};
}

double Luma(Triple const& rgb) {
    return 0.299 * rgb.c[0] + 0.587 * rgb.c[1] + 0.114 * rgb.c[2];
}

Triple RgbToYuv(Triple const& rgb) {
    auto const [r, g, b] = rgb.c;
    return {{Luma(rgb), (-0.147 * r - 0.289 * g + 0.436 * b + 0.436) * 1.146789,
             (0.615 * r - 0.515 * g - 0.1 * b + 0.615) * 0.813008}};
}

Triple YuvToRgb(Triple const& yuv) {
    double const y = yuv.c[0], u = 0.872 * yuv.c[1] - 0.436, v = 1.23 * yuv.c[2] - 0.615;
    return {{Limit(y + 1.14 * v), Limit(y - 0.395 * u - 0.581 * v), Limit(y + 2.032 * u)}};
}

Triple RgbToYiq(Triple const& rgb) {
    auto const [r, g, b] = rgb.c;
    return {{Luma(rgb), (0.596 * r - 0.274 * g - 0.322 * b + 0.596) * 0.8389262,
             (0.212 * r - 0.523 * g + 0.311 * b + 0.523) * 0.9560229}};
}

Triple YiqToRgb(Triple const& yiq) {
    double const y = yiq.c[0], i = 1.192 * yiq.c[1] - 0.596, q = 1.046 * yiq.c[2] - 0.523;
    return {{Limit(y + 0.956 * i + 0.621 * q), Limit(y - 0.272 * i - 0.647 * q), Limit(y - 1.109 * i + 1.704 * q)}};
}

/// Hue as a fraction of the circle, for a distance of the extremes above 0.
double Hue(Triple const& rgb, double max, double distance) {
    auto const [r, g, b] = rgb.c;
    double hue = r == max ? (g - b) / distance : g == max ? 2 + (b - r) / distance : 4 + (r - g) / distance;
    hue *= 60;
    if (hue < 0) hue += 360;
    return hue / 360;
}

Triple RgbToHsv(Triple const& rgb) {
    double const max = std::max({rgb.c[0], rgb.c[1], rgb.c[2]}), min = std::min({rgb.c[0], rgb.c[1], rgb.c[2]});
    double const saturation = max == 0 ? 0 : (max - min) / max;
    return {{saturation == 0 ? 0 : Hue(rgb, max, max - min), saturation, max}};
}

Triple RgbToHls(Triple const& rgb) {
    double const max = std::max({rgb.c[0], rgb.c[1], rgb.c[2]}), min = std::min({rgb.c[0], rgb.c[1], rgb.c[2]});
    double const lightness = (max + min) / 2, distance = max - min;
    if (distance == 0) return {{0, lightness, 0}};
    double const saturation = lightness <= 0.5 ? distance / (max + min) : distance / (2 - max - min);
    return {{Hue(rgb, max, distance), lightness, saturation}};
}

/// Red, green and blue of a sextant of the hue circle, from the largest and the smallest value and the two ramps.
Triple FromSextant(double hue, double high, double low, double rising, double falling) {
    double const turned = std::fmod(std::floor(hue * 6), 6.0);
    // What is no number has no sextant.
    switch (TruncateTo<int>(turned < 0 ? turned + 6 : turned, -1.0, 5.0)) {
        case 0: return {{high, rising, low}};
        case 1: return {{falling, high, low}};
        case 2: return {{low, high, rising}};
        case 3: return {{low, falling, high}};
        case 4: return {{rising, low, high}};
        case 5: return {{high, low, falling}};
        default: return {{0, 0, 0}};
    }
}

Triple HsvToRgb(Triple const& hsv) {
    auto const [h, s, v] = hsv.c;
    double const fraction = h * 6 - std::floor(h * 6);
    return FromSextant(h, v, v * (1 - s), v * (1 - s * (1 - fraction)), v * (1 - s * fraction));
}

Triple HlsToRgb(Triple const& hls) {
    auto const [h, l, s] = hls.c;
    double const m2 = l <= 0.5 ? l + s * l : l + s - s * l;
    if (m2 == 0) return {{0, 0, 0}};
    double const m1 = 2 * l - m2;
    double const step = (m2 - m1) * (h * 6 - std::floor(h * 6));
    return FromSextant(h, m2, m1, m1 + step, m2 - step);
}

Triple ToVideo(Triple const& in) {
    Triple out{};
    for (int i = 0; i < 3; ++i) out.c[i] = in.c[i] * kVideoScale + kVideoFoot;
    return out;
}

Triple FromVideo(Triple const& in) {
    Triple out{};
    for (int i = 0; i < 3; ++i) out.c[i] = (in.c[i] - kVideoFoot) / kVideoScale;
    return out;
}

template <auto const& kMatrix>
Triple By(Triple const& in) {
    return Transform(in, kMatrix);
}

struct Model {
    XFColorModel uModel;
    Triple (*pFromRgb)(Triple const& rgb);
    Triple (*pToRgb)(Triple const& in);
};
constexpr Model kModels[] = {
    {XFColorModelRGB, Same, Same},
    {XFColorModelHLS, RgbToHls, HlsToRgb},
    {XFColorModelHSV, RgbToHsv, HsvToRgb},
    {XFColorModelCMY, Complement, Complement},
    {XFColorModelYCC601, By<qzILColor::s_dfArrayRGBAtoYCCAOffset>, By<qzILColor::s_dfArrayYCCAOffsettoRGBA>},
    {XFColorModelYCC709, By<qzILColor::s_dfArrayRGBAtoYCCA709Offset>, By<qzILColor::s_dfArrayYCCA709OffsettoRGBA>},
    {XFColorModelYUV, RgbToYuv, YuvToRgb},
    {XFColorModelYIQ, RgbToYiq, YiqToRgb},
    {XFColorModelRGBVideo, ToVideo, FromVideo},
};

Model const* Find(XFColorModel model) {
    auto const found =
        std::find_if(std::begin(kModels), std::end(kModels), [model](Model const& m) { return m.uModel == model; });
    return found != std::end(kModels) ? found : nullptr;
}

}  // namespace

bool ToModel(Triple const& rgb, XFColorModel model, Triple& out) {
    Model const* const pModel = Find(model);
    if (pModel) out = pModel->pFromRgb(rgb);
    return pModel != nullptr;
}

bool FromModel(Triple const& in, XFColorModel model, Triple& rgb) {
    Model const* const pModel = Find(model);
    if (pModel) rgb = pModel->pToRgb(in);
    return pModel != nullptr;
}

}  // namespace qzil
