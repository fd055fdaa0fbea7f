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

TEST(Operation, EqualsModel) {
    ForEachScene(kInteger, kMasked, [](Scene& scene) {
        Monadic effect;
        ExpectModel(scene, effect, PointModel{[](int, int v, int) { return Twisted(v); }});
    });
    ForEachScene(kInteger, kMasked | kDyadic, [](Scene& scene) {
        Dyadic effect;
        ExpectModel(scene, effect, PointModel{[](int, int a, int b) { return Twisted(a, b); }});
    });
}
// The base's own operations give 0.
TEST(Operation, OfTheBaseIsZero) {
    ForEachScene(kInteger, kMasked | kDyadic, [](Scene& scene) {
        qzILDyadicPixelProc dyadic;
        ExpectModel(scene, dyadic, PointModel{[](int, int, int) { return 0; }});
        scene.Make();
        scene.bDominantB = false;
        if (scene.iInPlace == 2) scene.iInPlace = 0;
        qzILMonadicPixelProc monadic;
        ExpectModel(scene, monadic, PointModel{[](int, int, int) { return 0; }});
    });
}

// Formats without an operation are left alone, with success.
TEST(Operation, OfOtherFormatsWritesNothing) {
    for (GUID const& format : {MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT, MFIF_MONO_FLOAT, MFIF_MONO_S2_14, MFIF_BGRA_RAW_32,
                               MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16_TD, MFIF_CbYCrY_16}) {
        Scene scene{.oFormat = format, .iWidth = 9};
        scene.Make();
        Monadic monadic;
        ExpectModel(scene, monadic, [](auto const&) {});
        Dyadic dyadic;
        ExpectModel(scene, dyadic, [](auto const&) {});
    }
}

/// Tables of random entries of a type, one after the other.
template <class T>
struct Tables {
    explicit Tables(std::size_t size) : uSize(size), oEntries(4 * size) {
        Random random(7);
        for (T& entry : oEntries) entry = static_cast<T>(random.Next() >> 40);
        for (std::size_t c = 0; c < 4; ++c) apTables[c] = &oEntries[c * size];
    }
    int At(int c, int i) const { return oEntries[static_cast<std::size_t>(c) * uSize + static_cast<std::size_t>(i)]; }

    std::size_t uSize;
    std::vector<T> oEntries;
    void* apTables[4];
};

template <class T>
void ExpectMonadicLut(GUID const& format) {
    Tables<T> tables(std::size_t{1} << 8 * sizeof(T));
    PointModel const model{[&](int c, int v, int) { return tables.At(c, v); }};
    auto const run = [&](Scene& scene) {
        qzILMonadicLutMapImg effect;
        effect.SetLut(tables.apTables);
        ExpectModel(scene, effect, model);
    };
    ForEachScene(format, kMasked, run);
    Scene scene = Square(format);
    if (sizeof(T) == 2) FillAllWords(scene.oA.Get());
    run(scene);
}

TEST(MonadicLut, EqualsModel) {
    for (GUID const& format : kMonadicLut) {
        GetChannelSizeFromFormat(format) == 2 ? ExpectMonadicLut<u16>(format) : ExpectMonadicLut<u8>(format);
    }
}

TEST(DyadicLut, EqualsModel) {
    Tables<u8> tables(65536);
    PointModel const model{[&](int c, int a, int b) { return tables.At(c, b * 256 + a); }};
    auto const run = [&](Scene& scene) {
        qzILDyadicLutMapImg effect;
        effect.SetLut(tables.apTables);
        ExpectModel(scene, effect, model);
    };
    ForEachScene(kDyadicLut, kMasked | kDyadic, run);
    for (GUID const& format : kDyadicLut) {
        Scene scene = EveryPair(format);
        run(scene);
    }
}

}  // namespace
}  // namespace qzil::test::model
