#pragma once

#include "qzil/platform/com.h"

#include <cstddef>

namespace qzil::platform {

/// Makes a growing stream in memory, counted once, holding a copy of `size` bytes and standing at its start.
QZIL_API HRESULT CreateMemoryStream(void const* bytes, std::size_t size, IStream** out);

enum class FileMode {
    Read,   ///< an existing file
    Write,  ///< a new or emptied file
};

/// Opens a file as a stream, counted once. A path that cannot be opened gives 0x80004005.
QZIL_API HRESULT CreateFileStream(char const* path, FileMode mode, IStream** out);

}  // namespace qzil::platform
