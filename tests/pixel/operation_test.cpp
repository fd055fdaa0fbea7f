#include "model/cases.h"
#include "model/invert_model.h"

#include "qzil/pixel/lut_map.h"

namespace qzil::test::model {
namespace {

int Twisted(int v) {
    return v * 7 + 3;
}
int Twisted(int a, int b) {
    return a * 5 - b * 3 + 11;
}

struct Monadic : qzILMonadicPixelProc {
    unsigned char Operation8(unsigned char v) const override { return static_cast<u8>(Twisted(v)); }
    unsigned short Operation16(unsigned short v) const override { return static_cast<u16>(Twisted(v)); }
};
struct Dyadic : qzILDyadicPixelProc {
    unsigned char Operation8(unsigned char a, unsigned char b) const override { return static_cast<u8>(Twisted(a, b)); }
    unsigned short Operation16(unsigned short a, unsigned short b) const override {
        return static_cast<u16>(Twisted(a, b));
    }
};

class Operation : public testing::TestWithParam<GUID> {};

TEST_P(Operation, EqualsModel) {
    ForEachScene(GetParam(), kMasked, [](Scene& scene) {
        Monadic effect;
        ExpectModel(scene, effect, PointModel{[](int, int v, int) { return Twisted(v); }});
    });
    ForEachScene(GetParam(), kMasked | kDyadic, [](Scene& scene) {
        Dyadic effect;
        ExpectModel(scene, effect, PointModel{[](int, int a, int b) { return Twisted(a, b); }});
    });
}
// The base's own operations give 0.
TEST_P(Operation, OfTheBaseIsZero) {
    ForEachScene(GetParam(), kMasked | kDyadic, [](Scene& scene) {
        qzILDyadicPixelProc dyadic;
        ExpectModel(scene, dyadic, PointModel{[](int, int, int) { return 0; }});
        scene.Make();
        scene.bDominantB = false;
        if (scene.iInPlace == 2) scene.iInPlace = 0;
        qzILMonadicPixelProc monadic;
        ExpectModel(scene, monadic, PointModel{[](int, int, int) { return 0; }});
    });
}
INSTANTIATE_TEST_SUITE_P(Formats, Operation, testing::ValuesIn(kInteger), ParamName);

// Formats without an operation are left alone, with success.
class NoOperation : public testing::TestWithParam<GUID> {};

TEST_P(NoOperation, WritesNothing) {
    Scene scene{.oFormat = GetParam(), .iWidth = 9};
    scene.Make();
    Monadic monadic;
    ExpectModel(scene, monadic, [](auto const&) {});
    Dyadic dyadic;
    ExpectModel(scene, dyadic, [](auto const&) {});
}
INSTANTIATE_TEST_SUITE_P(Formats, NoOperation,
                         testing::Values(MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT, MFIF_MONO_FLOAT, MFIF_MONO_S2_14,
                                         MFIF_BGRA_RAW_32, MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16_TD, MFIF_CbYCrY_16),
                         ParamName);

class MonadicLut : public testing::TestWithParam<GUID> {};

TEST_P(MonadicLut, EqualsModel) {
    std::vector<u16> words(4 * 65536);
    std::vector<u8> bytes(4 * 256);
    Random random(7);
    for (auto& word : words) word = static_cast<u16>(random.Below(65536));
    for (auto& byte : bytes) byte = static_cast<u8>(random.Below(256));
    bool const wide = GetChannelSizeFromFormat(GetParam()) == 2;
    void* tables[4];
    for (std::size_t c = 0; c < 4; ++c) {
        tables[c] = wide ? static_cast<void*>(&words[c * 65536]) : static_cast<void*>(&bytes[c * 256]);
    }
    PointModel const model{[&](int c, int v, int) {
        std::size_t const channel = static_cast<std::size_t>(c), value = static_cast<std::size_t>(v);
        return wide ? int{words[channel * 65536 + value]} : int{bytes[channel * 256 + value]};
    }};
    auto const run = [&](Scene& scene) {
        qzILMonadicLutMapImg effect;
        effect.SetLut(tables);
        ExpectModel(scene, effect, model);
    };
    ForEachScene(GetParam(), kMasked, run);
    Scene scene = Square(GetParam());
    if (wide) FillAllWords(scene.oA.Get());
    run(scene);
}
INSTANTIATE_TEST_SUITE_P(Formats, MonadicLut, testing::ValuesIn(kMonadicLut), ParamName);

class DyadicLut : public testing::TestWithParam<GUID> {};

TEST_P(DyadicLut, EqualsModel) {
    std::vector<u8> bytes(4 * 65536);
    Random random(8);
    for (auto& byte : bytes) byte = static_cast<u8>(random.Below(256));
    void* tables[4];
    for (std::size_t c = 0; c < 4; ++c) tables[c] = &bytes[c * 65536];
    PointModel const model{
        [&](int c, int a, int b) { return bytes[static_cast<std::size_t>(c * 65536 + b * 256 + a)]; }};
    auto const run = [&](Scene& scene) {
        qzILDyadicLutMapImg effect;
        effect.SetLut(tables);
        ExpectModel(scene, effect, model);
    };
    ForEachScene(GetParam(), kMasked | kDyadic, run);
    Scene scene = Square(GetParam());
    FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(scene.oB.Get(), -1, [](int, int y, int) { return y; });
    run(scene);
}
INSTANTIATE_TEST_SUITE_P(Formats, DyadicLut, testing::ValuesIn(kDyadicLut), ParamName);

}  // namespace
}  // namespace qzil::test::model
