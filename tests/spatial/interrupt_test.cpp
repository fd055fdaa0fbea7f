#include "model/spatial_model.h"
#include "scene/subject.h"
#include "support/allocation_hook.h"

#include "qzil/image/memory_pool.h"

namespace qzil::test::model {
namespace {

int l_iPolls = 0, l_iFirst = 0;

int Stop() {
    return ++l_iPolls >= l_iFirst ? 1 : 0;
}

constexpr int kWidth = 11, kHeight = 8;

/// The output after an interrupt that comes with the n-th question and stays; 0: it never comes.
Picture Interrupted(test::Scene const& scene, int n) {
    Images const images(scene);
    catalog::Instance instance = Prepare(scene, images);
    CMFImage::s_pImageMemoryPool->ClearPool(0);
    CMFImage::s_pImageMemoryPool->ClearPool(1);
    std::int64_t const before = LiveBlocks();
    l_iPolls = 0;
    l_iFirst = n ? n : 1 << 30;
    instance.Effect().SetInterruptFct(Stop, nullptr);
    EXPECT_EQ(instance.Effect().Execute(), 1) << scene.Describe() << " question " << n;
    EXPECT_EQ(instance.Effect().GetLastError(), qzILError(0));
    CMFImage::s_pImageMemoryPool->ClearPool(0);
    EXPECT_LE(LiveBlocks(), before) << scene.Describe() << " question " << n;
    return Load(images.Output().Get());
}

/// Lines before `line` are those of `first`, the others those of `then`.
bool IsJoined(Picture const& actual, Picture const& first, Picture const& then, int line) {
    auto const part = static_cast<std::ptrdiff_t>(line * first.iWidth * first.iChannels);
    std::vector<double> expected(first.aSamples.begin(), first.aSamples.begin() + part);
    expected.insert(expected.end(), then.aSamples.begin() + part, then.aSamples.end());
    return expected == actual.aSamples;
}

/// What an effect asks beside once after each line.
enum Early {
    kMargin = -1,  ///< before the lines, once, or twice where an effect copies the margin, for two of the edge modes
    kAny = -2,     ///< any number before the lines
    kStages = -3   ///< in several stages: it only ends well
};

struct Case {
    char const* pEffect;
    std::vector<std::pair<char const*, catalog::Value>> oSettings;
    int iEarly;
    bool bReal = false;  ///< formats of S2.14 and float, too
};

void Expect(test::Scene const& scene, int early) {
    Picture const nothing = Load(Images(scene).Output().Get()), whole = Interrupted(scene, 0);
    int const asked = l_iPolls;
    if (early == kMargin) early = scene.Get<long>("edge") % 2 ? 2 : 1;
    EXPECT_TRUE(early < 0 ? asked >= kHeight : asked == early + kHeight) << scene.Describe() << " asked " << asked;
    if (early == kAny) early = asked - kHeight;
    for (int n = 1; n <= asked; ++n) {
        Picture const output = Interrupted(scene, n);
        if (early < 0) continue;
        EXPECT_TRUE(IsJoined(output, whole, nothing, std::max(0, n - early))) << scene.Describe() << " question " << n;
    }
    EXPECT_TRUE(IsJoined(Interrupted(scene, asked + 1), whole, whole, 0)) << scene.Describe();
}

TEST(SpatialInterrupt, StopsAfterALineAndEndsWell) {
    auto const cross = std::make_shared<catalog::Kernel const>(
        catalog::Kernel{3, 3, {0.0f, 0.25f, 0.0f, 0.25f, -0.5f, 0.25f, 0.0f, 0.25f, 0.0f}});
    qzILVector2f const wide(5, 3);
    constexpr int kInDouble = 1 + kWidth + 10;  // recursive filters in double ask after each column, too
    std::vector<Case> const cases = {{"roberts", {}, kMargin},
                                     {"laplace", {}, kMargin},
                                     {"sobel", {{"type", 2l}}, kMargin},
                                     {"roberts", {{"sensitivity", 0.0}}, kMargin},
                                     {"gradient", {{"direction", 1l}}, kStages},
                                     {"gradient", {{"direction", 255l}}, kStages},
                                     {"emboss", {{"direction", 1l}}, kStages},
                                     {"emboss", {{"direction", 255l}}, kStages},
                                     {"sharpen", {}, kMargin},
                                     {"sharpen", {{"type", 2l}, {"radius", qzILVector2f(1, 2)}}, kStages},
                                     {"convolve", {{"kernel", cross}}, kMargin},
                                     {"blur", {{"type", 3l}, {"radius", wide}}, kAny, true},
                                     {"blur", {{"type", 4l}, {"radius", wide}}, kAny, true},
                                     {"blur", {{"type", 5l}, {"radius", wide}}, kInDouble, true},
                                     {"blur", {{"type", 6l}, {"radius", wide}}, kAny, true},
                                     {"blur", {{"type", 7l}, {"radius", wide}}, kInDouble, true},
                                     {"glow", {}, kStages}};
    for (Case const& one : cases) {
        catalog::Entry const& entry = *catalog::Find(one.pEffect);
        for (GUID const& format : entry.oFormats) {
            for (long const edge : {1, 2, 3, 4}) {
                if (one.iEarly >= 0 && edge != 2) continue;
                test::Scene scene = PlainScene(entry, format, kWidth, kHeight);
                scene.uMode = 15;
                scene.Set("edge", edge);
                for (auto const& [name, value] : one.oSettings) scene.Set(name, value);
                Expect(scene, one.iEarly);
            }
        }
    }
}

// The second pass begins after an interrupt of the first, and ends with its first line.
TEST(SpatialInterrupt, OfTwoPassesLeavesOneLineAtLeast) {
    catalog::Entry const& entry = *catalog::Find("convolve");
    for (GUID const& format : entry.oFormats) {
        test::Scene scene = PlainScene(entry, format, kWidth, kHeight);
        scene.Set("kernel",
                  std::make_shared<catalog::Kernel const>(catalog::Kernel{3, 5, std::vector<float>(15, 1.0f / 15.0f)}));
        scene.Set("edge", 4l);
        Picture const nothing = Load(Images(scene).Output().Get()), whole = Interrupted(scene, 0);
        int const early = 1 + kHeight + 4;
        EXPECT_EQ(l_iPolls, early + kHeight);
        for (int n = 1; n <= early + kHeight; ++n) {
            Picture const output = Interrupted(scene, n);
            // Five lines of the first pass make the first line of the second.
            bool const anyFirst = n > 1 && n <= 5;
            int const lines = n == 1 ? 0 : anyFirst ? 1 : std::max(1, n - early);
            EXPECT_TRUE(IsJoined(output, anyFirst ? output : whole, nothing, lines)) << n;
        }
    }
}

// An interrupt that is over again when the copy of the input has been left out: the neighbourhood is empty.
TEST(SpatialInterrupt, OfTheMarginAloneLeavesItClear) {
    Subject emboss(*catalog::Find("emboss"), MFIF_RGBA_RAW_32);
    emboss.oInstance.Set("edge", 1l);
    l_iPolls = 0;
    emboss->SetInterruptFct([] { return ++l_iPolls == 1 ? 1 : 0; }, nullptr);
    EXPECT_EQ(emboss->Execute(), 1);
    EXPECT_EQ(*std::ranges::max_element(Bytes(emboss.oImages.Output())), 0);
}

}  // namespace
}  // namespace qzil::test::model
