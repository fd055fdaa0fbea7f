#pragma once

#include "qzil/platform/api.h"

#include <cstddef>
#include <cstdint>

/// Handle of a block of global memory.
using HGLOBAL = void*;

namespace qzil::platform {

inline constexpr std::uint32_t kGlobalFixed = 0;
inline constexpr std::uint32_t kGlobalMoveable = 2;
inline constexpr std::uint32_t kGlobalZeroInit = 0x40;

/// A zero-filled block, or null without memory or for other flags. Blocks never move: the handle of each is its
/// address.
QZIL_API HGLOBAL GlobalAlloc(std::uint32_t flags, std::size_t size);
/// The address of a block, good until it is freed; null for a null handle. Locks need not be counted.
QZIL_API void* GlobalLock(HGLOBAL block);
/// False for a null handle.
QZIL_API bool GlobalUnlock(HGLOBAL block);
/// The size that was asked for; 0 for a null handle.
QZIL_API std::size_t GlobalSize(HGLOBAL block);
/// Gives a block back and returns null. A null handle is ignored.
QZIL_API HGLOBAL GlobalFree(HGLOBAL block);

}  // namespace qzil::platform
