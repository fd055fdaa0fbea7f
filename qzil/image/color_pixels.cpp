// Colours as pixels of a format.

#include "qzil/image/color.h"
#include "qzil/image/format_row.h"
#include "qzil/image/pixel_math.h"

#include <cstring>

using namespace qzil;

namespace {

/// Writes a colour in a form; a form that is open leaves `out` as it is.
void Put(qzILColor const& color, ColorForm form, XFColorModel model, void* out) {
    switch (form) {
        case ColorForm::Open: break;
        case ColorForm::Mono8: color.GetColorAs8(out, model); break;
        case ColorForm::Mono16: color.GetColorAs16(out, model); break;
        case ColorForm::MonoS2_14: color.GetColorAsMonoS2_14(out, model); break;
        case ColorForm::MonoFloat: color.GetColorAsMonoFloat(out, model); break;
        case ColorForm::Bytes: color.GetColorAs32(out, model); break;
        case ColorForm::Words: color.GetColorAs64(out, model); break;
        case ColorForm::S2_14: color.GetColorAsS2_14(out, model); break;
        case ColorForm::Float: color.GetColorAsFloat(out, model); break;
        case ColorForm::W10_6: color.GetColorAs10_6(out, model); break;
        case ColorForm::Mono32: {
            auto const grey = TruncateTo<std::uint32_t>(color.GetRed() * 4294967295.0 + 0.5, 0.0, 4294967295.0);
            std::memcpy(out, &grey, sizeof grey);
        }
    }
}

/// The two-pixel unit of a 4:2:2 format from its channels Y, Cb, Cr, A.
void PutUnit(FormatRow const& format, unsigned char const* channels, void* out) {
    std::size_t const size = format.uChannelSize;
    auto const put = [&](int place, int channel) {
        std::memcpy(static_cast<unsigned char*>(out) + place * size, channels + channel * size, size);
    };
    int const luma = format.IsChromaFirst() ? 1 : 0, chroma = 1 - luma;
    put(luma, 0);
    put(luma + 2, 0);
    put(chroma, 1);
    put(chroma + 2, 2);
    if (format.HasAlpha()) put(4, 3);
}

void PutInFormat(qzILColor const& color, FormatRow const& format, void* out) {
    if (!format.IsPair()) return Put(color, format.oForms.eColor, format.uColorModel, out);
    alignas(8) unsigned char channels[16] = {};
    Put(color, format.oForms.eColor, format.uColorModel, channels);
    PutUnit(format, channels, out);
}

}  // namespace

void qzILGetColorAsType(qzILColor const& color, GUID const& format, void* out) {
    if (!out) return;
    FormatRow const& row = RowOf(format);
    Put(color, row.oForms.eColor, row.uColorModel, out);
}

void qzILGetColorInFormat(qzILColor const& color, GUID const& format, void* out) {
    if (out) PutInFormat(color, RowOf(format), out);
}

namespace qzil {

PixelBlock ColorAsPixel(qzILColor const& color, GUID const& format) {
    FormatRow const& row = RowOf(format);
    PixelBlock block;
    if (row.oForms.eFill == ColorForm::Open) {
        PutInFormat(color, row, block.auBytes);
        return block;
    }
    PixelBlock channels;
    // A format with a form and no model holds RGB.
    XFColorModel const model = row.uColorModel != XFColorModelNone ? row.uColorModel : XFColorModelRGB;
    Put(color, row.oForms.eFill, model, channels.auBytes);
    std::size_t const size = row.ChannelBytes();
    block = channels;
    for (std::size_t i = 0; i < 3; ++i) {
        std::memcpy(block.auBytes + i * size, channels.auBytes + row.oForms.auOrder[i] * size, size);
    }
    return block;
}

}  // namespace qzil
