#include "media/y4m.h"

#include "media/source.h"
#include "media/y4m_image.h"
#include "qzil/image/image_ops.h"
#include "tests/media/media_support.h"

#include <functional>
#include <map>
#include <regex>

namespace qzil::media::test {
namespace {

using enum Y4mLayout;

Bytes Stream(std::string const& text, std::size_t zeros = 0) {
    Bytes bytes(text.begin(), text.end());
    bytes.resize(bytes.size() + zeros, 0);
    return bytes;
}

Y4mReader ReaderOf(Bytes const& bytes) {
    return Y4mReader(InputStream::OfMemory(bytes), "v.y4m");
}

TEST(Y4mHeader, KeepsWhatItReads) {
    std::map<std::string, Y4mLayout> const layouts{
        {"420", k420}, {"422", k422}, {"444", k444}, {"444alpha", k444Alpha}, {"mono", kMono}};
    for (Row const& row : ReadTable("media/y4m_headers.tsv")) {
        SCOPED_TRACE(row["line"]);
        Y4mHeader const header = ParseY4mHeader("YUV4MPEG2 " + row["line"]);
        EXPECT_EQ(header.Line(), "YUV4MPEG2 " + row[row["written"].empty() ? "line" : "written"]);
        EXPECT_EQ(header.eLayout, layouts.at(row["layout"]));
        EXPECT_EQ(header.iBits, row.Number("bits"));
        EXPECT_EQ(header.FrameBytes(), static_cast<unsigned>(row.Number("frame bytes")));
    }
}

TEST(Y4mReader, RefusesInASentence) {
    for (Row const& row : ReadTable("media/y4m_refusals.tsv")) {
        std::string text = row["stream"];
        std::ranges::replace(text, '|', '\n');
        // What a table cannot hold: 5000 letters, and the start of a terminal's command.
        text = std::regex_replace(text, std::regex("<X>"), std::string(5000, 'X'));
        Bytes const bytes =
            Stream(std::regex_replace(text, std::regex("<ESC>"), "\x1b"), static_cast<unsigned>(row.Number("zeros")));
        auto const read = [&](std::function<bool(Y4mReader&, Y4mFrame&)> const& next) {
            return ErrorOf([&] {
                Y4mReader reader = ReaderOf(bytes);
                Y4mFrame frame;
                while (next(reader, frame)) {
                }
            });
        };
        std::string const sentence = "cannot read 'v.y4m': " + row["fault"];
        EXPECT_EQ(read([](Y4mReader& reader, Y4mFrame& frame) { return reader.Read(frame); }), sentence);
        EXPECT_EQ(read([](Y4mReader& reader, Y4mFrame&) { return reader.Skip(); }), sentence);
    }
}

class Y4mFile : public FolderTest {};

TEST_F(Y4mFile, FramesComeBack) {
    // Larger than the reader's buffer, and with frame parameters.
    Y4mHeader const header = ParseY4mHeader("YUV4MPEG2 W100 H33 F25:1 It A1:1 C422");
    std::mt19937 random(5);
    std::vector<Y4mFrame> frames(5);
    {
        Y4mWriter writer(Path("a.y4m"), header);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            frames[i].sParameters = i % 2 != 0 ? " Itti Xn" : "";
            frames[i].oBytes.resize(header.FrameBytes());
            for (unsigned char& byte : frames[i].oBytes) byte = static_cast<unsigned char>(random());
            writer.Write(frames[i]);
        }
        EXPECT_FALSE(std::filesystem::exists(Path("a.y4m"))) << "before it is whole";
        writer.Finish();
    }
    EXPECT_EQ(CountFrames(Path("a.y4m")), 5);
    for (int skipped = 0; skipped <= 5; ++skipped) {
        Source source = OpenSource(Path("a.y4m"));
        ASSERT_TRUE(source.pVideo);
        for (int i = 0; i < skipped; ++i) EXPECT_TRUE(source.pVideo->Skip());
        Y4mFrame frame;
        for (std::size_t i = static_cast<std::size_t>(skipped); i < frames.size(); ++i) {
            ASSERT_TRUE(source.pVideo->Read(frame));
            EXPECT_EQ(frame.sParameters, frames[i].sParameters);
            EXPECT_EQ(frame.oBytes, frames[i].oBytes);
        }
        EXPECT_FALSE(source.pVideo->Read(frame));
        EXPECT_EQ(source.pVideo->Frames(), 5);
    }
    { Y4mWriter unfinished(Path("b.y4m"), header); }
    EXPECT_FALSE(std::filesystem::exists(Path("b.y4m")));
}

/// An image for the frames of a video.
Ref<IXFImage> ImageFor(Y4mHeader const& header, GUID const& format) {
    Ref<IXFImage> image;
    EXPECT_EQ(qzILCreateAndAllocImage(nullptr, IID_IXFImage, ImageWidth(header), header.iHeight, format, image.Out()),
              0);
    return image;
}

/// Samples of the image's channels in the order of the shown picture, from its top row.
std::vector<double> Shown(IXFImage& image) {
    qzILImageHelper const helper(&image);
    bool const pairs = HoldsPairs(helper.m_oFormat), mono = IsFormatMono(helper.m_oFormat);
    int const samples = helper.m_iWidth * (mono ? 1 : pairs ? 2 : 4);
    std::vector<double> values;
    for (int y = helper.m_iHeight - 1; y >= 0; --y) {
        unsigned char const* const pLine = helper.GetPixelPtr(0, y);
        for (int i = 0; i < samples; ++i) {
            switch (GetChannelTypeFromFormat(helper.m_oFormat)) {
                case XFChannelTypeUInt8: values.push_back(pLine[i]); break;
                case XFChannelTypeUInt16: values.push_back(reinterpret_cast<std::uint16_t const*>(pLine)[i]); break;
                default: values.push_back(double{reinterpret_cast<float const*>(pLine)[i]});
            }
        }
    }
    return values;
}

Y4mFrame FrameOf(Y4mHeader const& header, std::vector<int> const& samples) {
    Y4mFrame frame;
    for (int const sample : samples) {
        frame.oBytes.push_back(static_cast<unsigned char>(sample));
        if (header.SampleBytes() == 2) frame.oBytes.push_back(static_cast<unsigned char>(sample >> 8));
    }
    EXPECT_EQ(frame.oBytes.size(), header.FrameBytes());
    return frame;
}

TEST(Y4mImage, PlanesBecomePixels) {
    Bytes scratch;
    for (Row const& row : ReadTable("media/y4m_frames.tsv")) {
        SCOPED_TRACE(row["header"] + ' ' + row["format"]);
        Y4mHeader const stream = ParseY4mHeader("YUV4MPEG2 " + row["header"]);
        Y4mHeader const header = ImageHeader(stream);
        Y4mFrame frame = FrameOf(stream, row.Numbers("samples"));
        ToImageLayout(stream, frame, scratch);
        Ref<IXFImage> const image = ImageFor(stream, FormatNamed(row["format"]));
        FrameToImage(header, frame, *image.Get());
        std::vector<double> const shown = Shown(*image.Get()), expected = Reals(row["shown"]);
        ASSERT_EQ(shown.size(), expected.size());
        for (std::size_t i = 0; i < shown.size(); ++i) EXPECT_NEAR(shown[i], expected[i], 1e-7) << i;
    }
}

TEST(Y4mImage, EverySampleComesBack) {
    for (char const* const tag : {"422", "422p16", "422 XCOLORRANGE=FULL", "422p16 XCOLORRANGE=FULL", "444", "444p16",
                                  "444p16 XCOLORRANGE=FULL", "444alpha", "mono", "mono16"}) {
        Y4mHeader const header = ParseY4mHeader(std::string("YUV4MPEG2 W255 H257 C") + tag);
        ASSERT_EQ(ImageHeader(header).Line(), header.Line());
        Y4mFrame frame, back;
        frame.oBytes.resize(header.FrameBytes());
        // All values of a sample occur in every plane.
        for (std::size_t i = 0; i < frame.oBytes.size(); ++i) {
            frame.oBytes[i] = static_cast<unsigned char>(header.SampleBytes() == 1 ? i : i % 2 == 0 ? i / 2 : i / 512);
        }
        for (bool const rec709 : {false, true}) {
            for (GUID const& format : VideoFormats(header, rec709)) {
                Ref<IXFImage> const image = ImageFor(header, format);
                FrameToImage(header, frame, *image.Get());
                ImageToFrame(*image.Get(), header, back);
                EXPECT_EQ(back.oBytes, frame.oBytes) << tag << " " << FormatName(format);
            }
        }
    }
}

TEST(Y4mImage, FloatBeyondTheDepthIsLimited) {
    Y4mHeader const header = ParseY4mHeader("YUV4MPEG2 W2 H1 Cmono16");
    Ref<IXFImage> const image = ImageFor(header, MFIF_MONO_FLOAT);
    auto* const pLine = reinterpret_cast<float*>(qzILImageHelper(image.Get()).GetPixelPtr(0, 0));
    Y4mFrame frame;
    float const inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    for (auto const& [value, sample] : {std::pair{-inf, 0}, {-1.0f, 0}, {nan, 0}, {2.0f, 65535}, {inf, 65535}}) {
        pLine[0] = pLine[1] = value;
        ImageToFrame(*image.Get(), header, frame);
        EXPECT_EQ(frame.oBytes, FrameOf(header, {sample, sample}).oBytes) << value;
    }
}

/// The rule of 4:2:0 in its own words: shares of the chroma lines of a picture or of each field, then of the samples.
int Raised(Y4mHeader const& stream, std::vector<int> const& plane, int x, int y) {
    int const width = stream.ChromaWidth(), lines = stream.ChromaHeight();
    auto const sum = [&](int column) {
        int near = 0, far = 0, nearShare = 6;
        auto const place = [](int line, int count) { return std::min(std::max(line, 0), count - 1); };
        if (!stream.IsInterlaced()) {
            near = place(y / 2, lines);
            far = place(y / 2 + (y % 2 != 0 ? 1 : -1), lines);
        } else {
            int const field = y % 2, line = y / 2, count = (lines + 1 - field) / 2;
            near = 2 * place(line / 2, count) + field;
            far = 2 * place(line / 2 + (line % 2 != 0 ? 1 : -1), count) + field;
            nearShare = (field == 0) == (line % 2 == 0) ? 7 : 5;
        }
        return nearShare * plane[static_cast<std::size_t>(near * width + column)] +
               (8 - nearShare) * plane[static_cast<std::size_t>(far * width + column)];
    };
    if (stream.eSiting == Y4mSiting::kLeft) return (sum(x) + 4) / 8;
    return (3 * sum(x) + sum(std::max(x - 1, 0)) + 16) / 32;
}

TEST(Y4mImage, ChromaOf420Rises) {
    std::mt19937 random(9);
    Bytes scratch;
    for (char const* const tag :
         {"Ip C420jpeg", "Ip C420mpeg2", "It C420jpeg", "Ib C420mpeg2", "It C420paldv", "Ip C420p16", "It C420p16"}) {
        for (int const height : {8, 11, 4, 6}) {
            Y4mHeader const stream = ParseY4mHeader("YUV4MPEG2 W7 H" + std::to_string(height) + " " + tag);
            SCOPED_TRACE(stream.Line());
            std::vector<int> samples(stream.FrameBytes() / stream.SampleBytes());
            for (int& sample : samples) sample = static_cast<int>(random() % (stream.iBits == 8 ? 256 : 65536));
            Y4mFrame frame = FrameOf(stream, samples);
            ToImageLayout(stream, frame, scratch);

            auto const luma = static_cast<std::ptrdiff_t>(stream.iWidth) * height;
            auto const chroma = static_cast<std::ptrdiff_t>(stream.ChromaWidth()) * stream.ChromaHeight();
            std::vector<int> expected(samples.begin(), samples.begin() + luma);
            for (std::ptrdiff_t const start : {luma, luma + chroma}) {
                std::vector<int> const plane(samples.begin() + start, samples.begin() + start + chroma);
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < stream.ChromaWidth(); ++x) expected.push_back(Raised(stream, plane, x, y));
                }
            }
            EXPECT_EQ(frame.oBytes, FrameOf(ImageHeader(stream), expected).oBytes);
        }
    }
}

}  // namespace
}  // namespace qzil::media::test
