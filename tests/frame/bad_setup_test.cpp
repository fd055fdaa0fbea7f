// Execute asks Verify nothing: whatever it is given, it must end with 1 or -1 and touch no memory but the images'.

#include "frame/effects_under_test.h"

#include "qzil/frame/bitmap.h"
#include "qzil/platform/stream.h"

namespace qzil::test {
namespace {

/// An effect over whole images of one format, and what happens to it.
struct Case {
    std::unique_ptr<qzILImgProc> pEffect;
    Ref<IXFImage> oInput, oOutput;

    Case(EffectClass const& effect, GUID const& format)
        : pEffect(effect.pMake()),
          oInput(MakeRandomImage(format, 16, 8, 1)),
          oOutput(MakeRandomImage(format, 16, 8, 2)) {
        SetInputs(*pEffect, oInput.Get());
        pEffect->SetOutputImg(oOutput.Get());
        pEffect->SetROI({0, 0, 16, 8});
        pEffect->SetProcessingMode(15);
    }
    qzILImgProc* operator->() const { return pEffect.get(); }
    void Run(std::string const& what) const {
        qzILStatus const status = pEffect->Execute();
        EXPECT_TRUE(status == 1 || status == -1)
            << pEffect->GetActualClassName() << ' ' << NameOf(FormatOf(oInput.Get())) << ": " << what << ": " << status;
    }
};

template <class Fn>
void ForSomeFormats(Fn fn) {
    for (EffectClass const& effect : kAllEffects) {
        for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8, MFIF_RGBA_FLOAT, MFIF_CbYCrY_16, MFIF_CbYCrYA_24,
                                   MFIF_CbYCrYA_S2_14, MFIF_CbYCrY_16_SF_TFL}) {
            fn(effect, format);
        }
    }
}

TEST(BadSetUp, AbsentImages) {
    ForSomeFormats([](EffectClass const& effect, GUID const& format) {
        auto const empty = WithoutPixels(format);
        for (IXFImage* image : {static_cast<IXFImage*>(nullptr), empty.Get()}) {
            Case const input(effect, format), output(effect, format);
            SetInputs(*input.pEffect, image);
            input.Run("no input");
            output->SetOutputImg(image);
            output.Run("no output");
        }
    });
    for (EffectClass const& effect : kAllEffects) {
        auto const fresh = effect.pMake();
        EXPECT_NE(fresh->Execute(), 0);
        fresh->SetProcessingMode(0x300 | 15);
        EXPECT_TRUE(fresh->Execute() == 1 || effect.oName == qzILOutputAlpha::m_ClassName) << "left out, both fields";
    }
}

/// Ways to make an image of 16 x 8 pixels say more than its memory holds.
struct Lie {
    char const* pWhat;
    void (*pTell)(IXFImage& image);
    std::vector<GUID> oFormats = {};  ///< all, if there are none
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

TEST(BadSetUp, ImagesWhoseMemoryDoesNotHoldWhatTheySay) {
    auto const expect = [](Case const& run, std::initializer_list<unsigned> codes, std::string const& what) {
        std::string const name = std::string(run->GetActualClassName()) + ": " + what;
        for (bool const executed : {false, true}) {
            run->SetLastError(0);
            EXPECT_EQ(executed ? run->Execute() : run->Verify(), -1)
                << name << (executed ? ", executed" : ", verified");
            unsigned const code = run->GetLastError().GetErrorCode();
            EXPECT_TRUE(std::find(codes.begin(), codes.end(), code) != codes.end()) << name << ": " << std::hex << code;
        }
    };
    ForSomeFormats([&](EffectClass const& effect, GUID const& format) {
        for (Lie const& lie : kLies) {
            if (!lie.oFormats.empty() && !Contains(lie.oFormats, format)) continue;
            Case const input(effect, format), output(effect, format), mask(effect, format);
            lie.pTell(*input.oInput.Get());
            expect(input, {0x1000C, 0x10015}, NameOf(format) + " input, " + lie.pWhat);
            lie.pTell(*output.oOutput.Get());
            expect(output, {0x10003}, NameOf(format) + " output, " + lie.pWhat);
            if (!Contains(kMaskFormats, format)) continue;
            for (XFImageChannel const channel : {1u, 2u, 8u, 16u}) {
                auto const image = MakeRandomImage(format, 16, 8, 3);
                mask->SetMask(0, 0, 160, 80, image.Get(), channel);
                lie.pTell(*image.Get());
                expect(mask, {0x10005}, NameOf(format) + " mask, " + lie.pWhat);
            }
        }
    });
}

// A head of 100 bytes that claims 4096 x 4096 pixels of one byte each, of a format with three.
TEST(BadSetUp, AStreamWhoseSizesContradictItsFormat) {
    auto const described = MakeImage(MFIF_CbYCrYA_24, 1, 1), loaded = MakeImage(MFIF_RGBA_RAW_32, 1, 1);
    described->SetPixelSize(1);
    described->SetRes(4096, 4096);
    described->SetPixelArraySize(0);
    Ref<IStream> stream;
    ASSERT_EQ(platform::CreateMemoryStream(nullptr, 0, stream.Typed()), 0);
    ASSERT_EQ(As<IPersistStream>(described.Get(), IID_IPersistStream)->Save(stream.Get(), 0), 0);
    stream->Seek({}, 0, nullptr);
    As<IPersistStream>(loaded.Get(), IID_IPersistStream)->Load(stream.Get());
    qzILInvertImg effect;
    effect.SetInputImg(loaded.Get());
    effect.SetOutputImg(loaded.Get());
    effect.SetProcessingMode(15);
    EXPECT_TRUE(Refuses(effect, 0x10003));
    EXPECT_EQ(effect.Execute(), -1);
}

TEST(BadSetUp, UtilitiesOnImagesWhoseMemoryDoesNotHoldWhatTheySay) {
    using platform::kInvalidArgument;
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_CbYCrYA_24}) {
        for (Lie const& lie : kLies) {
            if (!lie.oFormats.empty() && !Contains(lie.oFormats, format)) continue;
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

TEST(BadSetUp, Regions) {
    constexpr int kMax = 0x7FFFFFFF, kMin = -kMax - 1;
    int const cases[][6] = {{0, 0, 32, 32, 0, 0},
                            {0, 0, 16, 8, 5, 3},
                            {0, 0, 16, 8, -5, -3},
                            {-4, -4, 30, 30, -2, -2},
                            {100, 100, 16, 8, 0, 0},
                            {0, 0, 16, 8, 1000, 1000},
                            {0, 0, kMax, kMax, 0, 0},
                            {0, 0, -5, -5, 0, 0},
                            {3, 1, 5, 5, 1, 1},
                            {0, 0, 0, 8, 0, 0},
                            {kMax, kMax, 16, 8, kMax, 0},
                            {-kMax, -kMax, kMax, kMax, -kMax, -kMax},
                            {kMin, kMin, kMax, kMax, kMax, kMax},
                            {kMax, kMax, kMax, kMax, kMin, kMin},
                            {kMin, 0, 16, 8, 0, 0}};
    ForSomeFormats([&](EffectClass const& effect, GUID const& format) {
        for (auto const& [x, y, width, height, offsetX, offsetY] : cases) {
            Case const run(effect, format);
            run->SetROI({x, y, width, height});
            run->SetOutputOffset({offsetX, offsetY});
            run.Run("region");
            if (auto* const dyadic = dynamic_cast<qzILDyadicImgProc*>(run.pEffect.get())) {
                for (int const place : {kMin, kMax, -1}) {
                    dyadic->SetInputOffset({place, place});
                    run.Run("region and place");
                }
                dyadic->SetInputOffset({});
            }
            run->SetMask(kMin, kMax, kMax, kMax, nullptr, 16);
            run.Run("region and mask rectangle");
            run->SetOutputImg(run.oInput.Get());
            run.Run("region in place");
        }
    });
}

TEST(BadSetUp, Masks) {
    for (GUID const& maskFormat : {MFIF_MONO_RAW_8, MFIF_RGBA_RAW_32, MFIF_MONO_RAW_16, MFIF_RGBA_FLOAT,
                                   MFIF_MONO_S2_14, MFIF_CbYCrY_16, MFIF_CbYCrYA_24, MFIF_HLSA_RAW_64}) {
        auto const full = MakeRandomImage(maskFormat, 16, 8, 3), small = MakeRandomImage(maskFormat, 3, 2, 4),
                   empty = WithoutPixels(maskFormat);
        ForSomeFormats([&](EffectClass const& effect, GUID const& format) {
            Case const run(effect, format);
            for (unsigned const channel : {0u, 1u, 8u, 16u, 3u, 255u, 0x80000000u}) {
                for (IXFImage* mask : {full.Get(), small.Get(), empty.Get()}) {
                    for (qzILBbox2l const& rectangle : {qzILBbox2l(0, 0, 16, 8), qzILBbox2l(-3, -3, 40, 40)}) {
                        run->SetMask(rectangle, mask, channel);
                        run.Run("mask " + NameOf(maskFormat));
                    }
                }
            }
        });
    }
}

TEST(BadSetUp, EveryFormat) {
    auto const mask = MakeRandomImage(MFIF_RGBA_FLOAT, 16, 8, 5), other = MakeRandomImage(MFIF_RGBA_RAW_32, 16, 8, 6);
    for (EffectClass const& effect : kAllEffects) {
        for (auto const& entry : AllFormats()) {
            for (unsigned const mode : {0u, 1u, 7u, 8u, 15u, 0x10Fu, 0x20Fu, 0x30Fu}) {
                Case const run(effect, entry.oFormat);
                if (!run.oInput) break;
                run->SetProcessingMode(mode);
                run.Run("mode");
                run->SetMask(0, 0, 16, 8, mask.Get(), 8);
                run.Run("mode and mask");
                run->SetOutputImg(other.Get());
                run.Run("different formats");
            }
        }
    }
}

TEST(BadSetUp, Parameters) {
    using Limits = std::numeric_limits<double>;
    ForSomeFormats([](EffectClass const& effect, GUID const& format) {
        for (double const value : {-1.0, 2.0, 1e30, -1e30, Limits::infinity(), Limits::quiet_NaN()}) {
            Case const run(effect, format);
            run->SetDefaultColor({value, value, value, value});
            effect.pSpoil(*run.pEffect, value);
            run.Run("parameters");
            run->SetROI({4, 2, 16, 8});
            run.Run("default colour");
        }
    });
}

TEST(BadSetUp, InterruptSetBeforehand) {
    auto const mask = MakeImage(MFIF_MONO_RAW_8, 16, 8);
    for (EffectClass const& effect : kAllEffects) {
        Case const run(effect, MFIF_RGBA_RAW_32);
        std::vector<unsigned char> const before(Bytes(run.oOutput).begin(), Bytes(run.oOutput).end());
        int volatile flag = 1;
        run->SetMask(0, 0, 16, 8, mask.Get(), 16);
        run->SetInterruptFct(nullptr, &flag);
        EXPECT_EQ(run->Execute(), 1) << effect.oName;
        if (effect.oName == qzILOutputAlpha::m_ClassName) continue;
        EXPECT_EQ(DescribeDifference(before, Bytes(run.oOutput)), "") << effect.oName;
    }
}

}  // namespace
}  // namespace qzil::test
