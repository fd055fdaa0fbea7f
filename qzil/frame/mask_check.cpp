#include "qzil/frame/mask_check.h"

#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

namespace qzil {

bool HasPixels(IXFImage* image) {
    void* pPixels = nullptr;
    image->GetPixelArray(&pPixels);
    return pPixels != nullptr;
}

int MaskChannelPlace(GUID const& format, XFImageChannel channel) {
    bool const mono = GetNumOfChannelsFromFormat(format) == 1;
    switch (channel) {
        case XFImageChannel0: return mono ? -1 : 0;
        case XFImageChannel1: return mono ? -1 : 1;
        case XFImageChannel2: return mono ? -1 : 2;
        case XFImageChannel3: return mono ? -1 : 3;
        case XFImageChannelMono: return mono ? 0 : -1;
        default: return -1;
    }
}

unsigned FindMaskFault(IXFImage* mask, qzILBbox2l const& rectangle, XFImageChannel channel) {
    GUID format{};
    mask->GetFormat(&format);
    if (!HasPixels(mask)) return 0x10005;
    if (!(WholeOf(mask).Size == rectangle.Size)) return 0x10006;
    if (!Contains(kMaskFormats, format)) return 0x10007;
    return MaskChannelPlace(format, channel) >= 0 ? 0 : 0x10008;
}

}  // namespace qzil
