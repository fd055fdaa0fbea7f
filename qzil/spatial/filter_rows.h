#pragma once

#include "qzil/kernel/row.h"

#include <type_traits>

namespace qzil {

/// Sequences that are filtered side by side, in fixed point and in double.
inline constexpr int kFixedLanes = 64;
inline constexpr int kDoubleLanes = 32;

/// One pass over sequences that lie beside each other: sample i of all of them stands `iInStep` samples behind sample
/// i - 1. `iLength` inputs give `iLength - iReach` outputs, in reverse order.
template <class Sample>
struct FilterPass {
    Sample const* pIn;
    std::ptrdiff_t iInStep;
    Sample* pOut;
    std::ptrdiff_t iOutStep;
    int iLength;
    int iReach;
    int iLanes;  ///< of the functions that take any number
};

/// The coefficients of a recurrence, see blur_filters.h. `iBox` is the delay of the sample that leaves the box,
/// `iDelay` that of the sample that leaves the reach, from the first one behind it on.
struct FixedFilter {
    s32 iDecay, iEnter, iLeave;
    s32 iShare;  ///< 1 / N
    int iBox;
    int iDelay;
};
struct DoubleFilter {
    double dfDecay, dfEnter, dfLeave;
    double dfNorm;  ///< N
    int iBox;
    int iDelay;
    bool bFinite;  ///< no sample is infinite or not a number
};

template <class Sample>
using FilterOf = std::conditional_t<std::is_same_v<Sample, s16>, FixedFilter, DoubleFilter>;

template <class Sample>
using FilterFunction = void (*)(FilterPass<Sample> const& pass, FilterOf<Sample> const& filter);

template <class Sample>
struct FilterFunctions {
    FilterFunction<Sample> pExponential;
    FilterFunction<Sample> pUniform;
};

/// Pixels of `iElement` bytes, taken from lines into a tile or back: pixel x of all lines stands together in the tile.
struct TileMove {
    u8* pTile;
    int iTileStep;  ///< bytes from a position of the tile to the next
    u8* pLine;      ///< of the first line
    std::ptrdiff_t iLineStep;
    int iLines;
    int iPixels;
    int iElement;  ///< 1, 2, 4, 8 or 16
};

/// Samples of lines, `iAt` bytes behind the start of each; the strip's lines have all lanes of a filter.
template <class Out>
struct StripLoad {
    Out* pOut;
    u8 const* const* pLines;
    std::ptrdiff_t iAt;
    int iSamples;
    int iLines;
};

struct FilterRows {
    FilterFunctions<s16> oFixed;     ///< kFixedLanes at a time
    FilterFunctions<s16> oFixedAny;  ///< any number, one after the other
    FilterFunctions<float> oDouble;  ///< kDoubleLanes at a time
    FilterFunctions<float> oDoubleAny;

    void (*pToTile)(TileMove const& move);
    void (*pFromTile)(TileMove const& move);

    /// Samples of a strip of lines into what the filters take: 8 bits times 64, or floats.
    void (*pTimes64)(StripLoad<s16> const& strip);
    void (*pFloatsOf8)(StripLoad<float> const& strip);
    void (*pFloatsOf16)(StripLoad<float> const& strip);
    void (*pFloatsOfS2_14)(StripLoad<float> const& strip);
    void (*pFloats)(StripLoad<float> const& strip);
    /// And back: over 64, without rounding; rounded; for float the value + 0.
    void (*pBy64)(u8* out, s16 const* in, int samples);
    void (*pTo8)(u8* out, float const* in, int samples);
    void (*pTo16)(u16* out, float const* in, int samples);
    void (*pToS2_14)(s16* out, float const* in, int samples);
    void (*pToFloat)(float* out, float const* in, int samples);
};
QZIL_ROW_TABLE(FilterRows)

}  // namespace qzil
