#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Samples of a position, the distance of neighbours that are weighed. Pixels of four samples are summed as they lie:
/// vectors of four pixels share most of the neighbours that they load. Lines of single samples are summed as tiles of
/// 16 strips of the line side by side, so that neighbours are aligned.
inline constexpr int kPixelSamples = 4, kTileSamples = 16;

/// Taps other than 0 that follow each other, and where their samples begin.
template <class Sample>
struct TapRun {
    Sample const* pTaps;
    int iTaps;
    int iFrom;  ///< of the sources of a sum, the one under the first tap
};

/// How a float sum becomes an integer, of which the low bits are kept.
struct TapRounding {
    int iSampleBytes;
    float fOffset;      ///< added in float
    bool bHalfInFloat;  ///< 0.5 is part of that offset; otherwise it is added in double
    bool bFits;         ///< no sum can leave 32 bits
};
/// How a sum in 16.16 does: (sum + add) >> 16, limited to 8 bits.
struct FixedRounding {
    static constexpr int iSampleBytes = 1;
    static constexpr bool bFits = true;
    s32 iAdd;
};

/// Weighted sums in the order of the runs, where tap j of run r weighs the position `iFrom` + j of the r-th line behind
/// that of the sum. As they are, for which up to 15 samples more may be read and written, or rounded.
template <class Sample, class Rounding>
struct TapAcross {
    TapRun<Sample> const* pRuns;
    int iRuns;
    Sample const* const* pLines;
    Sample* pSums;  ///< null for rounded ones
    u8* pOut;
    int iSamples;
    Rounding oRounding;
};

/// Sums of a run of lines, rounded: tap j weighs line `iFrom` + j behind line `iStep` * k for the k-th output.
template <class Sample, class Rounding>
struct TapDown {
    TapRun<Sample> const* pRuns;
    int iRuns;
    Sample const* const* pLines;
    std::ptrdiff_t iFirst;  ///< sample of the lines that the first sum is below
    int iStep;
    u8* pOut;
    std::ptrdiff_t iOutStep;  ///< bytes
    int iLines;               ///< to make
    int iSamples;
    Rounding oRounding;
};

template <class Sample, class Rounding>
struct TapFunctions {
    void (*pAcrossPixels)(TapAcross<Sample, Rounding> const& across);
    void (*pAcrossTiles)(TapAcross<Sample, Rounding> const& across);
    void (*pDown)(TapDown<Sample, Rounding> const& down);
};

struct TapRows {
    TapFunctions<float, TapRounding> oFloat;
    TapFunctions<s32, FixedRounding> oFixed;

    void (*pWiden8)(float* out, u8 const* in, int samples);
    void (*pWiden16)(float* out, u16 const* in, int samples);
    void (*pWidenFixed8)(s32* out, u8 const* in, int samples);
    /// In 16.16: (sum + 32768) >> 16, in place.
    void (*pShiftFixed)(s32* sums, int samples);
};
QZIL_ROW_TABLE(TapRows)

}  // namespace qzil
