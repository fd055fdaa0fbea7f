#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// The bins of a histogram; without a place for them it is not filled.
struct Bins {
    float* pBins;
    u32 uLast;
    double dfLower, dfUpper, dfInverseWidth;
};

struct HistogramBins {
    Bins oChannel0, oChannel1, oChannel2, oAlpha, oAverage, oLuma, oComposite;
};

/// Counts the pixels of RGBA. The lines of `pToYcc` belong to red, green, blue, and a fourth is added.
template <class T>
struct CountPixels {
    HistogramBins* pBins;
    u32* pCount;
    double const (*pToYcc)[4];
    bool b709;
    float fSetup;
};
QZIL_OPERATION(CountPixels, float)

/// Counts the pixels of 4:2:2. The lines of `pToRgb` belong to Y, Cb, Cr, and a fourth is added.
template <class T>
struct CountPairs {
    HistogramBins* pBins;
    u32* pCount;
    double const (*pToRgb)[4];
    float fSetup;
};
QZIL_OPERATION(CountPairs, float)

}  // namespace qzil
