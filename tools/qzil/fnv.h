#pragma once

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

namespace qzil::command {

/// FNV-1a, 64 bits (Fowler, Noll and Vo).
struct Fnv {
    std::uint64_t uHash = 0xCBF29CE484222325u;

    void Add(std::span<unsigned char const> bytes) {
        for (unsigned char const byte : bytes) uHash = (uHash ^ byte) * 0x100000001B3u;
    }
    void AddNumber(int number) {
        for (int i = 0; i < 4; ++i) {
            auto const byte = static_cast<unsigned char>(number >> 8 * i);
            Add({&byte, 1});
        }
    }
    std::string Text() const {
        char text[17];
        std::snprintf(text, sizeof text, "%016" PRIx64, uHash);
        return text;
    }
};

}  // namespace qzil::command
