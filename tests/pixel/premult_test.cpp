#include "model/cases.h"
#include "model/premult_model.h"

#include "qzil/image/image_ops.h"
#include "qzil/pixel/premult.h"

namespace qzil::test::model {
namespace {

TEST(AdjustPremult, EqualsModel) {
    Formats const unverified{MFIF_RGBA_RAW_64, MFIF_BGRA_RAW_32};
    ForEachScene(kAdjustPremult + unverified, kMasked | kDyadic | kSpecials, [](Scene& scene) {
        qzILAdjustPremultImg effect;
        ExpectModel(scene, effect, AdjustPremultModel{});
    });
}

TEST(AdjustPremultBytes, EveryPairOfAlphas) {
    Scene scene = Square(MFIF_RGBA_RAW_32);
    for (int base : {0, 1, 100, 127, 250}) {
        FillBytes(scene.oA.Get(), 3, [](int x, int, int) { return x; });
        FillBytes(scene.oB.Get(), -1, [&](int, int y, int c) { return c == 3 ? y : std::min(255, base + 2 * c); });
        qzILAdjustPremultImg effect;
        ExpectModel(scene, effect, AdjustPremultModel{}, Text("colour", base));
    }
}

TEST(Unpremultiply, EqualsModel) {
    ForEachScene(kUnpremultiply, kMasked, [](Scene& scene) {
        for (qzILColor const& color : kColors) {
            qzILUnpremultiplyImg effect;
            effect.SetBackgroundColor(color);
            ExpectModel(scene, effect, UnpremultiplyModel{color}, Text(color));
        }
    });
}

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
