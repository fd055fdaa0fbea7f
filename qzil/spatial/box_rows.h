#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Means over a box from running sums that stay below 32 bits.
template <class Sample, class Sum>
struct BoxFunctions {
    /// sums := before + entering; before := sums - leaving.
    void (*pDown)(Sum* sums, Sum* before, Sample const* entering, Sample const* leaving, int samples);
    /// The sums of `width` pixels from each pixel on, `step` entries of a pixel side by side, as (sum * factor + 2^31)
    /// >> 32.
    void (*pAcross)(Sample* out, Sum const* in, int pixels, int step, int width, u32 factor);
    /// Four lines side by side, and apart again.
    void (*pJoin4)(Sum* out, Sum const* in, std::ptrdiff_t step, int samples);
    void (*pSplit4)(Sample* out, std::ptrdiff_t step, Sample const* in, int samples);
};

struct BoxRows {
    BoxFunctions<u8, u16> oLowUInt8;  ///< up to 257 lines, whose sums of columns fit 16 bits
    BoxFunctions<u8, u32> oUInt8;
    BoxFunctions<u16, u32> oUInt16;
    BoxFunctions<s16, s32> oS2_14;
    /// The sum in float, in order, times a factor.
    void (*pDownFloat)(float* sums, float* before, float const* entering, float const* leaving, int samples);
    void (*pAcrossFloat)(float* out, float const* in, int pixels, int step, int width, float factor);
};
QZIL_ROW_TABLE(BoxRows)

}  // namespace qzil
