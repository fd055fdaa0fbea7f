#pragma once

#include "media/picture.h"
#include "media/y4m.h"

#include <memory>
#include <string>

namespace qzil::media {

/// A picture, or a video that is to be read.
struct Source {
    std::string sPath;
    Picture oPicture;                   ///< empty for a video
    std::unique_ptr<Y4mReader> pVideo;  ///< null for a picture

    int Width() const { return pVideo ? pVideo->Header().iWidth : oPicture.iWidth; }
    int Height() const { return pVideo ? pVideo->Header().iHeight : oPicture.iHeight; }
};

/// Opens a file, a pipe, or for "-" the standard input, and reads the picture or the header of the video: the content
/// tells which. Throws MediaError.
Source OpenSource(std::string const& path, ReadOptions const& options = {});

}  // namespace qzil::media
