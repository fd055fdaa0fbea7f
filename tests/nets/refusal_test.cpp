// What Verify refuses, with which code and in which order, over the catalogue.

#include "scene/subject.h"
#include "support/table.h"

#include "qzil/frame/image_utils.h"
#include "qzil/frame/monadic.h"
#include "qzil/image/image_ops.h"
#include "qzil/pixel/blend.h"
#include "qzil/pixel/color_blend.h"
#include "qzil/pixel/composite.h"
#include "qzil/pixel/img_over_color.h"
#include "qzil/pixel/logic.h"
#include "qzil/pixel/lut_map.h"
#include "qzil/pixel/output_alpha.h"
#include "qzil/pixel/premult.h"

#include <cstring>

namespace qzil::test {
namespace {

GUID FormatNamed(std::string const& name) {
    for (auto const& entry : AllFormats()) {
        if ("MFIF_" + name == entry.pName) return entry.oFormat;
    }
    EXPECT_EQ(name, "");
    return GUID_NULL;
}

qzILBbox2l Box(std::vector<int> const& v, qzILBbox2l const& otherwise) {
    return v.size() == 4 ? qzILBbox2l(v[0], v[1], v[2], v[3]) : otherwise;
}
qzILVector2l Place(std::vector<int> const& v, qzILVector2l const& otherwise = {}) {
    return v.size() == 2 ? qzILVector2l(v[0], v[1]) : otherwise;
}

// All faults at once, mended one by one in the order of the checks: each mending brings the next code out.
void ExpectOrder(catalog::Entry const& entry) {
    Subject subject(entry, MFIF_RGBA_RAW_32);
    catalog::Instance& effect = subject.oInstance;
    subject.SetInputs(nullptr);
    effect.SetOutput(nullptr);
    subject->SetProcessingMode(1);
    auto const output = MakeImage(MFIF_CbYCrY_16_FR, 16, 8), empty = WithoutPixels(MFIF_CbYCrY_16_FR);
    auto const mask16 = MakeImage(MFIF_MONO_RAW_16, 16, 8), mask8 = MakeImage(MFIF_MONO_RAW_8, 16, 8);
    auto const badMask = MakeImage(MFIF_BGRA_RAW_32, 16, 8), emptyMask = WithoutPixels(MFIF_BGRA_RAW_32);
    effect.SetRoi({3, 0, 17, 8});
    effect.SetMask({0, 0, 17, 8}, emptyMask.Get(), 1);
    EXPECT_TRUE(subject.Answers(0x10002));
    effect.SetOutput(empty.Get());
    EXPECT_TRUE(subject.Answers(0x10003));
    effect.SetOutput(output.Get());
    EXPECT_TRUE(subject.Answers(0x10005));
    effect.SetMask({0, 0, 17, 8}, badMask.Get(), 16);
    EXPECT_TRUE(subject.Answers(0x10006));
    effect.SetMask({0, 0, 16, 8}, badMask.Get(), 16);
    EXPECT_TRUE(subject.Answers(0x10007));
    effect.SetMask({0, 0, 16, 8}, mask16.Get(), 1);
    EXPECT_TRUE(subject.Answers(0x10008));
    effect.SetMask({0, 0, 16, 8}, mask16.Get(), 16);
    EXPECT_TRUE(subject.Answers(0x10009));
    effect.SetMask({0, 0, 16, 8}, mask8.Get(), 16);
    EXPECT_TRUE(subject.Answers(0x1000A));
    effect.SetRoi({3, 0, 13, 8});
    // Some effects select every channel, and the dominant input, by themselves.
    bool const selects = (subject->GetProcessingMode() & 15) == 15;
    if (!selects) {
        EXPECT_TRUE(subject.Answers(0x20002));
    }
    subject->SetProcessingMode(7);
    auto const rgba = MakeImage(MFIF_RGBA_RAW_32, 16, 8), same = MakeImage(MFIF_CbYCrY_16_FR, 16, 8);
    auto const other = MakeImage(MFIF_RGBA_RAW_32, 16, 8), emptyB = WithoutPixels(MFIF_RGBA_RAW_32);
    if (auto* const dyadic = dynamic_cast<qzILDyadicImgProc*>(&*subject)) {
        EXPECT_TRUE(subject.Answers(0x10013));
        dyadic->SetInputImgA(empty.Get());
        dyadic->SetDominantInput(other.Get());
        EXPECT_TRUE(subject.Answers(0x10014));
        dyadic->SetInputImgB(emptyB.Get());
        EXPECT_TRUE(subject.Answers(0x10015));
        dyadic->SetInputImgA(same.Get());
        EXPECT_TRUE(subject.Answers(0x10016));
        dyadic->SetInputImgB(rgba.Get());
        dyadic->SetDominantInput(other.Get());
        if (!selects) {
            EXPECT_TRUE(subject.Answers(0x10017));
        }
        dyadic->SetDominantInput(same.Get());
    } else {
        EXPECT_TRUE(subject.Answers(0x1000B));
        subject.SetInputs(empty.Get());
        EXPECT_TRUE(subject.Answers(0x1000C));
        subject.SetInputs(rgba.Get());
    }
    EXPECT_TRUE(subject.Answers(0x20001));
    effect.SetMask({0, 0, 16, 8}, nullptr, 16);
    EXPECT_TRUE(subject.Answers(0x10060));
    effect.SetRoi({0, 0, 16, 8});
    EXPECT_TRUE(subject.Answers(0x1000E));
}

void ExpectMaskThatIsTheOutput(catalog::Entry const& entry) {
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 16, 8), other = MakeImage(MFIF_RGBA_RAW_32, 16, 8);
    auto const mono = MakeImage(MFIF_MONO_RAW_8, 16, 8);
    Subject subject(entry, MFIF_RGBA_RAW_32);
    catalog::Instance& effect = subject.oInstance;
    subject.SetInputs(image.Get());
    subject->SetProcessingMode(7);
    // An effect that needs alpha, too, has no channel left for a mask.
    if (subject->Verify() != 1 && subject->GetLastError() == 0x20002u) return;
    effect.SetOutput(image.Get());
    effect.SetMask({0, 0, 16, 8}, image.Get(), 8);
    subject->Verify();
    bool const selects = (subject->GetProcessingMode() & 15) == 15;
    EXPECT_TRUE(subject.Answers(selects ? 0x1006C : 0));
    if (selects) return;
    struct {
        unsigned uMode;
        bool bElsewhere;
        int iRoi, iOutput;
        bool bAccepted;
    } const cases[] = {
        {15, false, 0, 0, false}, {7, true, 0, 0, false}, {7, false, 2, 0, false}, {7, false, 2, 2, true}};
    for (auto const& c : cases) {
        subject->SetProcessingMode(c.uMode);
        subject.SetInputs(c.bElsewhere ? other.Get() : image.Get());
        effect.SetRoi({c.iRoi, 0, 8, 8});
        effect.SetOutputOffset({c.iOutput, 0});
        EXPECT_TRUE(subject.Answers(c.bAccepted ? 0 : 0x1006C)) << &c - cases;
    }
    if (entry.HasTwoInputs()) {
        effect.SetInput(0, other.Get());
        effect.SetDominant(true);
        EXPECT_TRUE(subject.Answers(0)) << "dominant B";
        effect.SetInputOffset({2, 0});
        EXPECT_TRUE(subject.Answers(0x1006C)) << "B is shifted";
        effect.SetOutputOffset({0, 0});
        EXPECT_TRUE(subject.Answers(0)) << "output and input offset meet";
        effect.SetInputOffset({0, 0});
    }
    effect.SetRoi({0, 0, 16, 8});
    effect.SetOutputOffset({0, 0});
    subject.SetInputs(mono.Get());
    effect.SetOutput(mono.Get());
    effect.SetMask({0, 0, 16, 8}, mono.Get(), 16);
    EXPECT_TRUE(subject.Answers(0x1006C)) << "one channel";
}

/// The formats of an entry are those that Verify takes, and images without pixels apart no others.
void ExpectFormats(catalog::Entry const& entry) {
    for (auto const& format : AllFormats()) {
        Ref<IXFImage> const image = MakeImage(format.oFormat, 16, 8);
        if (!image || Bytes(image).empty()) continue;
        bool const video = !IsFormatRGB(format.oFormat) && !IsFormatMono(format.oFormat);
        Scene scene = Subject::SceneOf(entry, format.oFormat, 16, 8);
        if (video || MaskFormatFor(format.oFormat, false) == GUID_NULL) scene.oMaskFormat = GUID_NULL;
        Subject subject(scene);
        qzILStatus const status = subject->Verify();
        unsigned const code = subject->GetLastError().GetErrorCode();
        if (Contains(entry.oFormats, format.oFormat)) {
            EXPECT_EQ(status, 1) << entry.sName << ' ' << format.pName << ": " << std::hex << code;
        } else if (status == 1) {
            // What Verify takes beyond the entry is left alone.
            auto const output = Bytes(subject.oImages.Output());
            std::vector<unsigned char> const before(output.begin(), output.end());
            EXPECT_EQ(subject->Execute(), 1);
            EXPECT_EQ(DescribeDifference(before, output), "") << entry.sName << ' ' << format.pName;
        } else {
            EXPECT_TRUE(code == 0x1000D || code == 0x10034 || code == 0x10012) << format.pName << std::hex << code;
        }
    }
}

TEST(RefusalNet, OfEveryEffect) {
    for (catalog::Entry const& entry : catalog::Effects()) {
        if (!Subject::IsOfImageFrame(entry)) continue;
        SCOPED_TRACE(entry.sName);
        ExpectOrder(entry);
        if (entry.TakesMask()) ExpectMaskThatIsTheOutput(entry);
        ExpectFormats(entry);
    }
}

void Set(catalog::Instance& effect, std::string const& setting) {
    std::size_t const equals = setting.find('=');
    std::string const name = setting.substr(0, equals);
    double const number = std::strtod(setting.c_str() + equals + 1, nullptr);
    float const part = static_cast<float>(number);
    catalog::Kind const kind = effect.Describes().FindParameter(name)->eKind;
    effect.Set(name, kind == catalog::Kind::Real   ? catalog::Value(number)
                     : kind == catalog::Kind::Pair ? catalog::Value(qzILVector2f(part, part))
                                                   : catalog::Value(static_cast<long>(number)));
}

TEST(RefusalNet, AnswersOfTheTable) {
    for (Row const& row : ReadTable("nets/refusals.tsv")) {
        SCOPED_TRACE(row["effect"] + ' ' + row["format"] + ' ' + row["settings"] + " roi " + row["roi"]);
        GUID const format = FormatNamed(row["format"]);
        auto const prepared = [&] {
            Scene scene = PlainScene(*catalog::Find(row["effect"]), format, 8, 8);
            scene.uMode = static_cast<unsigned>(row.Number("mode"));
            scene.oMaskFormat = row["mask"].empty() ? GUID_NULL : MaskFormatFor(format, false);
            scene.oMaskRect = row["mask"].empty() ? Scene().oMaskRect : scene.oRoi;
            if (scene.oMaskFormat == GUID_NULL && !row["mask"].empty()) scene.oMaskFormat = MFIF_MONO_RAW_8;
            scene.oRoi = Box(row.Numbers("roi"), scene.oRoi);
            return Subject(scene);
        };
        auto const expect = [&](auto ask) {
            Subject subject = prepared();
            Ref<IXFImage> const input =
                row["input"].empty() ? Ref<IXFImage>() : MakeImage(FormatNamed(row["input"]), 8, 8);
            if (input) subject.SetInputs(input.Get());
            std::istringstream settings(row["settings"]);
            for (std::string setting; settings >> setting;) Set(subject.oInstance, setting);
            ask(subject);
        };
        expect([&](Subject& subject) { EXPECT_TRUE(subject.Answers(static_cast<unsigned>(row.Number("verify")))); });
        if (row["execute"].empty()) continue;
        expect([&](Subject& subject) {
            EXPECT_EQ(subject->Execute(), row.Number("execute"));
            if (row["execute code"].empty()) return;
            EXPECT_EQ(subject->GetLastError(), qzILError(static_cast<unsigned>(row.Number("execute code"))));
        });
    }
}

TEST(RefusalNet, TablesAreNeeded) {
    auto const expect = [](auto effect) {
        Ref<IXFImage> const image = MakeImage(MFIF_RGBA_RAW_32, 4, 4), other = MakeImage(MFIF_BGRA_RAW_32, 4, 4);
        auto const code = [&](IXFImage* input) {
            if constexpr (requires { effect.SetInputImg(input); }) {
                effect.SetInputImg(input);
            } else {
                effect.SetInputImgA(input);
                effect.SetInputImgB(input);
            }
            effect.SetOutputImg(image.Get());
            return effect.Verify() == 1 ? 0 : effect.GetLastError().GetErrorCode();
        };
        EXPECT_EQ(code(image.Get()), 0x10018u);
        EXPECT_EQ(code(other.Get()), 0x1000Eu);
    };
    expect(qzILMonadicLutMapImg());
    expect(qzILDyadicLutMapImg());
}

TEST(RefusalNet, MasksAndTheirChannels) {
    catalog::Entry const& entry = *catalog::Find("invert");
    for (auto const& format : AllFormats()) {
        auto const mask = MakeImage(format.oFormat, 16, 8);
        if (!mask || Bytes(mask).empty()) continue;
        GUID const ofSize[] = {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT};
        unsigned channels = 0, size = 0;
        mask->GetNumChannels(&channels);
        mask->GetChannelSize(&size);
        Subject subject(entry, ofSize[size - 1]);
        // The eight formats of masks are typed here once more.
        bool const four =
            Contains(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14}, format.oFormat);
        bool const one =
            Contains(std::array{MFIF_MONO_RAW_8, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_S2_14}, format.oFormat);
        for (unsigned channel = 0; channel <= 17; ++channel) {
            subject.oInstance.SetMask({0, 0, 16, 8}, mask.Get(), channel);
            bool const single = channel == 1 || channel == 2 || channel == 4 || channel == 8;
            bool const exists = four ? single : channel == 16;
            EXPECT_TRUE(subject.Answers(!four && !one ? 0x10007 : exists ? 0 : 0x10008)) << format.pName << channel;
        }
    }
}

TEST(RefusalNet, MaskSamplesAreAsDeepAsTheOutput) {
    struct {
        GUID oOutput, oMask;
    } const cases[] = {
        {MFIF_RGBA_RAW_32, MFIF_MONO_RAW_16}, {MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8}, {MFIF_RGBA_FLOAT, MFIF_MONO_RAW_16}};
    for (auto const& [output, maskFormat] : cases) {
        Subject subject(*catalog::Find("invert"), output);
        auto const mask = MakeImage(maskFormat, 16, 8);
        subject.oInstance.SetMask({0, 0, 16, 8}, mask.Get(), XFImageChannelMono);
        EXPECT_TRUE(subject.Answers(0x10009)) << NameOf(maskFormat);
    }
}

TEST(RefusalNet, RegionMustFitTheOutput) {
    constexpr int kMax = 0x7FFFFFFF;
    struct Case {
        qzILBbox2l oRoi;
        qzILVector2l oOffset;
        bool bFits;
    };
    Case const cases[] = {
        {{0, 0, 16, 8}, {0, 0}, true},   {{5, 5, 16, 8}, {0, 0}, true},   {{0, 0, 17, 8}, {0, 0}, false},
        {{0, 0, 16, 9}, {0, 0}, false},  {{0, 0, 8, 4}, {8, 4}, true},    {{0, 0, 8, 4}, {9, 4}, false},
        {{0, 0, 8, 4}, {-1, 0}, false},  {{0, 0, 8, 4}, {0, -1}, false},  {{0, 0, 0, 0}, {0, 0}, true},
        {{7, 7, 0, 0}, {0, 0}, true},    {{0, 0, 0, 0}, {1, 0}, false},   {{0, 0, 4, 0}, {0, 0}, false},
        {{0, 0, -1, -1}, {0, 0}, false}, {{0, 0, kMax, 8}, {2, 0}, false}};
    Subject subject(*catalog::Find("invert"), MFIF_RGBA_RAW_32);
    for (Case const& c : cases) {
        subject.oInstance.SetRoi(c.oRoi);
        subject.oInstance.SetOutputOffset(c.oOffset);
        EXPECT_TRUE(subject.Answers(c.bFits ? 0 : 0x1000A)) << &c - cases;
    }
}

TEST(RefusalNet, ChannelsOfVideo) {
    for (GUID const& format : {MFIF_CbYCrY_16, MFIF_CbYCrYA_24, MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8}) {
        Subject subject(*catalog::Find("invert"), format);
        for (unsigned mode = 0; mode < 32; ++mode) {
            subject->SetProcessingMode(mode);
            unsigned const bits = mode & 15;
            bool const accepted = format == MFIF_CbYCrY_16    ? (bits & 7) == 7
                                  : format == MFIF_CbYCrYA_24 ? bits == 15 || bits == 7 || bits == 8
                                                              : true;
            EXPECT_TRUE(subject.Answers(accepted ? 0 : 0x20002)) << "mode " << mode;
        }
    }
}

TEST(RefusalNet, RegionsAndMasksOfVideo) {
    for (Row const& row : ReadTable("nets/regions.tsv")) {
        GUID const format = row["format"].empty() ? MFIF_CbYCrY_16 : FormatNamed(row["format"]);
        auto const number = [&](char const* column, int otherwise) {
            return row[column].empty() ? otherwise : row.Number(column);
        };
        int const widthB = number("second width", 0);
        qzILVector2l const sizeA = Place(row.Numbers("input"), {16, 8});
        auto const a = MakeImage(format, sizeA.x, sizeA.y), output = MakeImage(format, number("output width", 16), 8);
        auto const b = MakeImage(format, widthB ? widthB : 1, 8), mask = MakeImage(MFIF_MONO_RAW_8, 16, 8);
        IXFImage* inputs[] = {a.Get(), b.Get()};
        qzILVector2l const offsets[] = {Place(row.Numbers("offset")), Place(row.Numbers("second offset"))};
        EXPECT_EQ(qzILVerifyROIAndMask(number("any", 0), inputs, offsets, widthB ? 2 : 1, output.Get(),
                                       row["mask"].empty() ? nullptr : mask.Get(),
                                       Box(row.Numbers("mask rectangle"), {0, 0, 0x7FFFFFFF, 0x7FFFFFFF}),
                                       Box(row.Numbers("roi"), {0, 0, 16, 8}), Place(row.Numbers("output offset")),
                                       static_cast<unsigned>(number("primary", 0))),
                  static_cast<unsigned>(row.Number("code")))
            << row["region"];
    }
}

TEST(Defaults, OfTheFrame) {
    for (catalog::Entry const& entry : catalog::Effects()) {
        if (!Subject::IsOfImageFrame(entry)) continue;
        SCOPED_TRACE(entry.sName);
        auto const made = entry.pCreate();
        auto const& effect = dynamic_cast<qzILImgProc const&>(*made);
        IXFImage* mask = reinterpret_cast<IXFImage*>(1);
        XFImageChannel channel = 0;
        effect.GetMask(&mask, &channel);
        EXPECT_EQ(mask, nullptr);
        EXPECT_EQ(channel, 16u);
        // The catalogue adds alpha where an effect does not run without.
        EXPECT_EQ(effect.GetProcessingMode() & ~8u, 7u);
        EXPECT_EQ(effect.GetLastError(), qzILError(0));
        EXPECT_EQ(effect.GetOutputImg(), nullptr);
        EXPECT_EQ(effect.GetDefaultColor(), qzILColor(0, 0, 0, 0));
        EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, -1, -1));
        EXPECT_EQ(effect.GetOutputOffset(), qzILVector2l(0, 0));
        if (auto const* const dyadic = dynamic_cast<qzILDyadicImgProc const*>(&effect)) {
            EXPECT_TRUE(!dyadic->GetInputImgA() && !dyadic->GetInputImgB() && !dyadic->GetDominantInput());
            EXPECT_EQ(dyadic->GetInputOffset(), qzILVector2l(0, 0));
        } else {
            EXPECT_EQ(dynamic_cast<qzILMonadicImgProc const&>(effect).GetInputImg(), nullptr);
        }
    }
}

TEST(Defaults, RegionAndDominantInputFollowTheImagesUntilSet) {
    auto const small = MakeImage(MFIF_RGBA_RAW_32, 4, 4), large = MakeImage(MFIF_RGBA_RAW_32, 9, 5);
    qzILBlendImg effect;
    EXPECT_EQ(effect.GetAlpha(), -1.0);
    effect.SetOutputImg(small.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, 4, 4));
    effect.SetOutputImg(large.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, 9, 5));
    effect.SetROI({1, 1, 2, 2});
    effect.SetOutputImg(small.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(1, 1, 2, 2));
    effect.SetInputImgA(large.Get());
    EXPECT_EQ(effect.GetDominantInput(), large.Get());
    effect.SetInputImgB(small.Get());
    effect.SetDominantInput(small.Get());
    effect.SetInputImgA(large.Get());
    EXPECT_EQ(effect.GetDominantInput(), small.Get());
    effect.SetProcessingMode(15);
    qzILBlendImg copy(effect);
    EXPECT_EQ(copy.GetProcessingMode(), 7u);
    EXPECT_EQ(copy.GetOutputImg(), nullptr);
    copy = effect;
    EXPECT_EQ(copy.GetROI(), qzILBbox2l(0, 0, -1, -1));
}

TEST(Defaults, OfParameters) {
    EXPECT_EQ(qzILColorBlendImg().GetAlpha(), -1.0);
    EXPECT_EQ(qzILCompositeImg().GetAlpha(), 1.0);
    EXPECT_EQ(qzILCompositeImg().GetAlphaMode(), 3u);
    EXPECT_EQ(qzILImgOverColor().GetInputImgPremultiplied(), 0);
    EXPECT_EQ(qzILImgOverColor().GetForegroundOpacity(), 1.0);
    EXPECT_EQ(qzILOutputAlpha().GetAlphaMode(), 2u);
    EXPECT_EQ(qzILXOrImg().m_uOperation, 1u);
    for (qzILColor const& color : {qzILColorBlendImg().GetBlendColor(), qzILUnpremultiplyImg().GetBackgroundColor(),
                                   qzILImgOverColor().GetBackgroundColor()}) {
        EXPECT_EQ(color, qzILColor(0, 0, 0, 0));
    }
    EXPECT_EQ(qzILMonadicAndImg().m_oOperand, qzILColor(0, 0, 0, 1));
    EXPECT_EQ(qzILMonadicOrImg().GetOperand(), qzILColor(0, 0, 0, 1));
}

}  // namespace
}  // namespace qzil::test
