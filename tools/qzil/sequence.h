#pragma once

#include "settings.h"
#include "sources.h"

#include <vector>

namespace qzil::command {

/// Runs a chain of effects on videos, frame by frame, and writes a video. Pictures among the inputs stand for a video
/// of that one frame over and over. Throws Failure.
void RunSequence(RunSettings const& run, std::vector<StageSources> sources);

}  // namespace qzil::command
