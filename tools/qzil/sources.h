#pragma once

#include "media/source.h"
#include "settings.h"

#include <optional>
#include <vector>

namespace qzil::command {

/// The files of one effect of a chain. The result of the effect before is an input without a path.
struct StageSources {
    std::vector<media::Source> oInputs;
    std::vector<std::optional<media::Source>> oFurther;  ///< inputs that may be absent
    std::optional<media::Source> oMask;
    std::optional<media::Picture> oOnto;
};

/// Opens all inputs and masks of a chain. Throws Failure.
std::vector<StageSources> OpenSources(RunSettings const& run);

/// Calls `f` with each source that is a file.
template <class Stages, class F>
void ForEachSource(Stages& stages, F f) {
    for (auto& stage : stages) {
        for (auto& source : stage.oInputs) {
            if (!source.sPath.empty()) f(source);
        }
        for (auto& source : stage.oFurther) {
            if (source) f(*source);
        }
        if (stage.oMask) f(*stage.oMask);
    }
}

/// Whether a path names a video to be written: .y4m, or one that ffmpeg writes.
bool IsVideoPath(std::string const& path);

}  // namespace qzil::command
