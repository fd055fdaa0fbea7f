#pragma once

#include "qzil/platform/api.h"

#include <cstddef>
#include <cstdint>

namespace qzil::platform {

struct SystemInfo {
    std::uint32_t dwPageSize;
};

QZIL_API void GetSystemInfo(SystemInfo* info);

inline constexpr std::uint32_t kMemCommit = 0x1000;
inline constexpr std::uint32_t kMemTopDown = 0x100000;
inline constexpr std::uint32_t kMemRelease = 0x8000;
inline constexpr std::uint32_t kPageReadWrite = 4;

/// Zero-filled memory that starts on a page, or null. Large blocks take real memory only where they are written to.
/// Only a null address, the types commit and top-down, and the protection read-write are served.
QZIL_API void* VirtualAlloc(void* address, std::size_t size, std::uint32_t type, std::uint32_t protection);
/// Gives a block of VirtualAlloc back; size must be 0 and the type release.
QZIL_API bool VirtualFree(void* address, std::size_t size, std::uint32_t type);

}  // namespace qzil::platform
