#pragma once

#include "qzil/image/core_values.h"
#include "qzil/image/image_helper.h"

namespace qzil {

/// Place of a mask channel in a mask pixel; -1 when the format has no such channel.
int MaskChannelPlace(FormatRow const& format, XFImageChannel channel);

/// What is wrong with a mask image: 0x10005 no pixels, 0x10006 another size than its rectangle, 0x10007 not a mask
/// format, 0x10008 no such channel; 0 when it will do.
unsigned FindMaskFault(qzILImageHelper const& mask, qzILVector2l const& size, XFImageChannel channel);
unsigned FindMaskFault(IXFImage* mask, qzILBbox2l const& rectangle, XFImageChannel channel);

}  // namespace qzil
