#include "catalog/effect.h"
#include "qzil/field/deinterlace.h"

namespace qzil::catalog {

namespace {

void SetThresholds(qzILDeinterlace& effect, std::vector<double> const& thresholds) {
    effect.SetMinThreshold(thresholds[0]);
    effect.SetMaxThreshold(thresholds[1]);
}

}  // namespace

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
            .Numbers("thresholds", SetThresholds, {0.0, 1.0}, "0,0.15",
                     "motion up to which lines come from the frames in time, and from which from above and below"),
    };
}

}  // namespace qzil::catalog
