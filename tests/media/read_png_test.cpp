#include "tests/media/media_support.h"

#include <png.h>

namespace qzil::media::test {
namespace {

constexpr int kGrey = PNG_COLOR_TYPE_GRAY, kPalette = PNG_COLOR_TYPE_PALETTE, kRgb = PNG_COLOR_TYPE_RGB,
              kGreyAlpha = PNG_COLOR_TYPE_GRAY_ALPHA, kRgba = PNG_COLOR_TYPE_RGB_ALPHA;

struct PngCase {
    int iColorType;
    int iDepth;
    Bytes oRow;  ///< one row of three pixels, packed as in the file
    std::vector<int> oExpected;
    bool bTransparency = false;
};

// The palette is red, green, blue, white with alphas 255, 128, 0 and (left out) 255; the transparent grey is 1 and the
// transparent colour (1, 2, 3), in the units of the file.
PngCase const kCases[] = {
    {kGrey, 1, {0b10100000}, {255, 0, 255}},
    {kGrey, 2, {0b00011100}, {0, 85, 255}},
    {kGrey, 4, {0x1f, 0x80}, {17, 255, 136}},
    {kGrey, 8, {1, 2, 250}, {1, 2, 250}},
    {kGrey, 16, {0, 1, 1, 0, 0xfe, 0xff}, {1, 256, 0xfeff}},
    {kGrey, 1, {0b10100000}, {255, 0, 0, 255, 255, 0}, true},
    {kGrey, 2, {0b00011100}, {0, 255, 85, 0, 255, 255}, true},
    {kGrey, 8, {1, 2, 250}, {1, 0, 2, 255, 250, 255}, true},
    {kGrey, 16, {0, 1, 1, 0, 1, 1}, {1, 0, 256, 65535, 257, 65535}, true},
    {kPalette, 1, {0b10100000}, {0, 255, 0, 255, 0, 0, 0, 255, 0}},
    {kPalette, 2, {0b00101100}, {255, 0, 0, 0, 0, 255, 255, 255, 255}},
    {kPalette, 4, {0x12, 0x30}, {0, 255, 0, 0, 0, 255, 255, 255, 255}},
    {kPalette, 8, {3, 0, 1}, {255, 255, 255, 255, 0, 0, 0, 255, 0}},
    {kPalette, 8, {1, 2, 3}, {0, 255, 0, 128, 0, 0, 255, 0, 255, 255, 255, 255}, true},
    {kRgb, 8, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {1, 2, 3, 4, 5, 6, 7, 8, 9}},
    {kRgb, 8, {1, 2, 3, 4, 5, 6, 1, 2, 4}, {1, 2, 3, 0, 4, 5, 6, 255, 1, 2, 4, 255}, true},
    {kRgb, 16, {0, 1, 0, 2, 0, 3, 1, 0, 2, 0, 3, 0, 255, 255, 0, 0, 128, 0}, {1, 2, 3, 256, 512, 768, 65535, 0, 32768}},
    {kGreyAlpha, 8, {1, 2, 3, 4, 5, 0}, {1, 2, 3, 4, 5, 0}},
    {kGreyAlpha, 16, {0, 1, 0, 2, 0, 3, 1, 0, 9, 9, 0, 0}, {1, 2, 3, 256, 0x909, 0}},
    {kRgba, 8, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0}},
    {kRgba,
     16,
     {0, 1, 0, 2, 0, 3, 0, 4, 1, 0, 2, 0, 3, 0, 4, 0, 0, 9, 0, 8, 0, 7, 0, 0},
     {1, 2, 3, 4, 256, 512, 768, 1024, 9, 8, 7, 0}},
};

/// Writes the case's row five times, so that all passes of an interlaced file have pixels.
void WriteCase(std::string const& path, PngCase const& png, bool interlaced) {
    std::FILE* const pFile = std::fopen(path.c_str(), "wb");
    png_structp pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop pInfo = png_create_info_struct(pPng);
    png_init_io(pPng, pFile);
    png_set_IHDR(pPng, pInfo, 3, 5, png.iDepth, png.iColorType, interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_color const palette[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    png_byte const alphas[] = {255, 128, 0};
    png_color_16 const transparent{0, 1, 2, 3, 1};
    bool const usesPalette = png.iColorType == PNG_COLOR_TYPE_PALETTE;
    if (usesPalette) png_set_PLTE(pPng, pInfo, palette, png.iDepth == 1 ? 2 : 4);
    if (png.bTransparency) png_set_tRNS(pPng, pInfo, alphas, usesPalette ? 3 : 1, usesPalette ? nullptr : &transparent);
    // A gamma that would change every sample if it were heeded.
    png_set_gAMA(pPng, pInfo, 1.0);
    png_write_info(pPng, pInfo);
    png_set_interlace_handling(pPng);
    std::vector<Bytes> rows(5, png.oRow);
    png_bytep pointers[5];
    for (int y = 0; y < 5; ++y) pointers[y] = rows[static_cast<std::size_t>(y)].data();
    png_write_image(pPng, pointers);
    png_write_end(pPng, pInfo);
    png_destroy_write_struct(&pPng, &pInfo);
    std::fclose(pFile);
}

using ReadPng = FolderTest;

TEST_F(ReadPng, EveryColourTypeAndDepth) {
    for (PngCase const& png : kCases) {
        for (bool const interlaced : {false, true}) {
            WriteCase(Path("a.png"), png, interlaced);
            Picture const picture = ReadPicture(Path("a.png"));
            std::string const what = "case " + std::to_string(&png - kCases) + (interlaced ? " interlaced" : "");
            Picture expected(3, 5, static_cast<int>(png.oExpected.size() / 3), png.iDepth == 16 ? 16 : 8);
            for (int y = 0; y < 5; ++y) {
                for (std::size_t i = 0; i < png.oExpected.size(); ++i) {
                    if (expected.iDepth == 16) {
                        std::uint16_t const sample = static_cast<std::uint16_t>(png.oExpected[i]);
                        std::memcpy(expected.Row(y) + 2 * i, &sample, 2);
                    } else {
                        expected.Row(y)[i] = static_cast<unsigned char>(png.oExpected[i]);
                    }
                }
            }
            ExpectEqual(picture, expected, what);
        }
    }
}

TEST_F(ReadPng, TheSamplesOfTheProjectAreRead) {
    std::string const folder = std::string(QZIL_SOURCE_DIR) + "/samples/";
    Picture const card = ReadPicture(folder + "testcard.png");
    EXPECT_EQ(card.iChannels, 4);
    std::vector<int> const corners{card.Row(0)[0], card.Row(0)[card.RowBytes() - 3], card.Row(card.iHeight - 1)[2],
                                   card.Row(card.iHeight - 1)[card.RowBytes() - 2]};
    EXPECT_EQ(corners, (std::vector<int>{255, 255, 255, 0}));
    Picture const mask = ReadPicture(folder + "mask.png");
    for (char const* const name : {"cliff.png", "blossom.png", "tulips.png"}) {
        Picture const photograph = ReadPicture(folder + name);
        EXPECT_EQ(photograph.iChannels, 3) << name;
        EXPECT_EQ(photograph.iWidth, mask.iWidth) << name;
        EXPECT_EQ(photograph.iHeight, mask.iHeight) << name;
    }
}

}  // namespace
}  // namespace qzil::media::test
