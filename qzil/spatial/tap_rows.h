#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Lines are summed as tiles: strips of a line stand side by side, so that a position holds this many samples, one
/// pixel of each strip. The neighbours of a position are then aligned, whatever a pixel has of samples.
inline constexpr int kTapSamples = 16;

/// Taps other than 0 that follow each other, and where their samples begin.
template <class Sample>
struct TapRun {
    Sample const* pTaps;
    int iTaps;
    int iFrom;  ///< of the sources of a sum, the one under the first tap
};

/// Weighted sums, in the order of the runs.
template <class Sample>
struct TapSums {
    TapRun<Sample> const* pRuns;
    int iRuns;
    Sample* pOut;
    int iPositions;
};

/// How a float sum becomes an integer, of which the low bits are kept.
struct TapRounding {
    float fOffset;      ///< added in float
    bool bHalfInFloat;  ///< 0.5 is part of that offset; otherwise it is added in double
    bool bFits;         ///< no sum can leave 32 bits
};

template <class Sample>
struct TapFunctions {
    /// Tap j of run r weighs the position `iFrom` + j of the r-th line behind that of the sum.
    void (*pAcross)(TapSums<Sample> const& sums, Sample const* const* lines);
    /// Sums of a run of lines, `count` outputs of `outStep` samples: tap j weighs line `iFrom` + j behind line
    /// `step` * k.
    void (*pDown)(TapSums<Sample> const& sums, std::ptrdiff_t outStep, Sample const* const* lines, int count, int step);
};

struct TapRows {
    TapFunctions<float> oFloat;
    TapFunctions<s32> oFixed;

    void (*pWiden8)(float* out, u8 const* in, int samples);
    void (*pWiden16)(float* out, u16 const* in, int samples);
    void (*pWidenFixed8)(s32* out, u8 const* in, int samples);
    void (*pRound8)(u8* out, float const* in, int samples, TapRounding rounding);
    void (*pRound16)(u16* out, float const* in, int samples, TapRounding rounding);
    /// In 16.16: (sum + add) >> 16, as it is or limited to 8 bits.
    void (*pShiftFixed)(s32* out, s32 const* in, int samples, s32 add);
    void (*pShiftFixedTo8)(u8* out, s32 const* in, int samples, s32 add);
};
QZIL_ROW_TABLE(TapRows)

}  // namespace qzil
