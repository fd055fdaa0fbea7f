#include "catalog/effect.h"
#include "qzil/convert/hls.h"
#include "qzil/convert/rgba_to_rgba.h"
#include "qzil/convert/rgba_to_ycca.h"
#include "qzil/convert/ycc_layouts.h"
#include "qzil/convert/ycca_to_rgba.h"
#include "qzil/pixel/channels.h"

namespace qzil::catalog {

namespace {

std::vector<Choice> Channels() {
    return {
        {"red", XFImageChannel0}, {"green", XFImageChannel1}, {"blue", XFImageChannel2}, {"alpha", XFImageChannel3}};
}

std::vector<Choice> ChannelsOrAll() {
    std::vector<Choice> channels = Channels();
    channels.push_back({"all", kModeAllChannels});
    return channels;
}

constexpr char kDitherHelp[] = "carries rounding errors along the line to 8 bits";

}  // namespace

std::vector<Entry> ConvertEffects() {
    return {
        Effect<qzILRGBA2RGBA>("rgba-to-rgba", "convert", "Depth, byte order, alpha and levels of graphics formats")
            .Pairs(qzILRGBA2RGBA::Converts)
            .Input("input", &qzILRGBA2RGBA::SetInputImg)
            .Flag("dither", &qzILRGBA2RGBA::SetDoDithering, "off", kDitherHelp),

        Effect<qzILRGBAORDIB2YCCA>("rgba-to-ycca", "convert", "Graphics formats to YCC")
            .Pairs(qzILRGBAORDIB2YCCA::Converts)
            .Input("input", &qzILRGBAORDIB2YCCA::SetInputImg)
            .Flag("filter", &qzILRGBAORDIB2YCCA::SetDoFiltering, "on", "makes chroma of five pixels, not of one")
            .Flag("dither", &qzILRGBAORDIB2YCCA::SetDoDithering, "off", kDitherHelp),

        Effect<qzILYCCA2RGBA>("ycca-to-rgba", "convert", "YCC to graphics formats")
            .Pairs(qzILYCCA2RGBA::Converts)
            .Input("input", &qzILYCCA2RGBA::SetInputImg)
            .Flag("filter", &qzILYCCA2RGBA::SetDoFiltering, "off", "interpolates chroma between pixel pairs")
            .Flag("dither", &qzILYCCA2RGBA::SetDoDithering, "off", kDitherHelp),

        Effect<qzILYCCA2YCCA>("ycca-to-ycca", "convert", "Layout, depth, standard and levels of YCC formats")
            .Pairs(qzILYCCA2YCCA::Converts)
            .Input("input", &qzILYCCA2YCCA::SetInputImg)
            .Flag("filter", &qzILYCCA2YCCA::SetDoFiltering, "off", "filters chroma where its sites change")
            .Flag("dither", &qzILYCCA2YCCA::SetDoDithering, "off", kDitherHelp),

        Effect<qzILYCCA2YCCYCC>("ycca-to-fill", "convert", "The colour of a YCC image with an alpha plane")
            .Pairs(qzILYCCA2YCCYCC::Converts)
            .Input("input", &qzILYCCA2YCCYCC::SetInputImg)
            .Flag("filter", &qzILYCCA2YCCYCC::SetDoFiltering, "off", "filters chroma where its sites change")
            .Flag("dither", &qzILYCCA2YCCYCC::SetDoDithering, "off", kDitherHelp),

        Effect<qzILYCCYCC2YCCA>("fill-and-key-to-ycca", "convert",
                                "A YCC image with the luma of a key as its alpha plane")
            .Pairs(qzILYCCYCC2YCCA::Converts)
            .Input("fill", &qzILYCCYCC2YCCA::SetInputImgA)
            .Input("key", &qzILYCCYCC2YCCA::SetInputImgB)
            .Flag("full-alpha", &qzILYCCYCC2YCCA::SetFillMissingInput, "on", "makes alpha full where there is no key")
            .Flag("filter", &qzILYCCYCC2YCCA::SetDoFiltering, "off", "filters chroma where its sites change")
            .Flag("dither", &qzILYCCYCC2YCCA::SetDoDithering, "off", kDitherHelp),

        Effect<qzILRGBA2HLSA>("rgba-to-hlsa", "convert", "Red, green, blue to hue, lightness, saturation")
            .Pairs(qzILRGBA2HLSA::Converts)
            .Input("input", &qzILRGBA2HLSA::SetInputImg),

        Effect<qzILHLSA2RGBA>("hlsa-to-rgba", "convert", "Hue, lightness, saturation to red, green, blue")
            .Pairs(qzILHLSA2RGBA::Converts)
            .Input("input", &qzILHLSA2RGBA::SetInputImg),

        Effect<qzILExtractChannel>("extract-channel", "convert", "One channel of a picture as a mono picture")
            .Pairs(qzILExtractChannel::Converts)
            .Input("input", &qzILExtractChannel::SetInputImg)
            .Choice("channel", &qzILExtractChannel::SetChannel, Channels(), "red", "the channel taken"),

        Effect<qzILInsertChannel>("insert-channel", "convert",
                                  "A mono picture as a channel of a picture, or as all four")
            .Pairs(qzILInsertChannel::Converts)
            .Input("input", &qzILInsertChannel::SetInputImg)
            .Choice("channel", &qzILInsertChannel::SetChannel, ChannelsOrAll(), "red", "the channel written")
            .Updates(),
    };
}

}  // namespace qzil::catalog
