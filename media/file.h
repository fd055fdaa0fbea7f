#pragma once

#include "media/codecs.h"

#include <string>

namespace qzil::media {

/// The content of a file. Throws Fault.
Bytes ReadWholeFile(std::string const& path);

/// Puts a file in place of what stands at `path`, through a temporary file beside it: on failure nothing is left behind
/// and an old file stays. Throws Fault.
void ReplaceFile(std::string const& path, ByteView content);

}  // namespace qzil::media
