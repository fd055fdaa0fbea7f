#include "model/cases.h"
#include "model/premult_model.h"

#include "qzil/image/image_ops.h"
#include "qzil/pixel/premult.h"

namespace qzil::test::model {
namespace {

class AdjustPremult : public testing::TestWithParam<GUID> {};

TEST_P(AdjustPremult, EqualsModel) {
    ForEachScene(GetParam(), kMasked | kDyadic | kSpecials, [](Scene& scene) {
        qzILAdjustPremultImg effect;
        ExpectModel(scene, effect, AdjustPremultModel{});
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, AdjustPremult, testing::ValuesIn(kAdjustPremult), ParamName);
INSTANTIATE_TEST_SUITE_P(Unverified, AdjustPremult, testing::Values(MFIF_RGBA_RAW_64, MFIF_BGRA_RAW_32), ParamName);

TEST(AdjustPremultBytes, EveryPairOfAlphas) {
    Scene scene = Square(MFIF_RGBA_RAW_32);
    for (int base : {0, 1, 100, 127, 250}) {
        FillBytes(scene.oA.Get(), 3, [](int x, int, int) { return x; });
        FillBytes(scene.oB.Get(), -1, [&](int, int y, int c) { return c == 3 ? y : std::min(255, base + 2 * c); });
        qzILAdjustPremultImg effect;
        ExpectModel(scene, effect, AdjustPremultModel{}, Text("colour", base));
    }
}

class Unpremultiply : public testing::TestWithParam<GUID> {};

TEST_P(Unpremultiply, EqualsModel) {
    ForEachScene(GetParam(), kMasked, [](Scene& scene) {
        for (qzILColor const& color : kColors) {
            qzILUnpremultiplyImg effect;
            effect.SetBackgroundColor(color);
            if (scene.iInPlace) scene.Make();
            ExpectModel(scene, effect, UnpremultiplyModel{color}, Text(color));
        }
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, Unpremultiply, testing::ValuesIn(kUnpremultiply), ParamName);

TEST(UnpremultiplyBytes, EveryColourAndAlpha) {
    Scene scene = Square(MFIF_RGBA_RAW_32);
    for (double const alpha : {0.0, 0.2, 0.5, 254.0 / 255.0, 1.0}) {
        for (int other : {0, 17, 128, 255}) {
            FillBytes(scene.oA.Get(), -1, [&](int x, int y, int c) {
                return c == 3 ? y : c == 0 ? x : c == 1 ? other : x / 2;
            });
            qzILColor const color(0.3, 0.8, 1.0, alpha);
            qzILUnpremultiplyImg effect;
            effect.SetBackgroundColor(color);
            ExpectModel(scene, effect, UnpremultiplyModel{color}, Text(color));
        }
    }
}

TEST(Unpremultiply, WithoutABackgroundIsTheUsualDivision) {
    Scene scene{.oFormat = MFIF_RGBA_RAW_32, .iWidth = 2, .iHeight = 1};
    scene.Make();
    unsigned char const in[8] = {50, 100, 25, 100, 0, 0, 0, 0};
    std::ranges::copy(in, Bytes(scene.oA).begin());
    qzILUnpremultiplyImg effect;
    Configure(scene, effect);
    ASSERT_EQ(effect.Verify(), 1);
    ASSERT_EQ(effect.Execute(), 1);
    unsigned char const wanted[8] = {127, 255, 64, 100, 0, 0, 0, 0};
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(Bytes(scene.oOut)[i], wanted[i]) << "byte " << i;
}

TEST(UnpremultiplyImage, PutsTheRegionAtTheOrigin) {
    for (GUID const& format : kUnpremultiply) {
        auto const image = MakeImage(format, 13, 5);
        FillEnds(image.Get(), 5, false);
        qzILBbox2l const region(3, 1, 7, 3);
        IXFImage* result = nullptr;
        ASSERT_EQ(qzILUnpremultiplyImage(image.Get(), &result, 15, region), 0);
        int width = 0, height = 0;
        result->GetRes(&width, &height);
        EXPECT_EQ(width, 13);
        EXPECT_EQ(height, 5);
        auto const wanted = MakeImage(format, 13, 5);
        qzILUnpremultiplyImg effect;
        effect.SetInputImg(image.Get());
        effect.SetOutputImg(wanted.Get());
        effect.SetProcessingMode(15);
        effect.SetROI(region);
        ASSERT_EQ(effect.Execute(), 1);
        PlainLayout const layout(image.Get());
        for (int y = 0; y < 3; ++y) {
            std::size_t const first = layout.Pixel(0, y), count = 7 * layout.PixelStep();
            EXPECT_EQ(DescribeDifference(Bytes(wanted).subspan(first, count), Bytes(result).subspan(first, count)), "")
                << NameOf(format) << " line " << y;
        }
        result->Release();
    }
    IXFImage* none = nullptr;
    EXPECT_EQ(static_cast<std::uint32_t>(qzILUnpremultiplyImage(nullptr, &none, 15, {0, 0, 1, 1})), 0x80004003u);
    EXPECT_EQ(none, nullptr);
}

}  // namespace
}  // namespace qzil::test::model
