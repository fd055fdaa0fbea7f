#pragma once

#include "qzil/kernel/row.h"

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

struct FixedIir {
    s32 iA, iB, iC;
    int iDelay;  ///< of the sample that leaves, behind the first reach + 1
};
struct FixedUniformIir {
    s32 iR, iG1, iG2, iOneByN;
    int iQ;
};
struct DoubleIir {
    double dfA, dfB, dfC;
};
struct DoubleUniformIir {
    double dfR, dfG1, dfG2, dfN;
    int iQ;
    bool bFinite;  ///< no sample is infinite or not a number
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
    /// kFixedLanes and kDoubleLanes at a time.
    void (*pIir)(FilterPass<s16> const& pass, FixedIir const& filter);
    void (*pUniformIir)(FilterPass<s16> const& pass, FixedUniformIir const& filter);
    void (*pIirDouble)(FilterPass<float> const& pass, DoubleIir const& filter);
    void (*pUniformIirDouble)(FilterPass<float> const& pass, DoubleUniformIir const& filter);
    /// Any number of lanes, one after the other.
    void (*pIirAny)(FilterPass<s16> const& pass, FixedIir const& filter);
    void (*pUniformIirAny)(FilterPass<s16> const& pass, FixedUniformIir const& filter);
    void (*pIirDoubleAny)(FilterPass<float> const& pass, DoubleIir const& filter);
    void (*pUniformIirDoubleAny)(FilterPass<float> const& pass, DoubleUniformIir const& filter);

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
