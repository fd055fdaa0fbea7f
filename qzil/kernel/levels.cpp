#include "qzil/kernel/levels.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace qzil::kernel {
namespace {

CpuLevel Detect() {
#ifdef QZIL_HAS_V3
    bool const v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                    __builtin_cpu_supports("fma") && __builtin_cpu_supports("popcnt");
    return v3 ? CpuLevel::V3 : CpuLevel::Baseline;
#else
    return CpuLevel::Baseline;
#endif
}

CpuLevel FirstChoice() {
    char const* const pWanted = std::getenv("QZIL_CPU_LEVEL");
    return pWanted && std::strcmp(pWanted, "baseline") == 0 ? CpuLevel::Baseline : HighestCpuLevel();
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
