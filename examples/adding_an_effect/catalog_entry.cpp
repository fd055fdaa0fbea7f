#include "catalog/effect.h"
#include "qzil/pixel/solarize.h"

namespace qzil::catalog {

Entry SolarizeEntry() {
    return Effect<qzILSolarizeImg>("solarize", "pixel", "Inverts what is brighter than a threshold")
        .Input("input", &qzILSolarizeImg::SetInputImg)
        .Real("threshold", &qzILSolarizeImg::SetThreshold, {0.0, 1.0}, "0.5", "values above it are inverted");
}

}  // namespace qzil::catalog
