#include "tests/media/media_support.h"

#include <cmath>

namespace qzil::media::test {
namespace {

constexpr int kWidth = 64, kHeight = 48;

/// A smooth sample, which JPEG keeps closely; the channels differ.
int Gradient(int x, int y, int channel) {
    int const levels[] = {40 + 3 * x, 20 + 4 * y, 220 - 2 * x - y, 60 + x + y};
    return levels[channel];
}

Picture Gradients(int channels) {
    Picture picture(kWidth, kHeight, channels, 8);
    for (int i = 0; i < kWidth * kHeight * channels; ++i) {
        int const x = i / channels % kWidth, y = i / channels / kWidth;
        picture.oBytes[static_cast<std::size_t>(i)] = static_cast<unsigned char>(Gradient(x, y, i % channels));
    }
    return picture;
}

using ReadJpeg = FolderTest;

TEST_F(ReadJpeg, GreyAndColourAreCloseToWhatWasWritten) {
    struct {
        J_COLOR_SPACE eColors;
        int iChannels;
        bool bProgressive;
    } const cases[] = {{JCS_GRAYSCALE, 1, false}, {JCS_RGB, 3, false}, {JCS_RGB, 3, true}};
    for (auto const& test : cases) {
        Picture const written = Gradients(test.iChannels);
        SaveBytes(Path("a.jpg"), JpegOf(written, test.eColors, test.bProgressive));
        Picture const picture = ReadPicture(Path("a.jpg"));
        ASSERT_EQ(picture.iWidth, kWidth);
        ASSERT_EQ(picture.iHeight, kHeight);
        ASSERT_EQ(picture.iChannels, test.iChannels);
        ASSERT_EQ(picture.iDepth, 8);
        for (std::size_t i = 0; i < written.oBytes.size(); ++i) {
            ASSERT_NEAR(picture.oBytes[i], written.oBytes[i], 6)
                << "sample " << i << ", progressive " << test.bProgressive;
        }
    }
}

TEST_F(ReadJpeg, CmykIsRefused) {
    SaveBytes(Path("a.jpg"), JpegOf(Gradients(4), JCS_CMYK, false));
    EXPECT_EQ(ErrorOf([&] { ReadPicture(Path("a.jpg")); }),
              CannotRead(Path("a.jpg"), "it is a CMYK picture, and only grey and RGB ones are read"));
}

}  // namespace
}  // namespace qzil::media::test
