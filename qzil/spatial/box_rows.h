#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Sums over a box that stay below 32 bits.
template <class Sample, class Sum>
struct BoxFunctions {
    /// sums := before + entering; before := sums - leaving.
    void (*pDown)(Sum* sums, Sum* before, Sample const* entering, Sample const* leaving, int samples);
    /// Sums over `width` pixels from each pixel on, `step` entries of a pixel side by side.
    void (*pAcross)(Sum* out, Sum const* in, int pixels, int step, int width);
    /// (sum * factor + 2^31) >> 32.
    void (*pScale)(Sample* out, Sum const* in, int samples, u32 factor);
};

struct BoxRows {
    BoxFunctions<u8, u32> oUInt8;
    BoxFunctions<u16, u32> oUInt16;
    BoxFunctions<s16, s32> oS2_14;
    /// The sum in float, in order; the scale is a factor.
    void (*pDownFloat)(float* sums, float* before, float const* entering, float const* leaving, int samples);
    void (*pAcrossFloat)(float* out, float const* in, int pixels, int step, int width);
    void (*pScaleFloat)(float* out, float const* in, int samples, float factor);
    /// Four lines side by side, and apart again.
    void (*pJoin4)(u32* out, u32 const* in, std::ptrdiff_t step, int samples);
    void (*pSplit4)(u8* out, std::ptrdiff_t step, u8 const* in, int samples);
};
QZIL_ROW_TABLE(BoxRows)

}  // namespace qzil
