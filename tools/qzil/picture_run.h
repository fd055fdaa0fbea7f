#pragma once

#include "effect_run.h"
#include "settings.h"
#include "sources.h"

namespace qzil::command {

/// Runs a chain of effects on pictures and writes the result. Between the effects pictures keep their depth. Returns
/// the sentences about the effects' times. What changes with the frames is taken at one of them. Throws Failure.
std::string RunPictures(RunSettings const& run, std::vector<StageSources> const& sources, long long frame = 0,
                        long long frames = 1);

/// The same without writing it.
media::Picture ResultOf(RunSettings const& run, std::vector<StageSources> const& sources);

/// Runs a chain whose last effect finds numbers. Throws Failure.
std::vector<NamedNumbers> NumbersOf(RunSettings const& run, std::vector<StageSources> const& sources);

}  // namespace qzil::command
