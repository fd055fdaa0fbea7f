#include "media/convert.h"

#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "tests/media/media_support.h"

#include <cmath>

namespace qzil::media::test {
namespace {

TEST(Convert, EveryReachableFormatShowsThePicture) {
    // Soft in both directions, so that shared chroma loses little; no two corners alike.
    Picture source(16, 6, 4, 8);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 16; ++x) {
            unsigned char* const pOut = source.Row(y) + 4 * x;
            pOut[0] = static_cast<unsigned char>(60 + 4 * x);
            pOut[1] = static_cast<unsigned char>(90 + 8 * y);
            pOut[2] = static_cast<unsigned char>(150 - 3 * x);
            pOut[3] = 255;
        }
    }
    auto const luma = [](unsigned char const* p) { return 0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2]; };
    int reached = 0;
    for (NamedFormat const& known : AllFormats()) {
        if (!HoldsPictures(known.oFormat)) continue;
        ++reached;
        // Through 16-bit, float and grey pictures back to 8 bits.
        Picture const shown = FromImage(*ToImage(source, known.oFormat).Get());
        Picture const back = FromImage(*ToImage(shown, MFIF_RGBA_RAW_32).Get());
        ASSERT_EQ(back.oBytes.size(), source.oBytes.size());
        for (std::size_t i = 0; i < back.oBytes.size(); i += 4) {
            unsigned char const *const p = &back.oBytes[i], *const expected = &source.oBytes[i];
            ASSERT_NEAR(luma(p), luma(expected), 2.5) << known.pName << ' ' << i;
            for (int c = 0; c < 3 && !IsFormatMono(known.oFormat); ++c) {
                ASSERT_NEAR(p[c], expected[c], 8) << known.pName << ' ' << i;
            }
        }
    }
    EXPECT_GE(reached, 60);
}

TEST(Convert, FourSamplesAPixelKeepTheirChroma) {
    struct Case {
        GUID oFormat;
        double dfKr, dfKb;
    };
    for (Case const& c :
         {Case{MFIF_CbYCrA_FLOAT_4444, 0.299, 0.114}, Case{MFIF_CbYCr709A_FLOAT_4444, 0.2126, 0.0722}}) {
        Ref<IXFImage> image;
        ASSERT_EQ(qzILCreateAndAllocImage(nullptr, IID_IXFImage, 2, 2, c.oFormat, image.Out()), 0);
        // The two pixels of a line have chroma of their own.
        float const pixels[2][4] = {{0.25f, 0.5f, -0.125f, 1.0f}, {-0.5f, 0.75f, 0.5f, 0.5f}};
        for (int y = 0; y < 2; ++y) std::memcpy(qzILImageHelper(image.Get()).GetPixelPtr(0, y), pixels, sizeof pixels);
        Ref<IXFImage> const rgba = Convert(*image.Get(), MFIF_RGBA_FLOAT);
        auto const* const pOut = reinterpret_cast<float const*>(qzILImageHelper(rgba.Get()).GetPixelPtr(0, 1));
        for (int x = 0; x < 2; ++x) {
            auto const [cb, y, cr, a] = pixels[x];
            double const r = y + 2.0 * (1.0 - c.dfKr) * double{cr}, b = y + 2.0 * (1.0 - c.dfKb) * double{cb};
            double const g = (y - c.dfKr * r - c.dfKb * b) / (1.0 - c.dfKr - c.dfKb);
            EXPECT_NEAR(double{pOut[4 * x]}, r, 1e-4);
            EXPECT_NEAR(double{pOut[4 * x + 1]}, g, 1e-4);
            EXPECT_NEAR(double{pOut[4 * x + 2]}, b, 1e-4);
            EXPECT_EQ(pOut[4 * x + 3], a);
        }
    }
}

// 16 bits are rounded to 8, not cut to their low bytes.
TEST(Convert, DeepPicturesKeepTheirTops) {
    for (GUID const& over : {MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16}) {
        bool const grey = IsFormatMono(over);
        Picture source(64, 2, grey ? 1 : 4, 16);
        auto* const pIn = reinterpret_cast<unsigned short*>(source.Row(0));
        for (std::size_t i = 0; i < source.oBytes.size() / 2; ++i) pIn[i] = static_cast<unsigned short>(i * 127 + 61);
        for (GUID const& to : {grey ? MFIF_MONO_RAW_8 : MFIF_RGBA_RAW_32, grey ? MFIF_MONO_FLOAT : MFIF_BGRA_RAW_32}) {
            ASSERT_TRUE(CanConvert(over, to));
            Picture const shown = FromImage(*Convert(*ToImage(source, over).Get(), to).Get());
            for (std::size_t i = 0; i < source.oBytes.size() / 2; ++i) {
                double const value = shown.iDepth == 8 ? shown.oBytes[i] * 257.0
                                                       : reinterpret_cast<float const*>(shown.Row(0))[i] * 65535.0;
                ASSERT_NEAR(value, pIn[i], 129.0) << FormatName(to) << ' ' << i;
            }
        }
    }
}

TEST(Convert, FlagsReachTheLibrary) {
    Ref<IXFImage> const image = ToImage(Picture(4, 1, 4, 8), MFIF_RGBA_RAW_32);
    auto* const pIn = qzILImageHelper(image.Get()).GetPixelPtr(0, 0);
    for (int x = 0; x < 4; ++x) pIn[4 * x] = static_cast<unsigned char>(x % 2 ? 0 : 255);
    auto const cr = [&](unsigned flags) {
        return int{qzILImageHelper(Convert(*image.Get(), MFIF_CbYCrY_16, flags).Get()).GetPixelPtr(0, 0)[2]};
    };
    EXPECT_EQ(cr(0), 240);
    EXPECT_LT(cr(kFilterChroma), 230);
}

TEST(Convert, OneFormatIsTheSameImage) {
    Ref<IXFImage> const image = ToImage(Picture(3, 3, 1, 8), MFIF_MONO_RAW_8);
    EXPECT_EQ(Convert(*image.Get(), MFIF_MONO_RAW_8).Get(), image.Get());
    EXPECT_FALSE(CanConvert(MFIF_RGBA_RAW_32, MFIF_RGB_JPEG_24));
}

}  // namespace
}  // namespace qzil::media::test
