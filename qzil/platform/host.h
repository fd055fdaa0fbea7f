#pragma once

#include "qzil/platform/api.h"

#include <cstdint>

namespace qzil::platform {

/// The calling thread's error number of platform-style functions; 0 at first.
QZIL_API void SetLastError(std::uint32_t code);
QZIL_API std::uint32_t GetLastError();

/// Receives diagnostic text. Null, the default, drops it.
using DebugOutputHook = void (*)(char const* text);
QZIL_API void SetDebugOutputHook(DebugOutputHook hook);
QZIL_API void OutputDebugStringA(char const* text);

}  // namespace qzil::platform

/// Key under which a host files memory statistics.
using MemStatKey = std::uintptr_t;

/// The host's memory statistics: silent until a host sets the hook.
class QZIL_API CQZStatManager {
public:
    /// One object: its class, the kind of statistic, its own bytes, the bytes it owns, and flags.
    using Hook = void (*)(MemStatKey key, char const* className, int kind, std::uint32_t objectSize,
                          std::uint32_t dynamicSize, std::uint32_t flags);

    static void SetHook(Hook hook);
    static void MemStat_DeclareThis(MemStatKey key, char const* className, int kind, std::uint32_t objectSize,
                                    std::uint32_t dynamicSize, std::uint32_t flags);
};
