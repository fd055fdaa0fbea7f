#include "frame/effects_under_test.h"

namespace qzil::test {
namespace {

/// An effect over three images of one format, as Verify accepts them.
template <class Effect>
struct Ready {
    Effect oEffect;
    Ref<IXFImage> oInput, oOutput, oMask;

    explicit Ready(GUID const& format = MFIF_RGBA_RAW_32) {
        oInput = MakeImage(format, 4, 4);
        oOutput = MakeImage(format, 4, 4);
        SetGoodParameters(oEffect);
        SetInputs(oEffect, oInput.Get());
        oEffect.SetOutputImg(oOutput.Get());
        oEffect.SetProcessingMode(15);
        bool const takesMask = IsFormatRGB(format) || IsFormatMono(format);
        GUID const masks[] = {MFIF_MONO_RAW_8, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_FLOAT};
        if (kNeedsMask<Effect> && takesMask) Mask(masks[(GetChannelSizeFromFormat(format) - 1) & 3]);
    }
    void Mask(GUID const& format) {
        oMask = MakeImage(format, 4, 4);
        oEffect.SetMask(0, 0, 4, 4, oMask.Get(), 16);
    }
    /// Input and output of different formats: a fault that the frame finds before the effect looks.
    void SpoilFormats() {
        oInput = MakeImage(MFIF_BGRA_RAW_32, 4, 4);
        SetInputs(oEffect, oInput.Get());
    }
};

template <class... Effects>
void ExpectFormats(model::Formats const& accepted) {
    (
        [&accepted] {
            for (auto const& entry : AllFormats()) {
                Ready<Effects> ready(entry.oFormat);
                if (!ready.oInput || Bytes(ready.oInput).empty()) continue;
                bool const isAccepted = Contains(accepted, entry.oFormat);
                EXPECT_TRUE(isAccepted ? Accepts(ready.oEffect) : Refuses(ready.oEffect, 0x1000D)) << entry.pName;
            }
            EXPECT_EQ(Effects::GetFormats().size(), accepted.size()) << Effects::m_ClassName;
        }(),
        ...);
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
    for (double const value : {-1.0, -1e-9, 1.0 + 1e-9, 2.0, std::numeric_limits<double>::infinity()}) {
        Ready<Effect> ready;
        set(ready.oEffect, value);
        EXPECT_TRUE(Refuses(ready.oEffect, code)) << value;
        ready.SpoilFormats();
        EXPECT_TRUE(Refuses(ready.oEffect, 0x1000E)) << value;
        Ready<Effect> format(MFIF_BGRA_RAW_32);
        set(format.oEffect, value);
        EXPECT_TRUE(Refuses(format.oEffect, 0x1000D)) << value;
    }
    for (double const value : {0.0, 1e-9, 1.0}) {
        Ready<Effect> ready;
        set(ready.oEffect, value);
        EXPECT_TRUE(Accepts(ready.oEffect)) << value;
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
}

TEST(EffectRefusal, AlphaThatWasNeverSet) {
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 4, 4);
    qzILBlendImg blend;
    SetInputs(blend, image.Get());
    blend.SetOutputImg(image.Get());
    EXPECT_TRUE(Refuses(blend, 0x10012));
    blend.SetAlpha(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(Accepts(blend)) << "no bound of blend rejects a NaN";
    qzILColorBlendImg color;
    SetInputs(color, image.Get());
    color.SetOutputImg(image.Get());
    EXPECT_TRUE(Refuses(color, 65554));
}

template <class Effect>
void ExpectTablesNeeded() {
    Ready<Effect> ready;
    ready.oEffect.SetLut(nullptr);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10018));
    ready.SpoilFormats();
    EXPECT_TRUE(Refuses(ready.oEffect, 0x1000E));
}

TEST(EffectRefusal, LookUpTables) {
    ExpectTablesNeeded<qzILMonadicLutMapImg>();
    ExpectTablesNeeded<qzILDyadicLutMapImg>();
}

TEST(EffectRefusal, ProductNeedsAMask) {
    Ready<qzILMinMaskImg> ready, format(MFIF_MONO_RAW_8);
    ready.oEffect.SetMask(0, 0, 4, 4, nullptr, 16);
    format.oEffect.SetMask(0, 0, 4, 4, nullptr, 16);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10005));
    EXPECT_TRUE(Refuses(format.oEffect, 0x1000D));
}

TEST(EffectRefusal, CompositeInOrder) {
    Ready<qzILCompositeImg> ready, format(MFIF_BGRA_RAW_32);
    for (auto* effect : {&ready.oEffect, &format.oEffect}) {
        effect->SetAlpha(2.0);
        effect->SetAlphaMode(0);
        effect->SetMask(0, 0, 4, 4, nullptr, 16);
    }
    EXPECT_TRUE(Refuses(format.oEffect, 0x1000D));
    EXPECT_TRUE(Refuses(ready.oEffect, 65625));
    ready.Mask(MFIF_MONO_RAW_8);
    EXPECT_TRUE(Refuses(ready.oEffect, 65554));
    ready.oEffect.SetAlpha(0.0);
    EXPECT_TRUE(Refuses(ready.oEffect, 65626));
    for (unsigned const mode : {1u, 2u, 3u, 4u}) {
        ready.oEffect.SetAlphaMode(mode);
        EXPECT_TRUE(mode < 4 ? Accepts(ready.oEffect) : Refuses(ready.oEffect, 65626)) << mode;
    }
    ready.oEffect.SetMask(0, 0, 4, 4, nullptr, 16);
    EXPECT_TRUE(Refuses(ready.oEffect, 65625)) << "even at alpha 0";
}

TEST(EffectRefusal, OutputAlphaMode) {
    for (unsigned const mode : {0u, 1u, 2u, 3u, 4u, 255u}) {
        Ready<qzILOutputAlpha> ready;
        ready.oEffect.SetAlphaMode(mode);
        bool const accepted = mode >= 1 && mode <= 3;
        EXPECT_TRUE(accepted ? Accepts(ready.oEffect) : Refuses(ready.oEffect, 65626)) << mode;
        EXPECT_EQ(ready.oEffect.Execute(), accepted ? 1 : -1) << mode;
        Ready<qzILOutputAlpha> format(MFIF_MONO_RAW_8);
        format.oEffect.SetAlphaMode(mode);
        EXPECT_TRUE(Refuses(format.oEffect, 0x1000D)) << mode;
    }
}

template <class Effect>
void ExpectFailure(GUID const& format, unsigned code) {
    Ready<Effect> ready(format);
    EXPECT_EQ(ready.oEffect.Execute(), -1) << Effect::m_ClassName;
    EXPECT_EQ(ready.oEffect.GetLastError(), qzILError(code)) << Effect::m_ClassName;
}

TEST(EffectRefusal, CodesOfExecute) {
    ExpectFailure<qzILAdjustPremultImg>(MFIF_MONO_RAW_8, 0x10034);
    ExpectFailure<qzILCopyOverImg>(MFIF_CbYCrY_16, 65588);
    ExpectFailure<qzILBlendImg>(MFIF_BGRA_RAW_32, 0);
    ExpectFailure<qzILUnpremultiplyImg>(MFIF_MONO_RAW_8, 0);
    ExpectFailure<qzILInvertImg>(MFIF_HLSA_RAW_32, 0);
    EXPECT_EQ(Ready<qzILImgOverColor>(MFIF_RGBA_RAW_64).oEffect.Execute(), -1);
}

template <class Effect>
class Defaults : public testing::Test {};
TYPED_TEST_SUITE(Defaults, AllEffects);

TYPED_TEST(Defaults, OfTheFrame) {
    TypeParam effect;
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
    EXPECT_STREQ(effect.GetActualClassName(), TypeParam::m_ClassName);
    EXPECT_STREQ(TypeParam::GetClassNameA(), TypeParam::m_ClassName);
    if constexpr (kIsDyadic<TypeParam>) {
        EXPECT_EQ(effect.GetInputImgA(), nullptr);
        EXPECT_EQ(effect.GetInputImgB(), nullptr);
        EXPECT_EQ(effect.GetDominantInput(), nullptr);
        EXPECT_EQ(effect.GetInputOffset(), qzILVector2l(0, 0));
    } else {
        EXPECT_EQ(effect.GetInputImg(), nullptr);
    }
}

TYPED_TEST(Defaults, SettersAndCopies) {
    TypeParam effect;
    auto const small = MakeImage(MFIF_RGBA_RAW_32, 4, 4), large = MakeImage(MFIF_RGBA_RAW_32, 9, 5);
    effect.SetOutputImg(small.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, 4, 4)) << "follows the image";
    effect.SetOutputImg(large.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(0, 0, 9, 5)) << "follows the next image";
    effect.SetROI({1, 1, 2, 2});
    effect.SetOutputImg(small.Get());
    EXPECT_EQ(effect.GetROI(), qzILBbox2l(1, 1, 2, 2)) << "stays once it is set";
    effect.SetProcessingMode(15);
    TypeParam copy(effect);
    EXPECT_EQ(copy.GetProcessingMode(), 7u);
    EXPECT_EQ(copy.GetOutputImg(), nullptr);
    copy = effect;
    EXPECT_EQ(copy.GetROI(), qzILBbox2l(0, 0, -1, -1));
    if constexpr (kIsDyadic<TypeParam>) {
        effect.SetInputImgA(small.Get());
        EXPECT_EQ(effect.GetDominantInput(), small.Get());
        effect.SetInputImgA(large.Get());
        EXPECT_EQ(effect.GetDominantInput(), large.Get());
        effect.SetInputImgB(small.Get());
        effect.SetDominantInput(small.Get());
        effect.SetInputImgA(large.Get());
        EXPECT_EQ(effect.GetDominantInput(), small.Get()) << "stays once it is set";
    }
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
}

}  // namespace
}  // namespace qzil::test
