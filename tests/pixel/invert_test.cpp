#include "model/cases.h"
#include "model/invert_model.h"

#include "qzil/pixel/invert.h"

namespace qzil::test::model {
namespace {

class Invert : public testing::TestWithParam<GUID> {};

TEST_P(Invert, EqualsModel) {
    ForEachScene(GetParam(), kMasked | kSpecials | kVideoMasks, [](Scene& scene) {
        qzILInvertImg effect;
        ExpectModel(scene, effect, InvertModel{});
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, Invert, testing::ValuesIn(kInvert), ParamName);
// Not accepted by Verify, but of a family that has a rule.
INSTANTIATE_TEST_SUITE_P(Unverified, Invert,
                         testing::Values(MFIF_BGRA_RAW_32, MFIF_CbYCrY_16_FR, MFIF_CbYCrY_10_6, MFIF_MONO_RAW_16_TD,
                                         MFIF_RGBA_FLOAT_BU, MFIF_MONO_FLOAT_BU),
                         ParamName);

class InvertWords : public testing::TestWithParam<GUID> {};

TEST_P(InvertWords, EveryValueThroughEndsOfTheMask) {
    for (XFImageChannel const mask : {0, 16}) {
        Scene scene = Square(GetParam(), IsFormatYCC(GetParam()) ? 0 : mask);
        FillAllWords(scene.oA.Get());
        qzILInvertImg effect;
        ExpectModel(scene, effect, InvertModel{});
    }
}
INSTANTIATE_TEST_SUITE_P(Formats, InvertWords,
                         testing::Values(MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, MFIF_RGBA_S2_14, MFIF_MONO_S2_14,
                                         MFIF_CbYCrY_S2_14, MFIF_CbYCrY_10_6),
                         ParamName);

TEST(InvertBytes, EveryValueThroughEveryMask) {
    Scene scene = Square(MFIF_MONO_RAW_8, 16);
    FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(scene.oMask.Get(), -1, [](int, int y, int) { return y; });
    qzILInvertImg effect;
    ExpectModel(scene, effect, InvertModel{});
}

TEST(Invert, ModeEightOnAnAlphaPlaneCopiesColour) {
    Scene scene{.oFormat = MFIF_CbYCrYA_24, .uMode = 8};
    scene.Make();
    qzILInvertImg effect;
    Configure(scene, effect);
    ASSERT_EQ(effect.Verify(), 1);
    ASSERT_EQ(effect.Execute(), 1);
    auto const in = Bytes(scene.oA), out = Bytes(scene.oOut);
    for (std::size_t i = 0; i < 48; ++i) EXPECT_EQ(out[i], i < 32 ? in[i] : 255 - in[i]) << "byte " << i;
}

}  // namespace
}  // namespace qzil::test::model
