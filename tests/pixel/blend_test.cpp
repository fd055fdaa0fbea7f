#include "model/blend_model.h"
#include "model/cases.h"

#include "qzil/pixel/blend.h"

namespace qzil::test::model {
namespace {

TEST(Blend, EqualsModel) {
    ForEachScene(kBlend, kMasked | kDyadic | kSpecials | kVideoMasks, [](Scene& scene) {
        for (double const alpha : kAlphas) {
            qzILBlendImg effect;
            effect.SetAlpha(alpha);
            ExpectModel(scene, effect, BlendModel{alpha}, Text("alpha", alpha));
        }
    });
}

TEST(BlendBytes, EveryPairAtSeveralAlphas) {
    Scene scene = Square(MFIF_RGBA_RAW_32);
    FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(scene.oB.Get(), -1, [](int, int y, int) { return y; });
    for (int a = 0; a < 256; a += 15) {
        qzILBlendImg effect;
        effect.SetAlpha(a / 255.0);
        ExpectModel(scene, effect, BlendModel{a / 255.0}, Text("alpha", a / 255.0));
    }
}

TEST(BlendBytes, EveryPassedValueThroughEveryMask) {
    Scene scene = Square(MFIF_MONO_RAW_8, 16);
    FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(scene.oMask.Get(), -1, [](int, int y, int) { return y; });
    for (int result : {0, 1, 63, 128, 200, 254, 255}) {
        FillBytes(scene.oB.Get(), -1, [&](int, int, int) { return result; });
        qzILBlendImg effect;
        effect.SetAlpha(1.0);
        ExpectModel(scene, effect, BlendModel{1.0}, Text("result", result));
    }
}

TEST(GeneralBlend, EqualsModel) {
    ForEachScene(kGeneralBlend, kMasked | kDyadic, [](Scene& scene) {
        for (double const a : {0.0, 0.3, 0.7, 1.0}) {
            for (double const b : {0.0, 1e-5, 0.5, 254.0 / 255.0, 1.0}) {
                qzILGeneralBlendImage effect;
                effect.SetAlphas(a, b);
                ExpectModel(scene, effect, GeneralBlendModel{a, b}, Text("alphas", a) + Text("", b));
            }
        }
    });
}

}  // namespace
}  // namespace qzil::test::model
