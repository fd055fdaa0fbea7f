#pragma once

#include "qzil/frame/margin.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/spatial/tap_rows.h"

#include <memory>
#include <vector>

namespace qzil {

/// What a convolution does to a line of the margin buffer, and to the lines that come out of that. The taps have to
/// stay.
template <class Sample>
struct TapKernel {
    int iHeight;
    int iWidth;
    bool bTwoPasses;
    std::vector<TapRun<Sample>> aAcross;
    std::vector<int> aiLines;           ///< of one pass: the kernel's line that a run belongs to
    std::vector<TapRun<Sample>> aDown;  ///< of the second pass

    /// One pass.
    TapKernel(Sample const* taps, qzILVector2l size);
    /// Two passes, by a factor for each column and for each line.
    TapKernel(Sample const* x, Sample const* y, qzILVector2l size);
};

/// What makes the lines of a convolution, in float or in 16.16. Where an interrupt is set the
/// first of two passes is done as a whole at once; when it stops, nothing is held for the lines behind.
std::unique_ptr<kernel::LineMaker> MakeTapMaker(MarginLines const& lines, TapKernel<float> kernel,
                                                TapRounding const& rounding);
std::unique_ptr<kernel::LineMaker> MakeTapMaker(MarginLines const& lines, TapKernel<s32> kernel,
                                                FixedRounding const& rounding);

}  // namespace qzil
