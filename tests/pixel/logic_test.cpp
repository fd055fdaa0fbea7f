#include "model/invert_model.h"
#include "pixel/expect.h"

#include "qzil/pixel/logic.h"
#include "qzil/pixel/min_mask.h"

namespace qzil::test::model {
namespace {

/// 1 is the exclusive OR; every other number the difference.
constexpr unsigned kOperations[] = {0, 1, 2, 0xFFFFFFFF};

void ExpectDyadics(Scene& scene) {
    Expect<qzILAndImg>(scene, PointModel{[](int, int a, int b) { return a & b; }});
    Expect<qzILOrImg>(scene, PointModel{[](int, int a, int b) { return a | b; }});
    Expect<qzILMaxImg>(scene, PointModel{[](int, int a, int b) { return a < b ? b : a; }});
    Expect<qzILMinImg>(scene, PointModel{[](int, int a, int b) { return a < b ? a : b; }});
    for (unsigned const operation : kOperations) {
        auto const rule = [=](int, int a, int b) { return operation == 1 ? a ^ b : std::abs(a - b); };
        Expect<qzILXOrImg>(scene, PointModel{rule}, Text("operation", operation),
                           [=](auto& effect) { effect.SetOperation(operation); });
    }
}

void ExpectOperands(Scene& scene) {
    bool const mono = IsFormatMono(scene.oFormat);
    i64 const full = GetChannelSizeFromFormat(scene.oFormat) == 1 ? 255 : 65535;
    // Components above 1.0 keep their low bits.
    for (qzILColor const& color : {qzILColor(0.9, 0.1, 0.4, 0.3), qzILColor(1.2, 0.66, 1.0, 0.0)}) {
        double const components[] = {color.GetRed(), color.GetGreen(), color.GetBlue(), color.GetAlpha()};
        auto const operand = [&](int c) {
            return static_cast<int>(Round(components[mono ? 0 : c] * static_cast<double>(full)) & full);
        };
        Expect<qzILMonadicAndImg>(scene, PointModel{[&](int c, int v, int) { return v & operand(c); }}, Text(color),
                                  [&](auto& effect) { effect.SetOperand(color); });
        Expect<qzILMonadicOrImg>(scene, PointModel{[&](int c, int v, int) { return v | operand(c); }}, Text(color),
                                 [&](auto& effect) { effect.m_oOperand = color; });
    }
}

TEST(LogicBytes, EveryPairOfValues) {
    for (XFImageChannel const mask : {0, 16}) {
        Scene scene = EveryPair(MFIF_MONO_RAW_8, mask);
        FillBytes(scene.oB.Get(), -1, [](int, int y, int) { return y; });
        ForEachLevel([&] { ExpectDyadics(scene); });
    }
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
        Expect<qzILAndImg>(scene, bitwise);
        Expect<qzILMaxImg>(scene, nothing);
        Expect<qzILMonadicAndImg>(scene, nothing);
    }
    for (GUID const& format : {MFIF_BGRA_RAW_32, MFIF_MONO_RAW_8_TD, MFIF_RGBA_FLOAT, MFIF_CbYCrY_S2_14}) {
        Scene scene{.oFormat = format, .iWidth = 33};
        scene.Make();
        Expect<qzILAndImg>(scene, nothing);
        Expect<qzILOrImg>(scene, nothing);
        Expect<qzILXOrImg>(scene, nothing);
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

ModelCase const kCases[] = {
    {"LogicOfTwo", kInteger, kMasked | kDyadic | kEveryLevel, ExpectDyadics},
    {"LogicWithAColour", kInteger, kMasked | kEveryLevel, ExpectOperands},
    {"MinMask", kAdjustPremult, kMasked | kSpecials | kEveryLevel,
     [](Scene& scene) {
         if (scene.uMask) Expect<qzILMinMaskImg>(scene, MinMaskModel{});
     }},
};
INSTANTIATE_TEST_SUITE_P(Logic, EqualsModel, testing::ValuesIn(kCases), CaseName);

TEST(MinMaskBytes, EveryValueThroughEveryMask) {
    Scene scene = EveryPair(MFIF_RGBA_RAW_32, 16);
    ForEachLevel([&] { Expect<qzILMinMaskImg>(scene, MinMaskModel{}); });
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
    std::vector<u8> const before = Snapshot(scene.oA);
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
    EXPECT_EQ((std::array{Questions<qzILAndImg>(), Questions<qzILOrImg>(), Questions<qzILXOrImg>(),
                          Questions<qzILMinMaskImg>()}),
              (std::array{1, 1, 1, 1}));
    EXPECT_EQ((std::array{Questions<qzILMaxImg>(), Questions<qzILMinImg>(), Questions<qzILMonadicAndImg>(),
                          Questions<qzILMonadicOrImg>()}),
              (std::array{2, 2, 2, 2}));
}

}  // namespace
}  // namespace qzil::test::model
