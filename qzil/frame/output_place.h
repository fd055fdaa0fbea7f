#pragma once

#include "qzil/image/image.h"

namespace qzil {

/// Where an effect that has no frame with inputs and masks writes: an image, a region and the place of its origin.
struct OutputPlace {
    IXFImage* pImage = nullptr;
    qzILBbox2l oRoi{0, 0, -1, -1};
    qzILVector2l oOffset;

    /// The region takes the image's size while it has none.
    void SetImage(IXFImage* image);
    void TakeSizeOf(IXFImage* image);
    /// From input to output coordinates.
    qzILVector2l Shift() const;
    /// The region in output coordinates, as the host asked for it.
    qzILBbox2l Region() const { return {oOffset.x, oOffset.y, oRoi.Size.x, oRoi.Size.y}; }
    /// The region lies wholly inside an image.
    bool FitsInto(IXFImage* image) const;
};

}  // namespace qzil
