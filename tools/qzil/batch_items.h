#pragma once

#include "settings.h"

#include <vector>

namespace qzil::command {

/// Makes a run for each input, or each number of a numbered sequence. Throws Failure for outputs of one name, and for a
/// number that is missing.
std::vector<RunSettings> ItemsOf(RunSettings const& run);

}  // namespace qzil::command
