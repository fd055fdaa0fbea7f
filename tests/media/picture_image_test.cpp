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

TEST(PictureImage, EveryWorkingFormatHoldsThePictureUpright) {
    auto const layouts = ReadTable("media/layouts.tsv");
    ASSERT_EQ(WorkingFormats().size(), layouts.size());
    // Each row and column differs, so that no turn or mirror image passes.
    std::string const pixels[] = {"R", "G", "B", "", "RGB", "RG"};
    for (Row const& layout : layouts) {
        SCOPED_TRACE(layout["format"]);
        GUID const format = FormatNamed(layout["format"]);
        std::string const& order = layout["channels"];
        int const full = layout.Number("full");
        std::string const lights = order == "Y" ? "R" : "RGB";
        Picture source(2, 3, static_cast<int>(lights.size()), 8);
        std::vector<double> expected;
        for (int row = 0; row < 3; ++row) {
            int const y = layout.Number("top first") ? row : 2 - row;
            for (int x = 0; x < 2; ++x) {
                std::string const& lit = pixels[2 * y + x];
                auto const level = [&](char c) { return lit.find(c) != std::string::npos ? 255 : 0; };
                unsigned char* const pOut = source.Row(y) + source.PixelBytes() * static_cast<unsigned>(x);
                for (std::size_t i = 0; i < lights.size(); ++i) pOut[i] = static_cast<unsigned char>(level(lights[i]));
                for (char const c : order) {
                    expected.push_back(c == 'A' || level(c == 'Y' ? 'R' : c) != 0 ? full : 0);
                }
            }
        }
        Ref<IXFImage> const image = ToImage(source, format);
        EXPECT_EQ(Values(*image.Get()), expected);

        // What comes back has the format's own channels and depth, and is a fixed point.
        Picture const back = FromImage(*image.Get());
        EXPECT_EQ(back.iChannels, static_cast<int>(order.size()));
        EXPECT_EQ(back.iDepth, full == 255 ? 8 : full == 65535 ? 16 : 32);
        Ref<IXFImage> const again = ToImage(back, format);
        EXPECT_EQ(PixelArray<unsigned char>(*again.Get()), PixelArray<unsigned char>(*image.Get()));
        if (back.iDepth == 8 && back.iChannels == source.iChannels) ExpectEqual(back, source, "back");
        if (back.iDepth == 8) {
            EXPECT_EQ(back.Row(0)[0], 255) << "top left";
            EXPECT_EQ(back.Row(2)[0], 255) << "bottom left";
            EXPECT_EQ(back.Row(1)[0], 0) << "middle left";
        }
    }
}

template <class T>
Picture OnePixel(std::vector<double> const& pixel) {
    return MakePicture<T>(1, 1, static_cast<int>(pixel.size()), std::vector<T>(pixel.begin(), pixel.end()));
}

TEST(PictureImage, SamplesConvertByTheRuleOfParameters) {
    for (Row const& row : ReadTable("media/samples.tsv")) {
        std::vector<double> const pixel = Reals(row["pixel"]);
        int const depth = row.Number("depth");
        Picture const picture = depth == 8    ? OnePixel<std::uint8_t>(pixel)
                                : depth == 16 ? OnePixel<std::uint16_t>(pixel)
                                              : OnePixel<float>(pixel);
        EXPECT_EQ(Values(*ToImage(picture, FormatNamed(row["format"])).Get()), Reals(row["channels"]))
            << row["format"] << " from " << depth << " bits: " << row["pixel"];
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
