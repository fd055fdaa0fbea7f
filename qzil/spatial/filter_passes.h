#pragma once

#include "qzil/spatial/blur_filters.h"
#include "qzil/spatial/filter_rows.h"

namespace qzil {

/// The filters as the row functions take them. `mono8` is the one-channel road in fixed point; `finite` says
/// that no sample is infinite or not a number.
inline FixedIir FixedFilterOf(qzILBlurIIR1D const& filter, bool mono8) {
    IirCoefficients const& c = filter.GetCoefficients();
    int const reach = static_cast<int>(filter.GetReach());
    return {c.iA, c.iB, c.iC, mono8 ? reach - 1 : reach + 1};
}
inline FixedUniformIir FixedFilterOf(qzILBlurUniformIIR1D const& filter, bool) {
    UniformIirCoefficients const& c = filter.GetCoefficients();
    return {c.iR, c.iG1, c.iG2, c.iOneByN, static_cast<int>(c.uQ)};
}
inline DoubleIir DoubleFilterOf(qzILBlurIIR1D const& filter, bool) {
    IirCoefficients const& c = filter.GetCoefficients();
    return {c.dfA, c.dfB, c.dfC};
}
inline DoubleUniformIir DoubleFilterOf(qzILBlurUniformIIR1D const& filter, bool finite) {
    UniformIirCoefficients const& c = filter.GetCoefficients();
    return {c.dfR, c.dfG1, c.dfG2, c.dfN, static_cast<int>(c.uQ), finite};
}

}  // namespace qzil
