#include "qzil/frame/run.h"

namespace qzil {

kernel::Layout LayoutOf(FormatRow const& format) {
    using kernel::Layout;
    if (format.IsRgb() && format.uChannels == 4) return Layout::Rgba;
    if (format.uColorModel == XFColorModelHLS) return Layout::Hlsa;
    if (format.IsMono()) return Layout::Mono;
    if (!format.IsPair()) return Layout::None;
    if (format.HasAlphaPlane()) return format.IsChromaFirst() ? Layout::ChromaFirstAlpha : Layout::LumaFirstAlpha;
    if (format.HasAlpha()) return Layout::None;
    return format.IsChromaFirst() ? Layout::ChromaFirst : Layout::LumaFirst;
}

kernel::SampleType ChannelTypeOf(FormatRow const& format) {
    switch (format.uChannelType) {
        case XFChannelTypeUInt8: return kernel::SampleType::U8;
        case XFChannelTypeUInt16: return kernel::SampleType::U16;
        case XFChannelTypeS2_14: return kernel::SampleType::S2_14;
        case XFChannelTypeFloat: return kernel::SampleType::Float;
        default: return kernel::SampleType::None;
    }
}

kernel::Call CallIn(FormatRow const& format, unsigned mode) {
    return {&format, LayoutOf(format), mode & kModeAllChannels, false, false};
}

kernel::Form const* FindForm(kernel::Forms const& forms, kernel::Call const& call) {
    return forms.Find(call.eLayout, ChannelTypeOf(*call.pFormat));
}

}  // namespace qzil

qzILStatus qzILProcessor::WithoutForm(unsigned noForm) {
    return noForm == qzil::kWritesNothing ? 1 : noForm == qzil::Code::None ? -1 : Fail(noForm);
}
