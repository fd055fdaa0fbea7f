#pragma once

#include "media/source.h"
#include "settings.h"

#include <optional>
#include <vector>

namespace qzil::command {

/// What is decided about a sequence before its first frame.
struct SequencePlan {
    GUID oWorking{};  ///< format in which the effect works
    std::vector<GUID>
        oStreamFormats;    ///< of each input's frames as they leave the reader; the working one for pictures
    GUID oOutputFormat{};  ///< of the output's frames as they reach the writer
    media::Y4mHeader oOutput;
    bool bPairs = false;               ///< the output shares chroma: images have even widths
    std::vector<qzILVector2l> oSizes;  ///< of the input images
    std::optional<long long> oFrames;  ///< frames to make, if that is asked for
    std::optional<long long> oTotal;   ///< frames of the shortest input, if known
};

/// Decides it. Throws Failure.
SequencePlan PlanSequence(Settings const& settings, std::vector<media::Source> const& sources);

}  // namespace qzil::command
