// What holds for effects that do not make one picture of others: generators, several outputs, further inputs, numbers.

#include "scene/scene.h"
#include "support/allocation_hook.h"
#include "support/levels.h"

#include <gtest/gtest.h>

namespace qzil::test {
namespace {

using catalog::Entry;

template <class Fn>
void ForEachKind(Fn fn) {
    for (Entry const& entry : OtherKinds()) {
        for (GUID const& format : entry.oFormats) fn(entry, format);
    }
}

Scene RandomKind(Entry const& entry, GUID const& format, int width, int height, Random& random) {
    Scene scene = PlainScene(entry, format, width, height);
    scene.uMode = 15;
    scene.uSeed = random.Next() >> 8;
    scene.oValues = RandomValuesFor(entry, format, random);
    if (entry.TakesMask() && random.OneIn(2)) {
        scene.oMaskFormat = MaskFormatFor(format, false);
        scene.oMaskRect = scene.oRoi;
    }
    return scene;
}

TEST(KindsNet, EveryLevelGivesTheBytesOfTheBaseline) {
    Random random(3);
    ForEachKind([&](Entry const& entry, GUID const& format) {
        for (int const width : {1, 2, 3, 17, 64, 67, 600}) {
            Scene const scene = RandomKind(entry, format, width, 5, random);
            std::vector<unsigned char> expected;
            ForEachLevel([&] {
                auto const actual = OutcomeOf(scene).Bytes();
                if (expected.empty()) expected = actual;
                ASSERT_EQ(DescribeDifference(expected, actual), "") << scene.Describe();
            });
        }
    });
}

/// Inside a region an output is as that of the whole, outside it no byte is touched.
TEST(KindsNet, ARegionIsAPartOfTheWhole) {
    Random random(4);
    ForEachKind([&](Entry const& entry, GUID const& format) {
        if (entry.IsSink() || IsFormatSplitField(format)) return;
        for (int i = 0; i < 12; ++i) {
            Scene const whole = RandomKind(entry, format, 30, 12, random);
            Scene part = whole;
            part.oRoi = {2 * random.Below(8), random.Below(6), 2 * random.Between(1, 7), random.Between(1, 6)};
            part.oOutputOffset = part.oRoi.Origin;
            Images const before(part);
            Outcome const all = OutcomeOf(whole), some = OutcomeOf(part);
            for (std::size_t n = 0; n < entry.oOutputs.size(); ++n) {
                qzILImageHelper const initial(before.oOutputs[n].Get()), of(all.oImages.oOutputs[n].Get()),
                    actual(some.oImages.oOutputs[n].Get());
                for (int y = 0; y < 12; ++y) {
                    for (int x = 0; x < 30; ++x) {
                        bool const inside = Covers(part.oRoi, x, y);
                        if (inside && !whole.EqualsPartOfWhole()) continue;
                        ASSERT_EQ(PixelAt(actual, x, y), PixelAt(inside ? of : initial, x, y))
                            << part.Describe() << " output " << n << " pixel " << x << ',' << y;
                    }
                }
            }
        }
    });
}

TEST(KindsNet, NumbersComeFromTheRegionAlone) {
    Random random(5);
    ForEachKind([&](Entry const& entry, GUID const& format) {
        if (!entry.IsSink()) return;
        Scene scene = RandomKind(entry, format, 40, 9, random);
        scene.oRoi = {4, 0, 16, 9};
        scene.oMaskRect = scene.oRoi;
        Outcome const part = OutcomeOf(scene);
        Images images(scene);
        FillRandom(images.oInputs[0].Get(), 99);
        // The same pixels in the region, others around it.
        Images const original(scene);
        qzILImageHelper const from(original.oInputs[0].Get()), to(images.oInputs[0].Get());
        for (int y = 0; y < 9; ++y) {
            std::copy_n(from.GetPixelPtr(4, y), 16 * from.m_iPixelStep, to.GetPixelPtr(4, y));
            if (from.m_iSeparateAlpha)
                std::copy_n(from.GetAlphaPtr(4, y), 16 * from.m_iAlphaPixelStep, to.GetAlphaPtr(4, y));
        }
        catalog::Instance instance = Prepare(scene, images);
        ASSERT_EQ(instance.Effect().Execute(), 1);
        for (std::size_t i = 0; i < entry.oResults.size(); ++i) EXPECT_EQ(instance.ResultOf(i), part.oNumbers[i]);
        scene.oRoi.Size = scene.oMaskRect.Size = {0, 0};
        scene.oMaskFormat = GUID_NULL;
        EXPECT_EQ(Prepare(scene, images).Effect().Execute(), 1) << "an empty region";
    });
}

TEST(KindsNet, EveryFailedAllocationGivesTheCodeAndNoLeak) {
    Random random(6);
    ForEachKind([&](Entry const& entry, GUID const& format) {
        Scene scene = RandomKind(entry, format, 24, 12, random);
        if (!entry.IsSink() && !entry.IsGenerator()) scene.iInPlace = 0;
        for (std::uint64_t n = 1;; ++n) {
            Images const images(scene);
            catalog::Instance instance = Prepare(scene, images);
            CMFImage::s_pImageMemoryPool->ClearPool(0);
            std::int64_t const before = LiveBlocks();
            qzILStatus status = 0;
            bool happened = false;
            {
                AllocationFailure const failure(n, AllocationFailure::Extent::AllFrom);
                status = instance.Effect().Execute();
                happened = failure.Happened();
            }
            CMFImage::s_pImageMemoryPool->ClearPool(0);
            EXPECT_LE(LiveBlocks(), before) << scene.Describe() << " allocation " << n;
            if (!happened) {
                EXPECT_EQ(status, 1) << scene.Describe();
                break;
            }
            if (status == -1) {
                ASSERT_EQ(instance.Effect().GetLastError().GetErrorCode(), 0x10001u) << scene.Describe();
            }
        }
    });
}

}  // namespace
}  // namespace qzil::test
