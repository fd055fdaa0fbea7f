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

template <class Effect>
void ExpectFormats(model::Formats const& accepted) {
    for (auto const& entry : AllFormats()) {
        Ready<Effect> ready(entry.oFormat);
        if (!ready.oInput || Bytes(ready.oInput).empty()) continue;
        bool const isAccepted = std::ranges::find(accepted, entry.oFormat) != accepted.end();
        if constexpr (std::is_same_v<Effect, qzILCompositeImg>) {
            if (isAccepted)
                ready.Mask(GetChannelSizeFromFormat(entry.oFormat) == 1 ? MFIF_MONO_RAW_8 : MFIF_MONO_RAW_16);
        }
        EXPECT_TRUE(isAccepted ? Accepts(ready.oEffect) : Refuses(ready.oEffect, 0x1000D)) << entry.pName;
    }
    std::span<GUID const> const listed = Effect::GetFormats();
    EXPECT_EQ(listed.size(), accepted.size()) << Effect::m_ClassName;
}

TEST(EffectRefusal, Formats) {
    ExpectFormats<qzILInvertImg>(model::kInvert);
    ExpectFormats<qzILMonadicLutMapImg>(model::kMonadicLut);
    ExpectFormats<qzILDyadicLutMapImg>(model::kDyadicLut);
    ExpectFormats<qzILBlendImg>(model::kBlend);
    ExpectFormats<qzILGeneralBlendImage>(model::kGeneralBlend);
    ExpectFormats<qzILAdjustPremultImg>(model::kAdjustPremult);
    ExpectFormats<qzILUnpremultiplyImg>(model::kUnpremultiply);
    ExpectFormats<qzILCompositeImg>(model::kComposite);
    ExpectFormats<qzILCopyOverImg>(model::kCopyOver);
    ExpectFormats<qzILImgOverColor>(model::kImgOverColor);
    ExpectFormats<qzILColorBlendImg>(model::kColorBlend);
    ExpectFormats<qzILOutputAlpha>(model::kOutputAlpha);
    ExpectFormats<qzILGrayscaleImg>(model::kGrayscale);
}

/// The values that a fraction refuses and accepts, with the format and the frame asked before it.
template <class Effect, class Set>
void ExpectFraction(unsigned code, Set set) {
    for (double const value : {-1.0, -1e-9, 1.0 + 1e-9, 2.0, std::numeric_limits<double>::infinity()}) {
        Ready<Effect> ready;
        if constexpr (std::is_same_v<Effect, qzILCompositeImg>) ready.Mask(MFIF_MONO_RAW_8);
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
        if constexpr (std::is_same_v<Effect, qzILCompositeImg>) ready.Mask(MFIF_MONO_RAW_8);
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

TEST(EffectRefusal, LookUpTables) {
    Ready<qzILMonadicLutMapImg> monadic;
    Ready<qzILDyadicLutMapImg> dyadic;
    monadic.oEffect.SetLut(nullptr);
    dyadic.oEffect.SetLut(nullptr);
    EXPECT_TRUE(Refuses(monadic.oEffect, 0x10018));
    EXPECT_TRUE(Refuses(dyadic.oEffect, 0x10018));
    monadic.SpoilFormats();
    dyadic.SpoilFormats();
    EXPECT_TRUE(Refuses(monadic.oEffect, 0x1000E));
    EXPECT_TRUE(Refuses(dyadic.oEffect, 0x1000E));
}

TEST(EffectRefusal, CompositeInOrder) {
    Ready<qzILCompositeImg> ready(MFIF_BGRA_RAW_32);
    ready.oEffect.SetAlpha(2.0);
    ready.oEffect.SetAlphaMode(0);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x1000D));
    ready.oInput = MakeImage(MFIF_RGBA_RAW_32, 4, 4);
    ready.oOutput = MakeImage(MFIF_RGBA_RAW_32, 4, 4);
    SetInputs(ready.oEffect, ready.oInput.Get());
    ready.oEffect.SetOutputImg(ready.oOutput.Get());
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
    ready.oEffect.SetAlpha(0.0);
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

TEST(EffectRefusal, CodesOfExecute) {
    Ready<qzILAdjustPremultImg> adjust(MFIF_MONO_RAW_8);
    EXPECT_EQ(adjust.oEffect.Execute(), -1);
    EXPECT_EQ(adjust.oEffect.GetLastError(), qzILError(0x10034));
    Ready<qzILCopyOverImg> copy(MFIF_CbYCrY_16);
    EXPECT_EQ(copy.oEffect.Execute(), -1);
    EXPECT_EQ(copy.oEffect.GetLastError(), qzILError(65588));
    Ready<qzILBlendImg> blend(MFIF_BGRA_RAW_32);
    EXPECT_EQ(blend.oEffect.Execute(), -1);
    EXPECT_EQ(blend.oEffect.GetLastError(), qzILError(0));
    Ready<qzILUnpremultiplyImg> unpremultiply(MFIF_MONO_RAW_8);
    EXPECT_EQ(unpremultiply.oEffect.Execute(), -1);
    EXPECT_EQ(unpremultiply.oEffect.GetLastError(), qzILError(0));
    Ready<qzILImgOverColor> over(MFIF_RGBA_RAW_64);
    EXPECT_EQ(over.oEffect.Execute(), -1);
    Ready<qzILInvertImg> invert(MFIF_HLSA_RAW_32);
    EXPECT_EQ(invert.oEffect.Execute(), -1);
    EXPECT_EQ(invert.oEffect.GetLastError(), qzILError(0));
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
