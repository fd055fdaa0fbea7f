#pragma once

#include "qzil/kernel/levels.h"

#include <gtest/gtest.h>

namespace qzil::test {

/// Runs a check at every CPU level that this processor has.
template <class Fn>
void ForEachLevel(Fn check) {
    auto const active = kernel::ActiveCpuLevel();
    for (auto const level : {kernel::CpuLevel::Baseline, kernel::CpuLevel::V3, kernel::CpuLevel::V4}) {
        if (!kernel::ForceCpuLevel(level)) continue;
        SCOPED_TRACE("CPU level " + std::to_string(static_cast<int>(level)));
        check();
    }
    kernel::ForceCpuLevel(active);
}

}  // namespace qzil::test
