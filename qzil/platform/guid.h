#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstdint>

/// A 16-byte identifier. In memory and in streams the first three groups of its text form are little-endian.
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(GUID const&, GUID const&) = default;
    friend constexpr auto operator<=>(GUID const&, GUID const&) = default;
};
static_assert(sizeof(GUID) == 16 && std::endian::native == std::endian::little,
              "the memory form of a GUID is its stream form");

inline constexpr GUID GUID_NULL{};

constexpr bool IsEqualGUID(GUID const& a, GUID const& b) {
    return a == b;
}

namespace qzil::platform {

/// The identifier of a text such as "0cb9135c-5a29-11ce-babc-00aa00629284"; a wrong digit does not compile.
consteval GUID MakeGuid(char const (&text)[37]) {
    std::array<std::uint8_t, 16> bytes{};
    int digits = 0;
    for (int i = 0; i < 36; ++i) {
        char const c = text[i];
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (c != '-') throw "a GUID has hyphens behind its 8th, 12th, 16th and 20th digit";
            continue;
        }
        int const value = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (value < 0) throw "a GUID is written in lower-case hexadecimal digits";
        bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] * 16 + value);
        ++digits;
    }
    GUID guid{};
    for (int i = 0; i < 4; ++i) guid.Data1 = guid.Data1 << 8 | bytes[i];
    guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    for (int i = 0; i < 8; ++i) guid.Data4[i] = bytes[8 + i];
    return guid;
}

}  // namespace qzil::platform
