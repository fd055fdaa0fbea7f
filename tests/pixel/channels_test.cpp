// The channel effects against their rules, one pixel at a time in wide integers.

#include "qzil/pixel/channels.h"

#include "qzil/image/image_ops.h"
#include "qzil/image/pixel_math.h"
#include "qzil/kernel/levels.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace qzil::test {
namespace {

constexpr int kWidth = 611, kHeight = 3;

/// All images of a test lie in one order of lines, so their samples are compared as arrays.
template <class T>
std::span<T> As(Ref<IXFImage> const& image) {
    return {reinterpret_cast<T*>(Bytes(image).data()), Bytes(image).size() / sizeof(T)};
}

class Channels : public testing::TestWithParam<kernel::CpuLevel> {
protected:
    void SetUp() override {
        if (!kernel::ForceCpuLevel(GetParam())) GTEST_SKIP() << "this processor does not have the level";
    }
    void TearDown() override { kernel::ForceCpuLevel(kernel::HighestCpuLevel()); }
};

template <class Effect>
void Execute(Effect& effect, Ref<IXFImage> const& input, Ref<IXFImage> const& output, Ref<IXFImage> const& mask = {},
             unsigned mode = 15) {
    effect.SetInputImg(input.Get());
    effect.SetOutputImg(output.Get());
    effect.SetProcessingMode(mode);
    if (mask) effect.SetMask({0, 0, kWidth, kHeight}, mask.Get(), XFImageChannelMono);
    ASSERT_EQ(effect.Execute(), 1);
}

long Luminance(long c0, long c1, long c2) {
    return (299 * c0 + 587 * c1 + 114 * c2) / 1000;
}

long Mix8(long c, long r, long m) {
    return static_cast<unsigned char>(c + (((r - c) * m * 257 + 32896) >> 16));
}
long MixTables(long c, long r, long m) {
    return static_cast<unsigned char>(ilNormMult[255 - m][c] + ilNormMult[m][r]);
}
long Mix16Bits(long c, long r, long m) {
    return static_cast<unsigned short>(c + ((m * 0x10001L * (r - c) + 0x80008000L) >> 32));
}

template <class T>
void CheckGray(GUID const& format, GUID const& maskFormat, long full, long (*mix)(long, long, long)) {
    for (bool const masked : {false, true}) {
        Ref<IXFImage> const input = MakeRandomImage(format, kWidth, kHeight, 1),
                            output = MakeImage(format, kWidth, kHeight);
        Ref<IXFImage> const mask = masked ? MakeRandomImage(maskFormat, kWidth, kHeight, 2) : Ref<IXFImage>();
        qzILGrayscaleImg gray;
        Execute(gray, input, output, mask, 7);
        auto const in = As<T>(input), out = As<T>(output);
        for (std::size_t i = 0; i < in.size(); ++i) {
            T const* const p = &in[i & ~std::size_t{3}];
            long const y = Luminance(p[0], p[1], p[2]), m = masked ? As<T>(mask)[i / 4] : full;
            ASSERT_EQ(out[i], i % 4 == 3 ? p[3] : m == full ? y : m == 0 ? p[i % 4] : mix(p[i % 4], y, m)) << i;
        }
    }
}

TEST_P(Channels, Grayscale) {
    CheckGray<unsigned char>(MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8, 255, Mix8);
    CheckGray<unsigned short>(MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, 65535, Mix16Bits);
    Ref<IXFImage> const input = MakeRandomImage(MFIF_RGBA_FLOAT, kWidth, kHeight, 1),
                        output = MakeImage(MFIF_RGBA_FLOAT, kWidth, kHeight),
                        mask = MakeRandomImage(MFIF_MONO_FLOAT, kWidth, kHeight, 2);
    qzILGrayscaleImg gray;
    Execute(gray, input, output, mask, 7);
    auto const in = As<float>(input), out = As<float>(output);
    for (std::size_t i = 0; i < in.size(); ++i) {
        float const* const p = &in[i & ~std::size_t{3}];
        float const y = 0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2], m = As<float>(mask)[i / 4], c = in[i];
        float const mixed = m <= 0 ? c : m >= 1 ? y : c + (y - c) * m;
        ASSERT_EQ(out[i], i % 4 == 3 ? p[3] : mixed) << i;
    }
}

/// Hue, lightness and saturation by the tables.
void Hls(unsigned char const* p, long* hls) {
    int const r = p[0], g = p[1], b = p[2];
    int const mx = std::max({r, g, b}), mn = std::min({r, g, b}), s = mx + mn, d = mx - mn;
    hls[1] = (s + 1) >> 1;
    hls[2] = hls[1] >= 128 ? ilNormDiv[d][510 - s] : ilNormDiv[d][s];
    if (d == 0)
        hls[0] = 0;
    else if (r == mx)
        hls[0] = g < b ? -ilHueTable[b - g][d] : ilHueTable[g - b][d];
    else if (g == mx)
        hls[0] = b >= r ? 85 + ilHueTable[b - r][d] : 85 - ilHueTable[r - b][d];
    else
        hls[0] = r >= g ? ilHueTable[r - g][d] - 86 : 170 - ilHueTable[g - r][d];
    hls[0] &= 255;
}

TEST_P(Channels, Switch) {
    Random random(6);
    for (int round = 0; round < 120; ++round) {
        int sources[4];
        for (int& source : sources) source = random.Between(-1, round % 2 ? 13 : 7);
        unsigned const mode = random.OneIn(2) ? 15u : static_cast<unsigned>(random.Below(16));
        bool const masked = random.OneIn(2);
        Ref<IXFImage> const input = MakeRandomImage(MFIF_RGBA_RAW_32, kWidth, kHeight, random.Next() >> 9),
                            output = MakeImage(MFIF_RGBA_RAW_32, kWidth, kHeight);
        Ref<IXFImage> const mask = masked ? MakeRandomImage(MFIF_MONO_RAW_8, kWidth, kHeight, 2) : Ref<IXFImage>();
        qzILChannelSwitch effect;
        effect.SetSourceChannels(sources);
        Execute(effect, input, output, mask, mode);
        auto const in = As<unsigned char>(input), out = As<unsigned char>(output);
        for (std::size_t i = 0; i < in.size(); ++i) {
            unsigned char const* const p = &in[i & ~std::size_t{3}];
            int const channel = static_cast<int>(i % 4), source = sources[channel];
            long hls[3];
            Hls(p, hls);
            long const value = source < 0 || source > 12 || source == 11 ? 0
                               : source == 12                            ? 255
                               : source >= 8                             ? hls[source - 8]
                               : source >= 4                             ? 255 - p[source - 4]
                                                                         : p[source];
            long const m = masked ? As<unsigned char>(mask)[i / 4] : 255;
            bool const selected = (mode >> channel & 1) != 0;
            ASSERT_EQ(out[i], m == 0 || !selected ? in[i] : MixTables(in[i], value, m)) << i << " source " << source;
        }
    }
    Ref<IXFImage> const wide = MakeRandomImage(MFIF_RGBA_RAW_64, kWidth, kHeight, 1),
                        kept = MakeRandomImage(MFIF_RGBA_RAW_64, kWidth, kHeight, 2),
                        same = MakeRandomImage(MFIF_RGBA_RAW_64, kWidth, kHeight, 2);
    qzILChannelSwitch effect;
    Execute(effect, wide, kept);
    EXPECT_EQ(DescribeDifference(Bytes(same), Bytes(kept)), "");
}

template <class T>
void CheckAlpha(GUID const& format, GUID const& maskFormat, long (*mix)(long, long, long)) {
    for (bool const masked : {false, true}) {
        Ref<IXFImage> const input = MakeRandomImage(format, kWidth, kHeight, 1),
                            output = MakeRandomImage(format, kWidth, kHeight, 3),
                            before = MakeRandomImage(format, kWidth, kHeight, 3);
        Ref<IXFImage> const mask = masked ? MakeRandomImage(maskFormat, kWidth, kHeight, 2) : Ref<IXFImage>();
        qzILRGBA2Alpha effect;
        Execute(effect, input, output, mask, 5);
        auto const in = As<T>(input), out = As<T>(output);
        for (std::size_t i = 0; i < in.size(); ++i) {
            T const* const p = &in[i & ~std::size_t{3}];
            long const y = Luminance(p[0], p[1], p[2]);
            if (masked && As<T>(mask)[i / 4] == 0) {
                ASSERT_EQ(out[i], in[i]);
            } else if (i % 4 == 3) {
                ASSERT_EQ(out[i], masked ? mix(p[3], y, As<T>(mask)[i / 4]) : y) << i;
            } else {
                ASSERT_EQ(out[i], As<T>(before)[i]) << i;
            }
        }
    }
}

TEST_P(Channels, LuminanceIntoAlpha) {
    CheckAlpha<unsigned char>(MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8, MixTables);
    CheckAlpha<unsigned short>(MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, Mix16Bits);
}

template <class T>
void CheckExtractAndInsert(GUID const& rgba, GUID const& mono, bool inserts) {
    for (XFImageChannel const channel : {1u, 2u, 4u, 8u, 15u}) {
        std::size_t const place = channel == 2 ? 1 : channel == 4 ? 2 : channel == 8 ? 3 : 0;
        Ref<IXFImage> const color = MakeRandomImage(rgba, kWidth, kHeight, 1), taken = MakeImage(mono, kWidth, kHeight);
        if (channel != 15) {
            qzILExtractChannel extract;
            extract.SetChannel(channel);
            Execute(extract, color, taken);
            for (std::size_t i = 0; i < As<T>(taken).size(); ++i)
                ASSERT_EQ(As<T>(taken)[i], As<T>(color)[4 * i + place]);
        }
        if (!inserts) continue;
        Ref<IXFImage> const grey = MakeRandomImage(mono, kWidth, kHeight, 5),
                            output = MakeRandomImage(rgba, kWidth, kHeight, 1);
        qzILInsertChannel insert;
        insert.SetChannel(channel);
        Execute(insert, grey, output);
        for (std::size_t i = 0; i < As<T>(output).size(); ++i) {
            bool const written = channel == 15 || i % 4 == place;
            ASSERT_EQ(As<T>(output)[i], written ? As<T>(grey)[i / 4] : As<T>(color)[i]) << i;
        }
    }
}

TEST_P(Channels, ExtractAndInsert) {
    CheckExtractAndInsert<unsigned char>(MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8, true);
    CheckExtractAndInsert<unsigned short>(MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, true);
    CheckExtractAndInsert<short>(MFIF_RGBA_S2_14, MFIF_MONO_S2_14, false);
    CheckExtractAndInsert<float>(MFIF_RGBA_FLOAT, MFIF_MONO_FLOAT, false);
}

std::string LevelName(testing::TestParamInfo<kernel::CpuLevel> const& info) {
    constexpr char const* kNames[] = {"Baseline", "V3", "V4"};
    return kNames[static_cast<int>(info.param)];
}
INSTANTIATE_TEST_SUITE_P(Levels, Channels,
                         testing::Values(kernel::CpuLevel::Baseline, kernel::CpuLevel::V3, kernel::CpuLevel::V4),
                         LevelName);

/// What a set-up changes beside the formats.
struct Setup {
    unsigned uMode = 15;
    XFImageChannel uChannel = 1;
    qzILBbox2l oRoi{0, 0, 8, 4};
    bool bMask = false;
};

template <class Effect>
unsigned CodeOf(GUID const& from, GUID const& to, Setup const& setup = {}) {
    Ref<IXFImage> const input = MakeImage(from, 8, 4), output = MakeImage(to, 8, 4);
    Ref<IXFImage> const mask = MakeImage(MFIF_MONO_RAW_8, 8, 4);
    Effect effect;
    effect.SetInputImg(input.Get());
    effect.SetOutputImg(output.Get());
    effect.SetProcessingMode(setup.uMode);
    effect.SetROI(setup.oRoi);
    if (setup.bMask) effect.SetMask({0, 0, 8, 4}, mask.Get(), XFImageChannelMono);
    if constexpr (requires { effect.SetChannel(1u); }) effect.SetChannel(setup.uChannel);
    return effect.Verify() == 1 ? 0 : effect.GetLastError().GetErrorCode();
}

TEST(ChannelsVerify, CodesAndTheirOrder) {
    EXPECT_EQ(CodeOf<qzILGrayscaleImg>(MFIF_RGBA_FLOAT_BU, MFIF_RGBA_FLOAT_BU, {7, 1}), 0u);
    EXPECT_EQ(CodeOf<qzILGrayscaleImg>(MFIF_RGBA_S2_14, MFIF_RGBA_S2_14, {5, 1}), 0x1000Du);
    EXPECT_EQ(CodeOf<qzILGrayscaleImg>(MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32, {13, 1}), 0x20002u);
    EXPECT_EQ(CodeOf<qzILExtractChannel>(MFIF_RGBA_S2_14, MFIF_MONO_S2_14, {15, 8}), 0u);
    EXPECT_EQ(CodeOf<qzILExtractChannel>(MFIF_RGBA_FLOAT_BU, MFIF_MONO_S2_14, {15, 3}), 0x10034u);
    EXPECT_EQ(CodeOf<qzILExtractChannel>(MFIF_RGBA_RAW_32, MFIF_MONO_RAW_16, {15, 3}), 0x1000Du);
    EXPECT_EQ(CodeOf<qzILExtractChannel>(MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8, {15, 15}), 0x10035u);
    EXPECT_EQ(CodeOf<qzILInsertChannel>(MFIF_MONO_RAW_16, MFIF_RGBA_RAW_64, {15, 15}), 0u);
    EXPECT_EQ(CodeOf<qzILInsertChannel>(MFIF_MONO_FLOAT, MFIF_RGBA_FLOAT, {15, 3}), 0x10034u);
    EXPECT_EQ(CodeOf<qzILInsertChannel>(MFIF_MONO_RAW_8, MFIF_RGBA_RAW_64, {15, 3}), 0x1000Du);
    EXPECT_EQ(CodeOf<qzILInsertChannel>(MFIF_MONO_RAW_8, MFIF_RGBA_RAW_32, {15, 16}), 0x10035u);
    EXPECT_EQ(CodeOf<qzILChannelSwitch>(MFIF_RGBA_RAW_64, MFIF_RGBA_RAW_64), 0u);
    EXPECT_EQ(CodeOf<qzILChannelSwitch>(MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT), 0x10012u);
    EXPECT_EQ(CodeOf<qzILRGBA2Alpha>(MFIF_RGBA_RAW_64, MFIF_RGBA_RAW_64, {1, 1}), 0u);
    EXPECT_EQ(CodeOf<qzILRGBA2Alpha>(MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32, {15, 1, {0, 0, 8, 3}}), 0x20001u);
    EXPECT_EQ(CodeOf<qzILRGBA2Alpha>(MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32, {15, 1, {0, 0, 8, 4}, true}), 0x20001u);
    EXPECT_EQ(CodeOf<qzILRGBA2Alpha>(MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT, {15, 1, {0, 0, 8, 3}}), 0x10034u);
}

TEST(ChannelColours, FillWithTheComponentThatTheChannelNames) {
    Ref<IXFImage> const mono = MakeImage(MFIF_MONO_RAW_16, 2, 2), rgba = MakeImage(MFIF_RGBA_RAW_32, 2, 2);
    qzILColor const color(0.2, 0.4, 0.6, 0.8);
    qzILExtractChannel extract;
    extract.SetOutputImg(mono.Get());
    extract.SetChannel(XFImageChannel3);
    unsigned short value = 0;
    std::memcpy(&value, extract.GetConvertedColor(color), 2);
    EXPECT_EQ(value, 52428);
    qzILInsertChannel insert;
    insert.SetOutputImg(rgba.Get());
    insert.SetChannel(XFImageChannel1);
    unsigned char pixel[4];
    std::memcpy(pixel, insert.GetConvertedColor(qzILColor(0.2, 0.5, 0.6, 0.8)), 4);
    EXPECT_EQ(pixel[1], 127);
    EXPECT_EQ(pixel[0] | pixel[2] | pixel[3], 0);
}

}  // namespace
}  // namespace qzil::test
