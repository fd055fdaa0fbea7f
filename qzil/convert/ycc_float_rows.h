#pragma once

#include "qzil/kernel/convert_row.h"

namespace qzil {

/// RGB to YCC in float. A row of factors is for red, green, blue, with the offset last.
struct RgbToYcc {
    float aY[4];
    float aCb[4];
    float aCr[4];
    float fAlpha;  ///< factor
    bool bFilter;
    bool bAlternate;  ///< chroma first in a pair
    float fDither;    ///< added before rounding, 4:4:4:4 only
};

/// YCC 4:2:2 to RGB in float.
struct YccToRgb {
    float fY;          ///< factor of all channels
    float aRed[2];     ///< Cr, offset
    float aGreen[3];   ///< Cb, Cr, offset
    float aBlue[2];    ///< Cb, offset
    float fAlpha;      ///< factor
    float fFullAlpha;  ///< alpha of the output where the source has no plane
    bool bInterpolate;
    bool bAlternate;    ///< chroma first in a pair
    bool bBgr;          ///< blue first in a target pixel
    bool bTargetAlpha;  ///< four samples a pixel, else three
    float* pErrors;     ///< running errors of red, green, blue, alpha; null without dithering
};

/// Sources to targets. The names are those of channel types: U8, S2_14, float, and W for 10.6.
template <class Constants>
struct ByTarget {
    kernel::TypedConvertRow<Constants> pU8, pS2_14, pW, pFloat;
};

struct YccFloatRows {
    ByTarget<RgbToYcc> oTo422FromU8, oTo422FromS2_14, oTo422FromFloat;
    ByTarget<RgbToYcc> oTo4444FromU8, oTo4444FromS2_14, oTo4444FromFloat;
    ByTarget<YccToRgb> oFromU8, oFromS2_14, oFromW, oFromFloat;  ///< no W targets
};
QZIL_ROW_TABLE(YccFloatRows)

}  // namespace qzil
