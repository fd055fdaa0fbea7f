// What holds for effects that do not make one picture of others: generators, several outputs, further inputs, numbers.

#include "scene/scene.h"

#include <gtest/gtest.h>

namespace qzil::test {
namespace {

using catalog::Entry;

/// Calls fn with random scenes of whole images.
template <class Fn>
void ForEachKind(std::uint64_t seed, int width, int height, Fn fn) {
    Random random(seed);
    for (Entry const& entry : NetEffects()) {
        for (GUID const& format : entry.oFormats) {
            if (IsPicture(entry) || IsFormatSplitField(format)) continue;
            for (int i = 0; i < 12; ++i) {
                Scene scene = PlainScene(entry, format, width, height);
                scene.uSeed = random.Next() >> 8;
                scene.oValues = RandomValuesFor(entry, format, random);
                fn(scene, random);
            }
        }
    }
}

/// Inside a region an output is as that of the whole, outside it no byte is touched.
TEST(KindsNet, ARegionIsAPartOfTheWhole) {
    ForEachKind(4, 30, 12, [](Scene const& whole, Random& random) {
        Scene part = whole;
        part.oRoi = {2 * random.Below(8), random.Below(6), 2 * random.Between(1, 7), random.Between(1, 6)};
        part.oOutputOffset = part.oRoi.Origin;
        Images const before(part), all = Executed(whole), some = Executed(part);
        for (std::size_t n = 0; n < before.oOutputs.size(); ++n) {
            qzILImageHelper const initial(before.oOutputs[n].Get()), of(all.oOutputs[n].Get()),
                actual(some.oOutputs[n].Get());
            for (int i = 0; i < 30 * 12; ++i) {
                int const x = i % 30, y = i / 30;
                bool const inside = Covers(part.oRoi, x, y);
                if (inside && !whole.EqualsPartOfWhole()) continue;
                ASSERT_EQ(PixelAt(actual, x, y), PixelAt(inside ? of : initial, x, y))
                    << part.Describe() << " output " << n << " pixel " << x << ',' << y;
            }
        }
    });
}

/// Of two pictures that agree in the region only the numbers are the same; an empty region has no pixel that counts.
TEST(KindsNet, NumbersComeFromTheRegionAlone) {
    ForEachKind(5, 40, 9, [](Scene scene, Random&) {
        if (!scene.pEntry->IsSink()) return;
        scene.oRoi = scene.oMaskRect = {4, 0, 16, 9};
        auto const expected = Results(scene);
        Images const original(scene), images(scene);
        FillRandom(images.oInputs[0].Get(), 99);
        qzILImageHelper const from(original.oInputs[0].Get()), to(images.oInputs[0].Get());
        for (int y = 0; y < 9; ++y) {
            std::copy_n(from.GetPixelPtr(4, y), 16 * from.m_iPixelStep, to.GetPixelPtr(4, y));
            if (!from.m_iSeparateAlpha) continue;
            std::copy_n(from.GetAlphaPtr(4, y), 16 * from.m_iAlphaPixelStep, to.GetAlphaPtr(4, y));
        }
        catalog::Instance instance = Prepare(scene, images);
        ASSERT_EQ(instance.Effect().Execute(), 1);
        EXPECT_EQ(Results(instance, images), expected) << scene.Describe();
        scene.oRoi.Size = scene.oMaskRect.Size = {0, 0};
        EXPECT_EQ(Prepare(scene, images).Effect().Execute(), 1) << "an empty region";
    });
}

}  // namespace
}  // namespace qzil::test
