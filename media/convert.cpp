#include "media/convert.h"

#include "qzil/image/image_ops.h"

namespace qzil::media {

namespace {

/// A new image of the format, or null when no conversion leads there.
Ref<IXFImage> ConvertDirectly(IXFImage&, GUID const&) {
    return {};
}

GUID FormatOf(IXFImage& image) {
    GUID format{};
    image.GetFormat(&format);
    return format;
}

std::string NameOrUnknown(GUID const& format) {
    char const* const name = FormatName(format);
    return name ? name : "an unknown format";
}

Ref<IXFImage> TryConvert(IXFImage& source, GUID const& format) {
    if (FormatOf(source) == format) {
        source.AddRef();
        return Ref<IXFImage>(&source);
    }
    Ref<IXFImage> result = ConvertDirectly(source, format);
    for (GUID const& between : {MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_32}) {
        if (result) break;
        Ref<IXFImage> const first = ConvertDirectly(source, between);
        if (first) result = ConvertDirectly(*first.Get(), format);
    }
    return result;
}

}  // namespace

Ref<IXFImage> Convert(IXFImage& source, GUID const& format) {
    Ref<IXFImage> result = TryConvert(source, format);
    if (!result) {
        throw MediaError("no conversion leads from " + NameOrUnknown(FormatOf(source)) + " to " +
                         NameOrUnknown(format));
    }
    return result;
}

bool CanConvert(GUID const& from, GUID const& to) {
    Ref<IXFImage> image;
    if (from == to) return true;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, 2, 2, from, image.Out()) < 0) return false;
    return static_cast<bool>(TryConvert(*image.Get(), to));
}

}  // namespace qzil::media
