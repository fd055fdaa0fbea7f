#pragma once

#include <cstddef>

namespace qzil {

/// The margin buffer as effects read it that make whole lines.
struct MarginLines {
    unsigned char const* pFirst;
    std::ptrdiff_t iStep;  ///< bytes from a line to the next
    int iLines;
    int iSamples;        ///< of a line
    int iActiveSamples;  ///< of an output line
    int iPixelSamples;   ///< of a pixel
    int iFirstKept;      ///< field bits: the first output line, and the step to the next
    int iKeptStep;

    unsigned char const* Line(int line) const { return pFirst + line * iStep; }
    /// The line of the active rectangle that is output line `kept`.
    int ActiveLine(int kept) const { return iFirstKept + kept * iKeptStep; }
};

}  // namespace qzil
