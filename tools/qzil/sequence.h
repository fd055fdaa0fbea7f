#pragma once

#include "media/source.h"
#include "settings.h"

#include <vector>

namespace qzil::command {

/// A path that names a video to be written: .y4m, or "-".
bool IsVideoPath(std::string const& path);

/// Runs an effect on videos, frame by frame, and writes a video. Pictures among the inputs stand for a video of that
/// one frame over and over. Throws Failure.
void RunSequence(Settings const& settings, std::vector<media::Source> sources, media::Picture const& mask);

}  // namespace qzil::command
