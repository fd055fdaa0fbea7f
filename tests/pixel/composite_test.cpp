#include "model/cases.h"
#include "model/composite_model.h"

#include "qzil/pixel/composite.h"

namespace qzil::test::model {
namespace {

TEST(Composite, EqualsModel) {
    ForEachScene(kComposite, kMasked | kDyadic, [](Scene& scene) {
        if (!scene.uMask) return;
        scene.bDominantB = false;  // what the host sets does not last
        for (double const alpha : kAlphas) {
            for (unsigned const mode : {1u, 2u, 3u}) {
                qzILCompositeImg effect;
                effect.SetAlpha(alpha);
                effect.SetAlphaMode(mode);
                Configure(scene, effect);
                effect.SetDominantInput(scene.oB.Get());
                ASSERT_EQ(effect.Verify(), 1) << effect.GetLastError();
                EXPECT_EQ(effect.GetProcessingMode() & 15, 15u);
                EXPECT_EQ(effect.GetDominantInput(), scene.oA.Get());
                scene.uMode = 15;
                ExpectModel(scene, effect, CompositeModel{alpha, mode},
                            Text("alpha", alpha) + Text("alpha mode", mode));
            }
        }
    });
}

TEST(CompositeBytes, EveryAlphaThroughEveryMask) {
    Scene scene{.oFormat = MFIF_RGBA_RAW_32, .iWidth = 256, .iHeight = 32, .uMask = 16};
    scene.Make();
    FillBytes(scene.oMask.Get(), -1, [](int x, int, int) { return x; });
    for (int a = 0; a < 256; ++a) {
        qzILCompositeImg effect;
        effect.SetAlpha(a / 255.0);
        ExpectModel(scene, effect, CompositeModel{a / 255.0, 3}, Text("alpha", a / 255.0));
    }
}

TEST(CompositeWords, EveryMaskValue) {
    Scene scene = Square(MFIF_RGBA_RAW_64, 16);
    FillAllWords(scene.oMask.Get());
    for (double const alpha : kAlphas) {
        qzILCompositeImg effect;
        effect.SetAlpha(alpha);
        ExpectModel(scene, effect, CompositeModel{alpha, 3}, Text("alpha", alpha));
    }
}

TEST(CopyOver, EqualsModel) {
    ForEachScene(kCopyOver, kMasked | kDyadic | kSpecials, [](Scene& scene) {
        qzILCopyOverImg effect;
        ExpectModel(scene, effect, CopyOverModel{});
    });
}

TEST(CopyOverBytes, EveryPassedValueThroughEveryMask) {
    Scene scene = EveryPair(MFIF_MONO_RAW_8, 16);
    for (int b = 0; b < 256; b += 5) {
        FillBytes(scene.oB.Get(), -1, [&](int, int, int) { return b; });
        qzILCopyOverImg effect;
        ExpectModel(scene, effect, CopyOverModel{}, Text("b", b));
    }
}

}  // namespace
}  // namespace qzil::test::model
