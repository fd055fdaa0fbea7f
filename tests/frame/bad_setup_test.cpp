#include "frame/effects_under_test.h"

#include <functional>

namespace qzil::test {
namespace {

// Execute asks Verify nothing: whatever it is given, it must end with 1 or -1 and touch no memory but the images'.

template <class Effect>
class BadSetUp : public testing::Test {
protected:
    void Run(char const* what) {
        qzILStatus const status = m_oEffect.Execute();
        EXPECT_TRUE(status == 1 || status == -1) << Effect::m_ClassName << ": " << what << " gives " << status;
    }
    void Prepare(GUID const& format) {
        m_oInput = MakeRandomImage(format, 16, 8, 1);
        m_oOutput = MakeRandomImage(format, 16, 8, 2);
        SetGoodParameters(m_oEffect);
        SetInputs(m_oEffect, m_oInput.Get());
        m_oEffect.SetOutputImg(m_oOutput.Get());
        m_oEffect.SetROI({0, 0, 16, 8});
        m_oEffect.SetOutputOffset({0, 0});
        m_oEffect.SetMask(0, 0, 0x7FFFFFFF, 0x7FFFFFFF, nullptr, 16);
        m_oEffect.SetProcessingMode(15);
    }

    Effect m_oEffect;
    Ref<IXFImage> m_oInput, m_oOutput;
};
TYPED_TEST_SUITE(BadSetUp, AllEffects);

GUID const kSome[] = {MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8,    MFIF_RGBA_FLOAT,      MFIF_CbYCrY_16,
                      MFIF_CbYCrYA_24,  MFIF_CbYCrYA_S2_14, MFIF_CbYCrY_16_SF_TFL};

TYPED_TEST(BadSetUp, AbsentImages) {
    TypeParam fresh;
    EXPECT_NE(fresh.Execute(), 0);
    for (GUID const& format : kSome) {
        auto const empty = WithoutPixels(format);
        for (IXFImage* image : {static_cast<IXFImage*>(nullptr), empty.Get()}) {
            this->Prepare(format);
            SetInputs(this->m_oEffect, image);
            this->Run(image ? "input without pixels" : "no input");
            this->Prepare(format);
            this->m_oEffect.SetOutputImg(image);
            this->Run(image ? "output without pixels" : "no output");
        }
    }
}

TYPED_TEST(BadSetUp, Regions) {
    struct Case {
        qzILBbox2l oRoi;
        qzILVector2l oOffset;
    };
    constexpr int kMax = 0x7FFFFFFF;
    Case const cases[] = {{{0, 0, 32, 32}, {0, 0}},
                          {{0, 0, 16, 8}, {5, 3}},
                          {{0, 0, 16, 8}, {-5, -3}},
                          {{-4, -4, 30, 30}, {-2, -2}},
                          {{100, 100, 16, 8}, {0, 0}},
                          {{0, 0, 16, 8}, {1000, 1000}},
                          {{0, 0, kMax, kMax}, {0, 0}},
                          {{0, 0, -5, -5}, {0, 0}},
                          {{3, 1, 5, 5}, {1, 1}},
                          {{kMax, kMax, 16, 8}, {kMax, 0}},
                          {{-kMax, -kMax, kMax, kMax}, {-kMax, -kMax}},
                          {{0, 0, 0, 8}, {0, 0}}};
    for (GUID const& format : kSome) {
        for (Case const& c : cases) {
            this->Prepare(format);
            this->m_oEffect.SetROI(c.oRoi);
            this->m_oEffect.SetOutputOffset(c.oOffset);
            this->Run("region");
            this->m_oEffect.SetOutputImg(this->m_oInput.Get());
            this->Run("region in place");
        }
    }
}

TYPED_TEST(BadSetUp, Masks) {
    for (GUID const& format : kSome) {
        for (GUID const& maskFormat : {MFIF_MONO_RAW_8, MFIF_RGBA_RAW_32, MFIF_MONO_RAW_16, MFIF_RGBA_FLOAT,
                                       MFIF_MONO_S2_14, MFIF_CbYCrY_16, MFIF_CbYCrYA_24, MFIF_HLSA_RAW_64}) {
            auto const full = MakeRandomImage(maskFormat, 16, 8, 3), small = MakeRandomImage(maskFormat, 3, 2, 4),
                       empty = WithoutPixels(maskFormat);
            for (unsigned const channel : {0u, 1u, 8u, 16u, 3u, 255u, 0x80000000u}) {
                for (IXFImage* mask : {full.Get(), small.Get(), empty.Get()}) {
                    for (qzILBbox2l const& rectangle : {qzILBbox2l(0, 0, 16, 8), qzILBbox2l(-3, -3, 40, 40)}) {
                        this->Prepare(format);
                        this->m_oEffect.SetMask(rectangle, mask, channel);
                        this->Run("mask");
                    }
                }
            }
        }
    }
}

TYPED_TEST(BadSetUp, EveryFormat) {
    for (auto const& entry : AllFormats()) {
        for (unsigned const mode : {0u, 1u, 7u, 8u, 15u, 0x10Fu, 0x20Fu, 0x30Fu}) {
            this->Prepare(entry.oFormat);
            if (!this->m_oInput) break;
            this->m_oEffect.SetProcessingMode(mode);
            this->Run(entry.pName);
            auto const mask = MakeRandomImage(MFIF_RGBA_FLOAT, 16, 8, 5);
            this->m_oEffect.SetMask(0, 0, 16, 8, mask.Get(), 8);
            this->Run(entry.pName);
            auto const other = MakeRandomImage(MFIF_RGBA_RAW_32, 16, 8, 6);
            this->m_oEffect.SetOutputImg(other.Get());
            this->Run("different formats");
        }
    }
}

TYPED_TEST(BadSetUp, Parameters) {
    using Limits = std::numeric_limits<double>;
    for (GUID const& format : kSome) {
        for (double const value : {-1.0, 2.0, 1e30, -1e30, Limits::infinity(), Limits::quiet_NaN()}) {
            this->Prepare(format);
            auto& effect = this->m_oEffect;
            qzILColor const color(value, value, value, value);
            effect.SetDefaultColor(color);
            if constexpr (requires { effect.SetAlpha(value); }) effect.SetAlpha(value);
            if constexpr (requires { effect.SetAlphas(value, value); }) effect.SetAlphas(value, value);
            if constexpr (requires { effect.SetAlphaMode(77); }) effect.SetAlphaMode(77);
            if constexpr (requires { effect.SetForegroundOpacity(value); }) effect.SetForegroundOpacity(value);
            if constexpr (requires { effect.SetBackgroundColor(color); }) effect.SetBackgroundColor(color);
            if constexpr (requires { effect.SetBlendColor(color); }) effect.SetBlendColor(color);
            if constexpr (requires { effect.SetLut(nullptr); }) effect.SetLut(nullptr);
            this->Run("parameters");
            effect.SetROI({4, 2, 16, 8});
            this->Run("default colour");
        }
    }
}

TYPED_TEST(BadSetUp, BothFieldBitsTouchNothing) {
    TypeParam effect;
    effect.SetProcessingMode(0x300 | 15);
    if constexpr (!std::is_same_v<TypeParam, qzILOutputAlpha>) {
        EXPECT_EQ(effect.Execute(), 1);
    }
}

TYPED_TEST(BadSetUp, InterruptSetBeforehand) {
    this->Prepare(MFIF_RGBA_RAW_32);
    auto const mask = MakeImage(MFIF_MONO_RAW_8, 16, 8);
    std::vector<unsigned char> const before(Bytes(this->m_oOutput).begin(), Bytes(this->m_oOutput).end());
    int volatile flag = 1;
    this->m_oEffect.SetMask(0, 0, 16, 8, mask.Get(), 16);
    this->m_oEffect.SetInterruptFct(nullptr, &flag);
    EXPECT_EQ(this->m_oEffect.Execute(), 1);
    if constexpr (!std::is_same_v<TypeParam, qzILOutputAlpha>) {
        EXPECT_EQ(DescribeDifference(before, Bytes(this->m_oOutput)), "");
    }
}

}  // namespace
}  // namespace qzil::test
