#include "batch.h"
#include "command.h"
#include "picture_run.h"
#include "results.h"
#include "sequence.h"
#include "settings.h"
#include "sources.h"

#include <algorithm>
#include <cstdio>

namespace qzil::command {

namespace {

bool HasVideo(std::vector<StageSources> const& sources) {
    bool found = false;
    ForEachSource(sources, [&](media::Source const& source) { found = found || source.pVideo; });
    return found;
}

/// Prints what the last effect finds, or draws it.
void RunNumbers(RunSettings const& run) {
    std::vector<StageSources> const sources = OpenSources(run);
    if (HasVideo(sources)) {
        throw Failure(kWrongUsage, run.oStages.back().pEntry->sName + ": the effect measures pictures, not videos.");
    }
    if (run.bDryRun) return TellPlan(run, false);
    std::vector<NamedNumbers> const numbers = NumbersOf(run, sources);
    if (!run.sOutput.empty()) WriteOutput(run.sOutput, ResultsPlot(numbers), run.oFiles);
    if (!run.sOutput.empty() && !run.bJson) return;
    std::fputs((run.bJson ? ResultsJson(numbers) : ResultsTable(numbers)).c_str(),
               media::IsStandard(run.sOutput) ? stderr : stdout);
}

void RunOne(RunSettings const& run) {
    if (run.FindsNumbers()) return RunNumbers(run);
    // What cannot be written is not worth the reading.
    bool const standard = run.sOutput == "-";
    if (!standard && !IsVideoPath(run.sOutput)) CheckPicturePath(run.sOutput, run.Name());
    std::vector<StageSources> sources = OpenSources(run);
    bool const video = HasVideo(sources) || IsVideoPath(run.sOutput) || (standard && run.oSequence.oFrames);
    if (run.bDryRun) return TellPlan(run, video);
    if (video) return RunSequence(run, std::move(sources));
    CheckPicturePath(run.sOutput, run.Name());
    for (Settings const& stage : run.oStages) {
        if (!stage.Changes()) continue;
        std::string const name = !stage.oTracks.empty() ? stage.pEntry->oParameters[stage.oTracks[0].uParameter].sName
                                                        : std::string("roi, an offset or the mask's place");
        throw Failure(kWrongUsage, stage.pEntry->sName + ": --" + name +
                                       " is a ramp, but the output is one picture; a ramp takes a .y4m output.");
    }
    std::string const times = RunPictures(run, sources);
    std::fputs(times.c_str(), media::IsStandard(run.sOutput) ? stderr : stdout);
}

void RunEffect(std::vector<std::string> const& arguments) {
    auto const run = ParseSettings(arguments);
    if (!run) return;
    IsPattern(run->sOutput) ? RunBatch(*run) : RunOne(*run);
}

}  // namespace

void AddRun(CLI::App& app, int&) {
    CLI::App* const pCommand =
        app.add_subcommand("run", "Runs effects on pictures or videos: qzil run EFFECT IN... -o OUT");
    // Each effect has arguments of its own, so what follows its name is parsed when the name is known.
    pCommand->prefix_command();
    pCommand->footer(
        "qzil run EFFECT IN... [--name value]... [then EFFECT ...] -o OUT\n"
        "qzil run EFFECT --help tells an effect's options.");
    pCommand->callback([pCommand] { RunEffect(pCommand->remaining()); });
}

}  // namespace qzil::command
