#include "model/blend_model.h"
#include "model/cases.h"

#include "qzil/pixel/blend.h"

namespace qzil::test::model {
namespace {

void ExpectBlend(Scene& scene, double alpha) {
    qzILBlendImg effect;
    effect.SetAlpha(alpha);
    ExpectModel(scene, effect, BlendModel{alpha}, Text("alpha", alpha));
}

TEST(Blend, EqualsModel) {
    ForEachScene(kBlend, kMasked | kDyadic | kSpecials | kVideoMasks, [](Scene& scene) {
        for (double const alpha : kAlphas) ExpectBlend(scene, alpha);
    });
}

TEST(BlendBytes, EveryPairAtSeveralAlphas) {
    Scene scene = EveryPair(MFIF_RGBA_RAW_32);
    for (int a = 0; a < 256; a += 15) ExpectBlend(scene, a / 255.0);
}

TEST(BlendBytes, EveryPassedValueThroughEveryMask) {
    Scene scene = EveryPair(MFIF_MONO_RAW_8, 16);
    for (int result : {0, 1, 63, 128, 200, 254, 255}) {
        FillBytes(scene.oB.Get(), -1, [&](int, int, int) { return result; });
        ExpectBlend(scene, 1.0);
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
