#include "video_options.h"

#include "command.h"
#include "media/convert.h"

#include <cstring>

namespace qzil::command {

namespace {

constexpr int kHdWidth = 1280;
constexpr int kHdHeight = 720;

}  // namespace

void AddVideoOptions(CLI::App& app, VideoOptions& options) {
    app.add_option("--matrix", options.sMatrix, "601 or 709 (default 709 from 1280 columns or 720 lines on)")
        ->check(CLI::IsMember({"601", "709"}));
    app.add_option("--rate", options.sRate, "Frames a second, such as 25 (the default) or 30000:1001")
        ->check([](std::string const& text) {
            return ParseRate(text) ? std::string() : "'" + text + "' is not a rate such as 25 or 30000:1001";
        });
    app.add_option("--frames", options.iFrames, "Number of frames of a video made of a picture")
        ->check(CLI::Range(1, 1 << 20));
}

bool IsRec709(std::string const& matrix, int width, int height) {
    return matrix.empty() ? width >= kHdWidth || height >= kHdHeight : matrix == "709";
}

std::optional<media::Y4mRatio> ParseRate(std::string const& text) {
    try {
        bool const whole = text.find(':') == std::string::npos;
        auto const rate = media::ParseRatio(whole ? text + ":1" : text, "");
        if (rate.uNumerator != 0) return rate;
    } catch (std::runtime_error const&) {
    }
    return {};
}

media::Y4mHeader HeaderFor(GUID const& format, int width, int height) {
    using enum media::Y4mLayout;
    media::Y4mHeader header;
    header.iWidth = width;
    header.iHeight = height;
    header.oRate = {25, 1};
    header.oAspect = {1, 1};
    header.eLayout = IsFormatMono(format) ? kMono : IsFormatYCCA4444(format) ? k444 : k422;
    header.eSiting = media::Y4mSiting::kLeft;
    header.iBits = GetChannelSizeFromFormat(format) == 1 ? 8 : 16;
    return header;
}

std::optional<GUID> FirstConvertible(std::vector<GUID> const& formats, GUID const& other, bool toward) {
    for (GUID const& format : formats) {
        if (toward ? media::CanConvert(other, format) : media::CanConvert(format, other)) return format;
    }
    return {};
}

media::Picture Padded(media::Picture picture, bool pairs) {
    if (picture.iWidth % 2 == 0 || !pairs) return picture;
    media::Picture padded(picture.iWidth + 1, picture.iHeight, picture.iChannels, picture.iDepth);
    for (int y = 0; y < picture.iHeight; ++y) {
        std::memcpy(padded.Row(y), picture.Row(y), picture.RowBytes());
        std::memcpy(padded.Row(y) + picture.RowBytes(), picture.Row(y) + picture.RowBytes() - picture.PixelBytes(),
                    picture.PixelBytes());
    }
    return padded;
}

media::Picture Cropped(media::Picture picture, int width) {
    if (picture.iWidth == width) return picture;
    media::Picture cropped(width, picture.iHeight, picture.iChannels, picture.iDepth);
    for (int y = 0; y < cropped.iHeight; ++y) std::memcpy(cropped.Row(y), picture.Row(y), cropped.RowBytes());
    return cropped;
}

void StoreFrame(IXFImage& image, bool rec709, media::Y4mHeader const& header, media::Y4mFrame& frame) {
    GUID format{};
    image.GetFormat(&format);
    auto const own = media::VideoFormats(header, rec709);
    GUID const target = FirstConvertible(own, format, true).value_or(own[0]);
    media::ImageToFrame(*media::Convert(image, target).Get(), header, frame);
}

}  // namespace qzil::command
