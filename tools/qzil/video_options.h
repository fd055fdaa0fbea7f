#pragma once

#include "media/source.h"
#include "media/y4m_image.h"

#include <CLI/App.hpp>
#include <optional>
#include <string>

namespace qzil::command {

/// Options of commands that make a video without an effect.
struct VideoOptions {
    std::string sMatrix;
    std::string sRate = "25";
    int iFrames = 1;
};
void AddVideoOptions(CLI::App& app, VideoOptions& options);

/// "601" or "709" decides the matrix, an empty text the size: 709 from 1280 columns or 720 lines on.
bool IsRec709(std::string const& matrix, int width, int height);
/// Reads "25" or "30000:1001"; nothing for other texts.
std::optional<media::Y4mRatio> ParseRate(std::string const& text);
/// The stream of progressive frames that images of a format become: mono, 4:4:4, or else 4:2:2; 8 bits for channels of
/// one byte, else 16.
media::Y4mHeader HeaderFor(GUID const& format, int width, int height);
/// The first of the formats of a stream's frames that conversions lead to (or from, for `toward` false); nothing when
/// there is none.
std::optional<GUID> FirstConvertible(std::vector<GUID> const& formats, GUID const& other, bool toward);
/// A picture of even width, which pairs of pixels need: the last column is repeated. Without pairs as it is.
media::Picture Padded(media::Picture picture, bool pairs);
/// The left columns of a picture.
media::Picture Cropped(media::Picture picture, int width);
/// An image's frame in a stream. Throws MediaError.
void StoreFrame(IXFImage& image, bool rec709, media::Y4mHeader const& header, media::Y4mFrame& frame);

}  // namespace qzil::command
