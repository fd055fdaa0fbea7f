#include "command.h"

#include <cstring>

namespace qzil::command {

media::Picture ReadInput(std::string const& path) {
    try {
        return media::ReadPicture(path);
    } catch (media::MediaError const& error) {
        throw Failure(kUnreadable, error.what());
    }
}

void WriteOutput(std::string const& path, media::Picture const& picture) {
    try {
        media::WritePicture(path, picture);
    } catch (media::MediaError const& error) {
        throw Failure(kUnwritable, error.what());
    }
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
