#include "support/picture.h"
#include "support/plain_layout.h"

#include "qzil/image/image_ops.h"
#include "qzil/pixel/channels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace qzil::test {
namespace {

struct Pair {
    GUID oRgba, oMono;
    std::size_t uSize;  ///< bytes of a channel
};
constexpr Pair kPairs[] = {{MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8, 1},
                           {MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, 2},
                           {MFIF_RGBA_S2_14, MFIF_MONO_S2_14, 2},
                           {MFIF_RGBA_FLOAT, MFIF_MONO_FLOAT, 4}};
constexpr XFImageChannel kChannels[] = {1, 2, 4, 8, 15, 0, 3, 16};

std::size_t PlaceOf(XFImageChannel channel) {
    return channel == 2 ? 1 : channel == 4 ? 2 : channel == 8 ? 3 : 0;
}

/// Runs an effect from one format to another; `move` puts a pixel of the input into one of the output.
template <class Effect, class Move>
void Check(XFImageChannel channel, int width, GUID const& from, GUID const& to, Move move) {
    auto const in = MakeRandomImage(from, width, 3, 5), out = MakeRandomImage(to, width, 3, 6);
    std::vector<unsigned char> expected(Bytes(out).begin(), Bytes(out).end());
    PlainLayout const source(in.Get()), target(out.Get());
    for (int i = 0; i < 3 * width; ++i) {
        move(&expected[target.Pixel(i % width, i / width)], &Bytes(in)[source.Pixel(i % width, i / width)]);
    }
    Effect effect;
    effect.SetInputImg(in.Get());
    effect.SetOutputImg(out.Get());
    effect.SetChannel(channel);
    effect.SetProcessingMode(15);
    ASSERT_EQ(effect.Execute(), 1);
    EXPECT_EQ(DescribeDifference(expected, Bytes(out)), "") << NameOf(from) << ' ' << channel << " width " << width;
}

void CheckPair(XFImageChannel channel, int width, Pair const& pair) {
    std::size_t const size = pair.uSize, place = PlaceOf(channel) * size;
    Check<qzILExtractChannel>(
        channel, width, pair.oRgba, pair.oMono,
        [=](unsigned char* to, unsigned char const* from) { std::memcpy(to, from + place, size); });
    if (pair.oMono != MFIF_MONO_RAW_8 && pair.oMono != MFIF_MONO_RAW_16) return;
    Check<qzILInsertChannel>(channel, width, pair.oMono, pair.oRgba, [=](unsigned char* to, unsigned char const* from) {
        for (std::size_t c = 0; c < 4; ++c) {
            if (channel == 15 || c * size == place) std::memcpy(to + c * size, from, size);
        }
    });
}

// Regions, fields, large frames and CPU levels are the business of what holds for all conversions.
TEST(SingleChannel, MovesOneChannel) {
    for (Pair const& pair : kPairs) {
        for (XFImageChannel const channel : kChannels) {
            for (int width = 1; width < 70; ++width) CheckPair(channel, width, pair);
        }
    }
}

template <class Effect>
unsigned CodeOf(XFImageChannel channel, GUID const& from, GUID const& to, unsigned mode = 15) {
    auto const in = MakeImage(from, 8, 8), out = MakeImage(to, 8, 8);
    Effect effect;
    effect.SetChannel(channel);
    effect.SetInputImg(in.Get());
    effect.SetOutputImg(out.Get());
    effect.SetProcessingMode(mode);
    return effect.Verify() == 1 ? 0 : effect.GetLastError().GetErrorCode();
}

TEST(SingleChannel, Refusals) {
    auto const extract = CodeOf<qzILExtractChannel>;
    auto const insert = CodeOf<qzILInsertChannel>;
    std::vector<GUID> const formats = DescribedFormats();
    for (GUID const& from : formats) {
        for (GUID const& to : formats) {
            // Insertion knows the first two pairs.
            auto const rgba = std::ranges::find(kPairs, from, &Pair::oRgba),
                       mono = std::ranges::find(kPairs, from, &Pair::oMono);
            bool const isRgba = rgba != std::end(kPairs), isMono = mono - kPairs < 2;
            bool const extracts = isRgba && to == rgba->oMono, inserts = isMono && to == mono->oRgba;
            // The frame's own refusals come first; they concern video outputs alone.
            if (IsFormatYCC(to)) continue;
            EXPECT_EQ(extract(1, from, to, 15), extracts ? 0u
                                                : isRgba ? 0x1000Du
                                                         : 0x10034u)
                << NameOf(from) << NameOf(to);
            EXPECT_EQ(insert(1, from, to, 15), inserts  ? 0u
                                               : isMono ? 0x1000Du
                                                        : 0x10034u)
                << NameOf(from) << NameOf(to);
        }
    }
    for (unsigned channel = 0; channel < 20; ++channel) {
        bool const one = channel == 1 || channel == 2 || channel == 4 || channel == 8;
        EXPECT_EQ(extract(channel, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, 15), one ? 0u : 0x10035u) << channel;
        EXPECT_EQ(insert(channel, MFIF_MONO_RAW_16, MFIF_RGBA_RAW_64, 15), one || channel == 15 ? 0u : 0x10035u)
            << channel;
        EXPECT_EQ(extract(channel, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, 15), 0x1000Du) << channel;
    }
    EXPECT_EQ(extract(9, MFIF_MONO_RAW_8, MFIF_MONO_RAW_8, 7), 0x20002u) << "the frame's code comes first";
    EXPECT_EQ(qzILExtractChannel().GetChannel(), 1u);
    EXPECT_EQ(qzILInsertChannel().GetChannel(), 1u);
}

template <class Effect>
void ExpectNothingWritten(GUID const& from, GUID const& to) {
    auto const in = MakeImage(from, 5, 5), out = MakeRandomImage(to, 5, 5, 3);
    std::vector<unsigned char> const before(Bytes(out).begin(), Bytes(out).end());
    Effect effect;
    effect.SetInputImg(in.Get());
    effect.SetOutputImg(out.Get());
    EXPECT_EQ(effect.Execute(), -1);
    EXPECT_EQ(DescribeDifference(before, Bytes(out)), "") << NameOf(from) << NameOf(to);
}

TEST(SingleChannel, UnsuitableFormatsAreLeftAlone) {
    for (Pair const& pair : kPairs) {
        for (GUID const& other : {MFIF_CbYCrY_16, MFIF_MONO_RAW_8_TD, MFIF_RGB_RAW_24, MFIF_MONO_RAW_32}) {
            ExpectNothingWritten<qzILExtractChannel>(pair.oRgba, other);
            ExpectNothingWritten<qzILInsertChannel>(pair.oRgba, other);
        }
    }
}

template <class T>
std::vector<T> Converted(qzILMonadicConvertProc& effect, GUID const& format, qzILColor const& color,
                         std::size_t count) {
    auto const out = MakeImage(format, 2, 2);
    effect.SetOutputImg(out.Get());
    std::vector<T> values(count);
    std::memcpy(values.data(), effect.GetConvertedColor(color), count * sizeof(T));
    return values;
}

TEST(SingleChannel, ConvertedColours) {
    qzILColor const color(0.25, 0.5, 0.75, 1.0);
    double const components[4] = {0.25, 0.5, 0.75, 1.0};
    for (XFImageChannel const channel : kChannels) {
        std::size_t const place = PlaceOf(channel);
        double const value = components[place];
        qzILExtractChannel extract;
        extract.SetChannel(channel);
        EXPECT_EQ(Converted<unsigned char>(extract, MFIF_MONO_RAW_8, color, 1)[0], std::lround(value * 255));
        EXPECT_EQ(Converted<unsigned short>(extract, MFIF_MONO_RAW_16, color, 1)[0], std::lround(value * 65535));
        EXPECT_EQ(Converted<short>(extract, MFIF_MONO_S2_14, color, 1)[0], value * 16384);
        EXPECT_EQ(Converted<float>(extract, MFIF_MONO_FLOAT, color, 1)[0], value);
        qzILInsertChannel insert;
        insert.SetChannel(channel);
        auto const bytes = Converted<unsigned char>(insert, MFIF_RGBA_RAW_32, color, 4);
        auto const words = Converted<unsigned short>(insert, MFIF_RGBA_RAW_64, color, 4);
        for (std::size_t c = 0; c < 4; ++c) {
            bool const selected = channel == 15 || c == place;
            EXPECT_EQ(bytes[c], selected ? std::floor(components[c] * 255) : 0) << channel << ' ' << c;
            EXPECT_EQ(words[c], selected ? std::floor(components[c] * 65535) : 0) << channel << ' ' << c;
        }
    }
    qzILInsertChannel insert;
    insert.SetChannel(15);
    qzILColor const wild(-1.0, 2.0, std::numeric_limits<double>::quiet_NaN(), 1e300);
    EXPECT_EQ(Converted<unsigned char>(insert, MFIF_RGBA_RAW_32, wild, 4),
              (std::vector<unsigned char>{0, 255, 0, 255}));
    insert.SetOutputImg(nullptr);
    EXPECT_EQ(insert.GetConvertedColor(color), nullptr);
    EXPECT_EQ(qzILExtractChannel().GetConvertedColor(color), nullptr);
}

}  // namespace
}  // namespace qzil::test
