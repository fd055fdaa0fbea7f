// What the model net does not reach: classes of a host's own, tables and operands that the catalogue does not offer,
// routines, attributes, and sums that only chosen pictures bring.

#include "catalog/effect.h"
#include "model/channel_model.h"
#include "model/invert_model.h"
#include "scene/subject.h"
#include "support/levels.h"
#include "support/plain_layout.h"

#include "qzil/image/image_ops.h"
#include "qzil/pixel/channels.h"
#include "qzil/pixel/logic.h"
#include "qzil/pixel/lut_map.h"
#include "qzil/pixel/min_mask.h"
#include "qzil/pixel/premult.h"

#include <climits>
#include <cstring>

namespace qzil::test::model {
namespace {

using catalog::Entry;

constexpr std::array kInteger{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};

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

template <class Effect>
Entry OneInput(std::span<GUID const> formats) {
    return catalog::Effect<Effect>("one", "test", "").Input("input", &Effect::SetInputImg).Formats(formats);
}
template <class Effect>
Entry TwoInputs(std::span<GUID const> formats) {
    return catalog::Effect<Effect>("two", "test", "")
        .Input("a", &Effect::SetInputImgA)
        .Input("b", &Effect::SetInputImgB)
        .Formats(formats);
}

template <class Fn>
Model Points(Fn rule) {
    return Lines([=](test::Scene const&) { return PointModel{rule}; });
}

void Expect(Entry const& entry, Model const& model) {
    Random random(1);
    for (GUID const& format : entry.oFormats) {
        for (int i = 0; i < 60 && !testing::Test::HasFailure(); ++i)
            ExpectModel(WholeScene(entry, format, random), model);
    }
}

// The base's own operations give 0.
TEST(Operation, EqualsModel) {
    Expect(OneInput<Monadic>(kInteger), Points([](int, int v, int) { return Twisted(v); }));
    Expect(TwoInputs<Dyadic>(kInteger), Points([](int, int a, int b) { return Twisted(a, b); }));
    Expect(OneInput<qzILMonadicPixelProc>(kInteger), Points([](int, int, int) { return 0; }));
    Expect(TwoInputs<qzILDyadicPixelProc>(kInteger), Points([](int, int, int) { return 0; }));
}

// Formats without an operation are left alone, with success. 16-bit samples of other kinds are words to the bitwise
// effects.
TEST(Operation, OfOtherFormats) {
    Model const nothing = [](Call&) {};
    constexpr std::array kOther{MFIF_RGBA_S2_14,  MFIF_RGBA_FLOAT,    MFIF_MONO_FLOAT,     MFIF_MONO_S2_14,
                                MFIF_BGRA_RAW_32, MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16_TD, MFIF_CbYCrY_16};
    constexpr std::array kWords{MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_MONO_RAW_16_TD};
    constexpr std::array kNoWords{MFIF_BGRA_RAW_32, MFIF_MONO_RAW_8_TD, MFIF_RGBA_FLOAT, MFIF_CbYCrY_S2_14};
    auto const plain = [](Entry const& entry, Model const& model) {
        for (GUID const& format : entry.oFormats) {
            test::Scene scene = PlainScene(entry, format, 33, 2);
            scene.uMode = 15;
            ExpectModel(scene, model);
        }
    };
    plain(OneInput<Monadic>(kOther), nothing);
    plain(TwoInputs<Dyadic>(kOther), nothing);
    plain(TwoInputs<qzILMaxImg>(kWords), nothing);
    plain(OneInput<qzILMonadicAndImg>(kWords), nothing);
    plain(TwoInputs<qzILAndImg>(kNoWords), nothing);
    plain(TwoInputs<qzILOrImg>(kNoWords), nothing);
    plain(TwoInputs<qzILXOrImg>(kNoWords), nothing);
    plain(TwoInputs<qzILAndImg>(kWords), [](Call& call) {
        auto const a = Bytes(call.oImages.oInputs[0]), b = Bytes(call.oImages.oInputs[1]);
        for (std::size_t i = 0; i < a.size(); ++i) call.oOutput[i] = a[i] & b[i];
    });
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

template <class Effect, class T, class Fn>
void ExpectTables(Entry const& entry, Tables<T>& tables, Fn at) {
    Random random(1);
    for (GUID const& format : entry.oFormats) {
        if (GetChannelSizeFromFormat(format) != sizeof(T)) continue;
        for (int i = 0; i < 40; ++i) {
            ExpectModel(WholeScene(entry, format, random), Points(at),
                        [&](qzILProcessor& effect) { dynamic_cast<Effect&>(effect).SetLut(tables.apTables); });
        }
    }
}

// Each channel has a table of its own.
TEST(Lut, OfFourChannels) {
    Tables<u8> bytes(256), pairs(65536);
    Tables<u16> words(65536);
    Entry const &one = *catalog::Find("lut"), &two = *catalog::Find("lut2");
    ExpectTables<qzILMonadicLutMapImg>(one, bytes, [&](int c, int v, int) { return bytes.At(c, v); });
    ExpectTables<qzILMonadicLutMapImg>(one, words, [&](int c, int v, int) { return words.At(c, v); });
    ExpectTables<qzILDyadicLutMapImg>(two, pairs, [&](int c, int a, int b) { return pairs.At(c, b * 256 + a); });
}

TEST(UnpremultiplyImage, PutsTheRegionAtTheOrigin) {
    for (GUID const& format : catalog::Find("unpremultiply")->oFormats) {
        auto const image = MakeImage(format, 13, 5);
        FillEnds(image.Get(), 5, false);
        qzILBbox2l const region(3, 1, 7, 3);
        IXFImage* result = nullptr;
        ASSERT_EQ(qzILUnpremultiplyImage(image.Get(), &result, 15, region), 0);
        int width = 0, height = 0;
        result->GetRes(&width, &height);
        EXPECT_EQ(width, 13);
        EXPECT_EQ(height, 5);
        auto const wanted = MakeImage(format, 13, 5);
        qzILUnpremultiplyImg effect;
        effect.SetInputImg(image.Get());
        effect.SetOutputImg(wanted.Get());
        effect.SetProcessingMode(15);
        effect.SetROI(region);
        ASSERT_EQ(effect.Execute(), 1);
        PlainLayout const layout(image.Get());
        for (int y = 0; y < 3; ++y) {
            std::size_t const first = layout.Pixel(0, y), count = 7 * layout.PixelStep();
            EXPECT_EQ(DescribeDifference(Bytes(wanted).subspan(first, count), Bytes(result).subspan(first, count)), "")
                << NameOf(format) << " line " << y;
        }
        result->Release();
    }
    IXFImage* none = nullptr;
    EXPECT_EQ(static_cast<std::uint32_t>(qzILUnpremultiplyImage(nullptr, &none, 15, {0, 0, 1, 1})), 0x80004003u);
    EXPECT_EQ(none, nullptr);
}

/// An effect over one input, whose samples are chosen by index.
template <class T, class Fn>
void ExpectOver(char const* name, int width, int height, Fn sample, Model const& model, Tweak const& tweak = {}) {
    ForEachLevel([&] {
        Subject subject(*catalog::Find(name), sizeof(T) == 1 ? MFIF_RGBA_RAW_32 : MFIF_RGBA_RAW_64, width, height);
        auto const bytes = Bytes(subject.oImages.oInputs[0]);
        for (std::size_t i = 0; i < bytes.size() / sizeof(T); ++i) {
            T const value = static_cast<T>(sample(static_cast<int>(i / 4), static_cast<int>(i % 4)));
            std::memcpy(&bytes[i * sizeof(T)], &value, sizeof(T));
        }
        if (tweak) tweak(*subject);
        auto const expected = Expected(subject.oScene, subject.oImages, model);
        ASSERT_EQ(subject->Execute(), 1);
        EXPECT_EQ(DescribeDifference(expected, Bytes(subject.oImages.Output())), "") << subject.Describe();
    });
}

Model const kGray = Lines([](test::Scene const&) { return GrayModel{}; });

constexpr int kSources[][4] = {{0, 1, 2, 3},  {3, 2, 1, 0},    {12, 11, 11, 12},
                               {4, 5, 6, 7},  {8, 9, 10, 3},   {10, 8, 4, 9},
                               {2, 2, 7, 12}, {-1, 13, 0, 11}, {INT_MIN, INT_MAX, 9, 6}};

/// All pairs of red and green, with every fifth blue.
TEST(Channels, TheColoursOf8Bits) {
    auto const color = [](int i, int c) { return c == 2 ? (i >> 16) * 5 : i >> 8 * (c & 1); };
    ExpectOver<u8>("grayscale", 4096, 832, color, kGray);
    ExpectOver<u8>("channel-switch", 4096, 832, color, Lines([](test::Scene const&) {
                       return SwitchModel{{8, 9, 10, 7}};
                   }),
                   [](qzILProcessor& effect) {
                       constexpr int sources[4] = {8, 9, 10, 7};
                       dynamic_cast<qzILChannelSwitch&>(effect).SetSourceChannels(sources);
                   });
}

// Sources beyond the thirteen are 0.
TEST(ChannelSwitch, OfAnySource) {
    auto const color = [](int i, int c) { return i * (2 * c + 3); };
    for (auto const& s : kSources) {
        ExpectOver<u8>("channel-switch", 64, 64, color, Lines([&](test::Scene const&) {
                           return SwitchModel{{s[0], s[1], s[2], s[3]}};
                       }),
                       [&](qzILProcessor& effect) { dynamic_cast<qzILChannelSwitch&>(effect).SetSourceChannels(s); });
    }
}

/// Three offsets to the channels of a grey pixel that change the sum of a thousand parts by `change`.
std::array<int, 3> Offsets(int change) {
    for (int r = -9; r <= 9; ++r) {
        for (int g = -9; g <= 9; ++g) {
            for (int b = -9; b <= 9; ++b) {
                if (299 * r + 587 * g + 114 * b == change) return {r, g, b};
            }
        }
    }
    ADD_FAILURE() << "no offsets for " << change;
    return {};
}

TEST(Channels, EveryStepOfLuminanceOf16Bits) {
    for (int const change : {0, -1, 1}) {
        auto const offsets = Offsets(change);
        ExpectOver<u16>(
            "grayscale", 256, 256,
            [&](int i, int c) {
                if (change == 0) return i;
                return c == 3 ? 0 : std::clamp(i, 9, 65526) + offsets[static_cast<std::size_t>(c)];
            },
            kGray);
    }
}

TEST(ChannelSwitch, KeepsItsSources) {
    qzILChannelSwitch effect;
    int channels[4] = {};
    effect.GetSourceChannels(channels);
    EXPECT_TRUE(std::ranges::equal(channels, std::array{0, 1, 2, 3}));
    effect.SetSourceChannels(kSources[2]);
    effect.GetSourceChannels(channels);
    EXPECT_TRUE(std::ranges::equal(channels, kSources[2]));
}

TEST(LogicValues, OfSinglePairs) {
    qzILMaxImg const larger{};
    qzILMinImg const smaller{};
    EXPECT_EQ(larger.Operation8(200, 100), 200);
    EXPECT_EQ(larger.Operation16(255, 65535), 65535);
    EXPECT_EQ(smaller.Operation8(200, 100), 100);
    EXPECT_EQ(smaller.Operation16(65535, 256), 256);
}

// Components above 1.0 keep their low bits; every number but 1 is the difference.
TEST(Logic, OfOtherOperands) {
    qzILColor const color(1.2, 0.66, 1.0, 0.0);
    double const components[] = {1.2, 0.66, 1.0, 0.0};
    Random random(1);
    for (GUID const& format : kInteger) {
        int const full = GetChannelSizeFromFormat(format) == 1 ? 255 : 65535;
        auto const operand = [&](int c) { return static_cast<int>(Round(components[c] * full) & full); };
        test::Scene scene = WholeScene(*catalog::Find("or-color"), format, random);
        scene.Set("operand", color);
        ExpectModel(scene, Points([&](int c, int v, int) { return v | operand(c); }));
        for (long const operation : {2L, 0xFFFFFFFFL}) {
            scene = WholeScene(*catalog::Find("xor"), format, random);
            scene.Set("operation", operation);
            ExpectModel(scene, Points([](int, int a, int b) { return std::abs(a - b); }));
        }
    }
}

TEST(MinMask, ClearsAttributes) {
    struct {
        unsigned uMode, uLeft;
    } const cases[] = {{0, 2}, {7, 2}, {8, 0}, {9, 0}, {15, 2}, {0x100 | 15, 0}, {0x200 | 7, 2}};
    for (auto const& [mode, left] : cases) {
        Subject subject(*catalog::Find("min-mask"), MFIF_RGBA_RAW_32);
        subject->SetProcessingMode(mode);
        IXFImage& output = *subject.oImages.Output().Get();
        output.SetAllAttributes(~0u);
        ASSERT_EQ(subject->Execute(), 1);
        unsigned attributes = 0;
        output.GetAllAttributes(&attributes);
        EXPECT_EQ(attributes, ~3u | left) << "mode " << mode;
    }
}

// A picture's own alpha as the mask, in place, premultiplies it.
TEST(MinMask, PremultipliesByTheOwnAlpha) {
    test::Scene scene = PlainScene(*catalog::Find("min-mask"), MFIF_RGBA_RAW_32, 1300, 2);
    scene.iInPlace = 0;
    Images const images(scene);
    auto const after = Bytes(images.Output());
    std::vector<u8> const before(after.begin(), after.end());
    catalog::Instance instance = Prepare(scene, images);
    instance.SetMask(scene.oRoi, images.Output().Get(), XFImageChannel3);
    ASSERT_EQ(instance.Effect().Verify(), 1);
    ASSERT_EQ(instance.Effect().Execute(), 1);
    for (std::size_t i = 0; i < after.size(); ++i) {
        ASSERT_EQ(after[i], i % 4 == 3 ? before[i] : MinMaskModel::Product(before[i], before[i | 3])) << i;
    }
}

int l_iAsked = 0;

TEST(PixelInterrupt, IsAskedByLineOrByFrame) {
    for (auto const& [name, asked] : {std::pair{"and", 1},
                                      {"or", 1},
                                      {"xor", 1},
                                      {"min-mask", 1},
                                      {"max", 2},
                                      {"min", 2},
                                      {"and-color", 2},
                                      {"or-color", 2}}) {
        Subject subject(*catalog::Find(name), MFIF_RGBA_RAW_32, 8, 5);
        l_iAsked = 0;
        subject->SetInterruptFct([] { return ++l_iAsked > 1 ? 1 : 0; }, nullptr);
        EXPECT_EQ(subject->Execute(), 1);
        EXPECT_EQ(l_iAsked, asked) << name;
    }
    // Once before the lines, then behind the third.
    Subject subject(*catalog::Find("rgba-to-alpha"), MFIF_RGBA_RAW_32, 8, 6);
    auto const in = Bytes(subject.oImages.oInputs[0]), out = Bytes(subject.oImages.Output());
    std::vector<u8> const before(out.begin(), out.end());
    l_iAsked = 0;
    subject->SetInterruptFct([] { return ++l_iAsked > 3 ? 1 : 0; }, nullptr);
    EXPECT_EQ(subject->Execute(), 1);
    for (std::size_t i = 0; i < out.size(); ++i) {
        EXPECT_EQ(out[i], i % 4 == 3 && i / 32 < 3 ? Luminance(&in[i - 3]) : before[i]) << "byte " << i;
    }
}

}  // namespace
}  // namespace qzil::test::model
