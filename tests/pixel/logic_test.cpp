#include "frame/effects_under_test.h"
#include "model/cases.h"
#include "model/invert_model.h"

#include "qzil/kernel/levels.h"
#include "qzil/pixel/logic.h"
#include "qzil/pixel/min_mask.h"

namespace qzil::test::model {
namespace {

/// Runs at every CPU level that this processor has.
template <class Fn>
void AtEveryLevel(Fn fn) {
    for (auto const level : {kernel::CpuLevel::Baseline, kernel::CpuLevel::V3, kernel::CpuLevel::V4}) {
        if (!kernel::ForceCpuLevel(level)) continue;
        SCOPED_TRACE(static_cast<int>(level));
        fn();
    }
    kernel::ForceCpuLevel(kernel::HighestCpuLevel());
}

/// An in-place scene is made anew for every effect that runs on it.
template <class Effect, class Model>
void Expect(Scene& scene, Effect&& effect, Model const& model, std::string const& parameters = {}) {
    if (scene.iInPlace) scene.Make();
    ExpectModel(scene, effect, model, parameters);
}

/// 1 is the exclusive OR; every other number the difference.
constexpr unsigned kOperations[] = {0, 1, 2, 0xFFFFFFFF};

void ExpectDyadics(Scene& scene) {
    Expect(scene, qzILAndImg(), PointModel{[](int, int a, int b) { return a & b; }});
    Expect(scene, qzILOrImg(), PointModel{[](int, int a, int b) { return a | b; }});
    Expect(scene, qzILMaxImg(), PointModel{[](int, int a, int b) { return a < b ? b : a; }});
    Expect(scene, qzILMinImg(), PointModel{[](int, int a, int b) { return a < b ? a : b; }});
    for (unsigned const operation : kOperations) {
        qzILXOrImg effect;
        effect.SetOperation(operation);
        auto const rule = [=](int, int a, int b) { return operation == 1 ? a ^ b : std::abs(a - b); };
        Expect(scene, effect, PointModel{rule}, Text("operation", operation));
    }
}

class Logic : public testing::TestWithParam<GUID> {};

TEST_P(Logic, OfTwoImagesEqualsModel) {
    AtEveryLevel([] { ForEachScene(GetParam(), kMasked | kDyadic, ExpectDyadics); });
}

TEST_P(Logic, OfAnImageAndAColourEqualsModel) {
    // Components above 1.0 keep their low bits.
    qzILColor const operands[] = {{0.9, 0.1, 0.4, 0.3}, {1.2, 0.66, 1.0, 0.0}};
    bool const mono = IsFormatMono(GetParam());
    i64 const full = GetChannelSizeFromFormat(GetParam()) == 1 ? 255 : 65535;
    auto const run = [&](Scene& scene) {
        for (qzILColor const& color : operands) {
            double const components[] = {color.GetRed(), color.GetGreen(), color.GetBlue(), color.GetAlpha()};
            auto const operand = [&](int c) {
                return static_cast<int>(Round(components[mono ? 0 : c] * static_cast<double>(full)) & full);
            };
            qzILMonadicAndImg both;
            both.SetOperand(color);
            Expect(scene, both, PointModel{[&](int c, int v, int) { return v & operand(c); }}, Text(color));
            qzILMonadicOrImg either;
            either.m_oOperand = color;
            Expect(scene, either, PointModel{[&](int c, int v, int) { return v | operand(c); }}, Text(color));
        }
    };
    AtEveryLevel([&] { ForEachScene(GetParam(), kMasked, run); });
}
INSTANTIATE_TEST_SUITE_P(Formats, Logic, testing::ValuesIn(kInteger), ParamName);

TEST(LogicBytes, EveryPairOfValues) {
    for (XFImageChannel const mask : {0, 16}) {
        Scene scene = Square(MFIF_MONO_RAW_8, mask);
        FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
        FillBytes(scene.oB.Get(), -1, [](int, int y, int) { return y; });
        AtEveryLevel([&] { ExpectDyadics(scene); });
    }
}

TEST(LogicValues, OfSinglePairs) {
    qzILMaxImg const larger{};
    qzILMinImg const smaller{};
    EXPECT_EQ(larger.Operation8(200, 100), 200);
    EXPECT_EQ(larger.Operation16(255, 65535), 65535);
    EXPECT_EQ(smaller.Operation8(200, 100), 100);
    EXPECT_EQ(smaller.Operation16(65535, 256), 256);
}

// Without Verify: 16-bit samples of other kinds are words to the three bitwise effects, all others are left alone.
TEST(LogicUnverified, OtherFormats) {
    auto const bitwise = [](auto const& line) {
        if constexpr (!kIsFloat<std::remove_cvref_t<decltype(*line.pA)>>) {
            for (int i = 0; i < line.iWidth * line.Samples(); ++i) line.pOut[i] = line.pA[i] & line.pB[i];
        }
    };
    auto const nothing = [](auto const&) {};
    for (GUID const& format : {MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_MONO_RAW_16_TD}) {
        Scene scene{.oFormat = format, .iWidth = 33};
        scene.Make();
        Expect(scene, qzILAndImg(), bitwise);
        Expect(scene, qzILMaxImg(), nothing);
        Expect(scene, qzILMonadicAndImg(), nothing);
    }
    for (GUID const& format : {MFIF_BGRA_RAW_32, MFIF_MONO_RAW_8_TD, MFIF_RGBA_FLOAT, MFIF_CbYCrY_S2_14}) {
        Scene scene{.oFormat = format, .iWidth = 33};
        scene.Make();
        Expect(scene, qzILAndImg(), nothing);
        Expect(scene, qzILOrImg(), nothing);
        Expect(scene, qzILXOrImg(), nothing);
    }
}

struct MinMaskModel {
    template <class T>
    static T Product(T c, T m) {
        if constexpr (kIsFloat<T>) {
            return c * m;
        } else {
            i64 const value = c, weight = m;
            if constexpr (kIsByte<T>) return static_cast<T>((value * weight * 257 + 32896) >> 16);
            return static_cast<T>(Part14(weight, value));
        }
    }
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int i = 0; i < 4 * line.iWidth; ++i) {
            T const v = line.pA[i], m = line.pMask[i / 4];
            if (!line.Selects(i % 4) || IsFull(m)) {
                line.pOut[i] = v;
            } else if (IsNone(m)) {
                line.pOut[i] = 0;
            } else {
                line.pOut[i] = i % 4 == 3 ? std::min(m, v) : Product(v, m);
            }
        }
    }
};

class MinMask : public testing::TestWithParam<GUID> {};

TEST_P(MinMask, EqualsModel) {
    AtEveryLevel([] {
        ForEachScene(GetParam(), kMasked | kSpecials, [](Scene& scene) {
            if (scene.uMask) Expect(scene, qzILMinMaskImg(), MinMaskModel{});
        });
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, MinMask, testing::ValuesIn(kAdjustPremult), ParamName);

TEST(MinMaskBytes, EveryValueThroughEveryMask) {
    Scene scene = Square(MFIF_RGBA_RAW_32, 16);
    FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(scene.oMask.Get(), -1, [](int, int y, int) { return y; });
    AtEveryLevel([&] { Expect(scene, qzILMinMaskImg(), MinMaskModel{}); });
}

TEST(MinMask, ClearsAttributes) {
    struct {
        unsigned uMode, uLeft;
    } const cases[] = {{0, 2}, {7, 2}, {8, 0}, {9, 0}, {15, 2}, {0x100 | 15, 0}, {0x200 | 7, 2}};
    for (auto const& [mode, left] : cases) {
        Scene scene{.oFormat = MFIF_RGBA_RAW_32, .uMode = mode, .uMask = 16};
        scene.Make();
        scene.oOut->SetAllAttributes(~0u);
        qzILMinMaskImg effect;
        Configure(scene, effect);
        ASSERT_EQ(effect.Execute(), 1);
        unsigned attributes = 0;
        scene.oOut->GetAllAttributes(&attributes);
        EXPECT_EQ(attributes, ~3u | left) << "mode " << mode;
    }
}

// A picture's own alpha as the mask, in place, premultiplies it.
TEST(MinMask, PremultipliesByTheOwnAlpha) {
    Scene scene{.oFormat = MFIF_RGBA_RAW_32, .iWidth = 1300, .uMode = 7, .iInPlace = 1};
    scene.Make();
    std::vector<unsigned char> const before(Bytes(scene.oA).begin(), Bytes(scene.oA).end());
    qzILMinMaskImg effect;
    Configure(scene, effect);
    effect.SetMask({0, 0, scene.iWidth, scene.iHeight}, scene.oA.Get(), XFImageChannel3);
    ASSERT_EQ(effect.Verify(), 1);
    ASSERT_EQ(effect.Execute(), 1);
    auto const after = Bytes(scene.oA);
    for (std::size_t i = 0; i < after.size(); ++i) {
        u8 const v = before[i], alpha = before[i | 3];
        ASSERT_EQ(after[i], i % 4 == 3 ? v : MinMaskModel::Product(v, alpha)) << i;
    }
}

TEST(MinMask, WithoutAMaskWritesNothing) {
    Scene scene{.oFormat = MFIF_RGBA_RAW_32};
    scene.Make();
    std::vector<unsigned char> const before(Bytes(scene.oOut).begin(), Bytes(scene.oOut).end());
    qzILMinMaskImg effect;
    Configure(scene, effect);
    EXPECT_EQ(effect.Execute(), -1);
    EXPECT_EQ(effect.GetLastError(), qzILError(0x10005));
    EXPECT_EQ(DescribeDifference(before, Bytes(scene.oOut)), "");
}

int l_iAsked = 0;

/// How often an effect asks for an interrupt that comes with the second question.
template <class Effect>
int Questions() {
    Scene scene{.oFormat = MFIF_RGBA_RAW_32, .iHeight = 5, .uMask = 16};
    scene.Make();
    Effect effect;
    Configure(scene, effect);
    l_iAsked = 0;
    effect.SetInterruptFct([] { return ++l_iAsked > 1 ? 1 : 0; }, nullptr);
    EXPECT_EQ(effect.Execute(), 1);
    return l_iAsked;
}

TEST(LogicInterrupt, IsAskedByLineOrByFrame) {
    EXPECT_EQ(Questions<qzILAndImg>(), 1);
    EXPECT_EQ(Questions<qzILOrImg>(), 1);
    EXPECT_EQ(Questions<qzILXOrImg>(), 1);
    EXPECT_EQ(Questions<qzILMinMaskImg>(), 1);
    EXPECT_EQ(Questions<qzILMaxImg>(), 2);
    EXPECT_EQ(Questions<qzILMinImg>(), 2);
    EXPECT_EQ(Questions<qzILMonadicAndImg>(), 2);
    EXPECT_EQ(Questions<qzILMonadicOrImg>(), 2);
}

TEST(LogicDefaults, OfParameters) {
    EXPECT_EQ(qzILXOrImg().m_uOperation, 1u);
    EXPECT_EQ(qzILMonadicAndImg().m_oOperand, qzILColor(0, 0, 0, 1));
    EXPECT_EQ(qzILMonadicOrImg().GetOperand(), qzILColor(0, 0, 0, 1));
}

/// Formats are asked behind the frame's checks, a mask that is needed behind the formats.
template <class Effect>
void ExpectRefusals(Formats const& accepted, bool needsMask = false) {
    for (auto const& entry : AllFormats()) {
        auto const image = MakeImage(entry.oFormat, 4, 4);
        if (!image || Bytes(image).empty()) continue;
        Effect effect;
        SetInputs(effect, image.Get());
        effect.SetOutputImg(image.Get());
        effect.SetProcessingMode(15);
        bool const isAccepted = std::ranges::find(accepted, entry.oFormat) != accepted.end();
        if (isAccepted && needsMask) {
            EXPECT_TRUE(Refuses(effect, 0x10005)) << entry.pName;
            auto const mask = MakeImage(MaskFormat(entry.oFormat, false), 4, 4);
            effect.SetMask(0, 0, 4, 4, mask.Get(), 16);
            EXPECT_TRUE(Accepts(effect)) << entry.pName;
            effect.SetMask(0, 0, 4, 4, nullptr, 16);
        } else {
            EXPECT_TRUE(isAccepted ? Accepts(effect) : Refuses(effect, 0x1000D)) << entry.pName;
        }
    }
    Effect effect;
    auto const input = MakeImage(MFIF_BGRA_RAW_32, 4, 4), output = MakeImage(MFIF_RGBA_RAW_32, 4, 4);
    SetInputs(effect, input.Get());
    effect.SetOutputImg(output.Get());
    EXPECT_TRUE(Refuses(effect, 0x1000E));
    EXPECT_EQ(Effect::GetFormats().size(), accepted.size()) << Effect::m_ClassName;
}

TEST(LogicVerify, RefusesOtherFormatsAndAMissingMask) {
    ExpectRefusals<qzILAndImg>(kInteger);
    ExpectRefusals<qzILOrImg>(kInteger);
    ExpectRefusals<qzILXOrImg>(kInteger);
    ExpectRefusals<qzILMaxImg>(kInteger);
    ExpectRefusals<qzILMinImg>(kInteger);
    ExpectRefusals<qzILMonadicAndImg>(kInteger);
    ExpectRefusals<qzILMonadicOrImg>(kInteger);
    ExpectRefusals<qzILMinMaskImg>(kAdjustPremult, true);
}

}  // namespace
}  // namespace qzil::test::model
