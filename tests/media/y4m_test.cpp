#include "media/y4m.h"

#include "media/source.h"
#include "media/y4m_image.h"
#include "qzil/image/image_ops.h"
#include "tests/media/media_support.h"

#include <functional>

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
    struct Case {
        char const* pLine;
        char const* pWritten;  ///< null when it comes back as it is
        Y4mLayout eLayout;
        int iBits;
        std::size_t uFrameBytes;
    };
    Case const cases[] = {
        {"W720 H576 F25:1 It A16:15 C422 XCOLORRANGE=LIMITED", nullptr, k422, 8, 829440},
        {"W1920 H1080 F30000:1001 Ib A1:1 C422p16 XCOLORRANGE=FULL Xnote=1", nullptr, k422, 16, 8294400},
        {"W5 H3 F25:1 Ip A1:1 C422p10", nullptr, k422, 10, 2 * (15 + 2 * 9)},
        {"W5 H3 F25:1 Im A1:1 C420mpeg2", nullptr, k420, 8, 15 + 2 * 6},
        {"W5 H3 F0:0 I? A0:0 C444p12", nullptr, k444, 12, 90},
        {"W5 H3 F25:1 Ip A1:1 C444alpha", nullptr, k444Alpha, 8, 60},
        {"W5 H3 F25:1 Ip A1:1 Cmono16", nullptr, kMono, 16, 30},
        {"W65535 H1 F2147483647:1 Ip A1:1 Cmono", nullptr, kMono, 8, 65535},
        // What is left out has its usual meaning; the repeated colour space may become wrong and is dropped.
        {"H4 W6", "W6 H4 F0:0 Ip A0:0 C420jpeg", k420, 8, 36},
        {"W6 H4 C420 XYSCSS=420JPEG  Q7", "W6 H4 F0:0 Ip A0:0 C420jpeg Q7", k420, 8, 36},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.pLine);
        Y4mHeader const header = ParseY4mHeader(std::string("YUV4MPEG2 ") + c.pLine);
        EXPECT_EQ(header.Line(), std::string("YUV4MPEG2 ") + (c.pWritten ? c.pWritten : c.pLine));
        EXPECT_EQ(header.eLayout, c.eLayout);
        EXPECT_EQ(header.iBits, c.iBits);
        EXPECT_EQ(header.FrameBytes(), c.uFrameBytes);
    }
}

TEST(Y4mReader, RefusesInASentence) {
    std::string const good = "YUV4MPEG2 W4 H2 Cmono\n";
    struct Case {
        Bytes oBytes;
        std::string sFault;
    };
    Case const cases[] = {
        {Stream(""), "it is not a y4m video"},
        {Stream("YUV4MPEG3 W4 H2\n"), "it is not a y4m video"},
        {Stream("YUV4MPEG2W4 H2\n"), "it is not a y4m video"},
        {Stream("YUV4MPEG2 W4 H2"), "the header of the video ends early"},
        {Stream("YUV4MPEG2 " + std::string(5000, 'X')), "the header of the video is longer than 4096 bytes"},
        {Stream("YUV4MPEG2 W4\n"), "the video has no height"},
        {Stream("YUV4MPEG2 H4\n"), "the video has no width"},
        {Stream("YUV4MPEG2 W0 H4\n"), "the width of the video is 0, but goes from 1 to 65535"},
        {Stream("YUV4MPEG2 W4 H65536\n"), "the height of the video is 65536, but goes from 1 to 65535"},
        {Stream("YUV4MPEG2 W-4 H4\n"), "the width of the video is '-4', which makes no sense"},
        {Stream("YUV4MPEG2 W4x H4\n"), "the width of the video is '4x', which makes no sense"},
        {Stream("YUV4MPEG2 W99999999999 H4\n"), "the width of the video is '99999999999', which makes no sense"},
        {Stream("YUV4MPEG2 W65535 H65535\n"), "the video's 65535 x 65535 pixels exceed the limit of 268435456"},
        {Stream("YUV4MPEG2 W4 H4 W5\n"), "the header of the video has the tag 'W' twice"},
        {Stream("YUV4MPEG2 W4 H4 F25\n"), "the frame rate of the video is '25', which makes no sense"},
        {Stream("YUV4MPEG2 W4 H4 F25:0\n"), "the frame rate of the video is '25:0', which makes no sense"},
        {Stream("YUV4MPEG2 W4 H4 A1:2:3\n"), "the pixel aspect of the video is '1:2:3', which makes no sense"},
        {Stream("YUV4MPEG2 W4 H4 Ix\n"),
         "the field order of the video is 'x', but goes by the letters p, t, b, m or ?"},
        {Stream("YUV4MPEG2 W4 H4 C4\x1b[2J\n"),
         "the video has the colour space '4?[2J'; those of 4:2:0, 4:2:2, 4:4:4 (8 to 16 bits), 444alpha and mono are "
         "served"},
        {Stream(good + "FRAME", 0), "the header of frame 1 ends early"},
        {Stream(good + "FRAME\n", 7), "frame 1 ends early, after 7 of 8 bytes"},
        {Stream(good + "FRAME\n12345678FRAMES\n", 8), "the header of frame 2 is damaged"},
        {Stream(good + "FRAME\n12345678\n", 8), "the header of frame 2 is damaged"},
        {Stream(good + "FRAME " + std::string(5000, 'X')), "the header of frame 1 is longer than 4096 bytes"},
        // A frame of 2 GiB that is not there takes no memory for it.
        {Stream("YUV4MPEG2 W65535 H4096 C444p16\nFRAME\n", 3), "frame 1 ends early, after 3 of 1610588160 bytes"},
    };
    for (Case const& c : cases) {
        auto const read = [&](std::function<bool(Y4mReader&, Y4mFrame&)> const& next) {
            return ErrorOf([&] {
                Y4mReader reader = ReaderOf(c.oBytes);
                Y4mFrame frame;
                while (next(reader, frame)) {
                }
            });
        };
        std::string const sentence = "cannot read 'v.y4m': " + c.sFault;
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

struct Layout {
    char const* pHeader;
    std::vector<int> oSamples;
    GUID oFormat;
    std::vector<double> oShown;
};

TEST(Y4mImage, PlanesBecomePixels) {
    Layout const layouts[] = {
        {"W4 H2 C422",
         {1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 21, 22, 23, 24},
         MFIF_CbYCrY_16,
         {11, 1, 21, 2, 12, 3, 22, 4, 13, 5, 23, 6, 14, 7, 24, 8}},
        // An odd width ends with its last luma twice.
        {"W3 H1 C422", {1, 2, 3, 11, 12, 21, 22}, MFIF_CbYCrY709_16, {11, 1, 21, 2, 12, 3, 22, 3}},
        {"W2 H1 C422 XCOLORRANGE=FULL", {0, 255, 128, 255}, MFIF_CbYCrY_16_FR, {128, 0, 255, 255}},
        {"W2 H1 C422 XCOLORRANGE=FULL", {0, 255, 128, 1}, MFIF_CbYCrY_FLOAT, {0, 0, -127.0 / 255, 1}},
        {"W2 H1 C422", {16, 235, 128, 240}, MFIF_CbYCrY709_FLOAT, {0, 0, 0.5, 1}},
        // 10 bits at video levels become 16 bits at video levels; what exceeds them is limited first.
        {"W2 H1 C422p10", {64, 940, 512, 0xFFFF}, MFIF_CbYCrY_10_6, {32768, 4096, 65472, 60160}},
        {"W2 H1 C422p10", {64, 940, 512, 960}, MFIF_CbYCrY_FLOAT, {0, 0, 0.5, 1}},
        // 10 bits at full range fill 16 bits.
        {"W2 H1 C422p10 XCOLORRANGE=FULL", {0, 1023, 512, 1}, MFIF_CbYCrY709_10_6_FR, {32800, 0, 64, 65535}},
        {"W2 H1 C422p16", {4096, 60160, 32768, 61440}, MFIF_CbYCrY709_FLOAT, {0, 0, 0.5, 1}},
        {"W1 H2 C444", {1, 2, 3, 4, 5, 6}, MFIF_CbYCrA_8_4444, {3, 1, 5, 255, 4, 2, 6, 255}},
        {"W1 H2 C444alpha", {1, 2, 3, 4, 5, 6, 7, 8}, MFIF_CbYCr709A_8_4444, {3, 1, 5, 7, 4, 2, 6, 8}},
        {"W1 H1 C444p16", {60160, 32768, 4096}, MFIF_CbYCrA_10_6_4444, {32768, 60160, 4096, 65535}},
        {"W1 H1 C444 XCOLORRANGE=FULL", {255, 128, 128}, MFIF_CbYCr709A_FLOAT_4444, {0, 1, 0, 1}},
        {"W2 H2 Cmono", {1, 2, 3, 4}, MFIF_MONO_RAW_8, {1, 2, 3, 4}},
        {"W2 H1 Cmono16", {1, 65535}, MFIF_MONO_RAW_16, {1, 65535}},
        {"W2 H1 Cmono", {0, 255}, MFIF_MONO_FLOAT, {0, 1}},
    };
    Bytes scratch;
    for (Layout const& layout : layouts) {
        SCOPED_TRACE(layout.pHeader);
        SCOPED_TRACE(FormatName(layout.oFormat));
        Y4mHeader const stream = ParseY4mHeader(std::string("YUV4MPEG2 ") + layout.pHeader);
        Y4mHeader const header = ImageHeader(stream);
        Y4mFrame frame = FrameOf(stream, layout.oSamples);
        ToImageLayout(stream, frame, scratch);
        Ref<IXFImage> const image = ImageFor(stream, layout.oFormat);
        FrameToImage(header, frame, *image.Get());
        std::vector<double> const shown = Shown(*image.Get());
        ASSERT_EQ(shown.size(), layout.oShown.size());
        for (std::size_t i = 0; i < shown.size(); ++i) EXPECT_NEAR(shown[i], layout.oShown[i], 1e-7) << i;
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
