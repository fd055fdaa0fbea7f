#pragma once

#include "media/picture.h"
#include "qzil/convert/convert_image.h"

namespace qzil::media {

/// Flags of qzILConvertImage: chroma is filtered both ways.
inline constexpr unsigned kFilterChroma = kConvertFilterToYcc | kConvertFilterFromYcc;

/// The image in another format, by the library's conversions: by one that leads there, else over float or 16-bit RGBA,
/// float 4:4:4:4, float grey or RGBA_RAW_32, in at most three steps. 16 bits and float are rounded into each other; the
/// library's own way from 16 bits to their low bytes is not taken. An image of that format comes back as it is. Throws
/// MediaError, which names both formats.
Ref<IXFImage> Convert(IXFImage& source, GUID const& format, unsigned flags = kFilterChroma);

/// Whether Convert leads from one format to the other.
bool CanConvert(GUID const& from, GUID const& to);

/// Whether pictures can be put into images of the format, and taken out again.
bool HoldsPictures(GUID const& format);

}  // namespace qzil::media
