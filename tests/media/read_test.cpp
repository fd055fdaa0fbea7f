#include "tests/media/media_support.h"

#include <png.h>
#include <tiffio.h>

#include <cmath>

namespace qzil::media::test {
namespace {

/// Writes the case's row five times, so that all passes of an interlaced file have pixels.
void WriteCase(std::string const& path, Row const& png, bool interlaced) {
    std::FILE* const pFile = std::fopen(path.c_str(), "wb");
    png_structp pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop pInfo = png_create_info_struct(pPng);
    png_init_io(pPng, pFile);
    png_set_IHDR(pPng, pInfo, 3, 5, png.Number("depth"), png.Number("type"),
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_color const palette[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    png_byte const alphas[] = {255, 128, 0};
    png_color_16 const transparent{0, 1, 2, 3, 1};
    bool const usesPalette = png.Number("type") == PNG_COLOR_TYPE_PALETTE;
    if (usesPalette) png_set_PLTE(pPng, pInfo, palette, png.Number("depth") == 1 ? 2 : 4);
    if (png.Number("transparency"))
        png_set_tRNS(pPng, pInfo, alphas, usesPalette ? 3 : 1, usesPalette ? nullptr : &transparent);
    // A gamma that would change every sample if it were heeded.
    png_set_gAMA(pPng, pInfo, 1.0);
    png_write_info(pPng, pInfo);
    png_set_interlace_handling(pPng);
    auto const packed = png.Numbers("row");
    Bytes row(packed.begin(), packed.end());
    png_bytep pointers[5] = {row.data(), row.data(), row.data(), row.data(), row.data()};
    png_write_image(pPng, pointers);
    png_write_end(pPng, pInfo);
    png_destroy_write_struct(&pPng, &pInfo);
    std::fclose(pFile);
}

using ReadPng = FolderTest;

TEST_F(ReadPng, EveryColourTypeAndDepth) {
    for (Row const& png : ReadTable("media/png.tsv")) {
        for (bool const interlaced : {false, true}) {
            WriteCase(Path("a.png"), png, interlaced);
            std::vector<int> samples;
            for (int y = 0; y < 5; ++y) std::ranges::copy(png.Numbers("samples"), std::back_inserter(samples));
            std::vector<std::uint16_t> const words(samples.begin(), samples.end());
            std::vector<std::uint8_t> const bytes(samples.begin(), samples.end());
            int const channels = static_cast<int>(samples.size()) / 15;
            ExpectEqual(
                ReadPicture(Path("a.png")),
                png.Number("depth") == 16 ? MakePicture(3, 5, channels, words) : MakePicture(3, 5, channels, bytes),
                png["kind"] + ' ' + png["depth"] + ' ' + png["row"] + (interlaced ? " interlaced" : ""));
        }
    }
}

struct TiffCase {
    char const* pMode = "w";
    int iOrientation = ORIENTATION_TOPLEFT;
    int iPlanar = PLANARCONFIG_CONTIG;
    int iCompression = COMPRESSION_NONE;
    bool bTiled = false;
    std::uint16_t uAlpha = EXTRASAMPLE_UNASSALPHA;
};

void SetLayout(TIFF* tiff, Picture const& picture, int photometric, TiffCase const& test) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.iWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.iHeight);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, picture.iChannels);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, picture.iDepth);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, picture.iDepth == 32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, test.iPlanar);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, test.iOrientation);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, test.iCompression);
    if (photometric != PHOTOMETRIC_SEPARATED && picture.iChannels % 2 == 0) {
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &test.uAlpha);
    }
    if (test.bTiled) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 32);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 7);
    }
}

/// The samples of a rectangle, of one plane or, with plane -1, of all; zeros outside the picture.
Bytes Block(Picture const& picture, int x0, int y0, int width, int height, int plane) {
    std::size_t const sample = static_cast<unsigned>(picture.iDepth) / 8,
                      step = plane < 0 ? picture.PixelBytes() : sample;
    Bytes block(step * static_cast<unsigned>(width * height));
    for (int y = y0; y < std::min(y0 + height, picture.iHeight); ++y) {
        for (int x = x0; x < std::min(x0 + width, picture.iWidth); ++x) {
            unsigned char const* const pIn = picture.Row(y) + picture.PixelBytes() * static_cast<unsigned>(x) +
                                             sample * static_cast<unsigned>(std::max(plane, 0));
            std::memcpy(&block[step * static_cast<unsigned>((y - y0) * width + x - x0)], pIn, step);
        }
    }
    return block;
}

void WriteTiff(std::string const& path, Picture const& picture, int photometric, TiffCase const& test) {
    TIFF* const pTiff = TIFFOpen(path.c_str(), test.pMode);
    ASSERT_NE(pTiff, nullptr);
    SetLayout(pTiff, picture, photometric, test);
    bool const planes = test.iPlanar == PLANARCONFIG_SEPARATE;
    int const width = test.bTiled ? 32 : picture.iWidth, height = test.bTiled ? 16 : 1;
    for (int plane = planes ? 0 : -1; plane < (planes ? picture.iChannels : 0); ++plane) {
        auto const sample = static_cast<std::uint16_t>(std::max(plane, 0));
        for (int y = 0; y < picture.iHeight; y += height) {
            for (int x = 0; x < picture.iWidth; x += width) {
                Bytes block = Block(picture, x, y, width, height, plane);
                auto const left = static_cast<std::uint32_t>(x), top = static_cast<std::uint32_t>(y);
                if (test.bTiled) {
                    ASSERT_GE(TIFFWriteTile(pTiff, block.data(), left, top, 0, sample), 0);
                } else {
                    ASSERT_GE(TIFFWriteScanline(pTiff, block.data(), top, sample), 0);
                }
            }
        }
    }
    TIFFClose(pTiff);
}

using ReadTiff = FolderTest;

TEST_F(ReadTiff, EveryStorageKeepsEveryBit) {
    for (Row const& row : ReadTable("media/tiff.tsv")) {
        TiffCase const test{.pMode = row["mode"].c_str(),
                            .iPlanar = row.Number("planes"),
                            .iCompression = row.Number("compression"),
                            .bTiled = row.Number("tiled") != 0};
        for (int const depth : {8, 16, 32}) {
            for (int channels = 1; channels <= 4; ++channels) {
                Picture const picture = RandomPicture(45, 37, channels, depth, 3);
                WriteTiff(Path("a.tif"), picture, channels < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB, test);
                ExpectEqual(ReadPicture(Path("a.tif")), picture,
                            row["name"] + ", " + std::to_string(channels) + " x " + std::to_string(depth));
            }
        }
    }
}

TEST_F(ReadTiff, EveryOrientationComesUpright) {
    auto const ExifOf = [](int orientation) {
        return Bytes{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1,
                     1,   18,  0, 3,  0, 0, 0, 1, 0, static_cast<unsigned char>(orientation),
                     0,   0,   0, 0,  0, 0};
    };
    // Stored as the rows 1 2 3 and 4 5 6.
    Picture const stored = MakePicture<std::uint8_t>(3, 2, 1, {1, 2, 3, 4, 5, 6});
    for (Row const& row : ReadTable("media/orientations.tsv")) {
        int const orientation = row.Number("orientation"), width = row.Number("width");
        std::vector<int> const numbers = row.Numbers("shown");
        Bytes const shown(numbers.begin(), numbers.end());
        WriteTiff(Path("a.tif"), stored, PHOTOMETRIC_MINISBLACK, {.iOrientation = orientation});
        Picture const picture = ReadPicture(Path("a.tif"));
        EXPECT_EQ(picture.iWidth, width) << orientation;
        EXPECT_EQ(picture.oBytes, shown) << orientation;
        // The other kinds tell it in EXIF data.
        Picture tagged = stored;
        tagged.oTags.oExif = ExifOf(orientation);
        tagged.oTags.iOrientation = orientation;
        for (std::string const name : {"a.png", "a.webp", "a.jpg"}) {
            WritePicture(Path(name), tagged);
            Picture const upright = ReadPicture(Path(name));
            EXPECT_EQ(upright.iWidth, width) << name << orientation;
            EXPECT_EQ(ReadPicture(Path(name), {.bSamples = false}).iWidth, width);
            for (std::size_t i = 0; i < shown.size(); ++i) {
                std::size_t const place = i * static_cast<unsigned>(upright.iChannels);
                EXPECT_NEAR(upright.oBytes[place], shown[i], name == "a.jpg" ? 2 : 0) << name << orientation;
            }
            WritePicture(Path("up.png"), upright);
            EXPECT_EQ(ReadPicture(Path("up.png"), {.bOrient = false}).oTags.iOrientation, 1) << name;
            EXPECT_EQ(ReadPicture(Path(name), {.bOrient = false}).iWidth, 3);
        }
    }
}

TEST_F(ReadTiff, AssociatedAlphaIsDividedOut) {
    auto const read = [&](Picture const& picture) {
        WriteTiff(Path("a.tif"), picture, PHOTOMETRIC_RGB, {.uAlpha = EXTRASAMPLE_ASSOCALPHA});
        return ReadPicture(Path("a.tif"));
    };
    EXPECT_EQ(read(MakePicture<std::uint8_t>(3, 1, 4, {128, 0, 64, 128, 9, 9, 9, 0, 3, 200, 1, 2})).oBytes,
              (Bytes{255, 0, 128, 128, 0, 0, 0, 0, 255, 255, 128, 2}));
    EXPECT_EQ(Samples<std::uint16_t>(read(MakePicture<std::uint16_t>(1, 1, 4, {1000, 1, 0, 3000}))),
              (std::vector<std::uint16_t>{21845, 22, 0, 3000}));
    EXPECT_EQ(Samples<float>(read(MakePicture<float>(1, 1, 4, {0.5f, -1.0f, 3.0f, 0.25f}))),
              (std::vector<float>{2.0f, -4.0f, 12.0f, 0.25f}));
}

TEST_F(ReadTiff, PagesAreCountedAndChosen) {
    for (unsigned char page = 1; page <= 3; ++page) {
        WriteTiff(Path("a.tif"), MakePicture<std::uint8_t>(1, 1, 1, {page}), PHOTOMETRIC_MINISBLACK,
                  {.pMode = page == 1 ? "w" : "a"});
    }
    for (int page = 1; page <= 3; ++page) {
        Picture const picture = ReadPicture(Path("a.tif"), {.iPage = page});
        EXPECT_EQ(picture.oBytes[0], page);
        EXPECT_EQ(picture.oTags.iPages, 3);
    }
    EXPECT_EQ(ErrorOf([&] { ReadPicture(Path("a.tif"), {.iPage = 4}); }),
              CannotRead(Path("a.tif"), "page 4 is asked for, and 3 can be read"));
}

TEST_F(ReadTiff, WhiteIsZeroIsTurnedRound) {
    Picture const bytes = MakePicture<std::uint8_t>(2, 1, 2, {0, 9, 250, 7});
    WriteTiff(Path("a.tif"), bytes, PHOTOMETRIC_MINISWHITE, {});
    EXPECT_EQ(ReadPicture(Path("a.tif")).oBytes, (Bytes{255, 9, 5, 7}));
    Picture const words = MakePicture<std::uint16_t>(3, 1, 1, {0, 1, 65535});
    WriteTiff(Path("a.tif"), words, PHOTOMETRIC_MINISWHITE, {});
    EXPECT_EQ(Samples<std::uint16_t>(ReadPicture(Path("a.tif"))), (std::vector<std::uint16_t>{65535, 65534, 0}));
}

/// A row of bytes with a layout of its own; the last row of the picture differs from the first.
void WriteRare(std::string const& path, int bits, int photometric, int orientation, std::vector<Bytes> rows) {
    TIFF* const pTiff = TIFFOpen(path.c_str(), "w");
    Picture picture(2, static_cast<int>(rows.size()), 1, 8);
    SetLayout(pTiff, picture, photometric, {.iOrientation = orientation});
    TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, bits);
    std::vector<std::uint16_t> red(256), green(256), blue(256);
    for (std::size_t i = 0; i < 256; ++i) {
        red[i] = static_cast<std::uint16_t>(i * 257);
        green[i] = static_cast<std::uint16_t>((255 - i) * 257);
        blue[i] = 7 * 257;
    }
    if (photometric == PHOTOMETRIC_PALETTE)
        TIFFSetField(pTiff, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
    for (std::size_t y = 0; y < rows.size(); ++y) {
        TIFFWriteScanline(pTiff, rows[y].data(), static_cast<std::uint32_t>(y));
    }
    TIFFClose(pTiff);
}

TEST_F(ReadTiff, RareKindsBecomeRgb) {
    struct {
        int iBits, iPhotometric, iOrientation;
        std::vector<Bytes> oRows;
        Bytes oShown;
    } const cases[] = {
        {1, PHOTOMETRIC_MINISBLACK, ORIENTATION_TOPLEFT, {{0x80}, {0}}, {255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {8, PHOTOMETRIC_PALETTE, ORIENTATION_TOPLEFT, {{0, 255}, {1, 2}}, {0, 255, 7, 255, 0, 7, 1, 254, 7, 2, 253, 7}},
        {8,
         PHOTOMETRIC_PALETTE,
         ORIENTATION_BOTRIGHT,
         {{0, 255}, {1, 2}},
         {2, 253, 7, 1, 254, 7, 255, 0, 7, 0, 255, 7}},
        {8, PHOTOMETRIC_PALETTE, ORIENTATION_LEFTBOT, {{0, 255}, {1, 2}}, {255, 0, 7, 2, 253, 7, 0, 255, 7, 1, 254, 7}},
    };
    for (auto const& [bits, photometric, orientation, rows, shown] : cases) {
        WriteRare(Path("a.tif"), bits, photometric, orientation, rows);
        EXPECT_EQ(ReadPicture(Path("a.tif")).oBytes, shown) << photometric << ' ' << orientation;
    }
}

TEST_F(ReadTiff, WhatIsNotReadIsNamed) {
    auto const error = [&] { return ErrorOf([&] { ReadPicture(Path("a.tif")); }); };
    WriteTiff(Path("a.tif"), Picture(4, 4, 4, 8), PHOTOMETRIC_SEPARATED, {});
    EXPECT_EQ(error(), CannotRead(Path("a.tif"), "it is a CMYK picture, and only grey and RGB ones are read"));
    WriteRare(Path("a.tif"), 32, PHOTOMETRIC_MINISBLACK, ORIENTATION_TOPLEFT, {Bytes(8)});
    EXPECT_EQ(error(), CannotRead(Path("a.tif"),
                                  "its kind of samples is not read (1 of 32 bits, sample format 1, "
                                  "photometric interpretation 1)"));
}

using ReadJpeg = FolderTest;

TEST_F(ReadJpeg, InksAreLeftOutOfWhite) {
    // Stored inverted, as the programs do that write such files: 255 is no ink.
    Picture written(8, 8, 4, 8);
    for (std::size_t i = 0; i < written.oBytes.size(); i += 4) {
        for (std::size_t j = 0; j < 4; ++j) written.oBytes[i + j] = Bytes{200, 100, 0, 128}[j];
    }
    SaveBytes(Path("a.jpg"), JpegOf(written, JCS_CMYK));
    Picture const picture = ReadPicture(Path("a.jpg"));
    ASSERT_EQ(picture.iChannels, 3);
    for (std::size_t j = 0; j < 3; ++j) EXPECT_NEAR(picture.oBytes[j], (Bytes{100, 50, 0}[j]), 2);
}

TEST_F(ReadJpeg, TextPicturesAreRead) {
    struct {
        char const* pFile;
        int iChannels;
        Bytes oSamples;
    } const cases[] = {
        {"P1 # a comment\n3 1 1 0 1", 1, {0, 255, 0}},
        {"P2 2 1 4 0 3", 1, {0, 191}},
        {"P3\n1 1\n255\n7 8 9\n", 3, {7, 8, 9}},
        {"P4 3 1\n\xa0", 1, {0, 255, 0}},
        {"P5 2 1 3\n\x03\x01", 1, {255, 85}},
        {"P6 1 1 255\nabc", 3, {97, 98, 99}},
        {"P7\nWIDTH 1\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\nab", 2, {97, 98}},
    };
    for (auto const& test : cases) {
        std::string_view const file = test.pFile;
        SaveBytes(Path("a"), Bytes(file.begin(), file.end()));
        Picture const picture = ReadPicture(Path("a"));
        EXPECT_EQ(picture.iChannels, test.iChannels) << file;
        EXPECT_EQ(picture.oBytes, test.oSamples) << file;
    }
}

}  // namespace
}  // namespace qzil::media::test
