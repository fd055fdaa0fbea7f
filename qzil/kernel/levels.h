#pragma once

#include "qzil/platform/api.h"

#include <cstdint>

namespace qzil::kernel {

/// Instruction sets that the row functions are compiled for. Every level gives the same bytes.
enum class CpuLevel {
    Baseline,  ///< what every processor of the architecture has
    V3,        ///< x86-64-v3: AVX2
    V4,        ///< x86-64-v4: AVX-512
};

/// The highest level that this build and this processor have.
QZIL_API CpuLevel HighestCpuLevel();
/// The level in use: the highest, unless the environment variable QZIL_CPU_LEVEL ("baseline", "v3",
/// "v4") or a call says
/// less.
QZIL_API CpuLevel ActiveCpuLevel();
/// Makes a level the one in use, for tests and measurements; false when it is not there.
QZIL_API bool ForceCpuLevel(CpuLevel level);
/// Makes a size of frames the one from which their output is written past the caches, for tests and measurements; 0 for
/// the processor's own.
QZIL_API void ForceStreamBytes(std::int64_t bytes);

}  // namespace qzil::kernel
