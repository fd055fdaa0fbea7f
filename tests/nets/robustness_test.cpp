// What holds for every effect under stress: allocations that fail, interrupts, several threads, and how much memory a
// call asks for.

#include "scene/scene.h"
#include "support/allocation_hook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace qzil::test {
namespace {

/// A scene that needs buffers: in place, shifted, overlapping, and with a clipping mask rectangle where one may be.
Scene DemandingScene(catalog::Entry const& entry, GUID const& format) {
    Scene scene = PlainScene(entry, format, 24, 12);
    bool const video = IsVideo(format);
    scene.uMode = video || !IsPicture(entry) ? 15 : 5;
    if (!entry.IsGenerator() && !entry.IsSink()) scene.iInPlace = 0;
    if (!IsFormatSplitField(format)) {
        scene.oRoi = {2, 1, 16, 8};
        scene.oOutputOffset = {4, 3};
    }
    if (!video) scene.oMaskRect = {3, 2, 12, 6};
    return scene;
}

TEST(RobustnessNet, EveryFailedAllocationGivesTheCodeAndNoLeak) {
    for (catalog::Entry const& entry : NetEffects()) {
        for (GUID const& format : entry.oFormats) {
            Scene const scene = DemandingScene(entry, format);
            auto const reference = Results(scene);
            for (std::uint64_t n = 1;; ++n) {
                Images const images(scene);
                catalog::Instance instance = Prepare(scene, images);
                CMFImage::s_pImageMemoryPool->ClearPool(0);
                CMFImage::s_pImageMemoryPool->ClearPool(1);
                std::int64_t const before = LiveBlocks();
                qzILStatus status = 0;
                bool happened = false;
                {
                    AllocationFailure const failure(n, AllocationFailure::Extent::AllFrom);
                    status = instance.Effect().Execute();
                    happened = failure.Happened();
                }
                CMFImage::s_pImageMemoryPool->ClearPool(0);
                // Blocks that earlier tests left in the pool may go; none may stay.
                EXPECT_LE(LiveBlocks(), before) << scene.Describe() << " allocation " << n;
                if (!happened) {
                    EXPECT_EQ(status, 1);
                    break;
                }
                // A block that cannot go into the pool's list is freed instead: that failure does not show.
                if (status == 1) {
                    ASSERT_EQ(DescribeDifference(reference, Results(instance, images)), "");
                    continue;
                }
                // A margin buffer that cannot be made records nothing.
                unsigned const code = instance.Effect().GetLastError().GetErrorCode();
                ASSERT_TRUE(code == 0x10001u || (code == 0 && entry.eMemory == catalog::Memory::Margin))
                    << scene.Describe() << " allocation " << n << " code " << code;
                // The same object works again afterwards.
                Images const fresh(scene);
                SetImages(instance, scene, fresh);
                ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
                ASSERT_EQ(DescribeDifference(reference, Results(instance, fresh)), "") << scene.Describe();
            }
        }
    }
}

std::uint64_t BytesAskedFor(catalog::Instance& instance) {
    AllocationCounter const counter;
    EXPECT_EQ(instance.Effect().Execute(), 1);
    return counter.Bytes();
}

TEST(RobustnessNet, APlainFrameNeedsNoMemoryAndASecondBufferedOneAsksTheSystemForNothing) {
    auto const effect = [](catalog::Entry const& entry, GUID const& format) {
        if (entry.eMemory == catalog::Memory::Margin) return;
        // Views of split planes are small objects; only look-up effects hold an identity table.
        bool const hasTables = !entry.oParameters.empty() && entry.oParameters[0].eKind == catalog::Kind::Lut;
        std::uint64_t const allowed = 8192u + (hasTables ? 0x20000u : 0u);
        Scene const plain = PlainScene(entry, format, 640, 48), demanding = DemandingScene(entry, format);
        Images const images(plain), moved(demanding);
        catalog::Instance instance = Prepare(plain, images), buffered = Prepare(demanding, moved);
        EXPECT_LE(BytesAskedFor(instance), allowed) << plain.Describe();
        BytesAskedFor(buffered);
        EXPECT_LE(BytesAskedFor(buffered), allowed) << demanding.Describe();
    };
    auto const conversion = [](catalog::Entry const& entry, catalog::FormatPair const& pair) {
        Scene const scene = PlainScene(entry, pair, 64, 8);
        Images const images(scene);
        catalog::Instance instance = Prepare(scene, images);
        EXPECT_EQ(BytesAskedFor(instance), 0u) << scene.Describe();
    };
    ForEachForm(effect, conversion);
}

/// A neighbourhood effect takes the margin buffer, at most one scratch image of floats in its size, and working lines:
/// eight more than the neighbourhood's height, or 64 that are filtered side by side, in three states.
TEST(RobustnessNet, NeighbourhoodsTakeAMarginAScratchImageAndAFewLines) {
    constexpr std::uint64_t kWidth = 960, kHeight = 540;
    Random random(3);
    for (catalog::Entry const& entry : NetEffects()) {
        if (entry.eMemory != catalog::Memory::Margin) continue;
        for (int variant = 0; variant < 12; ++variant) {
            GUID const& format = entry.oFormats[static_cast<std::size_t>(variant) % entry.oFormats.size()];
            Scene scene = PlainScene(entry, format, kWidth, kHeight);
            if (variant > 0) scene.oValues = RandomValuesFor(entry, format, random);
            Images const images(scene);
            catalog::Instance instance = Prepare(scene, images);
            CMFImage::s_pImageMemoryPool->ClearPool(0);
            std::uint64_t const asked = BytesAskedFor(instance);
            constexpr std::uint64_t kReach = 8;  // no random radius or kernel reaches further
            std::uint64_t const channels = GetNumOfChannelsFromFormat(format);
            std::uint64_t const samples = (kWidth + 2 * kReach) * channels, lines = kHeight + 2 * kReach;
            std::uint64_t const margin = samples * lines * GetChannelSizeFromFormat(format);
            std::uint64_t const scratch = samples * lines * 4;
            // By edges: a margin for the sharpening, a grey picture, its edges, and a margin to find them.
            std::uint64_t const edges = entry.sName == "sharpen" ? margin + kWidth * kHeight * 14 : 0;
            std::uint64_t const working =
                std::max((2 * kReach + 9) * (samples + 128) * 4, (kWidth + 2 * kReach) * 64 * 5);
            EXPECT_LE(asked, margin + scratch + edges + working + 0x10000) << scene.Describe();
        }
    }
}

int s_iPolls = 0;
int s_iStopAt = 0;
int CountPolls() {
    return ++s_iPolls >= s_iStopAt;
}

/// Whether the lines before one are those of an image, and the others those of another.
bool IsJoined(Images const& actual, Images const& first, Images const& then, qzILVector2l const& size, int line) {
    qzILImageHelper const found(actual.Output().Get()), above(first.Output().Get()), below(then.Output().Get());
    for (int i = 0; i < size.x * size.y; ++i) {
        int const x = i % size.x, y = i / size.x;
        if (!(PixelAt(found, x, y) == PixelAt(y < line ? above : below, x, y))) return false;
    }
    return true;
}

/// An interrupt ends with success; the lines done are those of a whole run, from the first on, and no other is touched.
void ExpectWholeLines(Scene const& scene) {
    int const height = scene.oOutputSize.y;
    Images const whole = Executed(scene), untouched(scene);
    for (int stopAt = 1; stopAt <= height + 1; ++stopAt) {
        Images const images(scene);
        catalog::Instance instance = Prepare(scene, images);
        int volatile flag = 0;
        s_iPolls = 0;
        s_iStopAt = stopAt;
        instance.Effect().SetInterruptFct(CountPolls, &flag);
        ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
        // Most effects ask once before the first line; some never ask between lines, and then finish.
        auto const endsAfter = [&](int done) { return IsJoined(images, whole, untouched, scene.oOutputSize, done); };
        bool const finished = s_iPolls < stopAt && endsAfter(height);
        bool const stopped = s_iPolls == stopAt && (endsAfter(stopAt - 1) || endsAfter(std::min(stopAt, height)));
        ASSERT_TRUE(finished || stopped) << scene.Describe() << " stopped at question " << stopAt;
    }
}

/// Neighbourhoods, which ask while they read, too, have tests of their own.
TEST(RobustnessNet, AnInterruptLeavesWholeLinesAndSucceeds) {
    auto const effect = [](catalog::Entry const& entry, GUID const& format) {
        bool const lines = IsPicture(entry) && entry.eMemory != catalog::Memory::Margin;
        if (!lines || IsFormatSplitField(format) || IsFormatYCCA(format)) return;
        ExpectWholeLines(PlainScene(entry, format, 21, 9));
    };
    auto const conversion = [](catalog::Entry const& entry, catalog::FormatPair const& pair) {
        ExpectWholeLines(PlainScene(entry, pair, 6, 6));
    };
    ForEachForm(effect, conversion);
}

TEST(RobustnessNet, DistinctEffectsRunSideBySideOverSharedInputs) {
    constexpr int kRounds = 12;
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_CbYCrYA_24, MFIF_MONO_RAW_16}) {
        std::vector<Scene> scenes;
        for (catalog::Entry const& entry : NetEffects()) {
            if (Contains(entry.oFormats, format)) scenes.push_back(PlainScene(entry, format, 64, 33));
        }
        Images const shared(*std::ranges::max_element(scenes, {}, [](Scene const& s) { return s.oSizes.size(); }));
        std::atomic<int> failures{0};
        auto const work = [&](std::size_t first) {
            for (int round = 0; round < kRounds; ++round) {
                Scene const& scene = scenes[(first + static_cast<std::size_t>(round)) % scenes.size()];
                Images mine(scene);
                std::copy_n(shared.oInputs.begin(), mine.oInputs.size(), mine.oInputs.begin());
                catalog::Instance instance = Prepare(scene, mine);
                failures += instance.Effect().Execute() != 1;
                failures += !DescribeDifference(Results(scene), Results(instance, mine)).empty();
            }
        };
        std::thread one(work, 0), two(work, scenes.size() / 2);
        one.join();
        two.join();
        EXPECT_EQ(failures, 0) << NameOf(format);
    }
}

}  // namespace
}  // namespace qzil::test
