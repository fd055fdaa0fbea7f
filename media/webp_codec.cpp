#include "media/byte_stream.h"
#include "media/codecs.h"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <memory>
#include <new>

namespace qzil::media {

namespace {

struct DeleteDemuxer {
    void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};
struct DeleteMux {
    void operator()(WebPMux* mux) const { WebPMuxDelete(mux); }
};
using Mux = std::unique_ptr<WebPMux, DeleteMux>;

WebPData DataOf(ByteView bytes) {
    return {bytes.data(), bytes.size()};
}

/// The content of a chunk; empty when there is none.
Bytes Chunk(WebPDemuxer const* demuxer, char const* name) {
    WebPChunkIterator chunk{};
    Bytes content;
    if (WebPDemuxGetChunk(demuxer, name, 1, &chunk) != 0) {
        content.assign(chunk.chunk.bytes, chunk.chunk.bytes + chunk.chunk.size);
    }
    WebPDemuxReleaseChunkIterator(&chunk);
    return content;
}

/// A frame of an animation must show alone; the first one does.
struct Frame {
    explicit Frame(WebPDemuxer const* demuxer) {
        if (WebPDemuxGetFrame(demuxer, 1, &m_oIterator) == 0) throw Fault("its content is damaged");
    }
    ~Frame() { WebPDemuxReleaseIterator(&m_oIterator); }
    Frame(Frame const&) = delete;
    Frame& operator=(Frame const&) = delete;
    WebPIterator m_oIterator{};
};

Picture DecodeFrame(WebPData const& data, bool samples) {
    WebPBitstreamFeatures features{};
    if (WebPGetFeatures(data.bytes, data.size, &features) != VP8_STATUS_OK) throw Fault("its content is damaged");
    CheckSize(static_cast<std::uint64_t>(features.width), static_cast<std::uint64_t>(features.height));
    Picture picture;
    picture.iWidth = features.width;
    picture.iHeight = features.height;
    picture.iChannels = features.has_alpha != 0 ? 4 : 3;
    picture.iDepth = 8;
    if (!samples) return picture;
    picture.oBytes.resize(picture.RowBytes() * static_cast<unsigned>(picture.iHeight));
    auto* const decode = picture.iChannels == 4 ? WebPDecodeRGBAInto : WebPDecodeRGBInto;
    if (!decode(data.bytes, data.size, picture.oBytes.data(), picture.oBytes.size(),
                static_cast<int>(picture.RowBytes()))) {
        throw Fault("its content is damaged");
    }
    return picture;
}

/// Grey pictures become RGB, which is all that the kind has.
Picture AsColor(Picture const& picture) {
    if (picture.iChannels >= 3) return picture;
    bool const alpha = picture.iChannels == 2;
    Picture color(picture.iWidth, picture.iHeight, alpha ? 4 : 3, 8);
    unsigned char const* pIn = picture.oBytes.data();
    for (std::size_t i = 0; i < color.oBytes.size(); i += color.PixelBytes(), pIn += picture.PixelBytes()) {
        color.oBytes[i] = color.oBytes[i + 1] = color.oBytes[i + 2] = pIn[0];
        if (alpha) color.oBytes[i + 3] = pIn[1];
    }
    return color;
}

Bytes WithTags(ByteView file, Tags const& tags) {
    WebPData const data = DataOf(file);
    Mux const mux(WebPMuxCreate(&data, 1));
    if (!mux) throw std::bad_alloc();
    for (auto const& [name, content] : {std::pair{"ICCP", &tags.oProfile}, {"EXIF", &tags.oExif}}) {
        WebPData const chunk = DataOf(*content);
        if (!content->empty() && WebPMuxSetChunk(mux.get(), name, &chunk, 1) != WEBP_MUX_OK) throw std::bad_alloc();
    }
    WebPData whole{};
    if (WebPMuxAssemble(mux.get(), &whole) != WEBP_MUX_OK) throw std::bad_alloc();
    std::unique_ptr<WebPData, decltype(&WebPDataClear)> const owner(&whole, WebPDataClear);
    return Bytes(whole.bytes, whole.bytes + whole.size);
}

}  // namespace

Picture DecodeWebp(InputStream& stream, ReadOptions const& options) {
    Bytes const file = stream.ReadRest();
    WebPData const data = DataOf(file);
    WebPDemuxState state{};
    std::unique_ptr<WebPDemuxer, DeleteDemuxer> const demuxer(WebPDemuxPartial(&data, &state));
    if (!demuxer || state != WEBP_DEMUX_DONE)
        throw Fault(file.size() < 12 || demuxer ? kEndsEarly : "its content is damaged");
    CheckPage(options, 1);
    Frame const frame(demuxer.get());
    Picture picture = DecodeFrame(frame.m_oIterator.fragment, options.bSamples);
    picture.oTags.oProfile = Chunk(demuxer.get(), "ICCP");
    picture.oTags.oExif = Chunk(demuxer.get(), "EXIF");
    picture.oTags.iOrientation = ExifOrientation(picture.oTags.oExif);
    picture.oTags.iPages = std::max(frame.m_oIterator.num_frames, 1);
    return picture;
}

Bytes EncodeWebp(Picture const& source, WriteOptions const& options) {
    if (source.iWidth > WEBP_MAX_DIMENSION || source.iHeight > WEBP_MAX_DIMENSION) {
        throw Fault("this kind of file has at most " + std::to_string(WEBP_MAX_DIMENSION) + " pixels a side");
    }
    Picture const picture = AsColor(source);
    WebPConfig config{};
    WebPPicture webp{};
    WebPMemoryWriter writer{};
    WebPConfigInit(&config);
    WebPPictureInit(&webp);
    WebPMemoryWriterInit(&writer);
    std::unique_ptr<WebPPicture, decltype(&WebPPictureFree)> const owner(&webp, WebPPictureFree);
    std::unique_ptr<WebPMemoryWriter, decltype(&WebPMemoryWriterClear)> const bytes(&writer, WebPMemoryWriterClear);
    config.lossless = options.oQuality ? 0 : 1;
    config.exact = 1;
    if (options.oQuality) config.quality = static_cast<float>(*options.oQuality);
    webp.use_argb = config.lossless;
    webp.width = picture.iWidth;
    webp.height = picture.iHeight;
    webp.writer = WebPMemoryWrite;
    webp.custom_ptr = &writer;
    auto* const import = picture.iChannels == 4 ? WebPPictureImportRGBA : WebPPictureImportRGB;
    if (import(&webp, picture.oBytes.data(), static_cast<int>(picture.RowBytes())) == 0) throw std::bad_alloc();
    if (WebPEncode(&config, &webp) == 0) {
        throw Fault("the encoder gave up with error " + std::to_string(static_cast<int>(webp.error_code)));
    }
    if (source.oTags.oProfile.empty() && source.oTags.oExif.empty()) return Bytes(writer.mem, writer.mem + writer.size);
    return WithTags({writer.mem, writer.size}, source.oTags);
}

}  // namespace qzil::media
