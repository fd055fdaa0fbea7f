#include "qzil/kernel/levels.h"

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
