#pragma once

#include "qzil/frame/margin.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/spatial/filter_rows.h"

#include <memory>

namespace qzil {

/// What makes the lines of a mean over a rectangle of width x height, from samples of the channel type T.
template <class T>
std::unique_ptr<kernel::LineMaker> MakeBoxMaker(MarginLines const& lines, int width, int height);

/// A filter along one axis, its reach, and whether it does anything.
template <class Sample>
struct AxisFilter {
    FilterFunction<Sample> pPass;
    FilterOf<Sample> oFilter;
    int iReach;
    bool bActive;
};

/// What makes the lines of a recursive blur, in fixed point (Sample s16) or in double (float), from samples of the
/// channel type T. The columns are filtered at once, asking after each; null when that was told to stop. Throws
/// std::bad_alloc.
template <class Sample, class T>
std::unique_ptr<kernel::LineMaker> MakeRecursiveMaker(MarginLines const& lines, AxisFilter<Sample> const& down,
                                                      AxisFilter<Sample> const& across);

}  // namespace qzil
