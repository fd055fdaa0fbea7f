#pragma once

#include "settings.h"
#include "sources.h"
#include "working_format.h"

#include <optional>
#include <vector>

namespace qzil::command {

/// What is decided about one effect of a sequence.
struct StagePlan {
    StageFormats oWorking;              ///< formats in which the effect works
    std::vector<GUID> oStreamFormats;   ///< of the frames of each input as they leave the reader, if it is a video
    GUID oMaskFormat{};                 ///< of the frames of the mask, if it is a video
    std::vector<qzILVector2l> oSizes;   ///< of the input images
    std::optional<qzILVector2l> oMask;  ///< size of the mask
};

/// What is decided about a sequence before its first frame.
struct SequencePlan {
    std::vector<StagePlan> oStages;
    GUID oOutputFormat{};  ///< of the output's frames as they reach the writer
    media::Y4mHeader oOutput;
    bool bPairs = false;               ///< the output shares chroma: images have even widths
    std::optional<long long> oFrames;  ///< frames to make, if that is asked for
    std::optional<long long> oTotal;   ///< frames of the shortest input, if known
};

/// Decides it. Throws Failure.
SequencePlan PlanSequence(RunSettings const& run, std::vector<StageSources> const& sources);

}  // namespace qzil::command
