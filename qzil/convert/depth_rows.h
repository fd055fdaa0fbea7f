#pragma once

#include "qzil/kernel/convert_row.h"

namespace qzil {

/// Channel i of a row becomes v * aScale[i & 3] + aOffset[i & 3], in float, rounded and limited to the target.
struct LinearDepth {
    float aScale[4];
    float aOffset[4];
    int iSamples;  ///< per pixel
    bool bSwap;    ///< the 8-bit side holds channels 0 and 2 exchanged
};

/// Fixed-point levels: (v * iScale + iOffset) >> 16 limited to 8 bits, alpha copied.
struct LevelShift {
    s32 iScale;
    s32 iOffset;
    bool bSwap;
};

struct SampleCount {
    int iSamples;  ///< per pixel
};

struct DepthRows {
    kernel::TypedConvertRow<LinearDepth> pUbyteToS2_14, pUbyteToFloat, pFloatToS2_14, pS2_14ToFloat, pFloatToUbyte,
        pS2_14ToUbyte;
    kernel::TypedConvertRow<LevelShift> pLevels;
    kernel::TypedConvertRow<SampleCount> pWiden8, pNarrow16, pSwap8, pAddAlpha8, pRemoveAlpha8, pAddAlphaFloat,
        pRemoveAlphaFloat;
};
QZIL_ROW_TABLE(DepthRows)

}  // namespace qzil
