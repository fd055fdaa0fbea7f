#include "media/byte_stream.h"
#include "media/codecs.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfPartType.h>

#include <cstring>
#include <exception>

namespace qzil::media {

namespace {

/// Beyond any window of pixels, and far from the end of the numbers.
constexpr int kFarthest = 1 << 28;

class Input : public Imf::IStream {
public:
    explicit Input(InputStream& stream) : IStream("input"), m_oStream(stream), m_uSize(*stream.FileSize()) {}
    bool read(char bytes[], int count) override {
        auto const size = static_cast<std::size_t>(count);
        std::size_t const got = m_oStream.ReadAt(m_uPlace, {reinterpret_cast<unsigned char*>(bytes), size});
        if (got < size) throw Fault(kEndsEarly);
        m_uPlace += size;
        return m_uPlace < m_uSize;
    }
    uint64_t tellg() override { return m_uPlace; }
    void seekg(uint64_t place) override { m_uPlace = place; }

private:
    InputStream& m_oStream;
    uint64_t m_uSize;
    uint64_t m_uPlace = 0;
};

class Output : public Imf::OStream {
public:
    explicit Output(Bytes& file) : OStream("output"), m_oFile(file) {}
    void write(char const bytes[], int count) override {
        auto const size = static_cast<std::size_t>(count);
        if (m_uPlace + size > m_oFile.size()) m_oFile.resize(m_uPlace + size);
        std::memcpy(m_oFile.data() + m_uPlace, bytes, size);
        m_uPlace += size;
    }
    uint64_t tellp() override { return m_uPlace; }
    void seekp(uint64_t place) override { m_uPlace = static_cast<std::size_t>(place); }

private:
    Bytes& m_oFile;
    std::size_t m_uPlace = 0;
};

constexpr char const* kGrey[] = {"Y", "A"};
constexpr char const* kColor[] = {"R", "G", "B", "A"};

char const* const* NamesOf(int channels) {
    return channels < 3 ? kGrey : kColor;
}

/// Red, green and blue, or luminance alone; both perhaps with alpha.
int ChannelsOf(Imf::ChannelList const& list) {
    int const alpha = list.findChannel("A") ? 1 : 0;
    if (list.findChannel("R") && list.findChannel("G") && list.findChannel("B")) return 3 + alpha;
    if (list.findChannel("RY") || list.findChannel("BY")) throw Fault("luminance with chroma of its own is not read");
    if (list.findChannel("Y")) return 1 + alpha;
    throw Fault("it has no channels R, G and B, and no Y");
}

Picture Describe(Imf::Header const& header) {
    Imath::Box2i const& window = header.dataWindow();
    for (int const edge : {window.min.x, window.min.y, window.max.x, window.max.y}) {
        if (edge < -kFarthest || edge > kFarthest) throw Fault("its window lies beyond all bounds");
    }
    int const width = window.max.x - window.min.x + 1, height = window.max.y - window.min.y + 1;
    CheckSize(static_cast<std::uint64_t>(std::max(width, 0)), static_cast<std::uint64_t>(std::max(height, 0)));
    Picture picture;
    picture.iWidth = width;
    picture.iHeight = height;
    picture.iChannels = ChannelsOf(header.channels());
    picture.iDepth = 32;
    picture.oTags.bHalf = true;
    for (int i = 0; i < picture.iChannels; ++i) {
        Imf::Channel const& channel = header.channels()[NamesOf(picture.iChannels)[i]];
        if (channel.xSampling != 1 || channel.ySampling != 1) throw Fault("channels of fewer samples are not read");
        if (channel.type != Imf::HALF) picture.oTags.bHalf = false;
    }
    return picture;
}

/// The library stores samples at base + x * step, and one line is given at a time.
Imf::FrameBuffer LineBuffer(Picture const& picture, int left, unsigned char* line) {
    Imf::FrameBuffer buffer;
    std::size_t const step = picture.PixelBytes();
    char* const pBase = reinterpret_cast<char*>(line) - static_cast<std::ptrdiff_t>(step) * left;
    for (int i = 0; i < picture.iChannels; ++i) {
        buffer.insert(NamesOf(picture.iChannels)[i], Imf::Slice(Imf::FLOAT, pBase + 4 * i, step, 0));
    }
    return buffer;
}

Picture ReadPart(InputStream& stream, ReadOptions const& options) {
    Input input(stream);
    Imf::MultiPartInputFile file(input, 0);
    CheckPage(options, file.parts());
    Imf::Header const& header = file.header(options.iPage - 1);
    if (header.hasType() && !Imf::isImage(header.type())) throw Fault("it has several samples for a pixel");
    Picture picture = Describe(header);
    picture.oTags.iPages = file.parts();
    if (!options.bSamples) return picture;
    Imf::InputPart part(file, options.iPage - 1);
    Imath::Box2i const& window = header.dataWindow();
    GrowingRows rows(picture);
    for (int y = 0; y < picture.iHeight; ++y) {
        part.setFrameBuffer(LineBuffer(picture, window.min.x, rows.Row(y)));
        part.readPixels(window.min.y + y);
    }
    DivideByAlpha(picture);
    return picture;
}

void WriteAll(Picture const& picture, Bytes& out) {
    Output output(out);
    Imf::Header header(picture.iWidth, picture.iHeight);
    header.compression() = Imf::ZIP_COMPRESSION;
    bool const half = picture.oTags.bHalf;
    Imf::FrameBuffer buffer;
    std::vector<Imath::half> halves(half ? picture.oBytes.size() / 4 : 0);
    for (std::size_t i = 0; i < halves.size(); ++i) {
        float value = 0.0f;
        std::memcpy(&value, picture.oBytes.data() + 4 * i, sizeof value);
        halves[i] = Imath::half(value);
    }
    std::size_t const size = half ? 2 : 4, step = size * static_cast<unsigned>(picture.iChannels);
    char* const pBase = half ? reinterpret_cast<char*>(halves.data())
                             : reinterpret_cast<char*>(const_cast<unsigned char*>(picture.oBytes.data()));
    for (int i = 0; i < picture.iChannels; ++i) {
        char const* const pName = NamesOf(picture.iChannels)[i];
        header.channels().insert(pName, Imf::Channel(half ? Imf::HALF : Imf::FLOAT));
        buffer.insert(pName, Imf::Slice(half ? Imf::HALF : Imf::FLOAT, pBase + size * static_cast<unsigned>(i), step,
                                        step * static_cast<unsigned>(picture.iWidth)));
    }
    Imf::OutputFile file(output, header, 0);
    file.setFrameBuffer(buffer);
    file.writePixels(picture.iHeight);
}

/// The library's sentences name its stream; what is behind them matters more.
template <class Step>
auto Guarded(Step step) {
    try {
        return step();
    } catch (Fault const&) {
        throw;
    } catch (std::bad_alloc const&) {
        throw;
    } catch (std::exception const& error) {
        std::string_view const text = error.what();
        bool const early = text.find(kEndsEarly) != std::string_view::npos;
        throw Fault(early ? kEndsEarly : "its content is damaged");
    }
}

}  // namespace

Picture DecodeExr(InputStream& stream, ReadOptions const& options) {
    return Guarded([&] { return ReadPart(stream, options); });
}

Bytes EncodeExr(Picture const& source, WriteOptions const&) {
    Picture picture = source;
    MultiplyByAlpha(picture);
    Bytes file;
    Guarded([&] { WriteAll(picture, file); });
    return file;
}

}  // namespace qzil::media
