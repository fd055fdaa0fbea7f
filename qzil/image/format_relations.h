#pragma once

#include "qzil/image/formats.h"

// Siblings of formats. The functions with a 32-bit result write the sibling and return 0, write the format itself and
// return 1 when it already has the property, or write GUID_NULL and return 0x80004005 when there is no sibling.

/// Channel sizes equal; channel size of a below that of b.
QZIL_API bool qzILIsEqualPrecisionFormat(GUID const& a, GUID const& b);
QZIL_API bool qzILIsLowerPrecisionFormat(GUID const& a, GUID const& b);

/// A working RGBA format: the format itself (true) when it is RGB, else one of its precision (false).
QZIL_API bool qzILFindAssociateRGBImageFormat(GUID const& format, GUID* result);
/// A working YCC format: the format itself (true) when it is YCC, else one of its precision (false), Rec. 601 for the
/// colour models 64 and 0xFFFFFFFF and Rec. 709 for all others.
QZIL_API bool qzILFindAssociateYCCImageFormat(GUID const& format, GUID* result, XFColorModel model);

QZIL_API HRESULT qzILFindAssociateImageFormatWithAlpha(GUID const& format, GUID* result);
QZIL_API HRESULT qzILFindAssociateImageFormatWithoutAlpha(GUID const& format, GUID* result);
/// One step down from float to S2.14 to 8 bits; never 1.
QZIL_API HRESULT qzILFindAssociateImageFormatWithLowerPrecision(GUID const& format, GUID* result);
/// The format with chroma first.
QZIL_API HRESULT qzILFindAssociateAltYUVImageFormat(GUID const& format, GUID* result);
/// The format with chroma first that is not split field.
QZIL_API HRESULT qzILFindAssociateAltYUVNonSFImageFormat(GUID const& format, GUID* result);
/// The format's family at a channel type of 2, 4, 8 or 64. Whatever is not RGB counts as YCC: monochrome formats give
/// 709 YCC formats, deliberately.
QZIL_API HRESULT qzILConvertFormatBasedOnChannelType(GUID const& format, XFChannelType type, GUID* result);
/// The formats of the colour and the alpha plane.
QZIL_API HRESULT qzILSplitYCCAImageFormat(GUID const& format, GUID* color, GUID* alpha);
