#pragma once

#include "catalog/catalog.h"

#include <cstdio>
#include <string>

namespace qzil::command {

/// A text in quotes. Bytes above ASCII are taken for UTF-8.
inline std::string JsonText(std::string const& text) {
    std::string quoted = "\"";
    for (char const c : text) {
        char code[8];
        if (c == '"' || c == '\\') {
            quoted += {'\\', c};
        } else if (static_cast<unsigned char>(c) < 0x20) {
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            quoted += code;
        } else {
            quoted += c;
        }
    }
    return quoted + "\"";
}

/// An effect of the catalogue as an object.
std::string EntryJson(catalog::Entry const& entry);

}  // namespace qzil::command
