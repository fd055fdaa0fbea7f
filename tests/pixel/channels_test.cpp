#include "pixel/expect.h"

#include "qzil/image/pixel_math.h"
#include "qzil/pixel/channels.h"

#include <climits>

namespace qzil::test::model {
namespace {

template <class T>
T Luminance(T const* p) {
    if constexpr (kIsFloat<T>) {
        return 0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2];
    } else {
        return static_cast<T>((i64{299} * p[0] + i64{587} * p[1] + i64{114} * p[2]) / 1000);
    }
}

/// Colour becomes luminance by the mask alone; the mode has no say.
struct GrayModel {
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            T const* const p = line.pA + 4 * x;
            T const y = Luminance(p), m = line.pMask ? line.pMask[x] : One<T>(), alpha = p[3];
            T result[3];
            for (int c = 0; c < 3; ++c) result[c] = IsNone(m) ? p[c] : IsFull(m) ? y : Mix(m, p[c], y);
            std::copy_n(result, 3, line.pOut + 4 * x);
            line.pOut[4 * x + 3] = alpha;
        }
    }
};

struct ToAlphaModel {
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            T const* const p = line.pA + 4 * x;
            T const m = line.pMask ? line.pMask[x] : One<T>();
            if (m == 0) {
                std::copy_n(p, 4, line.pOut + 4 * x);
            } else {
                line.pOut[4 * x + 3] = IsFull(m) ? Luminance(p) : MixByTable(m, p[3], Luminance(p));
            }
        }
    }
};

struct SwitchModel {
    int aSources[4];

    static void Work(u8 const* p, u8* working) {
        for (int c = 0; c < 4; ++c) {
            working[c] = p[c];
            working[4 + c] = static_cast<u8>(~p[c]);
        }
        int const r = p[0], g = p[1], b = p[2];
        int const mx = std::max({r, g, b}), mn = std::min({r, g, b}), s = mx + mn, d = mx - mn;
        int const lightness = (s + 1) >> 1;
        int hue = 0;
        if (d == 0) {
            hue = 0;
        } else if (r == mx) {
            hue = g < b ? -ilHueTable[b - g][d] : ilHueTable[g - b][d];
        } else if (g == mx) {
            hue = b >= r ? 85 + ilHueTable[b - r][d] : 85 - ilHueTable[r - b][d];
        } else {
            hue = r >= g ? ilHueTable[r - g][d] - 86 : 170 - ilHueTable[g - r][d];
        }
        working[8] = static_cast<u8>(hue);
        working[9] = static_cast<u8>(lightness);
        working[10] = lightness >= 128 ? ilNormDiv[d][510 - s] : ilNormDiv[d][s];
        working[11] = 0;
        working[12] = 255;
    }
    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T>) {
            for (int x = 0; x < line.iWidth; ++x) {
                u8 working[13], result[4];
                Work(line.pA + 4 * x, working);
                for (int c = 0; c < 4; ++c) {
                    result[c] = working[aSources[c] < 0 || aSources[c] > 12 ? 11 : aSources[c]];
                }
                line.Commit(x, result, [](i64 m, i64 p, i64 r) { return TableMix(m, p, r); });
            }
        }
    }
};

constexpr int kSources[][4] = {{0, 1, 2, 3},  {3, 2, 1, 0},    {12, 11, 11, 12},
                               {4, 5, 6, 7},  {8, 9, 10, 3},   {10, 8, 4, 9},
                               {2, 2, 7, 12}, {-1, 13, 0, 11}, {INT_MIN, INT_MAX, 9, 6}};

void ExpectGray(Scene& scene) {
    Expect<qzILGrayscaleImg>(scene, GrayModel{});
}

void ExpectSwitch(Scene& scene, int const (&sources)[4]) {
    Expect<qzILChannelSwitch>(scene, SwitchModel{{sources[0], sources[1], sources[2], sources[3]}},
                              Text("first source", sources[0]),
                              [&](auto& effect) { effect.SetSourceChannels(sources); });
}

ModelCase const kCases[] = {
    {"Grayscale", kGrayscale, kMasked | kSpecials | kEveryLevel, ExpectGray},
    {"ChannelSwitch", kGrayscale, kMasked | kSpecials | kEveryLevel,
     [](Scene& scene) { std::ranges::for_each(kSources, [&](auto& sources) { ExpectSwitch(scene, sources); }); }},
    {"ToAlpha", kComposite, kMasked | kEveryLevel, [](Scene& scene) { Expect<qzILRGBA2Alpha>(scene, ToAlphaModel{}); }},
};
INSTANTIATE_TEST_SUITE_P(Channels, EqualsModel, testing::ValuesIn(kCases), CaseName);

/// All pairs of red and green, with every fifth blue.
TEST(Channels, TheColoursOf8Bits) {
    Scene scene{.oFormat = MFIF_RGBA_RAW_32, .iWidth = 4096, .iHeight = 832};
    scene.Make();
    FillBytes(scene.oA.Get(), -1, [](int x, int y, int c) {
        int const color = y << 12 | x;
        return c == 2 ? (color >> 16) * 5 : color >> 8 * (c & 1);
    });
    ForEachLevel([&] {
        ExpectGray(scene);
        ExpectSwitch(scene, {8, 9, 10, 7});
    });
}

TEST(Channels, EveryStepOfLuminanceOf16Bits) {
    Scene scene = Square(MFIF_RGBA_RAW_64);
    // What is added to the channels of a grey pixel changes the sum of a thousand parts by 0, -1 or 1.
    int const offsets[][3] = {{0, 0, 0}, {-9, 4, 3}, {9, -4, -3}};
    for (auto const& [r, g, b] : offsets) {
        auto const bytes = Bytes(scene.oA);
        for (int i = 0; i < 65536; ++i) {
            int const grey = r == 0 ? i : std::clamp(i, 9, 65526);
            u16 const pixel[4] = {static_cast<u16>(grey + r), static_cast<u16>(grey + g), static_cast<u16>(grey + b),
                                  static_cast<u16>(i)};
            std::memcpy(&bytes[static_cast<std::size_t>(i) * 8], pixel, 8);
        }
        ForEachLevel([&] { ExpectGray(scene); });
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

}  // namespace
}  // namespace qzil::test::model
