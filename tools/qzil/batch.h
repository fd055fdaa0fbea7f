#pragma once

#include "settings.h"

namespace qzil::command {

/// Runs a chain once for each input, or each number of a numbered sequence, and goes on after a failure. Throws Failure
/// with the code of the first one.
void RunBatch(RunSettings const& run);

/// Prints what a run would do.
void TellPlan(RunSettings const& run, bool video);

}  // namespace qzil::command
