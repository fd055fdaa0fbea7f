// What holds for every effect under stress: allocations that fail, interrupts, several threads, and how much memory a
// call asks for.

#include "nets/scene.h"
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
    scene.uMode = video ? 15 : 5;
    scene.eInPlace = Scene::InPlace::A;
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
            Images const reference(scene);
            ASSERT_EQ(Prepare(scene, reference).Effect().Execute(), 1) << scene.Describe();
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
                    ASSERT_EQ(DescribeDifference(Bytes(reference.oOutput), Bytes(images.oOutput)), "");
                    continue;
                }
                // A margin buffer that cannot be made records nothing.
                unsigned const code = instance.Effect().GetLastError().GetErrorCode();
                ASSERT_TRUE(code == 0x10001u || (code == 0 && entry.eMemory == catalog::Memory::Margin))
                    << scene.Describe() << " allocation " << n << " code " << code;
                // The same object works again afterwards.
                Images const fresh(scene);
                instance.SetInput(0, fresh.oA.Get());
                if (scene.HasB()) instance.SetInput(1, fresh.oB.Get());
                instance.SetOutput(fresh.oOutput.Get());
                ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
                ASSERT_EQ(DescribeDifference(Bytes(reference.oOutput), Bytes(fresh.oOutput)), "") << scene.Describe();
            }
        }
    }
}

TEST(RobustnessNet, APlainFrameNeedsNoMemoryAndASecondBufferedOneAsksTheSystemForNothing) {
    for (catalog::Entry const& entry : NetEffects()) {
        if (entry.eMemory == catalog::Memory::Margin) continue;
        for (GUID const& format : entry.oFormats) {
            Scene const plain = PlainScene(entry, format, 640, 48);
            Images const images(plain);
            catalog::Instance instance = Prepare(plain, images);
            AllocationCounter const counter;
            ASSERT_EQ(instance.Effect().Execute(), 1) << plain.Describe();
            // Views of split planes are small objects; only look-up effects hold an identity table.
            bool const hasTables = !entry.oParameters.empty() && entry.oParameters[0].eKind == catalog::Kind::Lut;
            std::uint64_t const allowed = 8192u + (hasTables ? 0x20000u : 0u);
            EXPECT_LE(counter.Bytes(), allowed) << plain.Describe();

            Scene const demanding = DemandingScene(entry, format);
            Images const moved(demanding);
            catalog::Instance buffered = Prepare(demanding, moved);
            ASSERT_EQ(buffered.Effect().Execute(), 1);
            AllocationCounter const second;
            ASSERT_EQ(buffered.Effect().Execute(), 1);
            EXPECT_LE(second.Bytes(), allowed) << demanding.Describe();
        }
    }
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
            AllocationCounter const counter;
            ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
            constexpr std::uint64_t kReach = 8;  // no random radius or kernel reaches further
            std::uint64_t const channels = GetNumOfChannelsFromFormat(format);
            std::uint64_t const samples = (kWidth + 2 * kReach) * channels, lines = kHeight + 2 * kReach;
            std::uint64_t const margin = samples * lines * GetChannelSizeFromFormat(format);
            std::uint64_t const scratch = samples * lines * 4;
            // By edges: a margin for the sharpening, a grey picture, its edges, and a margin to find them.
            std::uint64_t const edges = entry.sName == "sharpen" ? margin + kWidth * kHeight * 14 : 0;
            std::uint64_t const working =
                std::max((2 * kReach + 9) * (samples + 128) * 4, (kWidth + 2 * kReach) * 64 * 5);
            EXPECT_LE(counter.Bytes(), margin + scratch + edges + working + 0x10000) << scene.Describe();
        }
    }
}

int s_iPolls = 0;
int s_iStopAt = 0;
int CountPolls() {
    return ++s_iPolls >= s_iStopAt;
}

/// An interrupt ends with success; the lines done are those of a whole run, from the first on, and no other is touched.
/// Neighbourhoods, which ask while they read, too, have tests of their own.
TEST(RobustnessNet, AnInterruptLeavesWholeLinesAndSucceeds) {
    constexpr int kHeight = 9;
    for (catalog::Entry const& entry : NetEffects()) {
        if (entry.eMemory == catalog::Memory::Margin) continue;
        for (GUID const& format : entry.oFormats) {
            if (IsFormatSplitField(format) || IsFormatYCCA(format)) continue;
            Scene const scene = PlainScene(entry, format, 21, kHeight);
            Images const whole(scene), untouched(scene);
            ASSERT_EQ(Prepare(scene, whole).Effect().Execute(), 1) << scene.Describe();
            for (int stopAt = 1; stopAt <= kHeight + 1; ++stopAt) {
                Images const images(scene);
                catalog::Instance instance = Prepare(scene, images);
                int volatile flag = 0;
                s_iPolls = 0;
                s_iStopAt = stopAt;
                instance.Effect().SetInterruptFct(CountPolls, &flag);
                ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
                qzILImageHelper const actual(images.oOutput.Get()), full(whole.oOutput.Get()),
                    none(untouched.oOutput.Get());
                auto const line = [](qzILImageHelper const& helper, int y) {
                    return std::span<unsigned char const>(helper.GetPixelPtr(0, y),
                                                          static_cast<std::size_t>(helper.m_iPixelStep) * 21);
                };
                // Most effects ask once before the first line; some never ask between lines, and then finish.
                auto const endsAfter = [&](int done) {
                    for (int y = 0; y < kHeight; ++y) {
                        auto const& expected = y < done ? full : none;
                        if (FirstDifference(line(expected, y), line(actual, y))) return false;
                    }
                    return true;
                };
                bool const finished = s_iPolls < stopAt && endsAfter(kHeight);
                bool const stopped =
                    s_iPolls == stopAt && (endsAfter(stopAt - 1) || endsAfter(std::min(stopAt, kHeight)));
                ASSERT_TRUE(finished || stopped) << scene.Describe() << " stopped at question " << stopAt;
            }
        }
    }
}

TEST(RobustnessNet, DistinctEffectsRunSideBySideOverSharedInputs) {
    constexpr int kRounds = 12;
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_CbYCrYA_24, MFIF_MONO_RAW_16}) {
        std::vector<Scene> scenes;
        for (catalog::Entry const& entry : NetEffects()) {
            if (Contains(entry.oFormats, format)) scenes.push_back(PlainScene(entry, format, 64, 33));
        }
        Images const shared(scenes.front());
        std::atomic<int> failures{0};
        auto const work = [&](std::size_t first) {
            for (int round = 0; round < kRounds; ++round) {
                Scene const& scene = scenes[(first + static_cast<std::size_t>(round)) % scenes.size()];
                Images const alone(scene);
                Images mine(scene);
                mine.oA = shared.oA;
                mine.oB = shared.oB;
                failures += Prepare(scene, mine).Effect().Execute() != 1;
                failures += Prepare(scene, alone).Effect().Execute() != 1;
                failures += !DescribeDifference(Bytes(alone.oOutput), Bytes(mine.oOutput)).empty();
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
