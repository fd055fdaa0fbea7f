#include "model/blend_model.h"
#include "model/cases.h"

#include "qzil/pixel/blend.h"

namespace qzil::test::model {
namespace {

class Blend : public testing::TestWithParam<GUID> {};

TEST_P(Blend, EqualsModel) {
    ForEachScene(GetParam(), kMasked | kDyadic | kSpecials | kVideoMasks, [](Scene& scene) {
        for (double const alpha : kAlphas) {
            qzILBlendImg effect;
            effect.SetAlpha(alpha);
            if (scene.iInPlace) scene.Make();
            ExpectModel(scene, effect, BlendModel{alpha}, Text("alpha", alpha));
        }
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, Blend, testing::ValuesIn(kBlend), ParamName);

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

class BlendEnds : public testing::TestWithParam<GUID> {};

TEST_P(BlendEnds, GiveAAndB) {
    for (bool const dominantB : {false, true}) {
        for (double const alpha : {0.0, 1.0}) {
            // Numbers that float adds without rounding.
            Scene scene{.oFormat = GetParam(), .iWidth = 64, .bDominantB = dominantB};
            scene.Make();
            FillRandom(scene.oA.Get(), 1);
            FillRandom(scene.oB.Get(), 2);
            qzILBlendImg effect;
            effect.SetAlpha(alpha);
            Configure(scene, effect);
            ASSERT_EQ(effect.Verify(), 1) << effect.GetLastError();
            ASSERT_EQ(effect.Execute(), 1);
            auto const wanted = Bytes(alpha == 0.0 ? scene.oA : scene.oB);
            EXPECT_EQ(DescribeDifference(wanted, Bytes(scene.oOut)), "") << scene.Describe() << " alpha " << alpha;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Formats, BlendEnds, testing::ValuesIn(kBlend), ParamName);

TEST(Blend, AnEmptyMaskKeepsUnselectedChannelsToo) {
    for (int const m : {0, 1}) {
        Scene scene{.oFormat = MFIF_RGBA_RAW_32, .uMode = 1, .uMask = 16, .bDominantB = true};
        scene.Make();
        FillBytes(scene.oA.Get(), -1, [](int, int, int) { return 255; });
        FillBytes(scene.oB.Get(), -1, [](int, int, int) { return 0; });
        FillBytes(scene.oMask.Get(), -1, [&](int, int, int) { return m; });
        qzILBlendImg effect;
        effect.SetAlpha(0.0);
        Configure(scene, effect);
        ASSERT_EQ(effect.Execute(), 1);
        auto const out = Bytes(scene.oOut);
        EXPECT_EQ(out[0], m);
        for (std::size_t c = 1; c < 4; ++c) EXPECT_EQ(out[c], 0) << "channel " << c;
    }
}

class GeneralBlend : public testing::TestWithParam<GUID> {};

TEST_P(GeneralBlend, EqualsModel) {
    ForEachScene(GetParam(), kMasked | kDyadic, [](Scene& scene) {
        for (double const a : {0.0, 0.3, 0.7, 1.0}) {
            for (double const b : {0.0, 1e-5, 0.5, 254.0 / 255.0, 1.0}) {
                qzILGeneralBlendImage effect;
                effect.SetAlphas(a, b);
                if (scene.iInPlace) scene.Make();
                ExpectModel(scene, effect, GeneralBlendModel{a, b}, Text("alphas", a) + Text("", b));
            }
        }
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, GeneralBlend, testing::ValuesIn(kGeneralBlend), ParamName);

TEST(GeneralBlend, SumsWrap) {
    Scene scene{.oFormat = MFIF_RGBA_RAW_32};
    scene.Make();
    FillBytes(scene.oA.Get(), -1, [](int, int, int) { return 200; });
    FillBytes(scene.oB.Get(), -1, [](int, int, int) { return 100; });
    qzILGeneralBlendImage effect;
    effect.SetAlphas(1.0, 1.0);
    Configure(scene, effect);
    ASSERT_EQ(effect.Execute(), 1);
    for (unsigned char const value : Bytes(scene.oOut)) ASSERT_EQ(value, 44);
}

}  // namespace
}  // namespace qzil::test::model
