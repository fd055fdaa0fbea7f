#pragma once

#include "model/cases.h"
#include "model/spatial_model.h"
#include "scene/subject.h"
#include "support/levels.h"

#include "qzil/frame/image_utils.h"
#include "qzil/frame/spatial.h"

namespace qzil::test::model {

/// Verify gives a code; 0 accepts.
inline testing::AssertionResult Answers(qzILProcessor& effect, unsigned code) {
    effect.SetLastError(0);
    qzILStatus const status = effect.Verify();
    unsigned const actual = effect.GetLastError().GetErrorCode();
    if (status == (code == 0 ? 1 : -1) && (code == 0 || actual == code)) return testing::AssertionSuccess();
    char text[64];
    std::snprintf(text, sizeof text, ": expected 0x%X, actual %d and 0x%X", code, static_cast<int>(status), actual);
    return testing::AssertionFailure() << effect.GetActualClassName() << text;
}
inline testing::AssertionResult Refuses(qzILProcessor& effect, unsigned code) {
    return Answers(effect, code);
}
inline testing::AssertionResult Accepts(qzILProcessor& effect) {
    return Answers(effect, 0);
}

template <class Effect>
void Configure(SpatialScene const& scene, SpatialImages const& images, Effect& effect) {
    effect.SetInputImg(images.oInput.Get());
    effect.SetOutputImg(images.oOutput.Get());
    effect.SetROI(scene.oRoi);
    effect.SetOutputOffset(scene.oOffset);
    effect.SetProcessingMode(scene.uMode);
    effect.SetMask(scene.oMaskRect, images.oMask.Get(), scene.uMask ? scene.uMask : 16u);
    effect.SetDefaultColor(scene.oDefaultColor);
    effect.SetEdgeMode(static_cast<qzILEdgeMode>(scene.iEdgeMode));
    effect.SetEdgeColor(scene.oEdgeColor);
    effect.SetRadius(scene.fRadiusX, scene.fRadiusY);
}

/// The effect must leave what was expected, to the last sample, at every CPU level.
template <class Effect>
void ExpectPicture(SpatialScene const& scene, Effect& effect, Picture const& expected, std::string const& text) {
    ForEachLevel([&] {
        SpatialImages const images(scene);
        Configure(scene, images, effect);
        EXPECT_TRUE(Accepts(effect)) << scene.Describe() << ' ' << text;
        EXPECT_EQ(effect.Execute(), 1) << scene.Describe() << ' ' << text;
        std::string const difference = Difference(expected, Load(images.oOutput.Get()));
        EXPECT_EQ(difference, "") << Effect::m_ClassName << ' ' << scene.Describe() << ' ' << text;
    });
}

template <class Effect>
void ExpectModel(SpatialScene const& scene, Effect& effect, RegionModel const& model, std::string const& text = {}) {
    ExpectPicture(scene, effect, RunFrame(scene, SpatialImages(scene), model), text);
}

template <class Effect>
void ExpectCopy(SpatialScene const& scene, Effect& effect, qzILColor const& color) {
    ExpectPicture(scene, effect, RunCopy(scene, SpatialImages(scene), color), "as a copy");
}

/// Scenes by their seeds, until one fails.
template <class Fn>
void ForAnyScenes(GUID const& format, std::uint64_t count, Fn fn) {
    for (std::uint64_t seed = 1; seed <= count && !testing::Test::HasFailure(); ++seed) {
        SpatialScene scene = SpatialScene::Any(format, seed);
        Random random(seed + 1000000);
        fn(scene, random);
    }
}

template <class T, std::size_t N>
T const& OneOf(Random& random, T const (&values)[N]) {
    return values[random.Below(static_cast<int>(N))];
}

/// An effect over a plain picture of its own, ready for Verify and Execute.
template <class Effect>
struct Ready {
    SpatialScene oScene;
    SpatialImages oImages;
    Effect oEffect;

    explicit Ready(SpatialScene const& scene) : oScene(scene), oImages(scene) { Configure(scene, oImages, oEffect); }
    explicit Ready(GUID const& format = MFIF_RGBA_RAW_32) : Ready(SpatialScene::Whole(format, 9, 7)) {}
    Effect* operator->() { return &oEffect; }
    Picture Output() const { return Load(oImages.oOutput.Get()); }
};

/// Verify's answers to a value that is set: 0 accepts it.
template <class Effect, class Set, class Value>
void ExpectAnswers(Ready<Effect>& ready, Set set, std::initializer_list<std::pair<Value, unsigned>> answers) {
    for (auto const& [value, code] : answers) {
        set(ready.oEffect, value);
        EXPECT_TRUE(code ? Refuses(ready.oEffect, code) : Accepts(ready.oEffect)) << "value " << value;
    }
}

/// Formats beside those accepted are refused with 0x1000D; the frame's checks come first, in their order.
template <class Effect, class Prepare>
void ExpectFrameRefusals(Formats const& accepted, Prepare prepare) {
    for (auto const& entry : AllFormats()) {
        auto const image = MakeImage(entry.oFormat, 4, 4);
        if (!image || Bytes(image).empty()) continue;
        Effect effect;
        prepare(effect);
        effect.SetInputImg(image.Get());
        effect.SetOutputImg(image.Get());
        effect.SetProcessingMode(15);
        bool const isAccepted = std::ranges::find(accepted, entry.oFormat) != accepted.end();
        EXPECT_TRUE(isAccepted ? Accepts(effect) : Refuses(effect, 0x1000D)) << entry.pName;
    }
    Ready<Effect> ready;
    prepare(ready.oEffect);
    qzILVector2f const radius = ready->GetRadius();
    auto const other = MakeImage(MFIF_BGRA_RAW_32, 9, 7);
    ready->SetInputImg(other.Get());
    ready->SetOutputImg(other.Get());
    ready->SetEdgeMode(5);
    ready->SetRadius(1.0f, -1.0f);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10023));
    ready->SetInputImg(ready.oImages.oInput.Get());
    EXPECT_TRUE(Refuses(ready.oEffect, 0x1000E));
    ready->SetROI({0, 0, 10, 7});
    EXPECT_TRUE(Refuses(ready.oEffect, 0x1000A));
    ready->SetOutputImg(nullptr);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10002));
    ready->SetROI({0, 0, 9, 7});
    ready->SetOutputImg(other.Get());
    ready->SetInputImg(other.Get());
    ready->SetRadius(radius);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10020));
    ready->SetEdgeMode(0);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10020));
    ready->SetEdgeMode(4);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x1000D));
}

}  // namespace qzil::test::model
