#include "frame/effects_under_test.h"

namespace qzil::test {
namespace {

// All faults at once, mended one by one in the order of the checks: each mending brings the next code out.
void ExpectOrder(EffectClass const& effectClass) {
    auto const made = effectClass.pMake();
    qzILImgProc& effect = *made;
    effect.SetProcessingMode(1);
    auto const output = MakeImage(MFIF_CbYCrY_16_FR, 16, 8), empty = WithoutPixels(MFIF_CbYCrY_16_FR);
    auto const mask16 = MakeImage(MFIF_MONO_RAW_16, 16, 8), mask8 = MakeImage(MFIF_MONO_RAW_8, 16, 8);
    auto const badMask = MakeImage(MFIF_BGRA_RAW_32, 16, 8), emptyMask = WithoutPixels(MFIF_BGRA_RAW_32);
    effect.SetROI({3, 0, 17, 8});
    effect.SetMask(0, 0, 17, 8, emptyMask.Get(), 1);
    EXPECT_TRUE(Refuses(effect, 0x10002));
    effect.SetOutputImg(empty.Get());
    EXPECT_TRUE(Refuses(effect, 0x10003));
    effect.SetOutputImg(output.Get());
    EXPECT_TRUE(Refuses(effect, 0x10005));
    effect.SetMask(0, 0, 17, 8, badMask.Get(), 16);
    EXPECT_TRUE(Refuses(effect, 0x10006));
    effect.SetMask(0, 0, 16, 8, badMask.Get(), 16);
    EXPECT_TRUE(Refuses(effect, 0x10007));
    effect.SetMask(0, 0, 16, 8, mask16.Get(), 1);
    EXPECT_TRUE(Refuses(effect, 0x10008));
    effect.SetMask(0, 0, 16, 8, mask16.Get(), 16);
    EXPECT_TRUE(Refuses(effect, 0x10009));
    effect.SetMask(0, 0, 16, 8, mask8.Get(), 16);
    EXPECT_TRUE(Refuses(effect, 0x1000A));
    effect.SetROI({3, 0, 13, 8});
    EXPECT_TRUE(Answers(effect, effectClass.bComposites ? 0x10013 : 0x20002));
    effect.SetProcessingMode(effectClass.bComposites ? 0 : 7);
    auto const rgba = MakeImage(MFIF_RGBA_RAW_32, 16, 8), same = MakeImage(MFIF_CbYCrY_16_FR, 16, 8);
    auto const other = MakeImage(MFIF_RGBA_RAW_32, 16, 8), emptyB = WithoutPixels(MFIF_RGBA_RAW_32);
    if (auto* const dyadic = dynamic_cast<qzILDyadicImgProc*>(&effect)) {
        EXPECT_TRUE(Refuses(effect, 0x10013));
        dyadic->SetInputImgA(empty.Get());
        dyadic->SetDominantInput(other.Get());
        EXPECT_TRUE(Refuses(effect, 0x10014));
        dyadic->SetInputImgB(emptyB.Get());
        EXPECT_TRUE(Refuses(effect, 0x10015));
        dyadic->SetInputImgA(same.Get());
        EXPECT_TRUE(Refuses(effect, 0x10016));
        dyadic->SetInputImgB(rgba.Get());
        if (!effectClass.bComposites) {
            dyadic->SetDominantInput(other.Get());
            EXPECT_TRUE(Refuses(effect, 0x10017));
        }
        dyadic->SetDominantInput(same.Get());
    } else {
        EXPECT_TRUE(Refuses(effect, 0x1000B));
        SetInputs(effect, empty.Get());
        EXPECT_TRUE(Refuses(effect, 0x1000C));
        SetInputs(effect, rgba.Get());
    }
    EXPECT_TRUE(Refuses(effect, 0x20001));
    effect.SetMask(0, 0, 16, 8, nullptr, 16);
    EXPECT_TRUE(Refuses(effect, 0x10060));
    effect.SetROI({0, 0, 16, 8});
    EXPECT_TRUE(Refuses(effect, 0x1000E));
    SetInputs(effect, same.Get());
    EXPECT_TRUE(Answers(effect, effectClass.oFormats ? 0x1000D : 0));
}

void ExpectMaskThatIsTheOutput(EffectClass const& effectClass) {
    auto const made = effectClass.pMake();
    qzILImgProc& effect = *made;
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 16, 8), other = MakeImage(MFIF_RGBA_RAW_32, 16, 8);
    auto const mono = MakeImage(MFIF_MONO_RAW_8, 16, 8);
    SetInputs(effect, image.Get());
    effect.SetOutputImg(image.Get());
    effect.SetMask(0, 0, 16, 8, image.Get(), 8);
    EXPECT_TRUE(Answers(effect, effectClass.bComposites ? 0x1006C : 0));
    if (effectClass.bComposites) return;
    effect.SetProcessingMode(15);
    EXPECT_TRUE(Refuses(effect, 0x1006C)) << "mask channel processed";
    effect.SetProcessingMode(7);
    SetInputs(effect, other.Get());
    EXPECT_TRUE(Refuses(effect, 0x1006C)) << "input elsewhere";
    SetInputs(effect, image.Get());
    effect.SetROI({2, 0, 8, 8});
    EXPECT_TRUE(Refuses(effect, 0x1006C)) << "shifted";
    effect.SetOutputOffset({2, 0});
    EXPECT_TRUE(Accepts(effect));
    if (auto* const dyadic = dynamic_cast<qzILDyadicImgProc*>(&effect)) {
        dyadic->SetInputImgA(other.Get());
        EXPECT_TRUE(Accepts(effect)) << "dominant B";
        dyadic->SetInputOffset({2, 0});
        EXPECT_TRUE(Refuses(effect, 0x1006C)) << "B is shifted";
        dyadic->SetOutputOffset({0, 0});
        EXPECT_TRUE(Accepts(effect)) << "output and input offset meet";
        dyadic->SetInputOffset({0, 0});
    }
    effect.SetROI({0, 0, 16, 8});
    effect.SetOutputOffset({0, 0});
    SetInputs(effect, mono.Get());
    effect.SetOutputImg(mono.Get());
    effect.SetMask(0, 0, 16, 8, mono.Get(), 16);
    EXPECT_TRUE(Refuses(effect, 0x1006C)) << "one channel";
}

TEST(FrameRefusal, OfEveryEffect) {
    for (EffectClass const& effectClass : kAllEffects) {
        ExpectOrder(effectClass);
        ExpectMaskThatIsTheOutput(effectClass);
    }
}

TEST(FrameRefusal, MaskChannelMustSuitTheMask) {
    qzILInvertImg effect;
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 4, 4), four = MakeImage(MFIF_RGBA_RAW_32, 4, 4);
    auto const one = MakeImage(MFIF_MONO_RAW_8, 4, 4);
    effect.SetInputImg(image.Get());
    effect.SetOutputImg(image.Get());
    for (unsigned channel = 0; channel <= 17; ++channel) {
        effect.SetMask(0, 0, 4, 4, four.Get(), channel);
        bool const single = channel == 1 || channel == 2 || channel == 4 || channel == 8;
        EXPECT_TRUE(Answers(effect, single ? 0 : 0x10008)) << "channel " << channel << " of four";
        effect.SetMask(0, 0, 4, 4, one.Get(), channel);
        EXPECT_TRUE(Answers(effect, channel == 16 ? 0 : 0x10008)) << "channel " << channel << " of one";
    }
}

TEST(FrameRefusal, EightMaskFormats) {
    for (auto const& entry : AllFormats()) {
        auto const mask = MakeImage(entry.oFormat, 4, 4);
        if (!mask || Bytes(mask).empty()) continue;
        unsigned channels = 0, size = 0;
        mask->GetNumChannels(&channels);
        mask->GetChannelSize(&size);
        GUID const ofSize[] = {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT};
        auto const image = MakeImage(ofSize[size - 1], 4, 4);
        qzILCopyImg effect;
        effect.SetInputImg(image.Get());
        effect.SetOutputImg(image.Get());
        effect.SetMask(0, 0, 4, 4, mask.Get(), channels == 1 ? 16u : 1u);
        bool const accepted = Contains(model::kRgba, entry.oFormat) || Contains(model::kMono, entry.oFormat);
        EXPECT_TRUE(Answers(effect, accepted ? 0 : 0x10007)) << entry.pName;
    }
}

TEST(FrameRefusal, RegionMustFitTheOutput) {
    struct Case {
        qzILBbox2l oRoi;
        qzILVector2l oOffset;
        bool bFits;
    };
    Case const cases[] = {
        {{0, 0, 16, 8}, {0, 0}, true},   {{5, 5, 16, 8}, {0, 0}, true},         {{0, 0, 17, 8}, {0, 0}, false},
        {{0, 0, 16, 9}, {0, 0}, false},  {{0, 0, 8, 4}, {8, 4}, true},          {{0, 0, 8, 4}, {9, 4}, false},
        {{0, 0, 8, 4}, {-1, 0}, false},  {{0, 0, 8, 4}, {0, -1}, false},        {{0, 0, 0, 0}, {0, 0}, true},
        {{7, 7, 0, 0}, {0, 0}, true},    {{0, 0, 0, 0}, {1, 0}, false},         {{0, 0, 4, 0}, {0, 0}, false},
        {{0, 0, -1, -1}, {0, 0}, false}, {{0, 0, 0x7FFFFFFF, 8}, {2, 0}, false}};
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 16, 8);
    for (Case const& c : cases) {
        qzILInvertImg effect;
        effect.SetInputImg(image.Get());
        effect.SetOutputImg(image.Get());
        effect.SetROI(c.oRoi);
        effect.SetOutputOffset(c.oOffset);
        EXPECT_TRUE(Answers(effect, c.bFits ? 0 : 0x1000A))
            << "roi " << c.oRoi.Origin.x << ' ' << c.oRoi.Origin.y << ' ' << c.oRoi.Size.x << ' ' << c.oRoi.Size.y
            << " offset " << c.oOffset.x << ' ' << c.oOffset.y;
    }
}

TEST(FrameRefusal, ChannelsOfVideo) {
    for (GUID const& format : {MFIF_CbYCrY_16, MFIF_CbYCrYA_24, MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8}) {
        auto const image = MakeImage(format, 4, 4);
        for (unsigned mode = 0; mode < 32; ++mode) {
            qzILInvertImg effect;
            effect.SetInputImg(image.Get());
            effect.SetOutputImg(image.Get());
            effect.SetProcessingMode(mode);
            unsigned const bits = mode & 15;
            bool const accepted = format == MFIF_CbYCrY_16    ? (bits & 7) == 7
                                  : format == MFIF_CbYCrYA_24 ? bits == 15 || bits == 7 || bits == 8
                                                              : true;
            EXPECT_TRUE(Answers(effect, accepted ? 0 : 0x20002)) << NameOf(format) << " mode " << mode;
        }
    }
}

struct Setting {
    GUID oFormat = MFIF_CbYCrY_16;
    qzILBbox2l oRoi{0, 0, 16, 8};
    qzILVector2l oOutputOffset{};
    int iOutputWidth = 16;
    int iWidthA = 16;
    int iHeightA = 8;
    int iWidthB = 0;  ///< 0: one input
    qzILVector2l oOffsetB{};
    qzILBbox2l oMaskRect{0, 0, 0x7FFFFFFF, 0x7FFFFFFF};
    bool bMask = false;
    int iAllowAny = 0;
    unsigned uPrimary = 0;
    qzILVector2l oOffsetA{};
};

TEST(FrameRefusal, VerifyRoiAndMask) {
    GUID const fields = MFIF_CbYCrY_16_SF_TFL;
    struct {
        char const* pWhat;
        unsigned uCode;
        Setting oSetting;
    } const cases[] = {
        {"whole", 0, {}},
        {"RGB takes anything",
         0,
         {.oFormat = MFIF_RGBA_RAW_32,
          .oRoi = {1, 0, 3, 8},
          .oOutputOffset = {5, 0},
          .oMaskRect = {1, 0, 1, 1},
          .bMask = true}},
        {"mono takes anything",
         0,
         {.oFormat = MFIF_MONO_RAW_8, .oRoi = {1, 0, 3, 8}, .oOutputOffset = {5, 0}, .bMask = true}},
        {"mask image", 0x20001, {.bMask = true}},
        {"clipping mask rectangle", 0x20001, {.oMaskRect = {0, 0, 15, 8}}},
        {"wide mask rectangle", 0, {.oMaskRect = {-2, -2, 30, 30}}},
        {"clipping before pairs", 0x20001, {.oRoi = {1, 0, 3, 8}, .oMaskRect = {0, 0, 2, 8}}},
        {"odd start", 0x10060, {.oRoi = {1, 0, 14, 8}}},
        {"even start", 0, {.oRoi = {2, 0, 14, 8}}},
        {"odd width inside", 0x10060, {.oRoi = {2, 0, 13, 8}}},
        {"odd width at the edge", 0, {.oRoi = {2, 0, 13, 8}, .iOutputWidth = 13}},
        {"odd place", 0x10060, {.oRoi = {0, 0, 14, 8}, .oOutputOffset = {1, 0}}},
        {"odd start and odd place", 0x10060, {.oRoi = {1, 0, 14, 8}, .oOutputOffset = {1, 0}}},
        // An empty region keeps the origin that was computed for it, its part of the mask rectangle is all zero.
        {"no input there", 0x20001, {.oRoi = {20, 0, 4, 8}}},
        {"wider than the input", 0, {.oRoi = {-2, 0, 16, 8}}},
        {"input at an even place, region at an odd one", 0x10060, {.oRoi = {-1, 0, 15, 8}, .oOutputOffset = {1, 0}}},
        {"odd width beyond the input", 0x10060, {.oRoi = {0, 0, 17, 8}, .iOutputWidth = 18}},
        {"odd width beyond the input, at the edge", 0, {.oRoi = {0, 0, 17, 8}, .iOutputWidth = 17}},
        {"B at an odd place", 0x10060, {.iWidthB = 8, .oOffsetB = {3, 0}}},
        {"B at an even place", 0, {.iWidthB = 8, .oOffsetB = {2, 0}}},
        {"B of odd width", 0x10060, {.iWidthB = 7, .oOffsetB = {2, 0}}},
        {"odd A primary, even B", 0x10060, {.iWidthA = 15, .iWidthB = 8}},
        {"odd A, even B primary", 0, {.iWidthA = 15, .iWidthB = 8, .uPrimary = 1}},
        {"whole field picture", 0, {.oFormat = fields}},
        {"part of a field picture", 0x10060, {.oFormat = fields, .oRoi = {0, 0, 16, 6}}},
        {"shifted field picture", 0x10060, {.oFormat = fields, .oRoi = {0, 2, 16, 8}}},
        {"field picture put elsewhere", 0x10060, {.oFormat = fields, .oOutputOffset = {0, 2}}},
        {"field input of another size", 0x10062, {.oFormat = fields, .iHeightA = 10}},
        {"field inputs at a distance", 0x10061, {.oFormat = fields, .iWidthB = 16, .oOffsetB = {0, 2}}},
        {"field region before size", 0x10060, {.oFormat = fields, .oRoi = {0, 0, 16, 6}, .iHeightA = 10}},
        {"field size before place", 0x10062, {.oFormat = fields, .iHeightA = 10, .oOffsetA = {0, 2}}},
        {"mask before fields", 0x20001, {.oFormat = fields, .oRoi = {0, 0, 16, 6}, .bMask = true}},
        {"any field region", 0, {.oFormat = fields, .oRoi = {0, 0, 16, 6}, .iAllowAny = 1}},
        {"any field region, odd start", 0x10060, {.oFormat = fields, .oRoi = {1, 0, 14, 6}, .iAllowAny = 1}}};
    for (auto const& [what, code, c] : cases) {
        auto const a = MakeImage(c.oFormat, c.iWidthA, c.iHeightA), output = MakeImage(c.oFormat, c.iOutputWidth, 8);
        auto const b = MakeImage(c.oFormat, c.iWidthB ? c.iWidthB : 1, 8), mask = MakeImage(MFIF_MONO_RAW_8, 16, 8);
        IXFImage* inputs[] = {a.Get(), b.Get()};
        qzILVector2l const offsets[] = {c.oOffsetA, c.oOffsetB};
        EXPECT_EQ(
            qzILVerifyROIAndMask(c.iAllowAny, inputs, offsets, c.iWidthB ? 2 : 1, output.Get(),
                                 c.bMask ? mask.Get() : nullptr, c.oMaskRect, c.oRoi, c.oOutputOffset, c.uPrimary),
            code)
            << what;
    }
}

}  // namespace
}  // namespace qzil::test
