#include "tests/media/media_support.h"

#include <cmath>
#include <cstdio>

// Needs the types of <cstdio> before it.
#include <jpeglib.h>

namespace qzil::media::test {
namespace {

constexpr int kWidth = 64, kHeight = 48;

/// A smooth sample, which JPEG keeps closely; the channels differ.
int Gradient(int x, int y, int channel) {
    int const levels[] = {40 + 3 * x, 20 + 4 * y, 220 - 2 * x - y, 60 + x + y};
    return levels[channel];
}

void WriteJpeg(std::string const& path, J_COLOR_SPACE colors, int channels, bool progressive) {
    std::FILE* const pFile = std::fopen(path.c_str(), "wb");
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, pFile);
    jpeg.image_width = kWidth;
    jpeg.image_height = kHeight;
    jpeg.input_components = channels;
    jpeg.in_color_space = colors;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 95, TRUE);
    if (progressive) jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    for (int y = 0; y < kHeight; ++y) {
        Bytes row;
        for (int x = 0; x < kWidth; ++x) {
            for (int i = 0; i < channels; ++i) row.push_back(static_cast<unsigned char>(Gradient(x, y, i)));
        }
        JSAMPROW pRow = row.data();
        jpeg_write_scanlines(&jpeg, &pRow, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::fclose(pFile);
}

using ReadJpeg = FolderTest;

TEST_F(ReadJpeg, GreyAndColourAreCloseToWhatWasWritten) {
    struct {
        J_COLOR_SPACE eColors;
        int iChannels;
        bool bProgressive;
    } const cases[] = {{JCS_GRAYSCALE, 1, false}, {JCS_RGB, 3, false}, {JCS_RGB, 3, true}};
    for (auto const& test : cases) {
        WriteJpeg(Path("a.jpg"), test.eColors, test.iChannels, test.bProgressive);
        Picture const picture = ReadPicture(Path("a.jpg"));
        ASSERT_EQ(picture.iWidth, kWidth);
        ASSERT_EQ(picture.iHeight, kHeight);
        ASSERT_EQ(picture.iChannels, test.iChannels);
        ASSERT_EQ(picture.iDepth, 8);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                for (int i = 0; i < test.iChannels; ++i) {
                    int const actual = picture.Row(y)[x * test.iChannels + i];
                    ASSERT_LE(std::abs(actual - Gradient(x, y, i)), 6)
                        << "column " << x << ", row " << y << ", channel " << i << ", progressive " << test.bProgressive
                        << ": " << actual << " for " << Gradient(x, y, i);
                }
            }
        }
    }
}

TEST_F(ReadJpeg, CmykIsRefused) {
    WriteJpeg(Path("a.jpg"), JCS_CMYK, 4, false);
    EXPECT_EQ(ErrorOf([&] { ReadPicture(Path("a.jpg")); }),
              "cannot read '" + Path("a.jpg") + "': it is a CMYK picture, and only grey and RGB ones are read");
}

}  // namespace
}  // namespace qzil::media::test
