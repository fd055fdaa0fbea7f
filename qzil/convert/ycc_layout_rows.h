#pragma once

#include "qzil/kernel/convert_row.h"

namespace qzil {

/// Where the samples of a YCC format lie, counted in samples. Chroma sites are pixels, or pairs.
struct YccPlaces {
    int iLumaStep;  ///< from one pixel's luma to the next; a chroma site always has four samples
    int iLuma, iCb, iCr;
    int iAlpha;  ///< in a pixel of four samples; -1 where alpha is a plane or absent
    bool bPairs;
};

/// One YCC layout to another.
struct YccToYcc {
    YccPlaces oIn, oOut;
    float aY[4];   ///< factors of Y, Cb, Cr, and the offset
    float aCb[3];  ///< factors of Cb, Cr, and the offset
    float aCr[3];
    float fAlpha;      ///< factor
    float fFullAlpha;  ///< alpha of the output where the input has none
    bool bCopies;      ///< samples move as they are
    bool bMatrix;      ///< luma depends on chroma
    bool bFilter;      ///< chroma between sites is interpolated, chroma of dropped sites filtered in
    float* pErrors;    ///< running errors of Y, Cb, Cr, alpha; null without dithering
};

/// Alpha as a picture: the luma of a key signal, and back.
struct KeyLevels {
    YccPlaces oPlaces;  ///< of the picture
    float fScale, fOffset;
    float fNeutral;  ///< chroma of the picture
};

/// By the type of the output: U8, U16, S2.14, float.
template <class Constants>
using ByYccType = kernel::TypedConvertRow<Constants>[4];

struct YccLayoutRows {
    ByYccType<YccToYcc> apConvert[4];   ///< [type of the input]
    ByYccType<KeyLevels> apToKey[4];    ///< an alpha plane to a picture
    ByYccType<KeyLevels> apFromKey[4];  ///< a picture to an alpha plane
};
QZIL_ROW_TABLE(YccLayoutRows)

}  // namespace qzil
