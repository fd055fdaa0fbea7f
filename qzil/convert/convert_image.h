#pragma once

#include "qzil/image/image.h"

/// Bits of the flags of qzILConvertImage.
inline constexpr unsigned kConvertFilterToYcc = 1;    ///< chroma is filtered on the way from RGB to 4:2:2
inline constexpr unsigned kConvertFilterFromYcc = 2;  ///< chroma is interpolated on the way from 4:2:2
inline constexpr unsigned kConvertDither = 4;         ///< rounding errors are carried along the line

/// Converts `region` of an image (default: all of it, as far as the destination reaches) to `offset` in another one
/// (default: the region's origin), by the conversion effect that serves the two formats.
///
/// `format` is the format that the destination has afterwards, GUID_NULL its present one; with a change of format it
/// gets new pixels at its size, zero where nothing is converted to them; if that fails, it is as it was. Source and
/// destination may be one image when the region covers it.
///
/// 0x80004003 for a null image, 0x80070057 for an offset without a region or one image that the region does not cover,
/// 0x8007000E without memory, 0x8000FFFF for lent memory of another size than the format asks for, 0x80004005 for
/// formats that are not converted into each other.
QZIL_API HRESULT qzILConvertImage(IXFImage* source, IXFImage* destination, GUID format, unsigned flags,
                                  qzILBbox2l const* region, qzILVector2l const* offset);
/// The same into a new image of the source's size; half a pair at the end of a line is zero. `*result` stays null on
/// any failure.
QZIL_API HRESULT qzILConvertImage(IXFImage* source, IXFImage** result, GUID format, unsigned flags);

namespace qzil {
/// True when qzILConvertImage converts images of these formats; equal formats are copied.
QZIL_API bool CanConvert(GUID const& from, GUID const& to);
}  // namespace qzil
