#pragma once

#include "qzil/image/color.h"
#include "qzil/image/image.h"

// What the frame itself asks of effects. This is the one place where it looks at effect families.

namespace qzil {

/// Puts a colour into the selected channels of a rectangle of an image.
HRESULT FillChannelsWithColor(IXFImage* image, qzILColor const& color, unsigned mode, qzILBbox2l const& box);
/// Gives back what effects keep for the whole process.
void ClearEffectGlobals();

}  // namespace qzil
