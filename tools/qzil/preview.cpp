#include "command.h"
#include "picture_run.h"
#include "settings.h"
#include "sources.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace qzil::command {

namespace {

constexpr int kGap = 8;

/// Red, green, blue and alpha in 8 bits.
std::array<unsigned char, 4> PixelAt(media::Picture const& picture, int x, int y) {
    bool const grey = picture.iChannels < 3, alpha = picture.iChannels % 2 == 0;
    auto const sample = [&](int channel) {
        double const value = SampleOf(picture, x, y, channel);
        // Written so that a NaN becomes 0.
        return value > 0.0 ? static_cast<unsigned char>(std::min(value, 1.0) * 255.0 + 0.5)
                           : static_cast<unsigned char>(0);
    };
    return {sample(0), sample(grey ? 0 : 1), sample(grey ? 0 : 2),
            alpha ? sample(picture.iChannels - 1) : static_cast<unsigned char>(255)};
}

void Put(media::Picture const& picture, int left, media::Picture& both) {
    for (int y = 0; y < picture.iHeight; ++y) {
        for (int x = 0; x < picture.iWidth; ++x) {
            auto const pixel = PixelAt(picture, x, y);
            std::memcpy(both.Row(y) + 4 * static_cast<std::ptrdiff_t>(left + x), pixel.data(), 4);
        }
    }
}

void Preview(std::vector<std::string> const& arguments) {
    auto const run = ParseSettings(arguments);
    if (!run) return;
    CheckPicturePath(run->sOutput, "preview");
    std::vector<StageSources> const sources = OpenSources(*run);
    bool videos = false;
    ForEachSource(sources, [&](media::Source const& source) { videos = videos || source.pVideo; });
    if (videos || sources[0].oInputs.empty()) {
        throw Failure(kWrongUsage, "preview: this takes pictures; qzil convert --frame takes one out of a video.");
    }
    media::Picture const& before = sources[0].oInputs[0].oPicture;
    media::Picture const after = ResultOf(*run, sources);
    int const width = before.iWidth + kGap + after.iWidth, height = std::max(before.iHeight, after.iHeight);
    if (width > media::kMaxSide) throw Failure(kRefused, "preview: the pictures are too wide to stand side by side.");
    media::Picture both(width, height, 4, 8);
    Put(before, 0, both);
    Put(after, before.iWidth + kGap, both);
    WriteOutput(run->sOutput, both, run->oFiles);
}

}  // namespace

void AddPreview(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand(
        "preview", "Shows a picture before and after side by side: qzil preview EFFECT IN... -o OUT");
    pCommand->prefix_command();
    pCommand->footer("The arguments are those of qzil run.");
    pCommand->callback([pCommand] { Preview(pCommand->remaining()); });
}

}  // namespace qzil::command
