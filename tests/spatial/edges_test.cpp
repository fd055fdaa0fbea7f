#include "model/spatial_model.h"
#include "scene/subject.h"

#include "qzil/spatial/edges.h"
#include "qzil/spatial/relief.h"

namespace qzil::test::model {
namespace {

constexpr std::array kInteger{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};

// Every pair of differences that two samples beside a centre of 0 can make, in all four quadrants and on both axes.
TEST(EdgeAngles, OfEveryPairOfDifferences) {
    constexpr int kSide = 256 * 3;
    for (int quadrant = 0; quadrant < 4; ++quadrant) {
        int const column = quadrant & 1 ? 0 : 2, row = quadrant & 2 ? 0 : 2;
        auto const run = [&](char const* name, Detector detector) {
            test::Scene scene = PlainScene(*catalog::Find(name), MFIF_MONO_RAW_8, kSide, kSide);
            scene.Set("type", 2l);
            Images images(scene);
            auto const in = Bytes(images.oInputs[0]);
            for (int i = 0; i < kSide * kSide; ++i) {
                int const x = i % kSide, y = i / kSide;
                bool const besides = x % 3 == column && y % 3 == 1, above = x % 3 == 1 && y % 3 == row;
                in[static_cast<std::size_t>(i)] = static_cast<u8>(besides ? x / 3 : above ? y / 3 : 0);
            }
            auto const expected =
                Expected(scene, images,
                         Regions([&](Region const& r, auto const&) { return DetectEdges(r, detector, 2, 1, 0); }));
            ASSERT_EQ(Prepare(scene, images).Effect().Execute(), 1);
            EXPECT_EQ(DescribeDifference(expected, Bytes(images.Output())), "") << scene.Describe();
        };
        run("roberts", Detector::Roberts);
        run("sobel", Detector::Sobel);
    }
}

/// Runs entries for single directions. Of what they make and what the output held before, the larger sample stays.
template <class Effect, class Fn>
void ExpectLargerStay(test::Scene const& scene, std::initializer_list<qzILStatus (Effect::*)()> entries, bool cleared,
                      Fn model) {
    Ready<Effect> ready(scene);
    auto const expected = Expected(scene, ready.oImages, Regions([&](Region const& r, auto const&) {
                                       Picture results = model(r), before = Load(ready.oImages.Output().Get());
                                       for (std::size_t i = 0; i < before.aSamples.size() && !cleared; ++i) {
                                           results.aSamples[i] = std::max(results.aSamples[i], before.aSamples[i]);
                                       }
                                       return results;
                                   }));
    ASSERT_EQ(ready->PrepareData(), 1);
    for (auto const entry : entries) EXPECT_EQ(((*ready).*entry)(), 1);
    EXPECT_EQ(ready->CleanData(), 1);
    EXPECT_EQ(DescribeDifference(expected, ready.Output()), "") << scene.Describe();
}

TEST(EdgeRoutines, OfSingleDirectionsKeepTheLargerValue) {
    for (GUID const& format : kInteger) {
        for (bool const masked : {false, true}) {
            for (char const* const name : {"gradient", "emboss"}) {
                test::Scene scene = PlainScene(*catalog::Find(name), format, 20, 7);
                scene.uMode = masked ? 13 : 15;
                scene.oMaskRect = scene.oRoi;
                if (masked) scene.oMaskFormat = MaskFormatFor(format, false);
                if (*name == 'g') {
                    ExpectLargerStay<qzILGradientImg>(scene, {&qzILGradientImg::GradientN8}, false,
                                                      [](Region const& r) { return Gradient(r, 4, 1, 0); });
                } else {
                    ExpectLargerStay<qzILEmbossImg>(scene, {&qzILEmbossImg::EmbossS16, &qzILEmbossImg::EmbossSE16},
                                                    false, [](Region const& r) { return Emboss(r, 64 | 128); });
                }
            }
        }
    }
    test::Scene scene = PlainScene(*catalog::Find("gradient"), MFIF_RGBA_RAW_32, 9, 7);
    scene.uMode = 15;
    ExpectLargerStay<qzILGradientImg>(
        scene, {&qzILGradientImg::PrepareOutput8, &qzILGradientImg::GradientW8, &qzILGradientImg::GradientNE8}, true,
        [](Region const& r) { return Gradient(r, 16 | 2, 1, 0); });
    EXPECT_EQ(qzILEmbossImg().EmbossN8(), -1);
}

}  // namespace
}  // namespace qzil::test::model
