#include "model/cases.h"
#include "model/invert_model.h"
#include "support/levels.h"

#include "qzil/pixel/logic.h"
#include "qzil/pixel/min_mask.h"

namespace qzil::test::model {
namespace {

template <class Effect>
void Expect(Scene& scene, AnyModel const& model) {
    Effect effect;
    ExpectModel(scene, effect, model);
}

/// 1 is the exclusive OR; every other number the difference.
constexpr unsigned kOperations[] = {0, 1, 2, 0xFFFFFFFF};

void ExpectDyadics(Scene& scene) {
    Expect<qzILAndImg>(scene, PointModel{[](int, int a, int b) { return a & b; }});
    Expect<qzILOrImg>(scene, PointModel{[](int, int a, int b) { return a | b; }});
    Expect<qzILMaxImg>(scene, PointModel{[](int, int a, int b) { return a < b ? b : a; }});
    Expect<qzILMinImg>(scene, PointModel{[](int, int a, int b) { return a < b ? a : b; }});
    for (unsigned const operation : kOperations) {
        qzILXOrImg effect;
        effect.SetOperation(operation);
        auto const rule = [=](int, int a, int b) { return operation == 1 ? a ^ b : std::abs(a - b); };
        ExpectModel(scene, effect, PointModel{rule}, Text("operation", operation));
    }
}

TEST(Logic, OfTwoImagesEqualsModel) {
    ForEachLevel([] { ForEachScene(kInteger, kMasked | kDyadic, ExpectDyadics); });
}

TEST(Logic, OfAnImageAndAColourEqualsModel) {
    // Components above 1.0 keep their low bits.
    qzILColor const operands[] = {{0.9, 0.1, 0.4, 0.3}, {1.2, 0.66, 1.0, 0.0}};
    auto const run = [&](Scene& scene) {
        bool const mono = IsFormatMono(scene.oFormat);
        i64 const full = GetChannelSizeFromFormat(scene.oFormat) == 1 ? 255 : 65535;
        for (qzILColor const& color : operands) {
            double const components[] = {color.GetRed(), color.GetGreen(), color.GetBlue(), color.GetAlpha()};
            auto const operand = [&](int c) {
                return static_cast<int>(Round(components[mono ? 0 : c] * static_cast<double>(full)) & full);
            };
            qzILMonadicAndImg both;
            both.SetOperand(color);
            ExpectModel(scene, both, PointModel{[&](int c, int v, int) { return v & operand(c); }}, Text(color));
            qzILMonadicOrImg either;
            either.m_oOperand = color;
            ExpectModel(scene, either, PointModel{[&](int c, int v, int) { return v | operand(c); }}, Text(color));
        }
    };
    ForEachLevel([&] { ForEachScene(kInteger, kMasked, run); });
}

TEST(LogicBytes, EveryPairOfValues) {
    for (XFImageChannel const mask : {0, 16}) {
        Scene scene = Square(MFIF_MONO_RAW_8, mask);
        FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
        FillBytes(scene.oB.Get(), -1, [](int, int y, int) { return y; });
        ForEachLevel([&] { ExpectDyadics(scene); });
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

TEST(MinMask, EqualsModel) {
    ForEachLevel([] {
        ForEachScene(kAdjustPremult, kMasked | kSpecials, [](Scene& scene) {
            if (scene.uMask) Expect<qzILMinMaskImg>(scene, MinMaskModel{});
        });
    });
}

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
    for (int const asked :
         {Questions<qzILAndImg>(), Questions<qzILOrImg>(), Questions<qzILXOrImg>(), Questions<qzILMinMaskImg>()}) {
        EXPECT_EQ(asked, 1);
    }
    for (int const asked : {Questions<qzILMaxImg>(), Questions<qzILMinImg>(), Questions<qzILMonadicAndImg>(),
                            Questions<qzILMonadicOrImg>()}) {
        EXPECT_EQ(asked, 2);
    }
}

}  // namespace
}  // namespace qzil::test::model
