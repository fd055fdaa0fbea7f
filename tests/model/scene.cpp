#include "model/scene.h"

#include <cstring>

namespace qzil::test::model {
namespace {

/// As a scene of an effect with two inputs.
test::Scene ToTestScene(Scene const& scene) {
    test::Scene result = PlainScene(*catalog::Find("blend"), scene.oFormat, scene.iWidth, scene.iHeight);
    result.bDominantB = scene.bDominantB;
    result.uMode = scene.uMode;
    result.eFill = scene.bSpecials ? Fill::Specials : Fill::Ends;
    result.uSeed = scene.uSeed;
    if (!scene.uMask) return result;
    result.oMaskFormat = MaskFormatFor(scene.oFormat, scene.uMask != XFImageChannelMono);
    result.uMaskChannel = scene.uMask;
    result.oMaskRect = result.oRoi;
    return result;
}

}  // namespace

void FillAllWords(IXFImage* image) {
    std::size_t const samples = PlainLayout(image).PixelStep() / 2;
    auto const bytes = Bytes(image);
    for (std::size_t i = 0; i < bytes.size() / 2; ++i) {
        u16 const value = static_cast<u16>(i / samples);
        std::memcpy(&bytes[2 * i], &value, 2);
    }
}

void Scene::Make() {
    Images const images(ToTestScene(*this));
    oA = images.oInputs[0];
    oB = images.oInputs[1];
    oOut = images.Output();
    oMask = images.oMask;
}

void Configure(Scene const& scene, qzILImgProc& effect) {
    if (auto* const dyadic = dynamic_cast<qzILDyadicImgProc*>(&effect)) {
        dyadic->SetInputImgA(scene.oA.Get());
        dyadic->SetInputImgB(scene.oB.Get());
        dyadic->SetDominantInput(scene.Dominant());
    } else {
        dynamic_cast<qzILMonadicImgProc&>(effect).SetInputImg(scene.oA.Get());
    }
    effect.SetOutputImg(scene.Output());
    effect.SetProcessingMode(scene.uMode);
    effect.SetMask({0, 0, scene.iWidth, scene.iHeight}, scene.oMask.Get(), scene.oMask ? scene.uMask : 16u);
}

void ExpectModel(Scene& scene, qzILImgProc& effect, AnyModel const& model, std::string const& parameters,
                 Planes planes) {
    Configure(scene, effect);
    test::Scene const whole = ToTestScene(scene);
    Images images;
    images.oInputs = {scene.oA, scene.oB};
    images.oOutputs = {scene.iInPlace == 1 ? scene.oA : scene.iInPlace == 2 ? scene.oB : scene.oOut};
    images.oMask = scene.oMask;
    Call call = MakeCall(whole, images);
    RunLines(call, model, planes);
    auto const what = [&] { return effect.GetActualClassName() + (' ' + whole.Describe() + ' ' + parameters); };
    ASSERT_EQ(effect.Execute(), 1) << what();
    EXPECT_EQ(SampleDifference(scene.oFormat, call.oOutput, Bytes(scene.Output())), "") << what();
    if (scene.iInPlace) scene.Make();
}

}  // namespace qzil::test::model
