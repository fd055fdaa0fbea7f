#pragma once

#include "media/picture.h"

namespace qzil::media {

/// The image in another format, by the library's conversions with filtered chroma: by one that leads there, else over
/// float RGBA, float 4:4:4:4 or RGBA_RAW_32, in at most three steps. An image of that format comes back as it is.
/// Throws MediaError, which names both formats.
Ref<IXFImage> Convert(IXFImage& source, GUID const& format);

/// Whether Convert leads from one format to the other.
bool CanConvert(GUID const& from, GUID const& to);

/// Whether pictures can be put into images of the format, and taken out again.
bool HoldsPictures(GUID const& format);

}  // namespace qzil::media
