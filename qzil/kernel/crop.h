#pragma once

#include "qzil/kernel/row.h"

namespace qzil::kernel {

/// Lines of a walk, from the first to the one behind the last.
struct Interval {
    int iStart = 0;
    int iEnd = 0;
};

/// The part of a walk that a row function is meant for. Limits beyond the walk are those of the walk. Pairs of 4:2:2
/// stay together: margins are even, and a last pixel alone belongs to the right one.
struct Crop {
    int iLeft = 0;  ///< columns that are left out
    int iRight = 0;
    Interval aLines[2];   ///< in ascending order
    RowCall oBackground;  ///< works on the rest; without a function that is the second input
};

/// As RunRows, inside the crop. The rest comes first, and without polls: an interrupt ends the work inside.
void RunCropped(Walk const& walk, RowTraits const& traits, RowCall const& call, Crop const& crop);

}  // namespace qzil::kernel
