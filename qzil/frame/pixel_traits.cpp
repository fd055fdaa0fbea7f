#include "qzil/frame/pixel_traits.h"

#include "qzil/image/image_ops.h"

namespace qzil {

kernel::RowTraits PixelTraits(GUID const& format, kernel::MixRule mix8) {
    using kernel::MixRule;
    kernel::RowTraits traits;
    XFChannelType const type = GetChannelTypeFromFormat(format);
    bool const rgba = IsFormatRGB(format) && GetNumOfChannelsFromFormat(format) == 4;
    bool const mono = IsFormatMono(format);
    traits.iSamples = rgba ? 4 : mono ? 1 : 2;
    traits.bHasChannels = rgba;
    traits.eMix = type == XFChannelTypeUInt8    ? mix8
                  : type == XFChannelTypeUInt16 ? MixRule::UInt16
                  : type == XFChannelTypeS2_14  ? MixRule::S2_14
                                                : MixRule::Float;
    bool const known = (rgba || mono || IsPairFormat(format)) && type != XFChannelTypeUInt32;
    traits.iSampleBytes = known ? static_cast<int>(GetChannelSizeFromFormat(format)) : 0;
    return traits;
}

kernel::RowTraits OperationTraits(GUID const& format) {
    kernel::RowTraits traits = PixelTraits(format, kernel::MixRule::NormMult);
    if (!Contains(kRawFormats, format)) traits.iSampleBytes = 0;
    return traits;
}

}  // namespace qzil
