#include "qzil/convert/formats.h"

#include <utility>

namespace qzil {

kernel::ConvertTraits PixelTraitsOf(GUID const& input, GUID const& output) {
    return {.iInBytes = PixelBytesOf(input), .iOutBytes = PixelBytesOf(output)};
}

bool IsBgrOrder(GUID const& format) {
    constexpr std::array kBgr{MFIF_DIB_RAW_32, MFIF_DIB_RAW_24, MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO,
                              MFIF_BGR_RAW_24};
    return Contains(kBgr, format);
}

void* ColorForOutput(IXFImage* output, qzILColor const& color, PixelBlock& block) {
    if (!output) return nullptr;
    GUID format{};
    output->GetFormat(&format);
    XFColorModel const model = GetColorModelFromFormat(format);
    unsigned char* const pBytes = block.auBytes;
    block = {};
    if (IsFormatMono(format)) {
        switch (GetChannelTypeFromFormat(format)) {
            case XFChannelTypeUInt8: color.GetColorAs8(pBytes, model); break;
            case XFChannelTypeUInt16: color.GetColorAs16(pBytes, model); break;
            case XFChannelTypeS2_14: color.GetColorAsMonoS2_14(pBytes, model); break;
            case XFChannelTypeFloat: color.GetColorAsMonoFloat(pBytes, model); break;
            default: break;
        }
        return pBytes;
    }
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8:
            // Three bytes and a full fourth one, or four.
            if (IsFormatWithAlpha(format) || IsFormatYCC(format)) {
                color.GetColorAs32(pBytes, model);
            } else {
                color.GetColorAs24(pBytes, model);
            }
            break;
        case XFChannelTypeS2_14: color.GetColorAsS2_14(pBytes, model); break;
        case XFChannelTypeFloat: color.GetColorAsFloat(pBytes, model); break;
        // 10.6 outputs answer in 16 bits and Rec. 601, whatever their own form.
        default: color.GetColorAs64(pBytes, IsFormatYCC(format) ? XFColorModelYCC601 : model); break;
    }
    if (IsBgrOrder(format)) std::swap(pBytes[0], pBytes[2]);
    return pBytes;
}

}  // namespace qzil
