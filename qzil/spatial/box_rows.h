#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// What makes a mean of a sum: (sum * uFactor + 2^31) >> 32. For 8 bits, unless it is 0, `fShare` gives the same by
/// the whole part of sum * fShare + 0.5 in float.
struct BoxScale {
    u32 uFactor;
    float fShare;
};

/// Means over a box from running sums that stay below 32 bits.
template <class Sample, class Sum>
struct BoxFunctions {
    /// sums := before + entering; before := sums - leaving.
    void (*pDown)(Sum* sums, Sum* before, Sample const* entering, Sample const* leaving, int samples);
    /// The means of `width` pixels from each pixel on, `step` entries of a pixel side by side.
    void (*pAcross)(Sample* out, Sum const* in, int pixels, int step, int width, BoxScale scale);
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
