#include "frame/effects_under_test.h"

namespace qzil::test {
namespace {

/// An effect over three images of one format, as Verify accepts them.
template <class Effect = qzILImgProc>
struct Ready {
    std::unique_ptr<qzILImgProc> pEffect;
    Ref<IXFImage> oInput, oOutput, oMask;

    explicit Ready(EffectClass const& effect, GUID const& format = MFIF_RGBA_RAW_32)
        : pEffect(effect.pMake()), oInput(MakeImage(format, 4, 4)), oOutput(MakeImage(format, 4, 4)) {
        SetInputs(*pEffect, oInput.Get());
        pEffect->SetOutputImg(oOutput.Get());
        pEffect->SetProcessingMode(15);
        bool const takesMask = IsFormatRGB(format) || IsFormatMono(format);
        GUID const masks[] = {MFIF_MONO_RAW_8, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_FLOAT};
        if (effect.bNeedsMask && takesMask) Mask(masks[(GetChannelSizeFromFormat(format) - 1) & 3]);
    }
    explicit Ready(GUID const& format = MFIF_RGBA_RAW_32) : Ready(ClassesOf<Effect>()[0], format) {}
    Effect* operator->() const { return static_cast<Effect*>(pEffect.get()); }
    Effect& operator*() const { return static_cast<Effect&>(*pEffect); }
    void Mask(GUID const& format) {
        oMask = MakeImage(format, 4, 4);
        pEffect->SetMask(0, 0, 4, 4, oMask.Get(), 16);
    }
    void Unmask() { pEffect->SetMask(0, 0, 4, 4, nullptr, 16); }
    /// Input and output of different formats: a fault that the frame finds before the effect looks.
    void SpoilFormats() {
        oInput = MakeImage(MFIF_BGRA_RAW_32, 4, 4);
        SetInputs(*pEffect, oInput.Get());
    }
};

template <class... Effects>
void ExpectFormats(model::Formats const& accepted) {
    for (EffectClass const& effect : ClassesOf<Effects...>()) {
        EXPECT_EQ(effect.oFormats, accepted.size()) << effect.oName;
        for (auto const& entry : AllFormats()) {
            Ready<> const ready(effect, entry.oFormat);
            if (!ready.oInput || Bytes(ready.oInput).empty()) continue;
            EXPECT_TRUE(Answers(*ready, Contains(accepted, entry.oFormat) ? 0 : 0x1000D)) << entry.pName;
        }
    }
}

TEST(EffectRefusal, Formats) {
    ExpectFormats<qzILInvertImg, qzILBlendImg, qzILColorBlendImg>(model::kBlend);
    ExpectFormats<qzILMonadicLutMapImg, qzILGeneralBlendImage, qzILAndImg, qzILOrImg, qzILXOrImg, qzILMaxImg,
                  qzILMinImg, qzILMonadicAndImg, qzILMonadicOrImg>(model::kInteger);
    ExpectFormats<qzILDyadicLutMapImg>(model::kDyadicLut);
    ExpectFormats<qzILAdjustPremultImg, qzILMinMaskImg>(model::kAdjustPremult);
    ExpectFormats<qzILUnpremultiplyImg>(model::kUnpremultiply);
    ExpectFormats<qzILCompositeImg>(model::kComposite);
    ExpectFormats<qzILCopyOverImg>(model::kCopyOver);
    ExpectFormats<qzILImgOverColor>(model::kImgOverColor);
    ExpectFormats<qzILOutputAlpha>(model::kOutputAlpha);
    ExpectFormats<qzILGrayscaleImg>(model::kGrayscale);
}

/// The values that a fraction refuses and accepts, with the format and the frame asked before it.
template <class Effect, class Set>
void ExpectFraction(unsigned code, Set set) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (double const value : {-1.0, -1e-9, 1.0 + 1e-9, 2.0, kInfinity, 0.0, 1e-9, 1.0}) {
        bool const accepted = value >= 0 && value <= 1;
        Ready<Effect> ready, format(MFIF_BGRA_RAW_32);
        set(*ready, value);
        EXPECT_TRUE(Answers(*ready, accepted ? 0 : code)) << value;
        ready.SpoilFormats();
        EXPECT_TRUE(Refuses(*ready, 0x1000E)) << value;
        set(*format, value);
        EXPECT_TRUE(Refuses(*format, 0x1000D)) << value;
    }
}

TEST(EffectRefusal, Fractions) {
    auto const alpha = [](auto& effect, double value) { effect.SetAlpha(value); };
    ExpectFraction<qzILBlendImg>(0x10012, alpha);
    ExpectFraction<qzILCompositeImg>(65554, alpha);
    ExpectFraction<qzILColorBlendImg>(65554, alpha);
    ExpectFraction<qzILGeneralBlendImage>(0x10012, [](auto& effect, double value) { effect.SetAlphas(value, 0.5); });
    ExpectFraction<qzILGeneralBlendImage>(0x10012, [](auto& effect, double value) { effect.SetAlphas(0.5, value); });
    ExpectFraction<qzILImgOverColor>(65645, [](auto& effect, double value) { effect.SetForegroundOpacity(value); });
    Ready<qzILBlendImg> const blend;
    blend->SetAlpha(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(Accepts(*blend)) << "no bound of blend rejects a NaN";
}

template <class Effect>
void ExpectTablesNeeded() {
    Ready<Effect> ready;
    ready->SetLut(nullptr);
    EXPECT_TRUE(Refuses(*ready, 0x10018));
    ready.SpoilFormats();
    EXPECT_TRUE(Refuses(*ready, 0x1000E));
}

TEST(EffectRefusal, MissingTablesAndMasks) {
    ExpectTablesNeeded<qzILMonadicLutMapImg>();
    ExpectTablesNeeded<qzILDyadicLutMapImg>();
    Ready<qzILMinMaskImg> ready, format(MFIF_MONO_RAW_8);
    ready.Unmask();
    format.Unmask();
    EXPECT_TRUE(Refuses(*ready, 0x10005));
    EXPECT_TRUE(Refuses(*format, 0x1000D));
}

TEST(EffectRefusal, CompositeInOrder) {
    Ready<qzILCompositeImg> ready, format(MFIF_BGRA_RAW_32);
    for (auto* const one : {&ready, &format}) {
        (*one)->SetAlpha(2.0);
        (*one)->SetAlphaMode(0);
        one->Unmask();
    }
    EXPECT_TRUE(Refuses(*format, 0x1000D));
    EXPECT_TRUE(Refuses(*ready, 65625));
    ready.Mask(MFIF_MONO_RAW_8);
    EXPECT_TRUE(Refuses(*ready, 65554));
    ready->SetAlpha(0.0);
    for (unsigned const mode : {0u, 1u, 2u, 3u, 4u}) {
        ready->SetAlphaMode(mode);
        EXPECT_TRUE(Answers(*ready, mode >= 1 && mode <= 3 ? 0 : 65626)) << mode;
    }
    ready.Unmask();
    EXPECT_TRUE(Refuses(*ready, 65625)) << "even at alpha 0";
}

TEST(EffectRefusal, OutputAlphaMode) {
    for (unsigned const mode : {0u, 1u, 2u, 3u, 4u, 255u}) {
        Ready<qzILOutputAlpha> const ready, format(MFIF_MONO_RAW_8);
        bool const accepted = mode >= 1 && mode <= 3;
        ready->SetAlphaMode(mode);
        EXPECT_TRUE(Answers(*ready, accepted ? 0 : 65626)) << mode;
        EXPECT_EQ(ready->Execute(), accepted ? 1 : -1) << mode;
        format->SetAlphaMode(mode);
        EXPECT_TRUE(Refuses(*format, 0x1000D)) << mode;
    }
}

TEST(EffectRefusal, CodesOfExecute) {
    auto const expect = []<class Effect>(Ready<Effect> const& ready, unsigned code) {
        EXPECT_EQ(ready->Execute(), -1) << Effect::m_ClassName;
        EXPECT_EQ(ready->GetLastError(), qzILError(code)) << Effect::m_ClassName;
    };
    expect(Ready<qzILAdjustPremultImg>(MFIF_MONO_RAW_8), 0x10034);
    expect(Ready<qzILCopyOverImg>(MFIF_CbYCrY_16), 65588);
    expect(Ready<qzILBlendImg>(MFIF_BGRA_RAW_32), 0);
    expect(Ready<qzILUnpremultiplyImg>(MFIF_MONO_RAW_8), 0);
    expect(Ready<qzILInvertImg>(MFIF_HLSA_RAW_32), 0);
    EXPECT_EQ(Ready<qzILImgOverColor>(MFIF_RGBA_RAW_64)->Execute(), -1);
}

TEST(Defaults, OfTheFrame) {
    for (EffectClass const& effectClass : kAllEffects) {
        SCOPED_TRACE(effectClass.oName);
        auto const made = effectClass.pMake();
        qzILImgProc const& effect = *made;
        IXFImage* mask = reinterpret_cast<IXFImage*>(1);
        XFImageChannel channel = 0;
        effect.GetMask(&mask, &channel);
        EXPECT_EQ(mask, nullptr);
        EXPECT_EQ(channel, 16u);
        EXPECT_EQ(effect.GetProcessingMode(), 7u);
        EXPECT_EQ(effect.GetLastError(), qzILError(0));
        EXPECT_EQ(effect.GetOutputImg(), nullptr);
        EXPECT_EQ(effect.GetDefaultColor(), qzILColor(0, 0, 0, 0));
        EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, -1, -1));
        EXPECT_EQ(effect.GetOutputOffset(), qzILVector2l(0, 0));
        EXPECT_EQ(effect.GetActualClassName(), effectClass.oName);
        if (auto const* const dyadic = dynamic_cast<qzILDyadicImgProc const*>(&effect)) {
            EXPECT_EQ(dyadic->GetInputImgA(), nullptr);
            EXPECT_EQ(dyadic->GetInputImgB(), nullptr);
            EXPECT_EQ(dyadic->GetDominantInput(), nullptr);
            EXPECT_EQ(dyadic->GetInputOffset(), qzILVector2l(0, 0));
        } else {
            EXPECT_EQ(dynamic_cast<qzILMonadicImgProc const&>(effect).GetInputImg(), nullptr);
        }
    }
}

TEST(Defaults, RegionAndDominantInputFollowTheImagesUntilSet) {
    auto const small = MakeImage(MFIF_RGBA_RAW_32, 4, 4), large = MakeImage(MFIF_RGBA_RAW_32, 9, 5);
    qzILBlendImg effect;
    effect.SetOutputImg(small.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, 4, 4));
    effect.SetOutputImg(large.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, 9, 5));
    effect.SetROI({1, 1, 2, 2});
    effect.SetOutputImg(small.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(1, 1, 2, 2));
    effect.SetInputImgA(small.Get());
    EXPECT_EQ(effect.GetDominantInput(), small.Get());
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
    EXPECT_EQ(qzILBlendImg().GetAlpha(), -1.0);
    EXPECT_EQ(qzILColorBlendImg().GetAlpha(), -1.0);
    EXPECT_EQ(qzILColorBlendImg().GetBlendColor(), qzILColor(0, 0, 0, 0));
    EXPECT_EQ(qzILUnpremultiplyImg().GetBackgroundColor(), qzILColor(0, 0, 0, 0));
    EXPECT_EQ(qzILCompositeImg().GetAlpha(), 1.0);
    EXPECT_EQ(qzILCompositeImg().GetAlphaMode(), 3u);
    EXPECT_EQ(qzILImgOverColor().GetBackgroundColor(), qzILColor(0, 0, 0, 0));
    EXPECT_EQ(qzILImgOverColor().GetInputImgPremultiplied(), 0);
    EXPECT_EQ(qzILImgOverColor().GetForegroundOpacity(), 1.0);
    EXPECT_EQ(qzILOutputAlpha().GetAlphaMode(), 2u);
    EXPECT_EQ(qzILXOrImg().m_uOperation, 1u);
    EXPECT_EQ(qzILMonadicAndImg().m_oOperand, qzILColor(0, 0, 0, 1));
    EXPECT_EQ(qzILMonadicOrImg().GetOperand(), qzILColor(0, 0, 0, 1));
}

}  // namespace
}  // namespace qzil::test
