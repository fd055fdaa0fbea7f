// Execute asks Verify nothing: whatever it is given, it must end with 1 or -1 and touch no memory but the images'.

#include "scene/subject.h"

#include "qzil/frame/bitmap.h"
#include "qzil/frame/image_utils.h"
#include "qzil/image/image_ops.h"
#include "qzil/platform/stream.h"

#include <functional>
#include <limits>

namespace qzil::test {
namespace {

constexpr GUID kSomeFormats[] = {MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8,    MFIF_RGBA_FLOAT,      MFIF_CbYCrY_16,
                                 MFIF_CbYCrYA_24,  MFIF_CbYCrYA_S2_14, MFIF_CbYCrY_16_SF_TFL};
constexpr GUID kMasks[] = {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT,
                           MFIF_MONO_RAW_8,  MFIF_MONO_RAW_16, MFIF_MONO_S2_14, MFIF_MONO_FLOAT};

void Survives(Subject& subject, std::string const& what) {
    qzILStatus const status = subject.oInstance.Effect().Execute();
    EXPECT_TRUE(status == 1 || status == -1) << subject.Describe() << ": " << what << ": " << status;
}

/// Effects over images of one format, and conversions from it to formats of their own.
void ForSomeFormats(std::function<void(catalog::Entry const&, GUID const&)> const& check) {
    for (auto const entries : {catalog::Effects(), catalog::Conversions()}) {
        for (catalog::Entry const& entry : entries) {
            for (GUID const& format : kSomeFormats) check(entry, format);
        }
    }
}

TEST(HostileNet, AbsentImages) {
    ForSomeFormats([](catalog::Entry const& entry, GUID const& format) {
        auto const empty = WithoutPixels(format);
        for (IXFImage* image : {static_cast<IXFImage*>(nullptr), empty.Get()}) {
            Subject input(entry, format), output(entry, format);
            input.SetInputs(image);
            Survives(input, "no input");
            output.SetOutputs(image);
            Survives(output, "no output");
        }
        auto const fresh = entry.pCreate();
        EXPECT_NE(fresh->Execute(), 0);
        fresh->SetProcessingMode(0x300 | 15);
        EXPECT_NE(fresh->Execute(), 0);
    });
}

/// Ways to make an image of 16 x 8 pixels say more than its memory holds.
struct Lie {
    char const* pWhat;
    void (*pTell)(IXFImage& image);
    std::vector<GUID> oFormats = {};  ///< all, if there are none
    bool Suits(GUID const& format) const { return oFormats.empty() || Contains(oFormats, format); }
};
std::vector<Lie> const kLies = {
    {"resolution", [](IXFImage& image) { image.SetRes(160, 80); }},
    {"resolution and array size",
     [](IXFImage& image) {
         image.SetRes(4096, 4096);
         image.SetPixelArraySize(0xFFFFFFFF);
     }},
    {"no columns", [](IXFImage& image) { image.SetRes(0, 8); }},
    {"no lines", [](IXFImage& image) { image.SetRes(16, 0); }},
    {"small pixels",
     [](IXFImage& image) {
         image.SetPixelSize(1);
         image.SetChannelSize(1);
         image.SetRes(16, 16);
     },
     {MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_CbYCrY_16, MFIF_CbYCrYA_24, MFIF_CbYCrYA_S2_14, MFIF_CbYCrY_16_SF_TFL}},
    {"small channels", [](IXFImage& image) { image.SetChannelSize(1); }, {MFIF_RGBA_FLOAT, MFIF_CbYCrYA_S2_14}},
    {"large channels", [](IXFImage& image) { image.SetChannelSize(3); }},
    {"stated length of lent memory",
     [](IXFImage& image) {
         static unsigned char l_auLent[64];
         image.SetPixelArray(l_auLent);
         image.SetPixelArraySize(sizeof l_auLent);
     }},
    {"wider format", [](IXFImage& image) { image.SetFormat(MFIF_RGBA_FLOAT); }, {MFIF_RGBA_RAW_32, MFIF_CbYCrY_16}}};

TEST(HostileNet, ImagesWhoseMemoryDoesNotHoldWhatTheySay) {
    auto const expect = [](Subject& subject, std::initializer_list<unsigned> codes, std::string const& what) {
        qzILProcessor& effect = subject.oInstance.Effect();
        for (bool const executed : {false, true}) {
            effect.SetLastError(0);
            EXPECT_EQ(executed ? effect.Execute() : effect.Verify(), -1)
                << subject.Describe() << ' ' << what << executed;
            unsigned const code = effect.GetLastError().GetErrorCode();
            EXPECT_TRUE(std::find(codes.begin(), codes.end(), code) != codes.end())
                << subject.Describe() << ' ' << what << ": " << std::hex << code;
        }
    };
    ForSomeFormats([&](catalog::Entry const& entry, GUID const& format) {
        for (Lie const& lie : kLies) {
            if (!lie.Suits(format)) continue;
            Scene scene = Subject::SceneOf(entry, format, 16, 8);
            scene.oMaskFormat = GUID_NULL;
            Subject input(scene), output(scene);
            if (!entry.IsGenerator()) {
                lie.pTell(*input.oImages.oInputs[0].Get());
                expect(input, {0x1000C, 0x10015}, std::string("input, ") + lie.pWhat);
            }
            if (!entry.IsSink()) {
                lie.pTell(*output.oImages.Output().Get());
                expect(output, {0x10003}, std::string("output, ") + lie.pWhat);
            }
            if (!Contains(kMasks, format) || !entry.TakesMask()) continue;
            for (XFImageChannel const channel : {1u, 2u, 8u, 16u}) {
                Subject mask(scene);
                auto const image = MakeRandomImage(format, 16, 8, 3);
                mask.oInstance.SetMask({0, 0, 160, 80}, image.Get(), channel);
                lie.pTell(*image.Get());
                expect(mask, {0x10005}, std::string("mask, ") + lie.pWhat);
            }
        }
    });
}

// A head of 100 bytes that claims 4096 x 4096 pixels of one byte each, of a format with three.
TEST(HostileNet, AStreamWhoseSizesContradictItsFormat) {
    auto const described = MakeImage(MFIF_CbYCrYA_24, 1, 1), loaded = MakeImage(MFIF_RGBA_RAW_32, 1, 1);
    described->SetPixelSize(1);
    described->SetRes(4096, 4096);
    described->SetPixelArraySize(0);
    Ref<IStream> stream;
    ASSERT_EQ(platform::CreateMemoryStream(nullptr, 0, stream.Typed()), 0);
    ASSERT_EQ(As<IPersistStream>(described.Get(), IID_IPersistStream)->Save(stream.Get(), 0), 0);
    stream->Seek({}, 0, nullptr);
    As<IPersistStream>(loaded.Get(), IID_IPersistStream)->Load(stream.Get());
    Subject subject(*catalog::Find("invert"), MFIF_RGBA_RAW_32);
    subject.SetInputs(loaded.Get());
    subject.oInstance.SetOutput(loaded.Get());
    EXPECT_TRUE(subject.Answers(0x10003));
    EXPECT_EQ(subject->Execute(), -1);
}

TEST(HostileNet, UtilitiesOnImagesWhoseMemoryDoesNotHoldWhatTheySay) {
    using platform::kInvalidArgument;
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_CbYCrYA_24}) {
        for (Lie const& lie : kLies) {
            if (!lie.Suits(format)) continue;
            SCOPED_TRACE(NameOf(format) + ": " + lie.pWhat);
            auto const sound = MakeRandomImage(format, 16, 8, 1), image = MakeRandomImage(format, 16, 8, 2);
            lie.pTell(*image.Get());
            qzILBbox2l const box(0, 0, 16, 8);
            unsigned char pixel[32] = {}, region[16 * 8 * 16];
            HGLOBAL bitmap = nullptr;
            Ref<IXFImage> color, alpha;
            EXPECT_EQ(qzILCopyImage(image.Get(), sound.Get(), &box, nullptr, 0), kInvalidArgument);
            EXPECT_EQ(qzILCopyImage(sound.Get(), image.Get(), &box, nullptr, 0), kInvalidArgument);
            EXPECT_EQ(qzILFillImageWithColor(image.Get(), {1, 0, 0}, 7, &box, nullptr), kInvalidArgument);
            for (unsigned channels : {15u, 8u, 4u}) qzILFillRegion(image.Get(), box, pixel, channels);
            image->CopyRegion(region, 0, 0, 16, 8);
            image->PasteRegion(region, 0, 0, 16, 8);
            EXPECT_LT(qzILImg2DIB(image.Get(), bitmap, &box, 24), 0);
            EXPECT_EQ(qzILCopyAlpha(image.Get(), sound.Get(), 0, &box, nullptr), kInvalidArgument);
            EXPECT_LT(qzILSplitYCCAImage(image.Get(), color.Typed(), alpha.Typed()), 0);
        }
    }
}

/// Regions, places, masks, modes, formats and values of every kind: what sense they make is the effect's business.
TEST(HostileNet, SettingsAtRandom) {
    constexpr int kMax = 0x7FFFFFFF, kMin = -kMax - 1;
    constexpr int kEnds[] = {kMin, -kMax, kMax, 0};
    constexpr unsigned kModes[] = {0, 1, 7, 8, 15, 0x10F, 0x20F, 0x30F};
    constexpr unsigned kChannels[] = {0, 1, 2, 8, 16, 3, 255, 0x80000000};
    using Limits = std::numeric_limits<double>;
    constexpr double kNumbers[] = {-1.0, 2.0, 1e30, -1e30, Limits::infinity(), -Limits::infinity()};
    Random random(17);
    auto const near = [&](int low, int high) {
        return random.OneIn(6) ? kEnds[random.Below(4)] : random.Between(low, high);
    };
    auto const point = [&](int low, int high) {
        int const y = near(low, high), x = near(low, high);
        return qzILVector2l(x, y);
    };
    auto const box = [&] {
        qzILVector2l const size = point(-2, 24), origin = point(-9, 20);
        return qzILBbox2l(origin.x, origin.y, size.x, size.y);
    };
    auto const number = [&] { return random.OneIn(5) ? Limits::quiet_NaN() : kNumbers[random.Below(6)]; };
    auto const formats = AllFormats();
    auto const any = [&] { return formats[static_cast<std::size_t>(random.Below(static_cast<int>(formats.size())))]; };
    ForSomeFormats([&](catalog::Entry const& entry, GUID const& usual) {
        for (int i = 0; i < 100; ++i) {
            bool const known = !entry.oPairs.empty() && !random.OneIn(3);
            Scene scene = known ? PlainScene(entry, OneOf<catalog::FormatPair>(random, entry.oPairs), 16, 8)
                                : Subject::SceneOf(entry, random.OneIn(3) ? any().oFormat : usual, 16, 8);
            if (random.OneIn(3)) scene.oOutputSize = {random.Between(1, 40), random.Between(1, 9)};
            Subject subject(scene);
            auto const absent = [](Ref<IXFImage> const& image) { return !image; };
            if (std::ranges::any_of(subject.oImages.oInputs, absent)) continue;
            catalog::Instance& effect = subject.oInstance;
            std::vector<catalog::Value> const values = RandomValues(entry, random);
            for (std::size_t n = 0; n < values.size(); ++n) {
                bool const real = entry.oParameters[n].eKind == catalog::Kind::Real;
                effect.Set(n, real && random.OneIn(3) ? catalog::Value(number()) : values[n]);
            }
            effect.SetRoi(random.OneIn(4) ? qzILBbox2l(0, 0, 16, 8) : box());
            if (random.OneIn(2)) effect.SetOutputOffset(point(-9, 9));
            if (random.OneIn(3)) effect.SetInputOffset(point(-9, 9));
            effect.SetDefaultColor({number(), number(), number(), number()});
            GUID const maskFormat = random.OneIn(4) ? any().oFormat : kMasks[random.Below(8)];
            bool const small = random.OneIn(3);
            auto const mask = random.OneIn(5) ? WithoutPixels(maskFormat)
                                              : MakeRandomImage(maskFormat, small ? 3 : 16, small ? 2 : 8, 3);
            if (random.OneIn(2)) effect.SetMask(box(), mask.Get(), kChannels[random.Below(8)]);
            auto const other = MakeRandomImage(any().oFormat, 16, 8, 6);
            if (random.OneIn(6)) subject.SetOutputs(other.Get());
            if (!entry.IsGenerator() && random.OneIn(4)) subject.SetOutputs(subject.oImages.oInputs[0].Get());
            effect.Effect().SetProcessingMode(kModes[random.Below(8)]);
            Survives(subject, "round " + std::to_string(i));
        }
    });
}

TEST(HostileNet, InterruptSetBeforehand) {
    for (catalog::Entry const& entry : NetEffects()) {
        if (!IsPicture(entry)) continue;
        Subject subject(entry, MFIF_RGBA_RAW_32), whole(entry, MFIF_RGBA_RAW_32);
        auto const output = Bytes(subject.oImages.Output());
        std::vector<unsigned char> const before(output.begin(), output.end());
        int volatile flag = 1;
        subject->SetInterruptFct(nullptr, &flag);
        EXPECT_EQ(subject->Execute(), 1) << entry.sName;
        EXPECT_EQ(whole->Execute(), 1) << entry.sName;
        // The first line may be done before the first question.
        std::size_t const line = output.size() / 8;
        auto const done = Bytes(whole.oImages.Output()).first(line);
        auto const expected = std::span<unsigned char const>(before).first(line);
        EXPECT_TRUE(!FirstDifference(expected, output.first(line)) || !FirstDifference(done, output.first(line)));
        EXPECT_EQ(DescribeDifference(std::span(before).subspan(line), output.subspan(line)), "") << entry.sName;
    }
}

}  // namespace
}  // namespace qzil::test
