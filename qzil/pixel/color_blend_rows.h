#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Four lanes: the channels of a pixel, or the samples of two 4:2:2 pixels.

/// out = NormMult(weight, in) + add
struct ScaleAdd8 {
    u8 aScale[4];
    u8 aAdd[4];
    int iSamples;
};

/// Toward a colour by weight, times the mask where there is one.
template <class T>
struct ColorBlendConstants {
    T aColor[4];
    T aWeight[4];
    int iSamples;
};

/// S2.14 mono: alpha without a mask, and in 16 bits to be multiplied with one.
struct ColorBlendMonoS14 {
    s16 iColor;
    s16 iAlpha14;
    s32 iAlpha16;
};

struct ColorBlendRows {
    kernel::TypedRow<ScaleAdd8> pScaleAdd8;
    kernel::TypedRow<ColorBlendConstants<u8>> pMask8;
    kernel::TypedRow<ColorBlendConstants<u16>> pBlend16;  ///< with and without a mask, as all below
    kernel::TypedRow<ColorBlendConstants<float>> pBlendFloat;
    kernel::TypedRow<ColorBlendConstants<float>> pBlendS2_14;
    kernel::TypedRow<ColorBlendMonoS14> pBlendMonoS2_14;
};
QZIL_ROW_TABLE(ColorBlendRows)

}  // namespace qzil
