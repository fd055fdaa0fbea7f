#include "model/blend_model.h"
#include "model/cases.h"

#include "qzil/pixel/blend.h"

namespace qzil::test::model {
namespace {

class Blend : public testing::TestWithParam<GUID> {};

TEST_P(Blend, EqualsModel) {
    ForEachSetup(GetParam(), kMasked | kDyadic | kSpecials | kVideoMasks, [](Setup& setup) {
        for (double const alpha : kAlphas) {
            qzILBlendImg effect;
            effect.SetAlpha(alpha);
            if (setup.iInPlace) setup.Make();
            ExpectModel(setup, effect, BlendModel{alpha}, Text("alpha", alpha));
        }
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, Blend, testing::ValuesIn(kBlend), ParamName);

TEST(BlendBytes, EveryPairAtSeveralAlphas) {
    Setup setup = Square(MFIF_RGBA_RAW_32);
    FillBytes(setup.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(setup.oB.Get(), -1, [](int, int y, int) { return y; });
    for (int a = 0; a < 256; a += 15) {
        qzILBlendImg effect;
        effect.SetAlpha(a / 255.0);
        ExpectModel(setup, effect, BlendModel{a / 255.0}, Text("alpha", a / 255.0));
    }
}

TEST(BlendBytes, EveryPassedValueThroughEveryMask) {
    Setup setup = Square(MFIF_MONO_RAW_8, 16);
    FillBytes(setup.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(setup.oMask.Get(), -1, [](int, int y, int) { return y; });
    for (int result : {0, 1, 63, 128, 200, 254, 255}) {
        FillBytes(setup.oB.Get(), -1, [&](int, int, int) { return result; });
        qzILBlendImg effect;
        effect.SetAlpha(1.0);
        ExpectModel(setup, effect, BlendModel{1.0}, Text("result", result));
    }
}

class BlendEnds : public testing::TestWithParam<GUID> {};

TEST_P(BlendEnds, GiveAAndB) {
    for (bool const dominantB : {false, true}) {
        for (double const alpha : {0.0, 1.0}) {
            // Numbers that float adds without rounding.
            Setup setup{.oFormat = GetParam(), .iWidth = 64, .bDominantB = dominantB};
            setup.Make();
            FillRandom(setup.oA.Get(), 1);
            FillRandom(setup.oB.Get(), 2);
            qzILBlendImg effect;
            effect.SetAlpha(alpha);
            Configure(setup, effect);
            ASSERT_EQ(effect.Verify(), 1) << effect.GetLastError();
            ASSERT_EQ(effect.Execute(), 1);
            auto const wanted = Bytes(alpha == 0.0 ? setup.oA : setup.oB);
            EXPECT_EQ(DescribeDifference(wanted, Bytes(setup.oOut)), "") << setup.Describe() << " alpha " << alpha;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Formats, BlendEnds, testing::ValuesIn(kBlend), ParamName);

TEST(Blend, AnEmptyMaskKeepsUnselectedChannelsToo) {
    for (int const m : {0, 1}) {
        Setup setup{.oFormat = MFIF_RGBA_RAW_32, .uMode = 1, .uMask = 16, .bDominantB = true};
        setup.Make();
        FillBytes(setup.oA.Get(), -1, [](int, int, int) { return 255; });
        FillBytes(setup.oB.Get(), -1, [](int, int, int) { return 0; });
        FillBytes(setup.oMask.Get(), -1, [&](int, int, int) { return m; });
        qzILBlendImg effect;
        effect.SetAlpha(0.0);
        Configure(setup, effect);
        ASSERT_EQ(effect.Execute(), 1);
        auto const out = Bytes(setup.oOut);
        EXPECT_EQ(out[0], m);
        for (std::size_t c = 1; c < 4; ++c) EXPECT_EQ(out[c], 0) << "channel " << c;
    }
}

class GeneralBlend : public testing::TestWithParam<GUID> {};

TEST_P(GeneralBlend, EqualsModel) {
    ForEachSetup(GetParam(), kMasked | kDyadic, [](Setup& setup) {
        for (double const a : {0.0, 0.3, 0.7, 1.0}) {
            for (double const b : {0.0, 1e-5, 0.5, 254.0 / 255.0, 1.0}) {
                qzILGeneralBlendImage effect;
                effect.SetAlphas(a, b);
                if (setup.iInPlace) setup.Make();
                ExpectModel(setup, effect, GeneralBlendModel{a, b}, Text("alphas", a) + Text("", b));
            }
        }
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, GeneralBlend, testing::ValuesIn(kGeneralBlend), ParamName);

TEST(GeneralBlend, SumsWrap) {
    Setup setup{.oFormat = MFIF_RGBA_RAW_32};
    setup.Make();
    FillBytes(setup.oA.Get(), -1, [](int, int, int) { return 200; });
    FillBytes(setup.oB.Get(), -1, [](int, int, int) { return 100; });
    qzILGeneralBlendImage effect;
    effect.SetAlphas(1.0, 1.0);
    Configure(setup, effect);
    ASSERT_EQ(effect.Execute(), 1);
    for (unsigned char const value : Bytes(setup.oOut)) ASSERT_EQ(value, 44);
}

}  // namespace
}  // namespace qzil::test::model
