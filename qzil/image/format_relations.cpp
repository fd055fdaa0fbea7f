#include "qzil/image/format_relations.h"

using namespace qzil::platform;

namespace {

struct Relation {
    GUID oFrom;
    GUID oTo;
};

constexpr Relation kWithAlpha[] = {
    {MFIF_RGB_RAW_24, MFIF_RGBA_RAW_32},
    {MFIF_RGB_S2_14, MFIF_RGBA_S2_14},
    {MFIF_RGB_FLOAT, MFIF_RGBA_FLOAT},
    {MFIF_RGB_FLOAT_BU, MFIF_RGBA_FLOAT_BU},
    {MFIF_CbYCrY_16, MFIF_CbYCrYA_24},
    {MFIF_CbYCrY709_16, MFIF_CbYCrY709A_24},
    {MFIF_CbYCrY_16_FR, MFIF_CbYCrYA_24_FR},
    {MFIF_CbYCrY709_16_FR, MFIF_CbYCrY709A_24_FR},
    {MFIF_CbYCrY_S2_14, MFIF_CbYCrYA_S2_14},
    {MFIF_CbYCrY709_S2_14, MFIF_CbYCrY709A_S2_14},
    {MFIF_CbYCrY_FLOAT, MFIF_CbYCrYA_FLOAT},
    {MFIF_CbYCrY709_FLOAT, MFIF_CbYCrY709A_FLOAT},
    {MFIF_CbYCrY_20, MFIF_CbYCrYA_30},
    {MFIF_CbYCrY709_20, MFIF_CbYCrY709A_30},
    {MFIF_CbYCrY_20_FR, MFIF_CbYCrYA_30_FR},
    {MFIF_CbYCrY709_20_FR, MFIF_CbYCrY709A_30_FR},
    {MFIF_CbYCrY_10_6, MFIF_CbYCrYA_10_6},
    {MFIF_CbYCrY709_10_6, MFIF_CbYCrY709A_10_6},
    {MFIF_CbYCrY_10_6_FR, MFIF_CbYCrYA_10_6_FR},
    {MFIF_CbYCrY709_10_6_FR, MFIF_CbYCrY709A_10_6_FR},
    {MFIF_YCC_422_16, MFIF_YCCA_24},
    {MFIF_YCC709_422_16, MFIF_YCC709A_24},
};

/// Split-field formats have no form with alpha of their own: their siblings are frame formats, one way only.
constexpr Relation kFieldsWithAlpha[] = {
    {MFIF_CbYCrY_16_SF_TFL, MFIF_CbYCrYA_24},       {MFIF_CbYCrY_16_SF_TFF, MFIF_CbYCrYA_24},
    {MFIF_CbYCrY709_16_SF_TFL, MFIF_CbYCrY709A_24}, {MFIF_CbYCrY709_16_SF_TFF, MFIF_CbYCrY709A_24},
    {MFIF_YCC_422_16_SF_NTSC, MFIF_YCCA_24},        {MFIF_YCC_422_16_SF_PAL, MFIF_YCCA_24},
    {MFIF_YCC709_422_16_SF_EVEN, MFIF_YCC709A_24},  {MFIF_YCC709_422_16_SF_ODD, MFIF_YCC709A_24},
};

constexpr Relation kLowerPrecision[] = {
    {MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14},
    {MFIF_RGBA_FLOAT_BU, MFIF_RGBA_S2_14},
    {MFIF_RGBA_S2_14, MFIF_RGBA_RAW_32},
    {MFIF_MONO_FLOAT, MFIF_MONO_S2_14},
    {MFIF_MONO_S2_14, MFIF_MONO_RAW_8},
    {MFIF_CbYCrY_FLOAT, MFIF_CbYCrY_S2_14},
    {MFIF_CbYCrYA_FLOAT, MFIF_CbYCrYA_S2_14},
    {MFIF_CbYCrY709_FLOAT, MFIF_CbYCrY709_S2_14},
    {MFIF_CbYCrY709A_FLOAT, MFIF_CbYCrY709A_S2_14},
    {MFIF_CbYCrY_S2_14, MFIF_CbYCrY_16},
    {MFIF_CbYCrY_10_6, MFIF_CbYCrY_16},
    {MFIF_CbYCrY709_S2_14, MFIF_CbYCrY709_16},
    {MFIF_CbYCrY709_10_6, MFIF_CbYCrY709_16},
    {MFIF_CbYCrYA_S2_14, MFIF_CbYCrYA_24},
    {MFIF_CbYCrYA_10_6, MFIF_CbYCrYA_24},
    {MFIF_CbYCrY709A_S2_14, MFIF_CbYCrY709A_24},
    {MFIF_CbYCrY709A_10_6, MFIF_CbYCrY709A_24},
    {MFIF_CbYCrA_10_6_4444, MFIF_CbYCrA_8_4444},
    {MFIF_CbYCr709A_10_6_4444, MFIF_CbYCr709A_8_4444},
};

constexpr Relation kChromaFirst[] = {
    {MFIF_YCC_422_16, MFIF_CbYCrY_16},
    {MFIF_YCC_422_16_SF_NTSC, MFIF_CbYCrY_16_SF_TFL},
    {MFIF_YCC_422_16_SF_PAL, MFIF_CbYCrY_16_SF_TFF},
    {MFIF_YCC709_422_16, MFIF_CbYCrY709_16},
    {MFIF_YCC709_422_16_SF_EVEN, MFIF_CbYCrY709_16_SF_TFL},
    {MFIF_YCC709_422_16_SF_ODD, MFIF_CbYCrY709_16_SF_TFF},
};

struct Planes {
    GUID oFormat;
    GUID oColor;
    GUID oAlpha;
};

constexpr Planes kPlanes[] = {
    {MFIF_CbYCrYA_24, MFIF_CbYCrY_16, MFIF_MONO_RAW_8_TD},
    {MFIF_CbYCrY709A_24, MFIF_CbYCrY709_16, MFIF_MONO_RAW_8_TD},
    {MFIF_CbYCrYA_24_FR, MFIF_CbYCrY_16_FR, MFIF_MONO_RAW_8_TD},
    {MFIF_CbYCrY709A_24_FR, MFIF_CbYCrY709_16_FR, MFIF_MONO_RAW_8_TD},
    {MFIF_YCCA_24, MFIF_YCC_422_16, MFIF_MONO_RAW_8_TD},
    {MFIF_YCC709A_24, MFIF_YCC709_422_16, MFIF_MONO_RAW_8_TD},
    {MFIF_CbYCrYA_S2_14, MFIF_CbYCrY_S2_14, MFIF_MONO_S2_14},
    {MFIF_CbYCrY709A_S2_14, MFIF_CbYCrY709_S2_14, MFIF_MONO_S2_14},
    {MFIF_CbYCrYA_FLOAT, MFIF_CbYCrY_FLOAT, MFIF_MONO_FLOAT},
    {MFIF_CbYCrY709A_FLOAT, MFIF_CbYCrY709_FLOAT, MFIF_MONO_FLOAT},
    {MFIF_CbYCrYA_30, MFIF_CbYCrY_20, MFIF_MONO_RAW_10},
    {MFIF_CbYCrY709A_30, MFIF_CbYCrY709_20, MFIF_MONO_RAW_10},
    {MFIF_CbYCrYA_30_FR, MFIF_CbYCrY_20_FR, MFIF_MONO_RAW_10},
    {MFIF_CbYCrY709A_30_FR, MFIF_CbYCrY709_20_FR, MFIF_MONO_RAW_10},
    {MFIF_CbYCrYA_10_6, MFIF_CbYCrY_10_6, MFIF_MONO_RAW_16_TD},
    {MFIF_CbYCrY709A_10_6, MFIF_CbYCrY709_10_6, MFIF_MONO_RAW_16_TD},
    {MFIF_CbYCrYA_10_6_FR, MFIF_CbYCrY_10_6_FR, MFIF_MONO_RAW_16_TD},
    {MFIF_CbYCrY709A_10_6_FR, MFIF_CbYCrY709_10_6_FR, MFIF_MONO_RAW_16_TD},
};
static_assert(std::size(kPlanes) == 18);

/// The members of a YCC family: Rec. 601 and Rec. 709.
struct Pair {
    GUID o601;
    GUID o709;

    constexpr GUID const& For(bool rec601) const { return rec601 ? o601 : o709; }
};

/// A family by channel type: 8-bit, S2.14, 10.6 and float.
struct Family {
    Pair oUInt8;
    Pair oS2_14;
    Pair o10_6;
    Pair oFloat;

    constexpr Pair const* At(XFChannelType type) const {
        switch (type) {
            case XFChannelTypeUInt8: return &oUInt8;
            case XFChannelTypeS2_14: return &oS2_14;
            case XFChannelTypeUInt16: return &o10_6;
            case XFChannelTypeFloat: return &oFloat;
            default: return nullptr;
        }
    }
};

constexpr Family kOpaque422{{MFIF_CbYCrY_16, MFIF_CbYCrY709_16},
                            {MFIF_CbYCrY_S2_14, MFIF_CbYCrY709_S2_14},
                            {MFIF_CbYCrY_10_6, MFIF_CbYCrY709_10_6},
                            {MFIF_CbYCrY_FLOAT, MFIF_CbYCrY709_FLOAT}};
constexpr Family kAlpha422{{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24},
                           {MFIF_CbYCrYA_S2_14, MFIF_CbYCrY709A_S2_14},
                           {MFIF_CbYCrYA_10_6, MFIF_CbYCrY709A_10_6},
                           {MFIF_CbYCrYA_FLOAT, MFIF_CbYCrY709A_FLOAT}};
constexpr Family k4444{{MFIF_CbYCrA_8_4444, MFIF_CbYCr709A_8_4444},
                       {MFIF_CbYCrA_S2_14_4444, MFIF_CbYCr709A_S2_14_4444},
                       {MFIF_CbYCrA_10_6_4444, MFIF_CbYCr709A_10_6_4444},
                       {MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444}};

HRESULT Found(GUID const& sibling, GUID* result) {
    *result = sibling;
    return kOk;
}

HRESULT Unchanged(GUID const& format, GUID* result) {
    *result = format;
    return kFalse;
}

HRESULT None(GUID* result) {
    *result = GUID_NULL;
    return kFailure;
}

HRESULT LookUp(std::span<Relation const> relations, GUID const& format, GUID* result) {
    for (Relation const& relation : relations) {
        if (relation.oFrom == format) return Found(relation.oTo, result);
    }
    return None(result);
}

}  // namespace

bool qzILIsEqualPrecisionFormat(GUID const& a, GUID const& b) {
    return GetChannelSizeFromFormat(a) == GetChannelSizeFromFormat(b);
}

bool qzILIsLowerPrecisionFormat(GUID const& a, GUID const& b) {
    return GetChannelSizeFromFormat(a) < GetChannelSizeFromFormat(b);
}

bool qzILFindAssociateRGBImageFormat(GUID const& format, GUID* result) {
    if (IsFormatRGB(format)) {
        *result = format;
        return true;
    }
    *result = IsFormatFloat(format)                                 ? MFIF_RGBA_FLOAT
              : IsFormatS2_14(format) || IsFormat10_6YCC422(format) ? MFIF_RGBA_S2_14
                                                                    : MFIF_RGBA_RAW_32;
    return false;
}

bool qzILFindAssociateYCCImageFormat(GUID const& format, GUID* result, XFColorModel model) {
    if (IsFormatYCC(format)) {
        *result = format;
        return true;
    }
    Family const& family = IsFormatWithAlpha(format) ? kAlpha422 : kOpaque422;
    Pair const& pair = IsFormatFloat(format) ? family.oFloat : IsFormatS2_14(format) ? family.oS2_14 : family.oUInt8;
    *result = pair.For(model == XFColorModelYCC601 || model == 0xFFFFFFFF);
    return false;
}

HRESULT qzILFindAssociateImageFormatWithAlpha(GUID const& format, GUID* result) {
    if (IsFormatWithAlpha(format)) return Unchanged(format, result);
    if (LookUp(kWithAlpha, format, result) >= 0) return kOk;
    return LookUp(kFieldsWithAlpha, format, result);
}

HRESULT qzILFindAssociateImageFormatWithoutAlpha(GUID const& format, GUID* result) {
    if (!IsFormatWithAlpha(format)) return Unchanged(format, result);
    for (Relation const& relation : kWithAlpha) {
        if (relation.oTo == format) return Found(relation.oFrom, result);
    }
    return None(result);
}

HRESULT qzILFindAssociateImageFormatWithLowerPrecision(GUID const& format, GUID* result) {
    return LookUp(kLowerPrecision, format, result);
}

HRESULT qzILFindAssociateAltYUVImageFormat(GUID const& format, GUID* result) {
    if (IsFormatAlternateYUV(format) || !IsFormatYCC(format)) return Unchanged(format, result);
    return LookUp(kChromaFirst, format, result);
}

HRESULT qzILFindAssociateAltYUVNonSFImageFormat(GUID const& format, GUID* result) {
    HRESULT const found = qzILFindAssociateAltYUVImageFormat(format, result);
    if (found < 0 || !IsFormatSplitField(*result)) return found;
    if (IsFormat601(*result)) return Found(MFIF_CbYCrY_16, result);
    if (IsFormat709(*result)) return Found(MFIF_CbYCrY709_16, result);
    return None(result);
}

HRESULT qzILConvertFormatBasedOnChannelType(GUID const& format, XFChannelType type, GUID* result) {
    if (IsFormatRGB(format)) {
        switch (type) {
            case XFChannelTypeUInt8: return Found(MFIF_RGBA_RAW_32, result);
            case XFChannelTypeS2_14: return Found(MFIF_RGBA_S2_14, result);
            case XFChannelTypeFloat: return Found(MFIF_RGBA_FLOAT, result);
            default: return None(result);
        }
    }
    Family const& family = IsFormatYCCA4444(format) ? k4444 : IsFormatYCCA(format) ? kAlpha422 : kOpaque422;
    Pair const* const pPair = family.At(type);
    return pPair ? Found(pPair->For(IsFormat601(format)), result) : None(result);
}

HRESULT qzILSplitYCCAImageFormat(GUID const& format, GUID* color, GUID* alpha) {
    for (Planes const& planes : kPlanes) {
        if (planes.oFormat != format) continue;
        *color = planes.oColor;
        *alpha = planes.oAlpha;
        return kOk;
    }
    *color = *alpha = GUID_NULL;
    return kFailure;
}
