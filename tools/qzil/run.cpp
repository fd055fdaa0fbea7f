#include "command.h"
#include "effect_run.h"
#include "media/source.h"
#include "sequence.h"
#include "settings.h"
#include "video_options.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace qzil::command {

namespace {

GUID DefaultFormat(catalog::Entry const& entry, std::vector<media::Source> const& inputs) {
    auto const formats = UsableFormats(entry);
    if (formats.empty()) {
        throw Failure(kRefused, entry.sName + ": none of this effect's formats can show a picture.");
    }
    bool const grey =
        std::all_of(inputs.begin(), inputs.end(), [](auto const& input) { return input.oPicture.iChannels == 1; });
    for (GUID const& wanted : {grey ? MFIF_MONO_RAW_8 : MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32}) {
        if (Contains(formats, wanted)) return wanted;
    }
    return formats.front();
}

std::vector<media::Source> OpenInputs(Settings const& settings) {
    if (std::count(settings.oInputs.begin(), settings.oInputs.end(), "-") > 1) {
        throw Failure(kWrongUsage, settings.pEntry->sName + ": '-' is given twice, but there is one standard input.");
    }
    std::vector<media::Source> sources;
    for (std::string const& path : settings.oInputs) {
        sources.push_back(WithCode(kUnreadable, [&] { return media::OpenSource(path); }));
    }
    return sources;
}

bool IsSequence(Settings const& settings, std::vector<media::Source> const& sources) {
    return IsVideoPath(settings.sOutput) ||
           std::any_of(sources.begin(), sources.end(), [](auto const& source) { return source.pVideo != nullptr; });
}

void RunPicture(Settings const& settings, std::vector<media::Source> const& sources, media::Picture const& mask) {
    catalog::Entry const& entry = *settings.pEntry;
    if (!settings.oRamps.empty()) {
        throw Failure(kWrongUsage, entry.sName + ": --" + entry.oParameters[settings.oRamps[0].uParameter].sName +
                                       " is a ramp, but the output is one picture; a ramp takes a .y4m output.");
    }
    GUID const format = settings.oFormat ? *settings.oFormat : DefaultFormat(entry, sources);
    std::vector<Ref<IXFImage>> images;
    std::vector<qzILVector2l> sizes;
    bool const pairs = media::HoldsPairs(format);
    for (media::Source const& source : sources) {
        media::Picture const picture = Padded(source.oPicture, pairs);
        images.push_back(MakeImage(entry, picture, format));
        sizes.emplace_back(picture.iWidth, picture.iHeight);
    }
    EffectRun run(settings, format, sizes, Padded(mask, pairs));
    Ref<IXFImage> const output = run.MakeOutput();
    auto const time = run.Execute(images, *output.Get());
    if (settings.bTime) {
        std::printf("%s: %.3f ms (%s pixels, %s)\n", entry.sName.c_str(), time.count() * 1000.0,
                    SizeText(run.OutputSize().x, run.OutputSize().y).c_str(), FormatName(format));
    }
    int const width = settings.oSize ? settings.oSize->x : sources[0].Width();
    WriteOutput(settings.sOutput, NamingEffect(entry, [&] { return Cropped(media::FromImage(*output.Get()), width); }));
}

void RunEffect(std::vector<std::string> arguments) {
    if (arguments.empty()) throw Failure(kWrongUsage, "run: EFFECT is missing; qzil list names all effects.");
    catalog::Entry const* const pEntry = catalog::Find(arguments[0]);
    if (!pEntry) throw Failure(kWrongUsage, "there is no effect '" + arguments[0] + "'; qzil list names all effects.");
    if (!pEntry->oPairs.empty()) {
        throw Failure(kWrongUsage, pEntry->sName + ": this is a conversion; qzil convert runs those.");
    }
    arguments.erase(arguments.begin());
    auto const settings = ParseSettings(*pEntry, arguments);
    if (!settings) return;
    std::vector<media::Source> sources = OpenInputs(*settings);
    media::Picture const mask = settings->sMask.empty() ? media::Picture() : ReadInput(settings->sMask);
    if (IsSequence(*settings, sources)) {
        RunSequence(*settings, std::move(sources), mask);
    } else {
        RunPicture(*settings, sources, mask);
    }
}

}  // namespace

void AddRun(CLI::App& app, int&) {
    CLI::App* const pCommand =
        app.add_subcommand("run", "Runs an effect on pictures or videos: qzil run EFFECT IN... -o OUT");
    // Each effect has arguments of its own, so what follows its name is parsed when the name is known.
    pCommand->prefix_command();
    pCommand->footer(
        "qzil run EFFECT IN... [--name value]... -o OUT\nqzil run EFFECT --help tells an effect's options.");
    pCommand->callback([pCommand] { RunEffect(pCommand->remaining()); });
}

}  // namespace qzil::command
