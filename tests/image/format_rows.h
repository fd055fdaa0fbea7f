#pragma once

#include "qzil/image/formats.h"

#include <cstdio>
#include <string_view>
#include <vector>

namespace qzil::test {

/// What is expected of a format, written down apart from the library's own table.
struct FormatRow {
    char const* pName;
    GUID oNamed;  ///< the library's constant
    char const* pText;
    unsigned uType;
    unsigned uChannels;
    unsigned uChannelSize;
    unsigned uPixelSize;
    unsigned uModel;
    std::string_view oTrue;

    bool Is(char letter) const { return oTrue.find(letter) != std::string_view::npos; }
};

inline constexpr FormatRow kFormatRows[] = {
#define QZIL_FORMAT(name, text, type, channels, channelSize, pixelSize, model, letters) \
    {#name, name, text, type, channels, channelSize, pixelSize, model, letters},
#include "image/format_table.inc"
#undef QZIL_FORMAT
};

}  // namespace qzil::test
