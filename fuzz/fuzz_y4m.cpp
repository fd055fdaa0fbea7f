// Reads a video from arbitrary bytes and, as far as it goes, turns its frames into images and back.

#include "media/y4m.h"
#include "media/y4m_image.h"
#include "qzil/image/image_ops.h"

#include <cstdint>
#include <cstdlib>

using namespace qzil;
using namespace qzil::media;

namespace {

/// Frames that are legal but would only slow the search down.
constexpr std::size_t kLargest = std::size_t{1} << 20;

void Require(bool condition) {
    if (!condition) std::abort();
}

/// What goes into an image comes out of it again.
void RoundTrip(Y4mHeader const& stream, Y4mFrame const& frame, GUID const& format) {
    Y4mHeader const header = ImageHeader(stream);
    Ref<IXFImage> image;
    Require(qzILCreateAndAllocImage(nullptr, IID_IXFImage, ImageWidth(stream), stream.iHeight, format, image.Out()) ==
            0);
    FrameToImage(header, frame, *image.Get());
    Y4mFrame back;
    ImageToFrame(*image.Get(), header, back);
    Require(back.oBytes == frame.oBytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) try {
    Y4mReader reader(InputStream::OfMemory({data, size}), "fuzz");
    Y4mHeader const stream = reader.Header();
    // The line that is written for a header means the same.
    Require(ParseY4mHeader(stream.Line()).Line() == stream.Line());
    if (ImageHeader(stream).FrameBytes() > kLargest) return 0;
    Y4mFrame frame;
    Bytes scratch;
    while (reader.Frames() < 4 && reader.Read(frame)) {
        Require(frame.oBytes.size() == stream.FrameBytes());
        ToImageLayout(stream, frame, scratch);
        for (bool const rec709 : {false, true}) {
            for (GUID const& format : VideoFormats(stream, rec709)) RoundTrip(stream, frame, format);
        }
    }
    return 0;
} catch (MediaError const&) {
    return 0;
}
