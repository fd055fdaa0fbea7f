#include "qzil/frame/mask_check.h"

#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

namespace qzil {

int MaskChannelPlace(FormatRow const& format, XFImageChannel channel) {
    bool const mono = format.uChannels == 1;
    switch (channel) {
        case XFImageChannel0: return mono ? -1 : 0;
        case XFImageChannel1: return mono ? -1 : 1;
        case XFImageChannel2: return mono ? -1 : 2;
        case XFImageChannel3: return mono ? -1 : 3;
        case XFImageChannelMono: return mono ? 0 : -1;
        default: return -1;
    }
}

unsigned FindMaskFault(qzILImageHelper const& mask, qzILVector2l const& size, XFImageChannel channel) {
    if (!mask.HasPixels()) return 0x10005;
    if (!(qzILVector2l(mask.m_iWidth, mask.m_iHeight) == size)) return 0x10006;
    if (!Contains(kMaskFormats, mask.m_oFormat)) return 0x10007;
    return MaskChannelPlace(mask.Format(), channel) >= 0 ? 0 : 0x10008;
}

unsigned FindMaskFault(IXFImage* mask, qzILBbox2l const& rectangle, XFImageChannel channel) {
    return FindMaskFault(qzILImageHelper(mask), rectangle.Size, channel);
}

}  // namespace qzil
