#include "qzil/frame/run.h"

#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

namespace qzil {

kernel::Layout LayoutOf(GUID const& format) {
    using kernel::Layout;
    if (IsFormatRGB(format) && GetNumOfChannelsFromFormat(format) == 4) return Layout::Rgba;
    if (IsFormatMono(format)) return Layout::Mono;
    if (!IsPairFormat(format)) return Layout::None;
    bool const chromaFirst = IsFormatAlternateYUV(format);
    if (IsFormatWithSeparateAlpha(format)) return chromaFirst ? Layout::ChromaFirstAlpha : Layout::LumaFirstAlpha;
    return chromaFirst ? Layout::ChromaFirst : Layout::LumaFirst;
}

kernel::SampleType ChannelTypeOf(GUID const& format) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8: return kernel::SampleType::U8;
        case XFChannelTypeUInt16: return kernel::SampleType::U16;
        case XFChannelTypeS2_14: return kernel::SampleType::S2_14;
        case XFChannelTypeFloat: return kernel::SampleType::Float;
        default: return kernel::SampleType::None;
    }
}

}  // namespace qzil
