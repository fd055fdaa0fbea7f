#include "qzil/convert/color_lines.h"

#include "qzil/convert/formats.h"
#include "qzil/image/color.h"

#include <cstring>
#include <utility>

namespace qzil {

ColorLines::ColorLines(GUID const& input, GUID const& output) : m_oInput(SideOf(input)), m_oOutput(SideOf(output)) {
}

ColorLines::Side ColorLines::SideOf(GUID const& format) {
    return {GetColorModelFromFormat(format), GetChannelTypeFromFormat(format), PixelBytesOf(format),
            IsBgrOrder(format)};
}

kernel::ConvertTraits ColorLines::Traits() const {
    kernel::ConvertTraits traits;
    traits.iInBytes = m_oInput.iBytes;
    traits.iOutBytes = m_oOutput.iBytes;
    traits.bPolls = true;
    return traits;
}

void ColorLines::Row(kernel::ConvertRow const& row, void const* self) {
    auto const& [input, output] = *static_cast<ColorLines const*>(self);
    unsigned char const* in = row.pIn;
    unsigned char* out = row.pOut;
    for (int i = 0; i < row.iPixels; ++i, in += input.iBytes, out += output.iBytes) {
        PixelBlock pixel;
        unsigned char* const p = pixel.auBytes;
        std::memcpy(p, in, static_cast<std::size_t>(input.iBytes));
        if (input.iBytes == 3) p[3] = 255;
        if (input.bBgr) std::swap(p[0], p[2]);
        qzILColor color;
        switch (input.uType) {
            case XFChannelTypeUInt16: color.SetColorAs64(p, input.uModel); break;
            case XFChannelTypeS2_14: color.SetColorAsS2_14(p, input.uModel); break;
            case XFChannelTypeFloat: color.SetColorAsFloat(p, input.uModel); break;
            default: color.SetColorAs32(p, input.uModel); break;
        }
        if (output.uType == XFChannelTypeUInt16) {
            color.GetColorAs64(p, output.uModel);
        } else {
            color.GetColorAs32(p, output.uModel);
        }
        if (output.bBgr) std::swap(p[0], p[2]);
        std::memcpy(out, p, static_cast<std::size_t>(output.iBytes));
    }
}

}  // namespace qzil
