#include "spatial/spatial_support.h"
#include "support/allocation_hook.h"

#include "qzil/image/memory_pool.h"
#include "qzil/spatial/blur.h"
#include "qzil/spatial/convolve.h"
#include "qzil/spatial/edges.h"
#include "qzil/spatial/optic_glow.h"
#include "qzil/spatial/relief.h"
#include "qzil/spatial/sharpen.h"

namespace qzil::test::model {
namespace {

int l_iPolls = 0, l_iFirst = 0;

int Stop() {
    return ++l_iPolls >= l_iFirst ? 1 : 0;
}

constexpr int kWidth = 11, kHeight = 8;

SpatialScene Plain(GUID const& format, int edgeMode, float radiusX = 1, float radiusY = 1) {
    SpatialScene scene = SpatialScene::Whole(format, kWidth, kHeight);
    scene.iEdgeMode = edgeMode;
    scene.fRadiusX = radiusX;
    scene.fRadiusY = radiusY;
    return scene;
}

/// The output after an interrupt that comes with the n-th question and stays; 0: it never comes.
template <class Effect>
Picture Interrupted(SpatialScene const& scene, Effect& effect, int n) {
    Picture output;
    {
        SpatialImages const images(scene);
        Configure(scene, images, effect);
        CMFImage::s_pImageMemoryPool->ClearPool(0);
        CMFImage::s_pImageMemoryPool->ClearPool(1);
        std::int64_t const before = LiveBlocks();
        l_iPolls = 0;
        l_iFirst = n ? n : 1 << 30;
        effect.SetInterruptFct(Stop, nullptr);
        effect.SetLastError(0);
        EXPECT_EQ(effect.Execute(), 1) << effect.GetActualClassName() << " question " << n;
        EXPECT_EQ(effect.GetLastError(), qzILError(0));
        CMFImage::s_pImageMemoryPool->ClearPool(0);
        EXPECT_LE(LiveBlocks(), before) << effect.GetActualClassName() << " question " << n;
        output = Load(images.oOutput.Get());
    }
    return output;
}

/// Lines before `line` are those of `first`, the others those of `then`.
Picture Joined(Picture first, Picture const& then, int line) {
    for (int y = line; y < first.iHeight; ++y) {
        for (int x = 0; x < first.iWidth; ++x) {
            for (int c = 0; c < first.iChannels; ++c) first.At(x, y, c) = then.At(x, y, c);
        }
    }
    return first;
}

/// An effect asks `early` times (-1: any number) before its first line, and then after each line.
template <class Effect>
void ExpectLineByLine(SpatialScene const& scene, Effect&& effect, int early) {
    Picture const nothing = Load(SpatialImages(scene).oOutput.Get());
    Picture const whole = Interrupted(scene, effect, 0);
    if (early < 0) early = l_iPolls - kHeight;
    EXPECT_EQ(l_iPolls, early + kHeight) << effect.GetActualClassName() << ' ' << scene.Describe();
    for (int n = 1; n <= early + kHeight; ++n) {
        Picture const output = Interrupted(scene, effect, n);
        EXPECT_EQ(Difference(Joined(whole, nothing, std::max(0, n - early)), output), "")
            << effect.GetActualClassName() << " question " << n << ' ' << scene.Describe();
    }
}

/// An effect in several stages ends well whenever the interrupt comes.
template <class Effect>
void ExpectAnyEnd(SpatialScene const& scene, Effect&& effect) {
    Picture const whole = Interrupted(scene, effect, 0);
    int const count = l_iPolls;
    EXPECT_GE(count, kHeight) << effect.GetActualClassName();
    for (int n = 1; n <= count; ++n) Interrupted(scene, effect, n);
    EXPECT_EQ(Difference(whole, Interrupted(scene, effect, count + 1)), "") << effect.GetActualClassName();
}

// The margin is copied by an effect of its own, which asks once, for two of the edge modes.
TEST(SpatialInterrupt, OfNeighboursStopsAfterALine) {
    for (GUID const& format : kInteger) {
        for (int const mode : {1, 2, 3, 4}) {
            int const early = mode % 2 ? 2 : 1;
            ExpectLineByLine(Plain(format, mode), qzILRobertsImg(), early);
            ExpectLineByLine(Plain(format, mode), qzILLaplaceImg(), early);
            qzILSobelImg angle;
            angle.SetType(2);
            ExpectLineByLine(Plain(format, mode), angle, early);
            qzILRobertsImg clear;
            clear.SetEdgeSensitivity(0);
            ExpectLineByLine(Plain(format, mode), clear, early);
        }
        qzILGradientImg gradient;
        qzILEmbossImg emboss;
        for (unsigned const directions : {1u, 255u}) {
            gradient.SetDirection(directions);
            emboss.SetDirection(directions);
            ExpectAnyEnd(Plain(format, 2), gradient);
            ExpectAnyEnd(Plain(format, 1), emboss);
        }
    }
}

TEST(SpatialInterrupt, OfSharpening) {
    for (GUID const& format : kInteger) {
        qzILSharpenImg everywhere, atEdges;
        ExpectLineByLine(Plain(format, 2), everywhere, 1);
        atEdges.SetType(qzILSharpenTypeEdge);
        SpatialScene scene = Plain(format, 3, 1, 2);
        ExpectAnyEnd(scene, atEdges);
        scene.uMask = 8;
        ExpectAnyEnd(scene, atEdges);
    }
}

// The recursive filters in double ask after each column, then after each line.
TEST(SpatialInterrupt, OfBlurring) {
    for (GUID const& format : kRgba + kMono + Formats{MFIF_RGBA_FLOAT_BU}) {
        for (int type = 3; type <= 7; ++type) {
            qzILBlurImg effect;
            effect.SetType(static_cast<qzILBlurType>(type));
            bool const inDouble = type == 5 || type == 7;
            ExpectLineByLine(Plain(format, 2, 5, 3), effect, inDouble ? 1 + kWidth + 10 : -1);
        }
    }
    qzILOpticGlowImg glow;
    ExpectAnyEnd(Plain(MFIF_RGBA_RAW_32, 1, 3, 3), glow);
}

// The second pass begins after an interrupt of the first, and ends with its first line.
TEST(SpatialInterrupt, OfTwoPassesLeavesOneLineAtLeast) {
    Kernel cross{0.0f, 0.25f, 0.0f, 0.25f, -0.5f, 0.25f, 0.0f, 0.25f, 0.0f}, flat(15, 1.0f / 15.0f);
    for (GUID const& format : kInteger) {
        qzILConvolveImg onePass;
        onePass.SetKernel(cross.data(), 1);
        ExpectLineByLine(Plain(format, 2), onePass, 1);
        SpatialScene const scene = Plain(format, 4, 1, 2);
        qzILConvolveImg effect;
        effect.SetKernel(flat.data(), 1, 2);
        Picture const nothing = Load(SpatialImages(scene).oOutput.Get());
        Picture const whole = Interrupted(scene, effect, 0);
        int const early = 1 + kHeight + 4;
        EXPECT_EQ(l_iPolls, early + kHeight);
        for (int n = 1; n <= early + kHeight; ++n) {
            Picture const output = Interrupted(scene, effect, n);
            // Five lines of the first pass make the first line of the second.
            if (n > 1 && n <= 5) {
                EXPECT_EQ(Difference(Joined(output, nothing, 1), output), "") << n;
            } else {
                int const lines = n == 1 ? 0 : std::max(1, n - early);
                EXPECT_EQ(Difference(Joined(whole, nothing, lines), output), "") << n;
            }
        }
    }
}

// An interrupt that is over again when the copy of the input has been left out: the neighbourhood is empty.
TEST(SpatialInterrupt, OfTheMarginAloneLeavesItClear) {
    Ready<qzILEmbossImg> ready(Plain(MFIF_RGBA_RAW_32, 1));
    l_iPolls = 0;
    ready->SetInterruptFct([] { return ++l_iPolls == 1 ? 1 : 0; }, nullptr);
    EXPECT_EQ(ready->Execute(), 1);
    EXPECT_EQ(Difference(Picture(kWidth, kHeight, 4), ready.Output()), "");
}

}  // namespace
}  // namespace qzil::test::model
