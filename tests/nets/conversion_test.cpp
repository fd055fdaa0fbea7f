// What holds for every conversion and every pair of its formats: where pixels come from and go to, that nothing else is
// touched, and that CPU levels, strips, interrupts and missing memory make no difference to the bytes.

#include "nets/scene.h"
#include "qzil/frame/convert.h"
#include "qzil/frame/image_utils.h"
#include "qzil/frame/sink.h"
#include "qzil/image/image_ops.h"
#include "qzil/kernel/levels.h"
#include "support/allocation_hook.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qzil::test {
namespace {

using catalog::Conversions;
using catalog::Entry;
using catalog::FormatPair;

/// One call of a conversion.
struct Call {
    Entry const* pEntry;
    FormatPair oPair;
    qzILVector2l oInputSize, oOutputSize;
    qzILBbox2l oRoi;
    qzILVector2l oOffset;
    unsigned uMode = 15;
    std::vector<catalog::Value> oValues;
    qzILColor oDefaultColor;
    std::uint64_t uSeed = 1;

    std::string Describe() const {
        return pEntry->sName + " from " + NameOf(oPair.oFrom) + " to " + NameOf(oPair.oTo) + " seed " +
               std::to_string(uSeed);
    }
};

struct Pictures {
    std::vector<Ref<IXFImage>> oInputs;
    Ref<IXFImage> oOutput;

    explicit Pictures(Call const& call)
        : oOutput(MakeRandomImage(call.oPair.oTo, call.oOutputSize.x, call.oOutputSize.y, 77)) {
        for (std::size_t i = 0; i < call.pEntry->oInputs.size(); ++i) {
            oInputs.push_back(MakeRandomImage(call.oPair.oFrom, call.oInputSize.x, call.oInputSize.y, call.uSeed + i));
        }
    }
};

catalog::Instance Prepare(Call const& call, Pictures const& pictures) {
    catalog::Instance instance = call.pEntry->Make();
    for (std::size_t i = 0; i < pictures.oInputs.size(); ++i) instance.SetInput(i, pictures.oInputs[i].Get());
    for (std::size_t i = 0; i < call.oValues.size(); ++i) instance.Set(i, call.oValues[i]);
    qzILImgProc& effect = instance.Effect();
    effect.SetOutputImg(pictures.oOutput.Get());
    effect.SetROI(call.oRoi);
    effect.SetOutputOffset(call.oOffset);
    effect.SetProcessingMode(call.uMode);
    effect.SetDefaultColor(call.oDefaultColor);
    return instance;
}

Ref<IXFImage> Converted(Call const& call) {
    Pictures const pictures(call);
    EXPECT_EQ(Prepare(call, pictures).Effect().Execute(), 1) << call.Describe();
    return pictures.oOutput;
}

Call Plain(Entry const& entry, FormatPair const& pair, int width, int height) {
    Call call{&entry, pair, {width, height}, {width, height}, {0, 0, width, height}, {0, 0}, 15, {}, {}};
    for (catalog::Parameter const& parameter : entry.oParameters) call.oValues.push_back(parameter.oDefault);
    return call;
}

template <class F>
void ForEveryPair(F f) {
    for (Entry const& entry : Conversions()) {
        for (FormatPair const& pair : entry.oPairs) {
            if (!entry.bUpdates) f(entry, pair);
        }
    }
}

/// A pixel with its alpha, wherever that lies.
std::vector<unsigned char> PixelAt(qzILImageHelper const& image, int x, int y) {
    unsigned char const* const color = image.GetPixelPtr(x, y);
    std::vector<unsigned char> bytes(color, color + image.m_iPixelStep);
    if (image.m_iSeparateAlpha) {
        unsigned char const* const alpha = image.GetAlphaPtr(x, y);
        bytes.insert(bytes.end(), alpha, alpha + image.m_iAlphaPixelStep);
    }
    return bytes;
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
        Call call = Plain(entry, pair, 2 * random.Between(4, 12), random.Between(6, 12));
        call.uSeed = random.Next() % 1000;
        call.oDefaultColor = qzILColor(0.25, 0.5, 0.75, 0.125);
        if (!split) {
            int const x = random.Below(3) * 2, y = random.Below(3);
            call.oOutputSize = {call.oInputSize.x + 2 * random.Below(4), call.oInputSize.y + random.Below(4)};
            call.oRoi = {x, y, call.oInputSize.x - x, call.oInputSize.y - y};
            // A region that leaves its input is for graphics formats only.
            if (!video && random.OneIn(2)) call.oRoi = {x - 2, y - 1, call.oInputSize.x - 2, call.oInputSize.y - 2};
            call.oOffset = {2 * random.Below((call.oOutputSize.x - call.oRoi.Size.x) / 2 + 1),
                            random.Below(call.oOutputSize.y - call.oRoi.Size.y + 1)};
            call.uMode = 15u + 0x100u * static_cast<unsigned>(random.Below(3));
        }
        Pictures const pictures(call);
        catalog::Instance instance = Prepare(call, pictures);
        ASSERT_EQ(instance.Effect().Verify(), 1)
            << call.Describe() << ErrorSentence(entry, instance.Effect().GetLastError());
        ASSERT_EQ(instance.Effect().Execute(), 1) << call.Describe();

        Call whole = Plain(entry, pair, call.oInputSize.x, call.oInputSize.y);
        whole.uSeed = call.uSeed;
        Ref<IXFImage> const full = Converted(whole), before = Pictures(call).oOutput,
                            filled = MakeImage(pair.oTo, 2, 1);
        qzILFillImageWithColor(filled.Get(), call.oDefaultColor, 15, nullptr, nullptr);
        qzILImageHelper const expected(full.Get()), untouched(before.Get()), actual(pictures.oOutput.Get()),
            colour(filled.Get());
        qzILBbox2l const region(call.oOffset.x, call.oOffset.y, call.oRoi.Size.x, call.oRoi.Size.y);
        for (int y = 0; y < call.oOutputSize.y; ++y) {
            for (int x = 0; x < call.oOutputSize.x; ++x) {
                int const fromX = x - call.oOffset.x + call.oRoi.Origin.x,
                          fromY = y - call.oOffset.y + call.oRoi.Origin.y;
                bool const inRegion = !region.Intersect({x, y, 1, 1}).IsEmpty() && !SkipsLine(call.uMode, y);
                bool const inInput =
                    !qzILBbox2l(0, 0, call.oInputSize.x, call.oInputSize.y).Intersect({fromX, fromY, 1, 1}).IsEmpty();
                std::vector<unsigned char> const pixel = !inRegion ? PixelAt(untouched, x, y)
                                                         : inInput ? PixelAt(expected, fromX, fromY)
                                                                   : PixelAt(colour, x & 1, 0);
                ASSERT_EQ(PixelAt(actual, x, y), pixel) << call.Describe() << " pixel " << x << ',' << y;
            }
        }
    });
}

TEST(ConversionNet, CpuLevelsAndRepetitionsAgree) {
    Random random(5);
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        Call call = Plain(entry, pair, random.Between(1, 700), 3);
        if (IsFormatSplitField(pair.oFrom) || IsFormatSplitField(pair.oTo)) call = Plain(entry, pair, 642, 4);
        call.oValues = RandomValues(entry, random);
        Ref<IXFImage> const expected = Converted(call);
        for (auto const level : {kernel::CpuLevel::Baseline, kernel::CpuLevel::V3, kernel::CpuLevel::V4}) {
            if (!kernel::ForceCpuLevel(level)) continue;
            ASSERT_EQ(DescribeDifference(Bytes(expected), Bytes(Converted(call))), "") << call.Describe();
        }
        kernel::ForceCpuLevel(kernel::HighestCpuLevel());
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
        Call const call = Plain(entry, pair, kWidth, kHeight);
        Ref<IXFImage> const whole = Converted(call);
        Pictures const strips(call);
        for (int y = 0; y < kHeight; y += kStrip) {
            Call strip = call;
            strip.oRoi = {0, y, kWidth, kStrip};
            strip.oOffset = {0, y};
            ASSERT_EQ(Prepare(strip, strips).Effect().Execute(), 1) << call.Describe();
        }
        ASSERT_EQ(DescribeDifference(Bytes(whole), Bytes(strips.oOutput)), "") << call.Describe();
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
            Call call = Plain(entry, pair, random.Between(1, 40), random.Between(1, 9));
            call.oOutputSize = {random.Between(1, 40), random.Between(1, 9)};
            call.oRoi = {random.Between(-9, 9), random.Between(-9, 9), random.Between(-2, 50), random.Between(-2, 20)};
            call.oOffset = {random.Between(-9, 30), random.Between(-9, 9)};
            call.uMode = static_cast<unsigned>(random.Below(16) | random.Below(4) << 8);
            call.oValues = RandomValues(entry, random);
            Pictures const pictures(call);
            if (!pictures.oOutput) continue;
            if (random.OneIn(9)) {
                call.oPair = pair;
                Prepare(call, pictures).Effect().SetOutputImg(nullptr);
            }
            Prepare(call, pictures).Effect().Execute();
        }
    }
}

int s_iPolls = 0;

TEST(ConversionNet, AnInterruptEndsWithSuccessAndWholeLines) {
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        Call const call = Plain(entry, pair, 22, 8);
        Ref<IXFImage> const full = Converted(call);
        Pictures const pictures(call), before(call);
        catalog::Instance instance = Prepare(call, pictures);
        s_iPolls = 0;
        int volatile flag = 0;
        instance.Effect().SetInterruptFct([] { return ++s_iPolls >= 4 ? 1 : 0; }, &flag);
        ASSERT_EQ(instance.Effect().Execute(), 1) << call.Describe();
        qzILImageHelper const actual(pictures.oOutput.Get()), done(full.Get()), untouched(before.oOutput.Get());
        // Some never ask between lines. The others ask before the first line and behind each.
        bool const finished = s_iPolls < 4;
        for (int y = 0; y < 8; ++y) {
            qzILImageHelper const& expected = finished || y < 3 ? done : untouched;
            for (int x = 0; x < 22; ++x) {
                ASSERT_EQ(PixelAt(actual, x, y), PixelAt(expected, x, y)) << call.Describe() << " line " << y;
            }
        }
    });
}

TEST(ConversionNet, NoMemoryIsNeeded) {
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        Pictures const pictures(Plain(entry, pair, 64, 8));
        catalog::Instance instance = Prepare(Plain(entry, pair, 64, 8), pictures);
        AllocationCounter const counter;
        ASSERT_EQ(instance.Effect().Execute(), 1);
        EXPECT_EQ(counter.Bytes(), 0u) << entry.sName << ' ' << NameOf(pair.oFrom) << ' ' << NameOf(pair.oTo);
    });
}

// Pairs of samples belong together; a conversion that is asked for an odd width leaves the last pixel alone.
TEST(ConversionNet, AnOddLastPixelOfPairsIsNotWritten) {
    ForEveryPair([&](Entry const& entry, FormatPair const& pair) {
        if (IsFormatSplitField(pair.oFrom) || IsFormatSplitField(pair.oTo)) return;
        if (!IsPairs(pair.oFrom) && !IsPairs(pair.oTo)) return;
        Call const call = Plain(entry, pair, 9, 2);
        Ref<IXFImage> const result = Converted(call), before = Pictures(call).oOutput;
        qzILImageHelper const actual(result.Get()), untouched(before.Get());
        ASSERT_EQ(PixelAt(actual, 8, 1), PixelAt(untouched, 8, 1)) << call.Describe();
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
