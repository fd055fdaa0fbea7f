#include "media/source.h"

#include "media/file.h"

#include <utility>

namespace qzil::media {

Source OpenSource(std::string const& path, ReadOptions const& options) {
    Source source{path, {}, nullptr};
    InputStream stream = NamingFile("read", path, [&] { return InputStream::Open(path); });
    bool const video = NamingFile("read", path, [&] { return Y4mReader::IsY4m(stream); });
    if (video) {
        source.pVideo = std::make_unique<Y4mReader>(std::move(stream), path);
    } else {
        source.oPicture = NamingFile("read", path, [&] { return DecodePicture(stream, options); });
    }
    return source;
}

}  // namespace qzil::media
