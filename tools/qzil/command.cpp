#include "command.h"

#include <cctype>
#include <cstring>

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

media::Picture ReadInput(std::string const& path) {
    return WithCode(kUnreadable, [&] { return media::ReadPicture(path); });
}

void WriteOutput(std::string const& path, media::Picture const& picture) {
    WithCode(kUnwritable, [&] { media::WritePicture(path, picture); });
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
