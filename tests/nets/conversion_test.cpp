// What holds for every conversion and every pair of its formats: where pixels come from and go to, that nothing else is
// touched, and that CPU levels, strips, interrupts and missing memory make no difference to the bytes.

#include "nets/scene.h"
#include "qzil/frame/convert.h"
#include "qzil/frame/image_utils.h"
#include "qzil/frame/sink.h"
#include "qzil/image/image_ops.h"
#include "support/allocation_hook.h"
#include "support/levels.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qzil::test {
namespace {

using catalog::Conversions;
using catalog::Entry;
using catalog::FormatPair;

Scene Plain(Entry const& entry, FormatPair const& pair, int width, int height) {
    Scene scene = PlainScene(entry, pair.oFrom, width, height);
    scene.oOutputFormat = pair.oTo;
    scene.uMode = 15;
    return scene;
}

Ref<IXFImage> Converted(Scene const& scene) {
    Images const images(scene);
    EXPECT_EQ(Prepare(scene, images).Effect().Execute(), 1) << scene.Describe();
    return images.oOutput;
}

template <class F>
void ForEveryPair(F f) {
    for (Entry const& entry : Conversions()) {
        for (FormatPair const& pair : entry.oPairs) {
            if (!entry.bUpdates) f(entry, pair);
        }
    }
}

bool IsPairs(GUID const& format) {
    return IsFormatYCC(format) && IsFormatYCC422(format) && format != MFIF_YCCA_RAW_32 && format != MFIF_YCCA_RAW_64;
}

/// Inside the region, pixels are those of a plain conversion of the whole image or, without an input pixel, the default
/// colour; left-out lines and everything outside keep their bytes.
TEST(ConversionNet, RegionOffsetFieldsAndDefaultColour) {
    Random random(31);
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        bool const split = IsFormatSplitField(pair.oFrom) || IsFormatSplitField(pair.oTo);
        bool const video = IsFormatYCC(pair.oFrom) || IsFormatYCC(pair.oTo);
        Scene scene = Plain(entry, pair, 2 * random.Between(4, 12), random.Between(6, 12));
        scene.uSeed = random.Next() % 1000;
        scene.oDefaultColor = qzILColor(0.25, 0.5, 0.75, 0.125);
        Ref<IXFImage> const full = Converted(scene);
        if (!split) {
            int const x = random.Below(3) * 2, y = random.Below(3);
            scene.oOutputSize = {scene.oSizeA.x + 2 * random.Below(4), scene.oSizeA.y + random.Below(4)};
            scene.oRoi = {x, y, scene.oSizeA.x - x, scene.oSizeA.y - y};
            // A region that leaves its input is for graphics formats only.
            if (!video && random.OneIn(2)) scene.oRoi = {x - 2, y - 1, scene.oSizeA.x - 2, scene.oSizeA.y - 2};
            scene.oOutputOffset = {2 * random.Below((scene.oOutputSize.x - scene.oRoi.Size.x) / 2 + 1),
                                   random.Below(scene.oOutputSize.y - scene.oRoi.Size.y + 1)};
            scene.uMode = 15u + 0x100u * static_cast<unsigned>(random.Below(3));
        }
        Images const images(scene), before(scene);
        catalog::Instance instance = Prepare(scene, images);
        ASSERT_EQ(instance.Effect().Verify(), 1)
            << scene.Describe() << ErrorSentence(entry, instance.Effect().GetLastError());
        ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
        Ref<IXFImage> const filled = Filled(scene);
        qzILImageHelper const expected(full.Get()), untouched(before.oOutput.Get()), actual(images.oOutput.Get()),
            colour(filled.Get());
        qzILVector2l const shift = scene.oRoi.Origin - scene.oOutputOffset;
        qzILBbox2l const region(scene.oOutputOffset.x, scene.oOutputOffset.y, scene.oRoi.Size.x, scene.oRoi.Size.y);
        for (int y = 0; y < scene.oOutputSize.y; ++y) {
            for (int x = 0; x < scene.oOutputSize.x; ++x) {
                int const fromX = x + shift.x, fromY = y + shift.y;
                Pixel const pixel = !Covers(region, x, y) || SkipsLine(scene.uMode, y) ? PixelAt(untouched, x, y)
                                    : Covers(scene.Dominant(), fromX, fromY)           ? PixelAt(expected, fromX, fromY)
                                                                                       : PixelAt(colour, x, y);
                ASSERT_EQ(PixelAt(actual, x, y), pixel) << scene.Describe() << " pixel " << x << ',' << y;
            }
        }
    });
}

TEST(ConversionNet, CpuLevelsAndRepetitionsAgree) {
    Random random(5);
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        Scene scene = Plain(entry, pair, random.Between(1, 700), 3);
        if (IsFormatSplitField(pair.oFrom) || IsFormatSplitField(pair.oTo)) scene = Plain(entry, pair, 642, 4);
        scene.oValues = RandomValues(entry, random);
        Ref<IXFImage> const expected = Converted(scene);
        ForEachLevel(
            [&] { ASSERT_EQ(DescribeDifference(Bytes(expected), Bytes(Converted(scene))), "") << scene.Describe(); });
    });
}

/// Lines that are written past the caches have the bytes of lines that are not.
TEST(ConversionNet, LargeFramesEqualTheirStrips) {
    constexpr int kWidth = 2402, kHeight = 2300, kStrip = 230;
    FormatPair const pairs[] = {{MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT},   {MFIF_RGBA_FLOAT, MFIF_CbYCrYA_24},
                                {MFIF_CbYCrY_16, MFIF_RGB_RAW_24},     {MFIF_RGB_RAW_24, MFIF_CbYCrY709_16},
                                {MFIF_CbYCrYA_24, MFIF_CbYCrYA_FLOAT}, {MFIF_CbYCrY_10_6, MFIF_RGBA_RAW_32}};
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        bool const chosen = std::any_of(std::begin(pairs), std::end(pairs), [&](FormatPair const& one) {
            return one.oFrom == pair.oFrom && one.oTo == pair.oTo;
        });
        if (!chosen) return;
        Scene const scene = Plain(entry, pair, kWidth, kHeight);
        Ref<IXFImage> const whole = Converted(scene);
        Images const strips(scene);
        for (int y = 0; y < kHeight; y += kStrip) {
            Scene strip = scene;
            strip.oRoi = {0, y, kWidth, kStrip};
            strip.oOutputOffset = {0, y};
            ASSERT_EQ(Prepare(strip, strips).Effect().Execute(), 1) << scene.Describe();
        }
        ASSERT_EQ(DescribeDifference(Bytes(whole), Bytes(strips.oOutput)), "") << scene.Describe();
    });
}

/// Settings that Verify refuses end with a code or in some harmless way; nothing outside the images is touched, which
/// the sanitizers watch.
TEST(ConversionNet, ExecuteSurvivesWhatVerifyRefuses) {
    Random random(8);
    for (Entry const& entry : Conversions()) {
        for (int i = 0; i < 1500; ++i) {
            auto const formats = AllFormats();
            FormatPair pair =
                entry.oPairs[static_cast<std::size_t>(random.Below(static_cast<int>(entry.oPairs.size())))];
            if (random.OneIn(3)) pair.oTo = formats[static_cast<std::size_t>(random.Below(89))].oFormat;
            if (random.OneIn(4)) pair.oFrom = formats[static_cast<std::size_t>(random.Below(89))].oFormat;
            Scene scene = Plain(entry, pair, random.Between(1, 40), random.Between(1, 9));
            scene.oOutputSize = {random.Between(1, 40), random.Between(1, 9)};
            scene.oRoi = {random.Between(-9, 9), random.Between(-9, 9), random.Between(-2, 50), random.Between(-2, 20)};
            scene.oOutputOffset = {random.Between(-9, 30), random.Between(-9, 9)};
            scene.uMode = static_cast<unsigned>(random.Below(16) | random.Below(4) << 8);
            scene.oValues = RandomValues(entry, random);
            Images images(scene);
            if (random.OneIn(9)) images.oOutput.Reset();
            Prepare(scene, images).Effect().Execute();
        }
    }
}

int s_iPolls = 0;

TEST(ConversionNet, AnInterruptEndsWithSuccessAndWholeLines) {
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        Scene const scene = Plain(entry, pair, 22, 8);
        Ref<IXFImage> const full = Converted(scene);
        Images const images(scene), before(scene);
        catalog::Instance instance = Prepare(scene, images);
        s_iPolls = 0;
        int volatile flag = 0;
        instance.Effect().SetInterruptFct([] { return ++s_iPolls >= 4 ? 1 : 0; }, &flag);
        ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
        qzILImageHelper const actual(images.oOutput.Get()), done(full.Get()), untouched(before.oOutput.Get());
        // Some never ask between lines. The others ask before the first line and behind each.
        bool const finished = s_iPolls < 4;
        for (int y = 0; y < 8; ++y) {
            qzILImageHelper const& expected = finished || y < 3 ? done : untouched;
            for (int x = 0; x < 22; ++x) {
                ASSERT_EQ(PixelAt(actual, x, y), PixelAt(expected, x, y)) << scene.Describe() << " line " << y;
            }
        }
    });
}

TEST(ConversionNet, NoMemoryIsNeeded) {
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        Scene const scene = Plain(entry, pair, 64, 8);
        Images const images(scene);
        catalog::Instance instance = Prepare(scene, images);
        AllocationCounter const counter;
        ASSERT_EQ(instance.Effect().Execute(), 1);
        EXPECT_EQ(counter.Bytes(), 0u) << scene.Describe();
    });
}

// Pairs of samples belong together; a conversion that is asked for an odd width leaves the last pixel alone.
TEST(ConversionNet, AnOddLastPixelOfPairsIsNotWritten) {
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        if (IsFormatSplitField(pair.oFrom) || IsFormatSplitField(pair.oTo)) return;
        if (!IsPairs(pair.oFrom) && !IsPairs(pair.oTo)) return;
        Scene const scene = Plain(entry, pair, 9, 2);
        Ref<IXFImage> const result = Converted(scene), before = Images(scene).oOutput;
        qzILImageHelper const actual(result.Get()), untouched(before.Get());
        ASSERT_EQ(PixelAt(actual, 8, 1), PixelAt(untouched, 8, 1)) << scene.Describe();
    });
}

/// A sink that sums its region, through the mask where there is one.
class Sum : public qzILMonadicSinkPixelProc {
public:
    qzILStatus DoEffect() override {
        ++iCalls;
        for (int y = 0; y < m_oProcessedBox.Size.y; ++y) {
            for (int x = 0; x < m_oProcessedBox.Size.x; ++x) {
                int const value =
                    *m_oInputHelper.GetPixelPtr(x + m_oProcessedBox.Origin.x, y + m_oProcessedBox.Origin.y);
                iSum += m_oMaskHelper.IsEmpty() || *m_oMaskHelper.GetPixelPtr(x, y) != 0 ? value : 0;
            }
        }
        return 1;
    }
    char const* GetActualClassName() const override { return "Sum"; }
    int iCalls = 0;
    int iSum = 0;
};

TEST(SinkFrame, RegionIsTheMaskRectangleInsideTheInput) {
    Ref<IXFImage> const input = MakeImage(MFIF_MONO_RAW_8, 6, 4), mask = MakeImage(MFIF_MONO_RAW_8, 3, 2);
    for (std::size_t i = 0; i < 24; ++i) Bytes(input)[i] = static_cast<unsigned char>(i);
    Bytes(mask)[0] = Bytes(mask)[5] = 255;  // its (0, 0) and (2, 1)
    Sum sink;
    sink.SetInputImg(input.Get());
    EXPECT_EQ(sink.Verify(), 1);
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iSum, 276);
    sink.iSum = 0;
    sink.SetMask({-1, -1, 3, 2}, nullptr, XFImageChannelMono);
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iSum, 0 + 1);
    sink.iSum = 0;
    sink.SetMask({4, 1, 3, 2}, mask.Get(), XFImageChannelMono);  // its third column lies outside
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iSum, 10);
    sink.iCalls = 0;
    sink.SetMask({6, 0, 3, 2}, mask.Get(), XFImageChannelMono);
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iCalls, 0);
}

TEST(SinkFrame, VerifyNamesTheFirstFault) {
    Ref<IXFImage> const input = MakeImage(MFIF_RGBA_RAW_32, 6, 4), mask = MakeImage(MFIF_MONO_RAW_8, 6, 4),
                        video = MakeImage(MFIF_CbYCrY_16, 6, 4);
    Ref<IXFImage> empty;
    ASSERT_EQ(qzILCreateImage(nullptr, IID_IXFImage, empty.Out()), 0);
    struct Case {
        IXFImage* pInput;
        IXFImage* pMask;
        qzILBbox2l oRect;
        XFImageChannel uChannel;
        unsigned uCode;
    };
    for (Case const& c :
         {Case{input.Get(), nullptr, {0, 0, 6, 4}, 16, 0}, Case{input.Get(), mask.Get(), {0, 0, 6, 4}, 16, 0},
          Case{input.Get(), empty.Get(), {0, 0, 6, 4}, 16, 0x10005},
          Case{input.Get(), mask.Get(), {0, 0, 6, 3}, 16, 0x10006},
          Case{input.Get(), video.Get(), {0, 0, 6, 4}, 16, 0x10007},
          Case{input.Get(), mask.Get(), {0, 0, 6, 4}, 1, 0x10008},
          Case{input.Get(), input.Get(), {0, 0, 6, 4}, 16, 0x10008}, Case{nullptr, nullptr, {0, 0, 6, 4}, 16, 0x1000B},
          Case{empty.Get(), nullptr, {0, 0, 6, 4}, 16, 0x1000C}}) {
        Sum sink;
        sink.SetInputImg(c.pInput);
        sink.SetMask(c.oRect, c.pMask, c.uChannel);
        EXPECT_EQ(sink.Verify(), c.uCode == 0 ? 1 : -1);
        EXPECT_EQ(sink.GetLastError().GetErrorCode(), c.uCode);
    }
}

}  // namespace
}  // namespace qzil::test
