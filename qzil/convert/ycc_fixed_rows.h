#pragma once

#include "qzil/kernel/convert_row.h"

namespace qzil {

/// Where the bytes of a pixel pair lie in its 32-bit word, as shifts.
struct PairOrder {
    int iCb, iY0, iCr, iY1;
};

/// 8-bit RGB to 8-bit 4:2:2 in 16.16 fixed point. Factors stand in the order of the source's bytes, the offset last.
struct RgbToPairs {
    s32 aY[4];
    s32 aCb[4];
    s32 aCr[4];
    PairOrder oOrder;
    bool bFilter;
    bool bSourceAlpha;  ///< four bytes a pixel, the last alpha; else three
};

/// 8-bit 4:2:2 to 8-bit RGB in 16.16 fixed point.
struct PairsToRgb {
    s32 iY;         ///< serves all channels
    s32 aRed[2];    ///< Cr, offset
    s32 aGreen[3];  ///< Cb, Cr, offset
    s32 aBlue[2];   ///< Cb, offset
    PairOrder oOrder;
    int iRed, iBlue;  ///< shifts of the bytes in a target pixel
    bool bInterpolate;
    bool bTargetAlpha;  ///< four bytes a pixel; else three
};

struct YccFixedRows {
    kernel::TypedConvertRow<RgbToPairs> pRgbToPairs;
    kernel::TypedConvertRow<PairsToRgb> pPairsToRgb;
};
QZIL_ROW_TABLE(YccFixedRows)

}  // namespace qzil
