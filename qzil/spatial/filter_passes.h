#pragma once

#include "qzil/spatial/blur_filters.h"
#include "qzil/spatial/filter_rows.h"

#include <algorithm>

namespace qzil {

/// No line has as many samples; places are counted in 32 bits.
inline constexpr unsigned kLongestReach = 0x7FFFFFFE;

inline int PlacesOf(unsigned samples) {
    return static_cast<int>(std::min(samples, kLongestReach));
}

/// The filters as the row functions take them, in fixed point for samples of 16 bits. `mono8` is the one-channel path
/// in fixed point, which deliberately takes the sample that leaves two places nearer; `finite` says that no sample is
/// infinite or not a number.
template <class Sample>
FilterOf<Sample> RowFilterOf(qzILBlurIIR1D const& filter, bool mono8, bool finite) {
    ExponentialCoefficients const& c = filter.GetCoefficients();
    int const reach = PlacesOf(filter.GetReach()), delay = mono8 ? std::max(reach - 1, 0) : reach + 1;
    if constexpr (std::is_same_v<Sample, s16>) return {c.iDecay, c.iEnter, c.iLeave, 0, 0, delay};
    if constexpr (std::is_same_v<Sample, float>) return {c.dfDecay, c.dfEnter, c.dfLeave, 0.0, 0, reach + 1, finite};
}
template <class Sample>
FilterOf<Sample> RowFilterOf(qzILBlurUniformIIR1D const& filter, bool, bool finite) {
    UniformCoefficients const& c = filter.GetCoefficients();
    int const reach = PlacesOf(filter.GetReach()), box = PlacesOf(c.uBox) + 1;
    if constexpr (std::is_same_v<Sample, s16>) return {c.iDecay, c.iEnter, c.iLeave, c.iShare, box, reach + 1};
    if constexpr (std::is_same_v<Sample, float>) {
        return {c.dfDecay, c.dfEnter, c.dfLeave, c.dfNorm, box, reach + 1, finite};
    }
}

/// The row function that runs a filter, of a pair for both kinds.
template <class Sample>
FilterFunction<Sample> FunctionFor(qzILBlurIIR1D const&, FilterFunctions<Sample> const& functions) {
    return functions.pExponential;
}
template <class Sample>
FilterFunction<Sample> FunctionFor(qzILBlurUniformIIR1D const&, FilterFunctions<Sample> const& functions) {
    return functions.pUniform;
}

}  // namespace qzil
