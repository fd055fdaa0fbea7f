#pragma once

#include "qzil/image/core_values.h"
#include "qzil/platform/api.h"
#include "qzil/platform/guid.h"

/// A colour: red, green, blue and alpha in double precision, nominally 0.0 to 1.0.
///
/// Components of every model lie on 0.0 to 1.0; YCC components have video levels (Y 16/255 to 235/255, chroma around
/// 128/255), hue is a fraction of the circle. A null pointer leaves a value out of a Get, and keeps that component in a
/// Set: the present colour is converted into the model, the given components replaced, and the result converted back.
class QZIL_API qzILColor {
public:
    QZIL_CLASS_NAME(qzILColor)
    char const* GetActualClassName() const { return m_ClassName; }

    constexpr qzILColor() = default;
    constexpr qzILColor(double red, double green, double blue, double alpha = 1.0)
        : m_dfRed(red), m_dfGreen(green), m_dfBlue(blue), m_dfAlpha(alpha) {}
    bool operator==(qzILColor const&) const = default;
    void Init() { *this = qzILColor(); }
    void Trash() {}

    void GetColorAsRGBA(double* red, double* green, double* blue, double* alpha = nullptr) const;
    void SetColorAsRGBA(double const* red, double const* green, double const* blue, double const* alpha = nullptr);
    constexpr double GetRed() const { return m_dfRed; }
    constexpr double GetGreen() const { return m_dfGreen; }
    constexpr double GetBlue() const { return m_dfBlue; }
    constexpr double GetAlpha() const { return m_dfAlpha; }
    constexpr void SetRed(double red) { m_dfRed = red; }
    constexpr void SetGreen(double green) { m_dfGreen = green; }
    constexpr void SetBlue(double blue) { m_dfBlue = blue; }
    constexpr void SetAlpha(double alpha) { m_dfAlpha = alpha; }

    void GetColorAsCMYA(double* c, double* m, double* y, double* alpha = nullptr) const;
    void SetColorAsCMYA(double const* c, double const* m, double const* y, double const* alpha = nullptr);
    /// Black divides by 0 and gives NaN in c, m and y.
    void GetColorAsCMYKA(double* c, double* m, double* y, double* k, double* alpha = nullptr) const;
    void SetColorAsCMYKA(double const* c, double const* m, double const* y, double const* k,
                         double const* alpha = nullptr);
    void GetColorAsYCCA(double* y, double* cb, double* cr, double* alpha = nullptr) const;  ///< Rec. 601
    void SetColorAsYCCA(double const* y, double const* cb, double const* cr, double const* alpha = nullptr);
    void GetColorAsYCCA709(double* y, double* cb, double* cr, double* alpha = nullptr) const;
    void SetColorAsYCCA709(double const* y, double const* cb, double const* cr, double const* alpha = nullptr);
    void GetColorAsYUVA(double* y, double* u, double* v, double* alpha = nullptr) const;
    void SetColorAsYUVA(double const* y, double const* u, double const* v, double const* alpha = nullptr);
    void GetColorAsYIQA(double* y, double* i, double* q, double* alpha = nullptr) const;
    void SetColorAsYIQA(double const* y, double const* i, double const* q, double const* alpha = nullptr);
    void GetColorAsHSVA(double* h, double* s, double* v, double* alpha = nullptr) const;
    void SetColorAsHSVA(double const* h, double const* s, double const* v, double const* alpha = nullptr);
    void GetColorAsHLSA(double* h, double* l, double* s, double* alpha = nullptr) const;
    void SetColorAsHLSA(double const* h, double const* l, double const* s, double const* alpha = nullptr);

    // Channel forms: components in the order of the model's name, alpha last. Each returns 1, or 0 when the pointer is
    // null or the model is not served; a Get then clears its output. Integers are rounded half away from zero.
    // 8, 16, MonoS2_14 and MonoFloat serve the model 2 only, with red as the grey level; their Set forms set red, green
    // and blue and keep alpha. 24, 32, 64, Float and S2_14 serve 1, 4, 8, 16, 64, 128, 256, 512 and 4096; 10_6 serves
    // 64 and 512. The 8- and 16-bit forms are not clamped: the low byte or word is stored.

    int GetColorAs8(void* out, XFColorModel model) const;  ///< 1 byte
    int SetColorAs8(void const* in, XFColorModel model);
    int GetColorAs16(void* out, XFColorModel model) const;  ///< 1 unsigned short
    int SetColorAs16(void const* in, XFColorModel model);
    int GetColorAs24(void* out, XFColorModel model) const;  ///< 4 bytes, the fourth 255
    int SetColorAs24(void const* in, XFColorModel model);
    int GetColorAs32(void* out, XFColorModel model) const;  ///< 4 bytes
    int SetColorAs32(void const* in, XFColorModel model);
    int GetColorAs64(void* out, XFColorModel model) const;  ///< 4 unsigned shorts
    int SetColorAs64(void const* in, XFColorModel model);
    /// 4 unsigned shorts, ten bits of value at video levels above six; limited to 0..65535.
    int GetColorAs10_6(void* out, XFColorModel model) const;
    int SetColorAs10_6(void const* in, XFColorModel model);
    int GetColorAsS2_14(void* out, XFColorModel model) const;  ///< 4 shorts: the float form times 16384, limited
    int SetColorAsS2_14(void const* in, XFColorModel model);
    int GetColorAsMonoS2_14(void* out, XFColorModel model) const;  ///< 1 short
    int SetColorAsMonoS2_14(void const* in, XFColorModel model);
    /// 4 floats; YCC at full range with chroma around 0.
    int GetColorAsFloat(void* out, XFColorModel model) const;
    int SetColorAsFloat(void const* in, XFColorModel model);
    int GetColorAsMonoFloat(void* out, XFColorModel model) const;  ///< 1 float
    int SetColorAsMonoFloat(void const* in, XFColorModel model);

    // A row vector (c0, c1, c2, 1) times a matrix gives the three outputs; the fourth column is (0, 0, 0, 1).
    // "Offset" stands for video levels. The coefficients are those of Rec. 601 and Rec. 709.
    static double const s_dfArrayYCCAtoRGBA[4][4];
    static double const s_dfArrayYCCAOffsettoRGBA[4][4];
    static double const s_dfArrayYCCAOffsettoRGBAOffset[4][4];
    static double const s_dfArrayRGBAtoYCCA[4][4];
    static double const s_dfArrayRGBAtoYCCAOffset[4][4];
    static double const s_dfArrayRGBAOffsettoYCCAOffset[4][4];
    static double const s_dfArrayYCCA709toRGBA[4][4];
    static double const s_dfArrayYCCA709OffsettoRGBA[4][4];
    static double const s_dfArrayYCCA709OffsettoRGBAOffset[4][4];
    static double const s_dfArrayRGBAtoYCCA709[4][4];
    static double const s_dfArrayRGBAtoYCCA709Offset[4][4];
    static double const s_dfArrayRGBAOffsettoYCCA709Offset[4][4];
    static double const s_dfArrayYCCA601toYCCA709[4][4];
    static double const s_dfArrayYCCA601OffsettoYCCA709Offset[4][4];
    static double const s_dfArrayYCCA709toYCCA601[4][4];
    static double const s_dfArrayYCCA709OffsettoYCCA601Offset[4][4];

private:
    double m_dfRed = 0.0;
    double m_dfGreen = 0.0;
    double m_dfBlue = 0.0;
    double m_dfAlpha = 0.0;
};

/// The colour in a format's channel type and model, in colour order: RGBA whatever the format's byte order, and
/// Y, Cb, Cr, A. Formats that have no such form, and a null pointer, leave `out` as it is.
QZIL_API void qzILGetColorAsType(qzILColor const& color, GUID const& format, void* out);

/// A block that an image of the format can be filled from: for the 4:2:2 formats four samples of two pixels in the
/// format's order, then alpha if the format has it; for all others as qzILGetColorAsType.
QZIL_API void qzILGetColorInFormat(qzILColor const& color, GUID const& format, void* out);

namespace qzil {

/// Room for a pixel, or a two-pixel unit with alpha, of any format.
struct alignas(8) PixelBlock {
    unsigned char auBytes[32] = {};
};

/// The pixel of a colour as an image holds it: as qzILGetColorInFormat, with the natural channel order for the formats
/// that it does not serve (24-bit, 3-channel, 32-bit mono, HLSA, 4:4:4:4). Formats of no known layout give zeros.
PixelBlock ColorAsPixel(qzILColor const& color, GUID const& format);

}  // namespace qzil
