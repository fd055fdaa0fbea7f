#include "tests/media/media_support.h"

#include "qzil/image/image_ops.h"

#include <algorithm>
#include <limits>

namespace qzil::media::test {
namespace {

template <class T>
std::vector<T> PixelArray(IXFImage& image) {
    void* pPixels = nullptr;
    unsigned bytes = 0;
    image.GetPixelArray(&pPixels);
    image.GetPixelArraySize(&bytes);
    return std::vector<T>(static_cast<T*>(pPixels), static_cast<T*>(pPixels) + bytes / sizeof(T));
}

/// Channel values of an image as numbers, whatever their type.
std::vector<double> Values(IXFImage& image) {
    XFChannelType type = 0;
    image.GetChannelType(&type);
    auto const widen = [](auto const& values) { return std::vector<double>(values.begin(), values.end()); };
    switch (type) {
        case XFChannelTypeUInt8: return widen(PixelArray<std::uint8_t>(image));
        case XFChannelTypeUInt16: return widen(PixelArray<std::uint16_t>(image));
        case XFChannelTypeS2_14: return widen(PixelArray<std::int16_t>(image));
        default: return widen(PixelArray<float>(image));
    }
}

struct Layout {
    GUID oFormat;
    bool bTopFirst;  ///< the first row in memory is the top of the picture
    double dfFull;
    std::string oOrder;
};

Layout const kLayouts[] = {
    {MFIF_RGBA_RAW_32, false, 255, "RGBA"}, {MFIF_RGBA_RAW_64, false, 65535, "RGBA"},
    {MFIF_RGBA_S2_14, true, 16384, "RGBA"}, {MFIF_RGBA_FLOAT, true, 1, "RGBA"},
    {MFIF_RGBA_FLOAT_BU, false, 1, "RGBA"}, {MFIF_BGRA_RAW_32, true, 255, "BGRA"},
    {MFIF_DIB_RAW_32, false, 255, "BGRA"},  {MFIF_RGB_RAW_24, false, 255, "RGB"},
    {MFIF_MONO_RAW_8, false, 255, "Y"},     {MFIF_MONO_RAW_8_TD, true, 255, "Y"},
    {MFIF_MONO_RAW_16, false, 65535, "Y"},  {MFIF_MONO_S2_14, true, 16384, "Y"},
    {MFIF_MONO_FLOAT, true, 1, "Y"},        {MFIF_MONO_FLOAT_BU, false, 1, "Y"},
};

TEST(PictureImage, EveryWorkingFormatHoldsThePictureUpright) {
    ASSERT_EQ(WorkingFormats().size(), std::size(kLayouts));
    // Each row and column differs, so that no turn or mirror image passes.
    std::string const pixels[] = {"R", "G", "B", "", "RGB", "RG"};
    for (Layout const& layout : kLayouts) {
        SCOPED_TRACE(FormatName(layout.oFormat));
        std::string const lights = layout.oOrder == "Y" ? "R" : "RGB";
        Picture source(2, 3, static_cast<int>(lights.size()), 8);
        std::vector<double> expected;
        for (int row = 0; row < 3; ++row) {
            int const y = layout.bTopFirst ? row : 2 - row;
            for (int x = 0; x < 2; ++x) {
                std::string const& lit = pixels[2 * y + x];
                auto const level = [&](char c) { return lit.find(c) != std::string::npos ? 255 : 0; };
                unsigned char* const pOut = source.Row(y) + source.PixelBytes() * static_cast<unsigned>(x);
                for (std::size_t i = 0; i < lights.size(); ++i) pOut[i] = static_cast<unsigned char>(level(lights[i]));
                for (char const c : layout.oOrder) {
                    expected.push_back(c == 'A' || level(c == 'Y' ? 'R' : c) != 0 ? layout.dfFull : 0);
                }
            }
        }
        Ref<IXFImage> const image = ToImage(source, layout.oFormat);
        EXPECT_EQ(Values(*image.Get()), expected);

        // What comes back has the format's own channels and depth, and is a fixed point.
        Picture const back = FromImage(*image.Get());
        EXPECT_EQ(back.iChannels, static_cast<int>(layout.oOrder.size()));
        EXPECT_EQ(back.iDepth, layout.dfFull == 255 ? 8 : layout.dfFull == 65535 ? 16 : 32);
        Ref<IXFImage> const again = ToImage(back, layout.oFormat);
        EXPECT_EQ(PixelArray<unsigned char>(*again.Get()), PixelArray<unsigned char>(*image.Get()));
        if (back.iDepth == 8 && back.iChannels == source.iChannels) ExpectEqual(back, source, "back");
        if (back.iDepth == 8) {
            EXPECT_EQ(back.Row(0)[0], 255) << "top left";
            EXPECT_EQ(back.Row(2)[0], 255) << "bottom left";
            EXPECT_EQ(back.Row(1)[0], 0) << "middle left";
        }
    }
}

struct Conversion {
    int iDepth;
    std::vector<double> oPixel;
    GUID oFormat;
    std::vector<double> oExpected;
};

Conversion const kConversions[] = {
    // Own type: as it is.
    {8, {1, 2, 3, 4}, MFIF_RGBA_RAW_32, {1, 2, 3, 4}},
    {8, {1, 2, 3, 4}, MFIF_BGRA_RAW_32, {3, 2, 1, 4}},
    {8, {1, 2, 3, 4}, MFIF_DIB_RAW_32, {3, 2, 1, 4}},
    {8, {1, 2, 3, 4}, MFIF_RGB_RAW_24, {1, 2, 3}},
    {16, {1, 256, 65534, 7}, MFIF_RGBA_RAW_64, {1, 256, 65534, 7}},
    {32, {-3, 0.25, 7, 2}, MFIF_RGBA_FLOAT, {-3, 0.25, 7, 2}},
    // Grey is spread, missing alpha is full.
    {8, {9}, MFIF_RGBA_RAW_32, {9, 9, 9, 255}},
    {8, {9, 5}, MFIF_BGRA_RAW_32, {9, 9, 9, 5}},
    {8, {0, 255, 51}, MFIF_RGBA_FLOAT, {0, 1, static_cast<double>(0.2f), 1}},
    {16, {65535, 0, 0}, MFIF_RGBA_S2_14, {16384, 0, 0, 16384}},
    {32, {0.5}, MFIF_RGBA_RAW_64, {32768, 32768, 32768, 65535}},
    // 128 / 255 of 16384 is 8224.13; of 65535 it is 32896.
    {8, {128, 1, 254, 255}, MFIF_RGBA_S2_14, {8224, 64, 16320, 16384}},
    {8, {128, 1, 254, 255}, MFIF_RGBA_RAW_64, {32896, 257, 65278, 65535}},
    // 128 and 129 of 16 bits lie on both sides of half an 8-bit step.
    {16, {128, 129, 65406, 65407}, MFIF_RGBA_RAW_32, {0, 1, 254, 255}},
    {16, {2, 1, 32768, 65535}, MFIF_RGBA_S2_14, {1, 0, 8192, 16384}},
    // Limits of each channel.
    {32, {-0.25, 1.5, 3, -3}, MFIF_RGBA_S2_14, {-4096, 24576, 32767, -32768}},
    {32, {-0.25, 1.5, 0.5, 1}, MFIF_RGBA_RAW_32, {0, 255, 128, 255}},
    {32, {-0.25, 1.5, 0.25, 1}, MFIF_RGBA_RAW_64, {0, 65535, 16384, 65535}},
    // Luma of Rec. 601; alpha is dropped.
    {8, {255, 0, 0, 9}, MFIF_MONO_RAW_8, {76}},
    {8, {0, 255, 0}, MFIF_MONO_RAW_8_TD, {150}},
    {8, {0, 0, 255}, MFIF_MONO_RAW_8, {29}},
    {8, {200, 100, 50, 0}, MFIF_MONO_RAW_8, {124}},
    {8, {255, 255, 255}, MFIF_MONO_RAW_8, {255}},
    {8, {255, 255, 255}, MFIF_MONO_S2_14, {16384}},
    {16, {65535, 0, 0}, MFIF_MONO_RAW_16, {19595}},
    {16, {0, 65535, 65535}, MFIF_MONO_FLOAT, {static_cast<double>(0.701f)}},
    {32, {2, 0, 0}, MFIF_MONO_FLOAT_BU, {static_cast<double>(0.598f)}},
    {8, {77, 0}, MFIF_MONO_RAW_8, {77}},
};

template <class T>
Picture OnePixel(std::vector<double> const& pixel) {
    std::vector<T> samples;
    for (double const value : pixel) samples.push_back(static_cast<T>(value));
    return MakePicture<T>(1, 1, static_cast<int>(pixel.size()), samples);
}

TEST(PictureImage, SamplesConvertByTheRuleOfParameters) {
    for (Conversion const& conversion : kConversions) {
        Picture const picture = conversion.iDepth == 8    ? OnePixel<std::uint8_t>(conversion.oPixel)
                                : conversion.iDepth == 16 ? OnePixel<std::uint16_t>(conversion.oPixel)
                                                          : OnePixel<float>(conversion.oPixel);
        Ref<IXFImage> const image = ToImage(picture, conversion.oFormat);
        EXPECT_EQ(Values(*image.Get()), conversion.oExpected)
            << FormatName(conversion.oFormat) << " from " << conversion.iDepth << " bits, case "
            << &conversion - kConversions;
    }
}

TEST(PictureImage, EveryValueOfAnIntegerChannelReturns) {
    std::vector<std::uint16_t> words(65536);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(i);
    Picture const picture = MakePicture<std::uint16_t>(256, 256, 1, words);
    ExpectEqual(FromImage(*ToImage(picture, MFIF_MONO_RAW_16).Get()), picture, "MFIF_MONO_RAW_16");

    // S2.14 goes through float and must not lose anything, negative and large values included.
    Ref<IXFImage> const image = ToImage(picture, MFIF_MONO_S2_14);
    void* pPixels = nullptr;
    image->GetPixelArray(&pPixels);
    std::memcpy(pPixels, words.data(), words.size() * sizeof words[0]);
    Picture const real = FromImage(*image.Get());
    EXPECT_EQ(Samples<float>(real)[8192], 0.5f);
    EXPECT_EQ(Samples<float>(real)[32768], -2.0f);
    EXPECT_EQ(PixelArray<std::uint16_t>(*ToImage(real, MFIF_MONO_S2_14).Get()), words);
}

TEST(PictureImage, FloatSamplesKeepTheirBits) {
    float const nan = std::numeric_limits<float>::quiet_NaN();
    Picture const picture = MakePicture<float>(2, 1, 1, {nan, -std::numeric_limits<float>::infinity()});
    ExpectEqual(FromImage(*ToImage(picture, MFIF_MONO_FLOAT).Get()), picture, "MFIF_MONO_FLOAT");
    EXPECT_EQ(Values(*ToImage(picture, MFIF_MONO_RAW_8).Get()), (std::vector<double>{0, 0}));
}

TEST(PictureImage, UnreachableFormatsAndEmptyImagesAreRefused) {
    Picture const picture(2, 2, 4, 8);
    EXPECT_EQ(ErrorOf([&] { ToImage(picture, MFIF_GENERIC); }),
              "no conversion leads from MFIF_RGBA_RAW_32 to MFIF_GENERIC");
    EXPECT_EQ(ErrorOf([&] { ToImage(picture, GUID{}); }),
              "no conversion leads from MFIF_RGBA_RAW_32 to an unknown format");
    Ref<IXFImage> image;
    ASSERT_EQ(qzILCreateImage(nullptr, IID_IXFImage, image.Out()), 0);
    image->SetFormat(MFIF_RGBA_RAW_32);
    image->SetRes(4, 4);
    EXPECT_EQ(ErrorOf([&] { FromImage(*image.Get()); }), "the image has no pixels to make a picture of");
    Picture broken = picture;
    broken.oBytes.pop_back();
    EXPECT_EQ(ErrorOf([&] { ToImage(broken, MFIF_RGBA_RAW_32); }), "the picture's samples do not fit its description");
}

}  // namespace
}  // namespace qzil::media::test
