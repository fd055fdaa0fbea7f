#include "qzil/frame/output_place.h"

#include "qzil/image/image_ops.h"

namespace qzil {

void OutputPlace::SetImage(IXFImage* image) {
    pImage = image;
    TakeSizeOf(image);
}

void OutputPlace::TakeSizeOf(IXFImage* image) {
    if (image && oRoi.Size.x == -1) oRoi.Size = WholeOf(image).Size;
}

qzILVector2l OutputPlace::Shift() const {
    return Way(oRoi.Origin, oOffset);
}

bool OutputPlace::FitsInto(IXFImage* image) const {
    return Region().Intersect(WholeOf(image)) == Region();
}

}  // namespace qzil
