#include "catalog/effect.h"
#include "qzil/field/deinterlace.h"

namespace qzil::catalog {

std::vector<Entry> FieldEffects() {
    return {
        Effect<qzILDeinterlace>("deinterlace", "field", "Makes a whole picture of each field of an interlaced one")
            .Input("input", &qzILDeinterlace::SetInputImg)
            .FurtherInput("comparison-a", &qzILDeinterlace::SetCompImgA,
                          "what output a is compared with, as the frame before")
            .FurtherInput("comparison-b", &qzILDeinterlace::SetCompImgB,
                          "what output b is compared with, as the frame after")
            .Output("output-b", &qzILDeinterlace::SetOutputImgB)
            .Choice("type", &qzILDeinterlace::SetInterpolationType,
                    {{"repeat", qzILInterpolationRepeat},
                     {"average", qzILInterpolationAverage},
                     {"adaptive", qzILInterpolationAdaptive}},
                    "average", "lines between: the adjacent one, a mean, or one by motion, which needs comparisons")
            .Real("min-threshold", &qzILDeinterlace::SetMinThreshold, {0.0, 1.0}, "0",
                  "motion up to which lines come from the frames in time")
            .Real("max-threshold", &qzILDeinterlace::SetMaxThreshold, {0.0, 1.0}, "0.15",
                  "motion from which they come from the lines above and below"),
    };
}

}  // namespace qzil::catalog
