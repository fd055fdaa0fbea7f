#include "spatial/spatial_support.h"

#include "qzil/spatial/edges.h"
#include "qzil/spatial/relief.h"

namespace qzil::test::model {
namespace {

constexpr double kSensitivities[] = {0.0, 1.0, 0.5, 0.9, 0.003}, kBiases[] = {0.0, 1.0, 0.25, 0.002};
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class Edges : public testing::TestWithParam<GUID> {};

TEST_P(Edges, DetectorsEqualModel) {
    ForAnyScenes(GetParam(), 300, [](SpatialScene& scene, Random& random) {
        // The neighbourhood does not grow with the radius.
        if (random.OneIn(4)) scene.fRadiusX = static_cast<float>(random.Below(4)), scene.fRadiusY = 2.5f;
        double const sensitivity = OneOf(random, kSensitivities), bias = OneOf(random, kBiases);
        auto const run = [&](auto effect, Detector detector, int type) {
            effect.SetType(static_cast<decltype(effect.GetType())>(type));
            effect.SetEdgeSensitivity(sensitivity);
            effect.SetBias(bias);
            effect.qzILMonadicSpatialProc::Init();
            ExpectModel(
                scene, effect, [&](Region const& r) { return DetectEdges(r, detector, type, sensitivity, bias); },
                Text("type", type) + Text("sensitivity", sensitivity) + Text("bias", bias));
        };
        for (int type : {1, 2}) {
            run(qzILRobertsImg(), Detector::Roberts, type);
            run(qzILSobelImg(), Detector::Sobel, type);
            run(qzILLaplaceImg(), Detector::Laplace, type);
        }
    });
}

TEST_P(Edges, DirectionsEqualModel) {
    ForAnyScenes(GetParam(), 300, [](SpatialScene& scene, Random& random) {
        double const sensitivity = OneOf(random, kSensitivities), bias = OneOf(random, kBiases);
        unsigned const directions = random.OneIn(2) ? 1u << random.Below(8) : random.Between(1, 255);
        std::string const text = Text("directions", directions) + Text("sensitivity", sensitivity);
        qzILGradientImg gradient;
        gradient.SetDirection(directions);
        gradient.SetEdgeSensitivity(sensitivity);
        gradient.SetBias(bias);
        ExpectModel(
            scene, gradient, [&](Region const& r) { return Gradient(r, directions, sensitivity, bias); },
            text + Text("bias", bias));
        qzILEmbossImg emboss;
        emboss.SetDirection(directions);
        ExpectModel(
            scene, emboss, [&](Region const& r) { return Emboss(r, directions); }, text);
    });
}

INSTANTIATE_TEST_SUITE_P(Formats, Edges, testing::ValuesIn(kInteger), ParamName);

// Every pair of differences that two samples beside a centre of 0 can make, in all four quadrants and on both axes.
TEST(EdgeAngles, OfEveryPairOfDifferences) {
    SpatialScene const scene = SpatialScene::Whole(MFIF_MONO_RAW_8, 256 * 3, 256 * 3);
    for (unsigned quadrant = 0; quadrant < 4; ++quadrant) {
        SpatialImages images(scene);
        int const column = quadrant & 1 ? 0 : 2, row = quadrant & 2 ? 0 : 2;
        FillBytes(images.oInput.Get(), -1, [&](int x, int y, int) {
            bool const besides = x % 3 == column && y % 3 == 1, above = x % 3 == 1 && y % 3 == row;
            return besides ? x / 3 : above ? y / 3 : 0;
        });
        auto const run = [&](auto effect, Detector detector) {
            effect.SetType(2);
            Configure(scene, images, effect);
            ASSERT_EQ(effect.Execute(), 1);
            auto const model = [&](Region const& r) { return DetectEdges(r, detector, 2, 1, 0); };
            EXPECT_EQ(Difference(RunFrame(scene, images, model), Load(images.oOutput.Get())), "");
        };
        run(qzILRobertsImg(), Detector::Roberts);
        run(qzILSobelImg(), Detector::Sobel);
    }
}

/// Runs entries for single directions over what the output holds, where the larger of two samples stays.
template <class Effect, class Model>
void ExpectLargerStay(SpatialScene const& scene, std::initializer_list<qzILStatus (Effect::*)()> entries, Model model) {
    Ready<Effect> ready(scene);
    Picture const before = ready.Output();
    Picture expected = RunFrame(scene, ready.oImages, model);
    std::ranges::transform(expected.aSamples, before.aSamples, expected.aSamples.begin(),
                           [](double added, double held) { return std::max(added, held); });
    EXPECT_NE(Difference(expected, RunFrame(scene, ready.oImages, model)), "");
    ASSERT_EQ(ready->PrepareData(), 1);
    for (auto const entry : entries) EXPECT_EQ((ready.oEffect.*entry)(), 1);
    EXPECT_EQ(ready->CleanData(), 1);
    EXPECT_EQ(Difference(expected, ready.Output()), "") << scene.Describe();
}

TEST(EdgeRoutines, OfSingleDirectionsKeepTheLargerValue) {
    for (GUID const& format : kInteger) {
        for (XFImageChannel const mask : {0u, 16u}) {
            SpatialScene scene = SpatialScene::Whole(format, 20, 7);
            scene.uMask = mask;
            scene.uMode = mask ? 13 : 15;
            ExpectLargerStay<qzILGradientImg>(scene, {&qzILGradientImg::GradientN8},
                                              [](Region const& r) { return Gradient(r, 4, 1, 0); });
            ExpectLargerStay<qzILEmbossImg>(scene, {&qzILEmbossImg::EmbossS16, &qzILEmbossImg::EmbossSE16},
                                            [](Region const& r) { return Emboss(r, 64 | 128); });
        }
    }
    Ready<qzILGradientImg> gradient;
    ASSERT_EQ(gradient->PrepareData(), 1);
    EXPECT_EQ(gradient->PrepareOutput8(), 1);
    EXPECT_EQ(gradient->GradientW8(), 1);
    EXPECT_EQ(gradient->GradientNE8(), 1);
    EXPECT_EQ(gradient->CleanData(), 1);
    auto const two = [](Region const& r) { return Gradient(r, 16 | 2, 1, 0); };
    EXPECT_EQ(Difference(RunFrame(gradient.oScene, gradient.oImages, two), gradient.Output()), "");
    EXPECT_EQ(qzILEmbossImg().EmbossN8(), -1);
}

TEST(EdgeDefaults, OfParameters) {
    auto const expectLevels = [](auto const& effect) {
        EXPECT_EQ(effect.GetEdgeSensitivity(), 1.0);
        EXPECT_EQ(effect.GetBias(), 0.0);
        EXPECT_EQ(effect.GetRadiusX(), 1.0f);
        EXPECT_EQ(effect.GetRadiusY(), 1.0f);
    };
    expectLevels(qzILRobertsImg());
    expectLevels(qzILSobelImg());
    expectLevels(qzILLaplaceImg());
    expectLevels(qzILGradientImg());
    EXPECT_EQ(qzILRobertsImg().GetType(), 1u);
    EXPECT_EQ(qzILSobelImg().GetType(), 1u);
    EXPECT_EQ(qzILLaplaceImg().GetType(), 1);
    EXPECT_EQ(qzILGradientImg().GetDirection(), 1u);
    EXPECT_EQ(qzILEmbossImg().GetDirection(), 1u);
    EXPECT_EQ(qzILEmbossImg().GetRadiusX(), 1.0f);
}

/// The kind is refused before sensitivity, sensitivity before bias.
template <class Effect, class Kind>
void ExpectLevelRefusals(Kind setKind, unsigned badKind, unsigned code) {
    Ready<Effect> ready;
    auto const sensitivity = [](Effect& e, double v) { e.SetEdgeSensitivity(v); };
    auto const bias = [](Effect& e, double v) { e.SetBias(v); };
    ExpectAnswers<Effect, decltype(bias), double>(ready, bias,
                                                  {{1.0, 0}, {kNaN, 0}, {1.001, 0x10029}, {-0.001, 0x10029}});
    ExpectAnswers<Effect, decltype(sensitivity), double>(
        ready, sensitivity, {{1.0, 0x10029}, {kNaN, 0x10029}, {1.001, 0x1002A}, {-0.001, 0x1002A}});
    setKind(ready.oEffect, badKind);
    EXPECT_TRUE(Refuses(ready.oEffect, code));
    setKind(ready.oEffect, 0);
    EXPECT_TRUE(Refuses(ready.oEffect, code));
    setKind(ready.oEffect, 2);
    // Angles have no levels.
    EXPECT_TRUE(code == 0x10049 ? Accepts(ready.oEffect) : Refuses(ready.oEffect, 0x1002A));
}

TEST(EdgeVerify, RefusesParametersInTheirOrder) {
    ExpectLevelRefusals<qzILRobertsImg>([](auto& e, unsigned v) { e.SetType(v); }, 3, 0x10049);
    ExpectLevelRefusals<qzILSobelImg>([](auto& e, unsigned v) { e.SetType(v); }, 3, 0x10049);
    ExpectLevelRefusals<qzILLaplaceImg>([](auto& e, unsigned v) { e.SetType(static_cast<int>(v)); }, 3, 0x10027);
    ExpectLevelRefusals<qzILGradientImg>([](auto& e, unsigned v) { e.SetDirection(v); }, 256, 0x10028);
    Ready<qzILEmbossImg> emboss;
    auto const direction = [](qzILEmbossImg& e, unsigned v) { e.SetDirection(v); };
    ExpectAnswers<qzILEmbossImg, decltype(direction), unsigned>(emboss, direction,
                                                                {{0, 0x10028}, {1, 0}, {255, 0}, {256, 0x10028}});
}

TEST(EdgeVerify, RefusesWhatTheFrameRefuses) {
    auto const nothing = [](auto&) {};
    ExpectFrameRefusals<qzILRobertsImg>(kInteger, nothing);
    ExpectFrameRefusals<qzILSobelImg>(kInteger, nothing);
    ExpectFrameRefusals<qzILLaplaceImg>(kInteger, nothing);
    ExpectFrameRefusals<qzILGradientImg>(kInteger, nothing);
    ExpectFrameRefusals<qzILEmbossImg>(kInteger, nothing);
}

}  // namespace
}  // namespace qzil::test::model
