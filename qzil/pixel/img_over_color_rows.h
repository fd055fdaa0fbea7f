#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

struct OverColor8 {
    u8 aBackground[4];  ///< premultiplied
    u8 aWord[4];        ///< all bits set in selected channels
    u8 uOpacity;
};

/// 8-bit 4:2:2 with an alpha plane.
struct OverColorYuva8 {
    s32 aBackground[3];  ///< Y - 16, Cb - 128, Cr - 128 of the premultiplied colour
    u8 uAlpha;
    u8 uOpacity;
    bool bPremultiplied;
    bool bWritesAlpha;
};

/// Float and S2.14. The background is premultiplied and in the scale of the samples: RGBA, or Cb, Y, Cr, Y and alpha.
struct OverColorReal {
    float aBackground[4];
    float fAlpha;
    float fOpacity;
    bool bPremultiplied;
    bool bHasAlpha;
    bool bWritesAlpha;
    bool abSelected[4];  ///< RGBA only
};

struct OverColorRows {
    kernel::TypedRow<OverColor8> pPremultiplied8;  ///< with and without a mask, as all but the video rows of 8 bits
    kernel::TypedRow<OverColor8> pStraight8;
    kernel::TypedRow<OverColorYuva8> pYuva8;
    kernel::TypedRow<OverColorReal> pRgbaFloat;
    kernel::TypedRow<OverColorReal> pRgbaS2_14;
    kernel::TypedRow<OverColorReal> pYccaFloat;
    kernel::TypedRow<OverColorReal> pYccaS2_14;
};
QZIL_ROW_TABLE(OverColorRows)

}  // namespace qzil
