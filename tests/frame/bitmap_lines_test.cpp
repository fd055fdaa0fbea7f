// Every row routine against its rule, pixel by pixel, between bytes that have to stay.

#include "qzil/frame/bitmap_lines.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <vector>

namespace qzil::test {
namespace {

using u8 = unsigned char;
using u16 = unsigned short;

/// Random samples; a quarter of the words and bytes are ends.
template <class T>
std::vector<T> Samples(std::size_t count, std::uint64_t seed) {
    Random random(seed);
    std::vector<T> samples(count);
    for (T& sample : samples) {
        sample = static_cast<T>(random.OneIn(4) ? -random.Below(2) : static_cast<int>(random.Next() & 0xFFFF));
    }
    return samples;
}

constexpr int kCounts[] = {-3, 0, 1, 2, 7, 64, 4099};
constexpr std::size_t kRoom = 4 * 4099 + 8;

/// A routine writes `written` samples of each target pixel of `step`, as `rule(pixel, sample)` says, and nothing else.
template <class T, class Run, class Rule>
void Expect(char const* name, std::size_t step, std::size_t written, Run run, Rule rule) {
    for (int const count : kCounts) {
        std::vector<T> const before = Samples<T>(kRoom, 77);
        std::vector<T> expected = before, actual = before;
        for (std::size_t i = 0; static_cast<int>(i) < count; ++i) {
            for (std::size_t c = 0; c < written; ++c) expected[i * step + c] = static_cast<T>(rule(i, c));
        }
        run(actual.data(), count);
        for (std::size_t i = 0; i < kRoom; ++i) {
            ASSERT_EQ(expected[i], actual[i]) << name << " count " << count << " sample " << i;
        }
    }
}

std::vector<u8> const g_oBytes = Samples<u8>(kRoom, 1), g_oAlpha = Samples<u8>(kRoom, 2);
std::vector<u16> const g_oWords = Samples<u16>(kRoom, 3);

// Rows that bitmaps are made of, or become, are seen with those.
TEST(BitmapLines, BetweenDepths) {
    Expect<u8>(
        "Rgba64 32", 4, 4, [](u8* target, int count) { qzILRowRgba64ToRgba32(g_oWords.data(), target, count); },
        [](auto i, auto c) { return g_oWords[4 * i + c] & 255; });
    Expect<u16>(
        "Rgba32 16", 1, 0, [](u16* target, int count) { qzILRowRgba32ToDib16(g_oBytes.data(), target, count); },
        [](auto, auto) { return 0; });
    Expect<u16>(
        "Rgba32 64", 4, 4, [](u16* target, int count) { qzILRowRgba32ToRgba64(g_oBytes.data(), target, count); },
        [](auto i, auto c) { return g_oBytes[4 * i + c] * 257; });
}

TEST(BitmapLines, OneChannel) {
    for (std::size_t channel = 0; channel < 4; ++channel) {
        Expect<u8>(
            "Set32", 4, 1, [](u8* row, int count) { qzILRowSetChannelRgba32(200, row, count); },
            [](auto, auto) { return 200; });
        Expect<u16>(
            "Set64", 4, 1, [](u16* row, int count) { qzILRowSetChannelRgba64(50001, row, count); },
            [](auto, auto) { return 50001; });
        Expect<u8>(
            "Copy", 4, 1,
            [=](u8* row, int count) { qzILRowCopyChannel32ToChannel32(g_oBytes.data() + channel, row, count); },
            [=](auto i, auto) { return g_oBytes[4 * i + channel]; });
    }
}

TEST(BitmapLines, MergesAndSplits) {
    auto const merge = [](char const* name, auto routine, std::size_t color, std::size_t alpha, bool reverses) {
        Expect<u8>(
            name, 4, 4, [&](u8* to, int count) { routine(g_oBytes.data(), g_oAlpha.data(), to, count); },
            [=](auto i, auto c) {
                return c == 3 ? g_oAlpha[i * alpha] : g_oBytes[i * color + (reverses ? 2 - c : c)];
            });
    };
    merge("Merge 32", qzILRowMergeDib32AndAlpha32ToRgba32, 4, 4, true);
    merge("Merge 24", qzILRowMergeDib24AndAlpha8ToRgba32, 3, 1, true);
    merge("Merge RGB", qzILRowMergeRgb24AndAlpha8ToRgba32, 3, 1, false);
    auto const split = [](char const* name, auto routine, std::size_t color, std::size_t alpha, bool reverses) {
        std::vector<u8> other(kRoom);
        Expect<u8>(
            name, color, 3, [&](u8* to, int count) { routine(g_oBytes.data(), to, other.data(), count); },
            [=](auto i, auto c) { return g_oBytes[4 * i + (reverses ? 2 - c : c)]; });
        Expect<u8>(
            name, alpha, 1, [&](u8* to, int count) { routine(g_oBytes.data(), other.data(), to, count); },
            [=](auto i, auto) { return g_oBytes[4 * i + 3]; });
    };
    split("Split 32", qzILRowSplitRgba32ToDib32AndAlpha32, 4, 4, true);
    split("Split RGB", qzILRowSplitRgba32ToRgb24AndAlpha8, 3, 1, false);
}

/// The eight forms of one direction: with four or three channels, at video levels or not, with swapped words or not.
template <class Routine>
struct Forms {
    Routine apRoutines[8];
    static std::size_t Channels(int form) { return form & 1 ? 3 : 4; }
    static bool IsVideo(int form) { return form & 2; }
    static bool Swaps(int form) { return form & 4; }
};

u16 Swap(u16 v) {
    return static_cast<u16>((v & 255) * 256 + v / 256);
}

TEST(BitmapLines, WordsToFloat) {
    std::vector<u16> words(65536 * 4);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<u16>(i);
    using Routine = void (*)(u16 const*, float*, int);
    Forms<Routine> const forms{{qzIlRowRgba64ToRgbaFloat, qzIlRowRgb48ToRgbaFloat, qzIlRowRgba64VideoToRgbaFloat,
                                qzIlRowRgb48VideoToRgbaFloat, qzIlRowRgba64ToRgbaFloatSwapEndian,
                                qzIlRowRgb48ToRgbaFloatSwapEndian, qzIlRowRgba64VideoToRgbaFloatSwapEndian,
                                qzIlRowRgb48VideoToRgbaFloatSwapEndian}};
    for (int form = 0; form < 8; ++form) {
        std::vector<float> actual(words.size(), -7.0f);
        forms.apRoutines[form](words.data(), actual.data(), 65536);
        for (std::size_t i = 0; i < actual.size(); ++i) {
            u16 const word = forms.Swaps(form) ? Swap(words[i]) : words[i];
            // A quotient of short integers, rounded to double and then to float, is rounded once in effect.
            double const value = forms.IsVideo(form) ? (word - 4112.0) / 56283.0 : word / 65535.0;
            float const expected = i < 65536 * forms.Channels(form) ? static_cast<float>(value) : -7.0f;
            ASSERT_EQ(std::bit_cast<unsigned>(actual[i]), std::bit_cast<unsigned>(expected))
                << "form " << form << " sample " << i;
        }
    }
}

/// Values round every step and half step of both scales, and the ends of what a float holds.
std::vector<float> FloatSamples() {
    using Limits = std::numeric_limits<float>;
    std::vector<float> samples;
    for (float const v : {0.0f, 1.0f, std::nextafter(1.0f, 2.0f), 1e30f, Limits::infinity(), Limits::quiet_NaN(),
                          Limits::denorm_min(), 0.0730593f, 1.0913242f}) {
        samples.insert(samples.end(), {v, -v});
    }
    for (int i = -2; i < 2 * 65538; ++i) {
        float const full = static_cast<float>(i / 131070.0), video = static_cast<float>((i / 2.0 - 4112) / 56283);
        for (float const v : {full, video}) {
            samples.insert(samples.end(), {std::nextafter(v, -9.0f), v, std::nextafter(v, 9.0f)});
        }
    }
    samples.resize(samples.size() / 12 * 12);
    return samples;
}

TEST(BitmapLines, FloatToWords) {
    std::vector<float> const samples = FloatSamples();
    using Routine = void (*)(float const*, u16*, int);
    Forms<Routine> const forms{{qzIlRowRgbaFloatToRgba64, qzIlRowRgbaFloatToRgba48, qzIlRowRgbaFloatToRgba64Video,
                                qzIlRowRgbaFloatToRgba48Video, qzIlRowRgbaFloatToRgba64SwapEndian,
                                qzIlRowRgbaFloatToRgba48SwapEndian, qzIlRowRgbaFloatToRgba64VideoSwapEndian,
                                qzIlRowRgbaFloatToRgba48VideoSwapEndian}};
    for (int form = 0; form < 8; ++form) {
        std::vector<u16> actual(samples.size() + 1, 0xABCD);
        forms.apRoutines[form](samples.data(), actual.data(), static_cast<int>(samples.size() / forms.Channels(form)));
        for (std::size_t i = 0; i < samples.size(); ++i) {
            long double const v = samples[i], s = forms.IsVideo(form) ? v * 56283 + 4112 : v * 65535;
            u16 word = 0;
            if (s > 65535) {
                word = 65535;
            } else if (s > 0) {
                word = static_cast<u16>(std::roundl(s));
            }
            ASSERT_EQ(actual[i], forms.Swaps(form) ? Swap(word) : word) << "form " << form << " value " << samples[i];
        }
        ASSERT_EQ(actual.back(), 0xABCD);
    }
}

}  // namespace
}  // namespace qzil::test
