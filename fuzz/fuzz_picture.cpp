// Reads a picture of any kind from arbitrary bytes and, when that succeeds, writes it in each kind and reads that.

#include "media/byte_stream.h"
#include "media/codecs.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace qzil::media;

namespace {

/// Pictures that are legal but would only slow the search down.
constexpr int kLargest = 1 << 12;

void Require(bool condition) {
    if (!condition) std::abort();
}

Picture Read(ByteView file, ReadOptions const& options) {
    InputStream stream = InputStream::OfMemory(file);
    return DecodePicture(stream, options);
}

void RoundTrip(Picture const& picture) {
    WriteOptions const options;
    // Integer samples come back from the kinds that keep them.
    int const depth = std::min(picture.iDepth, 16);
    Picture const whole = AtDepth(picture, depth);
    for (auto const encode : {EncodePng, EncodeTiff, EncodePam}) {
        Bytes const file = encode(whole, options);
        Require(Read(file, {.bOrient = false}).oBytes == whole.oBytes);
    }
    Picture const real = AtDepth(picture, 32), small = AtDepth(picture, 8);
    Read(EncodeExr(real, options), {});
    Read(EncodeJpeg(small, options), {});
    Read(EncodeWebp(small, options), {});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) try {
    ByteView const file(data, size);
    Picture const head = Read(file, {.bSamples = false});
    Require(head.iWidth > 0 && head.iHeight > 0 && head.iChannels >= 1 && head.iChannels <= 4);
    // What is claimed may not be there; what is there is read.
    if (static_cast<long long>(head.iWidth) * head.iHeight > 1 << 20) return 0;
    Picture const picture = Read(file, {.iPage = std::max(1, head.oTags.iPages)});
    Require(picture.IsSound());
    if (static_cast<long long>(picture.iWidth) * picture.iHeight <= kLargest) RoundTrip(picture);
    return 0;
} catch (Fault const&) {
    return 0;
} catch (std::bad_alloc const&) {
    return 0;
}
