#pragma once

#include "qzil/kernel/row.h"

namespace qzil::kernel {

/// Lines of a block: enough to share what they have in common, few enough for the second-level cache.
inline constexpr int kBlockLines = 8;

/// Makes the finished lines of a walk, in order, for effects that carry something from line to line or do several lines
/// at a time.
class LineMaker {
public:
    virtual ~LineMaker() = default;
    /// Writes the lines `first` to `first + count - 1` of the walk, `step` bytes apart.
    virtual void Make(int first, int count, unsigned char* out, std::ptrdiff_t step) = 0;
    /// How many it is asked for at a time, at most.
    virtual int BlockLines() const { return kBlockLines; }
};

/// Has the lines of a walk made in blocks, directly into the output or through the commit. With an interrupt set a
/// block is one line, and the interrupt is asked after each. False without memory for a block.
bool RunLines(Walk const& walk, RowTraits const& traits, LineMaker& maker);

}  // namespace qzil::kernel
