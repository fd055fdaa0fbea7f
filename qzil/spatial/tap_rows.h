#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Samples that sums are formed of at a time. Lines of sums and of widened samples can be read and written so far
/// beyond their end.
inline constexpr int kTapBlock = 64;

/// A weighted sum of lines, in the order of the list.
template <class Sample>
struct TapSum {
    Sample const* const* pSources;
    Sample const* pTaps;
    int iTaps;
    int iAt;  ///< sample of the sources that is the first one
};

/// How a float sum becomes an integer, of which the low bits are kept.
struct TapRounding {
    float fOffset;      ///< added in float
    bool bHalfInFloat;  ///< 0.5 is part of that offset; otherwise it is added in double
    bool bFits;         ///< no sum can leave 32 bits
};

struct TapRows {
    void (*pWiden8)(float* out, u8 const* in, int samples);
    void (*pWiden16)(float* out, u16 const* in, int samples);
    void (*pSum)(float* out, TapSum<float> const& sum, int samples);
    void (*pSumTo8)(u8* out, TapSum<float> const& sum, int samples, TapRounding rounding);
    void (*pSumTo16)(u16* out, TapSum<float> const& sum, int samples, TapRounding rounding);
    /// In 16.16: (sum + add) >> 16, as it is or limited to 8 bits.
    void (*pWidenFixed8)(s32* out, u8 const* in, int samples);
    void (*pSumFixed)(s32* out, TapSum<s32> const& sum, int samples, s32 add);
    void (*pSumFixedTo8)(u8* out, TapSum<s32> const& sum, int samples, s32 add);
};
QZIL_ROW_TABLE(TapRows)

}  // namespace qzil
