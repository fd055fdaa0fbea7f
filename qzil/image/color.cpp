#include "qzil/image/color.h"

#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace qzil;

// clang-format off
constexpr double qzILColor::s_dfArrayYCCAtoRGBA[4][4] = {
    {1, 1, 1, 0},
    {0, -0.34414, 1.772, 0},
    {1.402, -0.71414, 0, 0},
    {0, 0, 0, 1},
};
constexpr double qzILColor::s_dfArrayYCCAOffsettoRGBA[4][4] = {
    {1.16438356, 1.16438356, 1.16438356, 0},
    {0, -0.39176652, 2.01723214, 0},
    {1.59602679, -0.81297187, 0, 0},
    {-0.87420222, 0.53167207, -1.08563079, 1},
};
constexpr double qzILColor::s_dfArrayYCCAOffsettoRGBAOffset[4][4] = {
    {1, 1, 1, 0},
    {0, -0.336454672, 1.73244642, 0},
    {1.37070536, -0.698195741, 0, 0},
    {-0.688040334, 0.519353934, -0.869620168, 1},
};
constexpr double qzILColor::s_dfArrayRGBAtoYCCA[4][4] = {
    {0.299, -0.16874, 0.5, 0},
    {0.587, -0.33126, -0.41869, 0},
    {0.114, 0.5, -0.08131, 0},
    {0, 0, 0, 1},
};
constexpr double qzILColor::s_dfArrayRGBAtoYCCAOffset[4][4] = {
    {0.25678824, -0.14822651, 0.43921569, 0},
    {0.50412941, -0.29098918, -0.36779043, 0},
    {0.09790588, 0.43921569, -0.07142525, 0},
    {0.0627451, 0.50196078, 0.50196078, 1},
};
constexpr double qzILColor::s_dfArrayRGBAOffsettoYCCAOffset[4][4] = {
    {0.299, -0.172588309, 0.511415524, 0},
    {0.587, -0.338827215, -0.428246665, 0},
    {0.114, 0.511415525, -0.0831688582, 0},
    {0, 0.501960784, 0.501960784, 1},
};
constexpr double qzILColor::s_dfArrayYCCA709toRGBA[4][4] = {
    {1, 1, 1, 0},
    {0, -0.18732427, 1.8556, 0},
    {1.5748, -0.46812427, 0, 0},
    {0, 0, 0, 1},
};
constexpr double qzILColor::s_dfArrayYCCA709OffsettoRGBA[4][4] = {
    {1.16438356, 1.16438356, 1.16438357, 0},
    {0, -0.21324861, 2.11240179, 0},
    {1.79274107, -0.53290933, 0, 0},
    {-0.97294508, 0.30148267, -1.13340222, 1},
};
constexpr double qzILColor::s_dfArrayYCCA709OffsettoRGBAOffset[4][4] = {
    {1, 1, 1, 0},
    {0, -0.183142928, 1.81418036, 0},
    {1.53964822, -0.457675069, 0, 0},
    {-0.772843023, 0.321665504, -0.910647394, 1},
};
constexpr double qzILColor::s_dfArrayRGBAtoYCCA709[4][4] = {
    {0.2126, -0.11457211, 0.5, 0},
    {0.7152, -0.3854279, -0.4541529, 0},
    {0.0722, 0.5, -0.04584709, 0},
    {0, 0, 0, 1},
};
constexpr double qzILColor::s_dfArrayRGBAtoYCCA709Offset[4][4] = {
    {0.18258588, -0.10064373, 0.43921569, 0},
    {0.61423059, -0.33857196, -0.39894216, 0},
    {0.06200706, 0.43921569, -0.04027352, 0},
    {0.0627451, 0.50196078, 0.50196078, 1},
};
constexpr double qzILColor::s_dfArrayRGBAOffsettoYCCA709Offset[4][4] = {
    {0.2126, -0.117187908, 0.511415525, 0},
    {0.7152, -0.394227619, -0.464521696, 0},
    {0.0722, 0.511415525, -0.0468938289, 0},
    {0, 0.501960784, 0.501960784, 1},
};
constexpr double qzILColor::s_dfArrayYCCA601toYCCA709[4][4] = {
    {1, 0, 0, 0},
    {-0.11818787, 1.01863973, 0.07504945, 0},
    {-0.21268508, 0.11461796, 1.02532707, 0},
    {0, 0, 0, 1},
};
constexpr double qzILColor::s_dfArrayYCCA601OffsettoYCCA709Offset[4][4] = {
    {1.00000001, 0, 0, 0},
    {-0.11554975, 1.01863973, 0.07504945, 0},
    {-0.20793764, 0.11461795, 1.02532708, 0},
    {0.16237798, -0.06689013, -0.05038508, 1},
};
constexpr double qzILColor::s_dfArrayYCCA709toYCCA601[4][4] = {
    {1, 0, 0, 0},
    {0.10157905, 0.98985381, -0.07245296, 0},
    {0.19607625, -0.11065251, 0.98339782, 0},
    {0, 0, 0, 1},
};
constexpr double qzILColor::s_dfArrayYCCA709OffsettoYCCA601Offset[4][4] = {
    {1, 0, 0, 0},
    {0.09931166, 0.98985381, -0.07245296, 0},
    {0.19169955, -0.11065251, 0.98339782, 0},
    {-0.14607622, 0.06063621, 0.04470218, 1},
};
// clang-format on

namespace {

struct Triple {
    double c[3];
};

/// Video levels: luma and RGB span 219 of 255 steps above 16, chroma 224 steps.
constexpr double kFoot = 16.0 / 255.0;
constexpr double kVideoFoot = 0.06274509803921569;
constexpr double kVideoScale = 0.8588235294117647;
constexpr double kLumaGain = 1.1643835616438356;
constexpr double kChromaGain = 1.1383928571428572;
constexpr double kChromaCenter = 128.0 / 255.0;

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
    switch (static_cast<int>(TruncateTo<int>(std::floor(hue * 6), -1.0, 7.0))) {
        case 0:
        case 6: return {{high, rising, low}};
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

/// Components of an RGB colour in a model; false for a model that has no three-component form here.
bool ToModel(Triple const& rgb, XFColorModel model, Triple& out) {
    switch (model) {
        case XFColorModelRGB: out = rgb; return true;
        case XFColorModelHLS: out = RgbToHls(rgb); return true;
        case XFColorModelHSV: out = RgbToHsv(rgb); return true;
        case XFColorModelCMY: out = Complement(rgb); return true;
        case XFColorModelYCC601: out = Transform(rgb, qzILColor::s_dfArrayRGBAtoYCCAOffset); return true;
        case XFColorModelYCC709: out = Transform(rgb, qzILColor::s_dfArrayRGBAtoYCCA709Offset); return true;
        case XFColorModelYUV: out = RgbToYuv(rgb); return true;
        case XFColorModelYIQ: out = RgbToYiq(rgb); return true;
        case XFColorModelRGBVideo: out = ToVideo(rgb); return true;
        default: return false;
    }
}

bool FromModel(Triple const& in, XFColorModel model, Triple& rgb) {
    switch (model) {
        case XFColorModelRGB: rgb = in; return true;
        case XFColorModelHLS: rgb = HlsToRgb(in); return true;
        case XFColorModelHSV: rgb = HsvToRgb(in); return true;
        case XFColorModelCMY: rgb = Complement(in); return true;
        case XFColorModelYCC601: rgb = Transform(in, qzILColor::s_dfArrayYCCAOffsettoRGBA); return true;
        case XFColorModelYCC709: rgb = Transform(in, qzILColor::s_dfArrayYCCA709OffsettoRGBA); return true;
        case XFColorModelYUV: rgb = YuvToRgb(in); return true;
        case XFColorModelYIQ: rgb = YiqToRgb(in); return true;
        case XFColorModelRGBVideo: rgb = FromVideo(in); return true;
        default: return false;
    }
}

bool IsYcc(XFColorModel model) {
    return model == XFColorModelYCC601 || model == XFColorModelYCC709;
}

/// Gives out what is asked for.
template <class... Out>
void Give(Triple const& from, double alpha, double* outAlpha, Out*... out) {
    int i = 0;
    ((out ? void(*out = from.c[i]) : void(), ++i), ...);
    if (outAlpha) *outAlpha = alpha;
}

/// Sets a colour in a model from the components given, keeping the others.
void Replace(qzILColor& color, XFColorModel model, double const* c0, double const* c1, double const* c2,
             double const* alpha) {
    Triple rgb{{color.GetRed(), color.GetGreen(), color.GetBlue()}};
    Triple components{};
    ToModel(rgb, model, components);
    double const* const given[3] = {c0, c1, c2};
    for (int i = 0; i < 3; ++i) {
        if (given[i]) components.c[i] = *given[i];
    }
    FromModel(components, model, rgb);
    color = qzILColor(rgb.c[0], rgb.c[1], rgb.c[2], alpha ? *alpha : color.GetAlpha());
}

Triple Rgb(qzILColor const& color) {
    return {{color.GetRed(), color.GetGreen(), color.GetBlue()}};
}

Triple InModel(qzILColor const& color, XFColorModel model) {
    Triple out{};
    ToModel(Rgb(color), model, out);
    return out;
}

/// Rounded half away from zero; the low bits are what is stored.
template <class T>
T LowBits(double value) {
    return static_cast<T>(static_cast<std::uint32_t>(RoundHalfAway(value)));
}

template <class T>
int GetAsInteger(qzILColor const& color, XFColorModel model, double scale, void* out) {
    if (!out) return 0;
    T values[4] = {};
    Triple components{};
    bool const served = ToModel(Rgb(color), model, components);
    if (served) {
        for (int i = 0; i < 3; ++i) values[i] = LowBits<T>(components.c[i] * scale);
        values[3] = LowBits<T>(color.GetAlpha() * scale);
    }
    std::memcpy(out, values, sizeof values);
    return served;
}

template <class T>
int SetFromInteger(qzILColor& color, XFColorModel model, double scale, void const* in) {
    if (!in) return 0;
    T values[4];
    std::memcpy(values, in, sizeof values);
    Triple const components{{values[0] / scale, values[1] / scale, values[2] / scale}};
    Triple rgb{};
    if (!FromModel(components, model, rgb)) return 0;
    color = qzILColor(rgb.c[0], rgb.c[1], rgb.c[2], values[3] / scale);
    return 1;
}

template <class T, class Convert>
int GetAsMono(XFColorModel model, void* out, Convert convert) {
    if (!out) return 0;
    T const value = model == XFColorModelMono ? convert() : T{};
    std::memcpy(out, &value, sizeof value);
    return model == XFColorModelMono;
}

template <class T>
int SetFromMono(qzILColor& color, XFColorModel model, double scale, void const* in) {
    if (!in || model != XFColorModelMono) return 0;
    T value;
    std::memcpy(&value, in, sizeof value);
    double const grey = value / scale;
    color = qzILColor(grey, grey, grey, color.GetAlpha());
    return 1;
}

/// Components in a model as the float form has them: YCC at full range with chroma around 0.
bool ToFloatForm(qzILColor const& color, XFColorModel model, float (&out)[4]) {
    Triple components{};
    if (!ToModel(Rgb(color), model, components)) return false;
    if (IsYcc(model)) {
        components.c[0] = (components.c[0] - kFoot) * kLumaGain;
        components.c[1] = (components.c[1] - kChromaCenter) * kChromaGain;
        components.c[2] = (components.c[2] - kChromaCenter) * kChromaGain;
    }
    for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(components.c[i]);
    out[3] = static_cast<float>(color.GetAlpha());
    return true;
}

bool FromFloatForm(double const (&in)[4], XFColorModel model, qzILColor& color) {
    Triple components{{in[0], in[1], in[2]}};
    if (IsYcc(model)) {
        components.c[0] = components.c[0] / kLumaGain + kFoot;
        components.c[1] = components.c[1] / kChromaGain + kChromaCenter;
        components.c[2] = components.c[2] / kChromaGain + kChromaCenter;
    }
    Triple rgb{};
    if (!FromModel(components, model, rgb)) return false;
    color = qzILColor(rgb.c[0], rgb.c[1], rgb.c[2], in[3]);
    return true;
}

}  // namespace

void qzILColor::GetColorAsRGBA(double* red, double* green, double* blue, double* alpha) const {
    Give(Rgb(*this), m_dfAlpha, alpha, red, green, blue);
}
void qzILColor::SetColorAsRGBA(double const* red, double const* green, double const* blue, double const* alpha) {
    Replace(*this, XFColorModelRGB, red, green, blue, alpha);
}
void qzILColor::GetColorAsCMYA(double* c, double* m, double* y, double* alpha) const {
    Give(InModel(*this, XFColorModelCMY), m_dfAlpha, alpha, c, m, y);
}
void qzILColor::SetColorAsCMYA(double const* c, double const* m, double const* y, double const* alpha) {
    Replace(*this, XFColorModelCMY, c, m, y, alpha);
}
void qzILColor::GetColorAsCMYKA(double* c, double* m, double* y, double* k, double* alpha) const {
    double const max = std::max({m_dfRed, m_dfGreen, m_dfBlue});
    Give({{1 - m_dfRed / max, 1 - m_dfGreen / max, 1 - m_dfBlue / max}}, m_dfAlpha, alpha, c, m, y);
    if (k) *k = 1 - max;
}
void qzILColor::SetColorAsCMYKA(double const* c, double const* m, double const* y, double const* k,
                                double const* alpha) {
    double cyan = 0, magenta = 0, yellow = 0, black = 0;
    GetColorAsCMYKA(&cyan, &magenta, &yellow, &black);
    double const white = 1 - (k ? *k : black);
    *this = qzILColor((1 - (c ? *c : cyan)) * white, (1 - (m ? *m : magenta)) * white, (1 - (y ? *y : yellow)) * white,
                      alpha ? *alpha : m_dfAlpha);
}
void qzILColor::GetColorAsYCCA(double* y, double* cb, double* cr, double* alpha) const {
    Give(InModel(*this, XFColorModelYCC601), m_dfAlpha, alpha, y, cb, cr);
}
void qzILColor::SetColorAsYCCA(double const* y, double const* cb, double const* cr, double const* alpha) {
    Replace(*this, XFColorModelYCC601, y, cb, cr, alpha);
}
void qzILColor::GetColorAsYCCA709(double* y, double* cb, double* cr, double* alpha) const {
    Give(InModel(*this, XFColorModelYCC709), m_dfAlpha, alpha, y, cb, cr);
}
void qzILColor::SetColorAsYCCA709(double const* y, double const* cb, double const* cr, double const* alpha) {
    Replace(*this, XFColorModelYCC709, y, cb, cr, alpha);
}
void qzILColor::GetColorAsYUVA(double* y, double* u, double* v, double* alpha) const {
    Give(InModel(*this, XFColorModelYUV), m_dfAlpha, alpha, y, u, v);
}
void qzILColor::SetColorAsYUVA(double const* y, double const* u, double const* v, double const* alpha) {
    Replace(*this, XFColorModelYUV, y, u, v, alpha);
}
void qzILColor::GetColorAsYIQA(double* y, double* i, double* q, double* alpha) const {
    Give(InModel(*this, XFColorModelYIQ), m_dfAlpha, alpha, y, i, q);
}
void qzILColor::SetColorAsYIQA(double const* y, double const* i, double const* q, double const* alpha) {
    Replace(*this, XFColorModelYIQ, y, i, q, alpha);
}
void qzILColor::GetColorAsHSVA(double* h, double* s, double* v, double* alpha) const {
    Give(InModel(*this, XFColorModelHSV), m_dfAlpha, alpha, h, s, v);
}
void qzILColor::SetColorAsHSVA(double const* h, double const* s, double const* v, double const* alpha) {
    Replace(*this, XFColorModelHSV, h, s, v, alpha);
}
void qzILColor::GetColorAsHLSA(double* h, double* l, double* s, double* alpha) const {
    Give(InModel(*this, XFColorModelHLS), m_dfAlpha, alpha, h, l, s);
}
void qzILColor::SetColorAsHLSA(double const* h, double const* l, double const* s, double const* alpha) {
    Replace(*this, XFColorModelHLS, h, l, s, alpha);
}

int qzILColor::GetColorAs8(void* out, XFColorModel model) const {
    return GetAsMono<std::uint8_t>(model, out, [this] { return LowBits<std::uint8_t>(m_dfRed * 255.0); });
}
int qzILColor::SetColorAs8(void const* in, XFColorModel model) {
    return SetFromMono<std::uint8_t>(*this, model, 255.0, in);
}
int qzILColor::GetColorAs16(void* out, XFColorModel model) const {
    return GetAsMono<std::uint16_t>(model, out, [this] { return LowBits<std::uint16_t>(m_dfRed * 65535.0); });
}
int qzILColor::SetColorAs16(void const* in, XFColorModel model) {
    return SetFromMono<std::uint16_t>(*this, model, 65535.0, in);
}
int qzILColor::GetColorAs24(void* out, XFColorModel model) const {
    int const served = GetColorAs32(out, model);
    if (served) static_cast<unsigned char*>(out)[3] = 255;
    return served;
}
int qzILColor::SetColorAs24(void const* in, XFColorModel model) {
    return SetColorAs32(in, model);
}
int qzILColor::GetColorAs32(void* out, XFColorModel model) const {
    return GetAsInteger<std::uint8_t>(*this, model, 255.0, out);
}
int qzILColor::SetColorAs32(void const* in, XFColorModel model) {
    return SetFromInteger<std::uint8_t>(*this, model, 255.0, in);
}
int qzILColor::GetColorAs64(void* out, XFColorModel model) const {
    return GetAsInteger<std::uint16_t>(*this, model, 65535.0, out);
}
int qzILColor::SetColorAs64(void const* in, XFColorModel model) {
    return SetFromInteger<std::uint16_t>(*this, model, 65535.0, in);
}

int qzILColor::GetColorAs10_6(void* out, XFColorModel model) const {
    if (!out) return 0;
    std::uint16_t values[4] = {};
    if (IsYcc(model)) {
        auto const store = [](double value) { return TruncateTo<std::uint16_t>(value + 0.5, 0.0, 65535.0); };
        auto const [y, cb, cr] = InModel(*this, model).c;
        values[0] = store(((y * 255 - 16) / 219 * 876 + 64) * 64);
        values[1] = store(((cb * 255 - 16) / 224 * 896 + 64) * 64);
        values[2] = store(((cr * 255 - 16) / 224 * 896 + 64) * 64);
        values[3] = store(m_dfAlpha * 65535);
    }
    std::memcpy(out, values, sizeof values);
    return IsYcc(model);
}
int qzILColor::SetColorAs10_6(void const* in, XFColorModel model) {
    if (!in || !IsYcc(model)) return 0;
    std::uint16_t values[4];
    std::memcpy(values, in, sizeof values);
    auto const read = [](double value, double steps, double wideSteps) {
        return ((value / 64 - 64) / wideSteps * steps + 16) / 255;
    };
    Triple rgb{};
    FromModel({{read(values[0], 219, 876), read(values[1], 224, 896), read(values[2], 224, 896)}}, model, rgb);
    *this = qzILColor(rgb.c[0], rgb.c[1], rgb.c[2], values[3] / 65535.0);
    return 1;
}

int qzILColor::GetColorAsS2_14(void* out, XFColorModel model) const {
    if (!out) return 0;
    float form[4] = {};
    bool const served = ToFloatForm(*this, model, form);
    std::int16_t values[4] = {};
    for (int i = 0; i < 4; ++i) values[i] = ClampS16(RoundHalfAway(form[i] * 16384.0));
    std::memcpy(out, values, sizeof values);
    return served;
}
int qzILColor::SetColorAsS2_14(void const* in, XFColorModel model) {
    if (!in) return 0;
    std::int16_t values[4];
    std::memcpy(values, in, sizeof values);
    return FromFloatForm({values[0] / 16384.0, values[1] / 16384.0, values[2] / 16384.0, values[3] / 16384.0}, model,
                         *this);
}
int qzILColor::GetColorAsMonoS2_14(void* out, XFColorModel model) const {
    return GetAsMono<std::int16_t>(model, out, [this] { return LowBits<std::int16_t>(m_dfRed * 16384.0); });
}
int qzILColor::SetColorAsMonoS2_14(void const* in, XFColorModel model) {
    return SetFromMono<std::int16_t>(*this, model, 16384.0, in);
}

int qzILColor::GetColorAsFloat(void* out, XFColorModel model) const {
    if (!out) return 0;
    float values[4] = {};
    bool const served = ToFloatForm(*this, model, values);
    std::memcpy(out, values, sizeof values);
    return served;
}
int qzILColor::SetColorAsFloat(void const* in, XFColorModel model) {
    if (!in) return 0;
    float values[4];
    std::memcpy(values, in, sizeof values);
    return FromFloatForm({values[0], values[1], values[2], values[3]}, model, *this);
}
int qzILColor::GetColorAsMonoFloat(void* out, XFColorModel model) const {
    return GetAsMono<float>(model, out, [this] { return static_cast<float>(m_dfRed); });
}
int qzILColor::SetColorAsMonoFloat(void const* in, XFColorModel model) {
    return SetFromMono<float>(*this, model, 1.0, in);
}

void qzILGetColorAsType(qzILColor const& color, GUID const& format, void* out) {
    if (!out) return;
    XFColorModel const model = GetColorModelFromFormat(format);
    XFChannelType const type = GetChannelTypeFromFormat(format);
    bool const video = (IsFormat601(format) || IsFormat709(format)) && type != XFChannelTypeUnknown;
    auto const is = [&format](auto const&... formats) { return ((format == formats) || ...); };

    if (is(MFIF_MONO_RAW_8, MFIF_MONO_RAW_8_TD)) {
        color.GetColorAs8(out, model);
    } else if (is(MFIF_MONO_RAW_16, MFIF_MONO_RAW_16_TD)) {
        color.GetColorAs16(out, model);
    } else if (is(MFIF_MONO_S2_14)) {
        color.GetColorAsMonoS2_14(out, model);
    } else if (is(MFIF_MONO_FLOAT, MFIF_MONO_FLOAT_BU)) {
        color.GetColorAsMonoFloat(out, model);
    } else if (is(MFIF_RGBA_RAW_64, MFIF_YCCA_RAW_64)) {
        color.GetColorAs64(out, model);
    } else if (is(MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO, MFIF_DIB_RAW_32,
                  MFIF_CbYCrA_8_4444, MFIF_CbYCr709A_8_4444)) {
        color.GetColorAs32(out, model);
    } else if (is(MFIF_RGBA_S2_14)) {
        color.GetColorAsS2_14(out, model);
    } else if (is(MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT_BU)) {
        color.GetColorAsFloat(out, model);
    } else if (video && !IsFormatYCCA4444(format)) {
        if (type == XFChannelTypeUInt8) color.GetColorAs32(out, model);
        if (type == XFChannelTypeS2_14) color.GetColorAsS2_14(out, model);
        if (type == XFChannelTypeUInt16) color.GetColorAs10_6(out, model);
        if (type == XFChannelTypeFloat) color.GetColorAsFloat(out, model);
    }
}

void qzILGetColorInFormat(qzILColor const& color, GUID const& format, void* out) {
    if (!out) return;
    if (!IsPairFormat(format)) {
        qzILGetColorAsType(color, format, out);
        return;
    }
    alignas(8) unsigned char channels[16] = {};
    qzILGetColorAsType(color, format, channels);
    bool const alternate = IsFormatAlternateYUV(format);
    std::size_t const size = GetChannelSizeFromFormat(format);
    auto const put = [&](int place, int channel) {
        std::memcpy(static_cast<unsigned char*>(out) + place * size, channels + channel * size, size);
    };
    put(alternate ? 1 : 0, 0);
    put(alternate ? 3 : 2, 0);
    put(alternate ? 0 : 1, 1);
    put(alternate ? 2 : 3, 2);
    if (IsFormatWithAlpha(format)) put(4, 3);
}

namespace qzil {

PixelBlock ColorAsPixel(qzILColor const& color, GUID const& format) {
    PixelBlock block;
    void* const pOut = block.auBytes;
    XFColorModel const model = GetColorModelFromFormat(format);
    auto const is = [&format](auto const&... formats) { return ((format == formats) || ...); };
    /// The first three channels, or four, moved to other places of the pixel.
    auto const reorder = [&block](std::size_t size, int first, int second, int third) {
        PixelBlock const from = block;
        int const source[3] = {first, second, third};
        for (int i = 0; i < 3; ++i) std::memcpy(block.auBytes + i * size, from.auBytes + source[i] * size, size);
    };

    if (is(MFIF_RGB_RAW_24, MFIF_BGR_RAW_24, MFIF_DIB_RAW_24)) {
        color.GetColorAs32(pOut, XFColorModelRGB);
        if (format != MFIF_RGB_RAW_24) reorder(1, 2, 1, 0);
    } else if (is(MFIF_RGB_S2_14)) {
        color.GetColorAsS2_14(pOut, model);
    } else if (is(MFIF_RGB_FLOAT, MFIF_RGB_FLOAT_BU)) {
        color.GetColorAsFloat(pOut, model);
    } else if (is(MFIF_RGB_RAW_48)) {
        color.GetColorAs64(pOut, XFColorModelRGB);
    } else if (is(MFIF_MONO_RAW_32)) {
        auto const grey = TruncateTo<std::uint32_t>(color.GetRed() * 4294967295.0 + 0.5, 0.0, 4294967295.0);
        std::memcpy(pOut, &grey, sizeof grey);
    } else if (is(MFIF_HLSA_RAW_32)) {
        color.GetColorAs32(pOut, model);
    } else if (is(MFIF_HLSA_RAW_64)) {
        color.GetColorAs64(pOut, model);
    } else if (IsFormatYCCA4444(format)) {
        switch (GetChannelTypeFromFormat(format)) {
            case XFChannelTypeUInt8: color.GetColorAs32(pOut, model); break;
            case XFChannelTypeS2_14: color.GetColorAsS2_14(pOut, model); break;
            case XFChannelTypeUInt16: color.GetColorAs10_6(pOut, model); break;
            default: color.GetColorAsFloat(pOut, model); break;
        }
        reorder(GetChannelSizeFromFormat(format), 1, 0, 2);
    } else {
        qzILGetColorInFormat(color, format, pOut);
    }
    return block;
}

}  // namespace qzil
