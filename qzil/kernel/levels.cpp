#include "qzil/kernel/levels.h"

#include "qzil/kernel/streaming.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#ifdef QZIL_HAS_X86_LEVELS
#include <cpuid.h>
#endif

namespace qzil::kernel {
namespace {

#ifdef QZIL_HAS_X86_LEVELS
/// What x86-64-v3 has beside the extensions that the compiler's own test knows: MOVBE, F16C, LZCNT.
bool HasRest() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d) || (c & bit_MOVBE) == 0 || (c & bit_F16C) == 0) return false;
    return __get_cpuid(0x80000001, &a, &b, &c, &d) && (c & bit_LZCNT) != 0;
}
#endif

/// The size of the highest cache that a processor describes in a leaf of CPUID; 0 where it describes none.
std::int64_t LargestCache() {
    std::int64_t size = 0;
#ifdef QZIL_HAS_X86_LEVELS
    unsigned a = 0, b = 0, c = 0, d = 0;
    constexpr unsigned kExtended = 0x8000001D;
    bool const extended = __get_cpuid(0x80000001, &a, &b, &c, &d) && (c & 1u << 22) != 0;
    for (unsigned index = 0; index < 8; ++index) {
        if (!__get_cpuid_count(extended ? kExtended : 4, index, &a, &b, &c, &d) || (a & 31) == 0) break;
        std::int64_t const ways = (b >> 22) + 1, parts = (b >> 12 & 0x3FF) + 1, line = (b & 0xFFF) + 1;
        size = std::max(size, ways * parts * line * (std::int64_t{c} + 1));
    }
#endif
    return size;
}

std::int64_t OwnStreamBytes() {
    // A frame does not have the cache to itself: measured, frames of three quarters of it are faster past it.
    std::int64_t const cache = LargestCache();
    return cache > 0 ? cache / 2 : 20 << 20;
}

std::atomic<std::int64_t>& Streaming() {
    static std::atomic<std::int64_t> l_iBytes{OwnStreamBytes()};
    return l_iBytes;
}

CpuLevel Detect() {
#ifdef QZIL_HAS_X86_LEVELS
    bool const v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                    __builtin_cpu_supports("fma") && __builtin_cpu_supports("popcnt") && HasRest();
    bool const v4 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                    __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                    __builtin_cpu_supports("avx512vl");
    if (v3 && v4) return CpuLevel::V4;
    if (v3) return CpuLevel::V3;
#endif
    return CpuLevel::Baseline;
}

CpuLevel FirstChoice() {
    char const* const pWanted = std::getenv("QZIL_CPU_LEVEL");
    CpuLevel level = HighestCpuLevel();
    if (pWanted && std::strcmp(pWanted, "baseline") == 0) level = CpuLevel::Baseline;
    if (pWanted && std::strcmp(pWanted, "v3") == 0) level = std::min(level, CpuLevel::V3);
    return level;
}

std::atomic<CpuLevel>& Active() {
    static std::atomic<CpuLevel> l_eActive{FirstChoice()};
    return l_eActive;
}

}  // namespace

std::int64_t StreamBytes() {
    return Streaming().load(std::memory_order_relaxed);
}

void ForceStreamBytes(std::int64_t bytes) {
    Streaming().store(bytes > 0 ? bytes : OwnStreamBytes(), std::memory_order_relaxed);
}

CpuLevel HighestCpuLevel() {
    static CpuLevel const l_eHighest = Detect();
    return l_eHighest;
}

CpuLevel ActiveCpuLevel() {
    return Active().load(std::memory_order_relaxed);
}

bool ForceCpuLevel(CpuLevel level) {
    if (level > HighestCpuLevel()) return false;
    Active().store(level, std::memory_order_relaxed);
    return true;
}

}  // namespace qzil::kernel
