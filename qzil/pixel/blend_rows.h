#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// One weight of B for the selected channels, whose word has all bits set; the others take the passed-through pixel.
template <class T>
struct BlendWeight {
    T oWeight;
    T aWord[4];
    int iSamples;
};

/// Float without a mask: a channel that is not selected has the weight 0 or 1 that stands for the passed-through pixel.
struct BlendLanesFloat {
    float aWeights[4];
    int iSamples;
};

/// S2.14 with a mask.
struct BlendMaskS2_14 {
    s32 iAlpha14;
    s32 iAlpha16;
    bool bPassB;
    bool abSelected[4];
    int iSamples;
};

/// Float with a mask.
struct BlendMaskFloat {
    float fAlpha;
    bool bPassB;
    bool abSelected[4];
    int iSamples;
};

/// (A * weight of A + B * weight of B) >> 16 for 8 bits, >> 15 for 16 bits.
struct GeneralBlendWeights {
    u32 uWeightA;
    u32 uWeightB;
    int iSamples;
};

struct BlendRows {
    kernel::TypedRow<BlendWeight<u8>> pBlend8;
    kernel::TypedRow<BlendWeight<u16>> pBlend16;
    kernel::TypedRow<BlendWeight<s16>> pBlendS2_14;
    kernel::TypedRow<BlendLanesFloat> pBlendFloat;
    kernel::TypedRow<BlendMaskS2_14> pBlendMaskS2_14;
    kernel::TypedRow<BlendMaskFloat> pBlendMaskFloat;
    kernel::TypedRow<GeneralBlendWeights> pGeneral8;
    kernel::TypedRow<GeneralBlendWeights> pGeneral16;
};
QZIL_ROW_TABLE(BlendRows)

}  // namespace qzil
