#include "qzil/image/color.h"

#include "qzil/image/color_models.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <cstring>

using namespace qzil;

namespace {

/// Video levels: luma spans 219 of 255 steps above 16, chroma 224 steps.
constexpr double kFoot = 16.0 / 255.0;
constexpr double kLumaGain = 1.1643835616438356;
constexpr double kChromaGain = 1.1383928571428572;
constexpr double kChromaCenter = 128.0 / 255.0;

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
