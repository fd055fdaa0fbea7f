#include "command.h"

#include "settings.h"

#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <regex>

namespace qzil::command {

std::optional<GUID> FormatNamed(std::string const& text) {
    auto const capitals = [](std::string name) {
        for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return name.starts_with("MFIF_") ? name : "MFIF_" + name;
    };
    std::string const wanted = capitals(text);
    for (NamedFormat const& known : AllFormats()) {
        if (capitals(known.pName) == wanted) return known.oFormat;
    }
    return {};
}

namespace {

std::atomic<bool> s_bSilent = false;

}  // namespace

void SilenceNotes() {
    s_bSilent = true;
}

void Note(std::string const& sentence) {
    if (!s_bSilent) std::fprintf(stderr, "qzil: %s\n", sentence.c_str());
}

media::Picture ReadInput(std::string const& path, FileSettings const& files) {
    media::Picture picture = WithCode(kUnreadable, [&] { return media::ReadPicture(path, files.oRead); });
    NotePages(path, picture, files);
    return picture;
}

void NotePages(std::string const& path, media::Picture const& picture, FileSettings const& files) {
    if (picture.oTags.iPages < 2 || files.bPageGiven) return;
    Note("'" + path + "' holds " + std::to_string(picture.oTags.iPages) +
         " pictures; the first is taken (see --page).");
}

void WriteOutput(std::string const& path, media::Picture picture, FileSettings const& files) {
    WithCode(kUnwritable, [&] {
        int const depth = files.oDepth.value_or(picture.iDepth);
        if (depth != picture.iDepth) picture = media::AtDepth(picture, depth);
        media::WritePicture(path, std::move(picture), files.oWrite);
    });
}

void CheckPicturePath(std::string const& path, std::string const& command) {
    if (media::DepthOf(path) != 0) return;
    bool const standard = path == "-";
    throw Failure(kWrongUsage, command + ": --output is '" + path + "', but takes " +
                                   (standard ? "a kind in front for a picture, as in png:-."
                                             : "a name that ends in " + media::FileKinds(true) + "."));
}

bool IsPattern(std::string const& path) {
    static std::regex const l_oPlace("%0?[0-9]*d|\\{(name|ext|n)\\}");
    return std::regex_search(path, l_oPlace);
}

double SampleOf(media::Picture const& picture, int x, int y, int channel) {
    std::size_t const step = static_cast<std::size_t>(picture.iDepth / 8);
    unsigned char const* const pSample =
        picture.Row(y) + picture.PixelBytes() * static_cast<std::size_t>(x) + step * static_cast<std::size_t>(channel);
    if (picture.iDepth == 8) return *pSample / 255.0;
    if (picture.iDepth == 16) {
        unsigned short value = 0;
        std::memcpy(&value, pSample, sizeof value);
        return value / 65535.0;
    }
    float value = 0.0f;
    std::memcpy(&value, pSample, sizeof value);
    return value;
}

std::string SizeText(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

}  // namespace qzil::command
