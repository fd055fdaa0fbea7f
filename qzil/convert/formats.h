#pragma once

#include "qzil/image/color.h"
#include "qzil/image/formats.h"
#include "qzil/image/image.h"
#include "qzil/kernel/convert_row.h"

namespace qzil {

/// The traits of a conversion pixel by pixel between two formats.
kernel::ConvertTraits PixelTraitsOf(GUID const& input, GUID const& output);

/// RGB formats with blue first.
bool IsBgrOrder(GUID const& format);

/// A colour as the output's pixel, in the form and order that the conversions' queries have: YCC in the order Y, Cb,
/// Cr, A. Null for no image.
void* ColorForOutput(IXFImage* output, qzILColor const& color, PixelBlock& block);

}  // namespace qzil
