#include "catalog/effect.h"
#include "qzil/frame/copy.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

namespace qzil::catalog {

namespace {

/// Every format that images can hold pixels of.
std::span<GUID const> PixelFormats() {
    static std::vector<GUID> const l_oFormats = [] {
        std::vector<GUID> formats;
        for (NamedFormat const& format : AllFormats()) {
            Ref<IXFImage> image;
            unsigned pixelSize = 0;
            if (qzILCreateImage(nullptr, IID_IXFImage, image.Out()) < 0) break;
            image->SetFormat(format.oFormat);
            image->GetPixelSize(&pixelSize);
            if (pixelSize != 0) formats.push_back(format.oFormat);
        }
        return formats;
    }();
    return l_oFormats;
}

}  // namespace

std::vector<Entry> FrameEffects() {
    return {
        Effect<qzILCopyImg>("copy", "frame", "Copies an image or a part of it")
            .Input("input", &qzILCopyImg::SetInputImg)
            .Formats(PixelFormats()),
    };
}

}  // namespace qzil::catalog
