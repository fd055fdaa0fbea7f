// Every effect gives the same bytes at every CPU level, whatever the width, and writes nothing beside its region.

#include "support/levels.h"
#include "nets/scene.h"

#include <gtest/gtest.h>

#include <cstring>

namespace qzil::test {
namespace {

constexpr std::size_t kCanary = 64;

/// Runs a scene into an output between canaries; the bytes with them.
std::vector<unsigned char> RunBetweenCanaries(Scene const& scene) {
    Images images(scene);
    auto const initial = Bytes(images.oOutput);
    std::vector<unsigned char> memory(initial.size() + 2 * kCanary, 0xA5);
    std::memcpy(memory.data() + kCanary, initial.data(), initial.size());
    images.oOutput->SetPixelArray(memory.data() + kCanary);
    catalog::Instance instance = Prepare(scene, images);
    EXPECT_EQ(instance.Effect().Verify(), 1) << scene.Describe();
    EXPECT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
    images.oOutput->SetPixelArray(nullptr);
    for (std::size_t i = 0; i < kCanary; ++i) {
        EXPECT_EQ(memory[i], 0xA5) << scene.Describe() << " byte " << i << " before the image";
        EXPECT_EQ(memory[memory.size() - 1 - i], 0xA5) << scene.Describe() << " byte " << i << " behind the image";
    }
    return memory;
}

void CompareLevels(Scene const& scene) {
    std::vector<unsigned char> expected;  // of the first level, the baseline
    ForEachLevel([&] {
        auto const actual = RunBetweenCanaries(scene);
        if (expected.empty()) expected = actual;
        ASSERT_EQ(DescribeDifference(expected, actual), "") << scene.Describe();
    });
}

/// The variants of one effect, format and width: channels, mask, parameters and dominance drawn at random.
void CheckWidth(catalog::Entry const& entry, GUID const& format, int width, int height, Random& random) {
    bool const video = IsVideo(format);
    for (int variant = 0; variant < 3; ++variant) {
        Scene scene = PlainScene(entry, format, width, height);
        scene.uSeed = static_cast<std::uint64_t>(width * 8 + variant + 1);
        scene.oValues = RandomValuesFor(entry, format, random);
        scene.uMode = video || variant == 0 ? 15 : static_cast<unsigned>(random.Below(16));
        scene.bDominantB = scene.HasB() && !entry.bMaskRequired && variant == 2;
        if (!video && (variant > 0 || entry.bMaskRequired)) {
            scene.oMaskFormat = MaskFormatFor(format, variant == 2);
            if (scene.oMaskFormat == GUID_NULL) continue;
            scene.uMaskChannel = variant == 2 ? XFImageChannel2 : XFImageChannelMono;
            scene.oMaskRect = scene.oRoi;
        }
        // Some effects need all colour channels.
        if (Prepare(scene, Images(scene)).Effect().Verify() != 1) scene.uMode |= 7u;
        CompareLevels(scene);
    }
}

TEST(LevelsNet, EveryWidthGivesTheBytesOfTheBaseline) {
    for (catalog::Entry const& entry : NetEffects()) {
        Random random(static_cast<std::uint64_t>(&entry - NetEffects().data()) + 1);
        for (GUID const& format : entry.oFormats) {
            for (int width = 1; width <= 67 && !HasFatalFailure(); ++width) CheckWidth(entry, format, width, 2, random);
            CheckWidth(entry, format, 1920, 2, random);
            if (HasFatalFailure()) return;
        }
    }
}

// Large frames are written past the caches. The bytes are those of the same frame done in strips, which are not, and
// pixels that an effect leaves alone stay as they were.
constexpr int kWidth = 603, kHeight = 460, kStrip = 46;

void CopyBytes(Ref<IXFImage> const& to, Ref<IXFImage> const& from) {
    std::memcpy(Bytes(to).data(), Bytes(from).data(), Bytes(to).size());
}

void ExpectStripsOf(GUID const& format) {
    Ref<IXFImage> const a = MakeRandomImage(format, kWidth, kHeight, 1),
                        b = MakeRandomImage(format, kWidth, kHeight, 2),
                        initial = MakeRandomImage(format, kWidth, kHeight, 3),
                        mask = MakeRandomImage(MFIF_MONO_RAW_8, kWidth, kHeight, 4);
    Ref<IXFImage> const whole = MakeImage(format, kWidth, kHeight), strips = MakeImage(format, kWidth, kHeight);
    Random random(5);
    for (catalog::Entry const& entry : NetEffects()) {
        if (!Contains(entry.oFormats, format)) continue;
        for (unsigned const mode : {15u, 7u}) {
            Scene scene = PlainScene(entry, format, kWidth, kHeight);
            scene.oValues = RandomValuesFor(entry, format, random);
            scene.uMode = mode;
            if (!scene.EqualsPartOfWhole()) continue;
            auto const run = [&](Ref<IXFImage> const& output, qzILBbox2l const& roi) {
                catalog::Instance instance = entry.Make();
                instance.SetInput(0, a.Get());
                if (entry.HasTwoInputs()) instance.SetInput(1, b.Get());
                for (std::size_t i = 0; i < scene.oValues.size(); ++i) instance.Set(i, scene.oValues[i]);
                qzILProcessor& effect = instance.Effect();
                instance.SetOutput(output.Get());
                instance.SetRoi(roi);
                instance.SetOutputOffset(roi.Origin);
                effect.SetProcessingMode(mode);
                if (!IsVideo(format) && (mode == 7 || entry.bMaskRequired)) {
                    instance.SetMask({0, 0, kWidth, kHeight}, mask.Get(), XFImageChannelMono);
                }
                ASSERT_EQ(effect.Verify(), 1) << scene.Describe();
                ASSERT_EQ(effect.Execute(), 1) << scene.Describe();
            };
            CopyBytes(whole, initial);
            CopyBytes(strips, initial);
            run(whole, {0, 0, kWidth, kHeight});
            for (int y = 0; y < kHeight; y += kStrip) run(strips, {0, y, kWidth, kStrip});
            ASSERT_EQ(DescribeDifference(Bytes(strips), Bytes(whole)), "") << scene.Describe();
        }
    }
}

TEST(StreamingNet, ALargeFrameEqualsItsStrips) {
    // Whole frames are written past the caches then, strips are not.
    kernel::ForceStreamBytes(1 << 20);
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_CbYCrYA_24}) ExpectStripsOf(format);
    kernel::ForceStreamBytes(0);
}

}  // namespace
}  // namespace qzil::test
