// All 2^24 colours through the four 8-bit blocks of integer coefficients, there and back.

#include "model/convert_blocks.h"
#include "scene/scene.h"
#include "support/plain_layout.h"

#include <gtest/gtest.h>

namespace qzil::test::model {
namespace {

struct Block {
    GUID oRgb, oYcc;
    int iRoundTrip;  ///< largest error of a colour that goes there and back
};

class ByteBlocks : public testing::TestWithParam<Block> {
protected:
    bool Is709() const { return IsFormat709(GetParam().oYcc); }
    bool IsVideo() const { return IsFormatVideoLevels(GetParam().oRgb); }
    test::Scene There(int width) const {
        test::Scene scene = PlainScene(*catalog::Find("rgba-to-ycca"), {GetParam().oRgb, GetParam().oYcc}, width, 256);
        scene.Set("filter", false);
        return scene;
    }
    test::Scene Back(int width) const {
        return PlainScene(*catalog::Find("ycca-to-rgba"), {GetParam().oYcc, GetParam().oRgb}, width, 256);
    }
};

TEST_P(ByteBlocks, EveryRgbThereAndBack) {
    ByteToYcc const& k = kByteToYcc[Is709()][IsVideo()];
    test::Scene const there = There(512), back = Back(512);
    Images const images(there);
    Images backImages(back);
    backImages.oInputs[0] = images.Output();
    auto const rgb = Bytes(images.oInputs[0]), ycc = Bytes(images.Output()), again = Bytes(backImages.Output());
    catalog::Instance effect = Prepare(there, images), inverse = Prepare(back, backImages);
    PlainLayout const rgbLayout(images.oInputs[0].Get()), yccLayout(images.Output().Get());
    // Pairs of one colour: chroma comes from the even pixel.
    for (int i = 0; i < 512 * 256; ++i) {
        u8* const pixel = &rgb[rgbLayout.Pixel(i % 512, i / 512)];
        pixel[1] = static_cast<u8>(i / 512);
        pixel[2] = static_cast<u8>(i % 512 / 2);
        pixel[3] = 255;
    }
    int error = 0;
    for (int r = 0; r < 256; ++r) {
        for (std::size_t i = 0; i < rgb.size(); i += 4) rgb[i] = static_cast<u8>(r);
        ASSERT_EQ(effect.Effect().Execute(), 1);
        ASSERT_EQ(inverse.Effect().Execute(), 1);
        for (int g = 0; g < 256; ++g) {
            u8 const* const pairs = &ycc[yccLayout.Pixel(0, g)];
            for (int b = 0; b < 256; ++b) {
                i64 const y = (Dot(k.piY, r, g, b) + k.iLuma + 32768) >> 16;
                i64 const cb = std::clamp<i64>((Dot(k.piCb, r, g, b) + kGrey + 32768) >> 16, 0, 255);
                i64 const cr = std::clamp<i64>((Dot(k.piCr, r, g, b) + kGrey + 32768) >> 16, 0, 255);
                u8 const* const p = pairs + 4 * b;
                ASSERT_TRUE(p[0] == cb && p[1] == y && p[2] == cr && p[3] == y)
                    << r << ' ' << g << ' ' << b << ": expected " << y << ' ' << cb << ' ' << cr << ", actual " << +p[1]
                    << ' ' << +p[0] << ' ' << +p[2];
            }
        }
        for (std::size_t i = 0; i < rgb.size(); ++i) error = std::max(error, std::abs(rgb[i] - again[i]));
    }
    EXPECT_EQ(error, GetParam().iRoundTrip);
}

TEST_P(ByteBlocks, EveryYccBack) {
    ByteFromYcc const& k = kByteFromYcc[Is709()][IsVideo()];
    Images const images(Back(256));
    PlainLayout const rgbLayout(images.Output().Get()), yccLayout(images.oInputs[0].Get());
    auto const ycc = Bytes(images.oInputs[0]), rgb = Bytes(images.Output());
    catalog::Instance effect = Prepare(Back(256), images);
    for (int i = 0; i < 256 * 256; ++i) {
        u8* const pixel = &ycc[yccLayout.Pixel(i % 256, i / 256)];
        pixel[0] = static_cast<u8>(i / 256);
        pixel[1] = static_cast<u8>(i % 256);
    }
    for (int cr = 0; cr < 256; ++cr) {
        for (std::size_t i = 2; i < ycc.size(); i += 4) ycc[i] = static_cast<u8>(cr);
        ASSERT_EQ(effect.Effect().Execute(), 1);
        for (int cb = 0; cb < 256; ++cb) {
            u8 const* const line = &rgb[rgbLayout.Pixel(0, cb)];
            for (int y = 0; y < 256; ++y) {
                u8 const* const p = line + 4 * y;
                u8 const r = RedOf(k, y, cb, cr), g = GreenOf(k, y, cb, cr), b = BlueOf(k, y, cb, cr);
                ASSERT_TRUE(p[0] == r && p[1] == g && p[2] == b && p[3] == 255)
                    << y << ' ' << cb << ' ' << cr << ": expected " << +r << ' ' << +g << ' ' << +b << ", actual "
                    << +p[0] << ' ' << +p[1] << ' ' << +p[2] << ' ' << +p[3];
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Blocks, ByteBlocks,
                         testing::Values(Block{MFIF_RGBA_RAW_32, MFIF_CbYCrY_16, 2},
                                         Block{MFIF_RGBA_RAW_32, MFIF_CbYCrY709_16, 2},
                                         Block{MFIF_RGBA_RAW_32_VIDEO, MFIF_CbYCrY_16, 6},
                                         Block{MFIF_RGBA_RAW_32_VIDEO, MFIF_CbYCrY709_16, 7}),
                         [](auto const& instance) {
                             return NameOf(instance.param.oRgb) + '_' + NameOf(instance.param.oYcc);
                         });

}  // namespace
}  // namespace qzil::test::model
