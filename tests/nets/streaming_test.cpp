// Large frames are written past the caches. The bytes are those of the same frame done in strips, which are not, and
// pixels that an effect leaves alone stay as they were.

#include "nets/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace qzil::test {
namespace {

constexpr int kWidth = 2403, kHeight = 2300, kStrip = 230;

void CopyBytes(Ref<IXFImage> const& to, Ref<IXFImage> const& from) {
    std::memcpy(Bytes(to).data(), Bytes(from).data(), Bytes(to).size());
}

class StreamingNet : public testing::TestWithParam<GUID> {};

TEST_P(StreamingNet, ALargeFrameEqualsItsStrips) {
    GUID const format = GetParam();
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
                if (entry.bTwoInputs) instance.SetInput(1, b.Get());
                for (std::size_t i = 0; i < scene.oValues.size(); ++i) instance.Set(i, scene.oValues[i]);
                qzILImgProc& effect = instance.Effect();
                effect.SetOutputImg(output.Get());
                effect.SetROI(roi);
                effect.SetOutputOffset(roi.Origin);
                effect.SetProcessingMode(mode);
                if (!IsVideo(format) && (mode == 7 || entry.bMaskRequired)) {
                    effect.SetMask({0, 0, kWidth, kHeight}, mask.Get(), XFImageChannelMono);
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

INSTANTIATE_TEST_SUITE_P(Formats, StreamingNet, testing::Values(MFIF_RGBA_RAW_32, MFIF_CbYCrYA_24),
                         [](auto const& instance) { return NameOf(instance.param); });

}  // namespace
}  // namespace qzil::test
