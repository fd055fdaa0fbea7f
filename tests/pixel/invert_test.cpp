#include "model/cases.h"
#include "model/invert_model.h"

#include "qzil/pixel/invert.h"

namespace qzil::test::model {
namespace {

TEST(Invert, EqualsModel) {
    // Not accepted by Verify, but of a family that has a rule.
    Formats const unverified{MFIF_BGRA_RAW_32,    MFIF_CbYCrY_16_FR,  MFIF_CbYCrY_10_6,
                             MFIF_MONO_RAW_16_TD, MFIF_RGBA_FLOAT_BU, MFIF_MONO_FLOAT_BU};
    ForEachScene(kInvert + unverified, kMasked | kSpecials | kVideoMasks, [](Scene& scene) {
        qzILInvertImg effect;
        ExpectModel(scene, effect, InvertModel{});
    });
}

TEST(InvertWords, EveryValueThroughEndsOfTheMask) {
    for (GUID const& format :
         {MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_CbYCrY_S2_14, MFIF_CbYCrY_10_6}) {
        for (XFImageChannel const mask : {0, 16}) {
            Scene scene = Square(format, IsFormatYCC(format) ? 0 : mask);
            FillAllWords(scene.oA.Get());
            qzILInvertImg effect;
            ExpectModel(scene, effect, InvertModel{});
        }
    }
}

TEST(InvertBytes, EveryValueThroughEveryMask) {
    Scene scene = EveryPair(MFIF_MONO_RAW_8, 16);
    qzILInvertImg effect;
    ExpectModel(scene, effect, InvertModel{});
}

}  // namespace
}  // namespace qzil::test::model
