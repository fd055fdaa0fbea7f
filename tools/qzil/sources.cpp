#include "sources.h"

#include "command.h"
#include "encoder.h"

#include <utility>

namespace qzil::command {

namespace {

media::Source Open(std::string const& path, FileSettings const& files) {
    if (IsForeignVideo(path)) return OpenForeignVideo(path);
    media::Source source = WithCode(kUnreadable, [&] { return media::OpenSource(path, files.oRead); });
    if (!source.pVideo) NotePages(path, source.oPicture, files);
    return source;
}

}  // namespace

std::vector<StageSources> OpenSources(RunSettings const& run) {
    std::vector<StageSources> stages;
    for (Settings const& settings : run.oStages) {
        StageSources stage;
        for (std::string const& path : settings.oInputs) {
            bool const before = path == "-" && !stages.empty();
            stage.oInputs.push_back(before ? media::Source() : Open(path, run.oFiles));
        }
        for (std::string const& path : settings.oFurtherInputs) {
            stage.oFurther.push_back(path.empty() ? std::nullopt : std::optional(Open(path, run.oFiles)));
        }
        if (!settings.sMask.empty()) stage.oMask = Open(settings.sMask, run.oFiles);
        if (!settings.sOnto.empty()) stage.oOnto = ReadInput(settings.sOnto, run.oFiles);
        stages.push_back(std::move(stage));
    }
    return stages;
}

bool IsVideoPath(std::string const& path) {
    return path.ends_with(".y4m") || IsForeignVideoPath(path);
}

}  // namespace qzil::command
