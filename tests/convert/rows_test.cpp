// Row functions, fill colours, and what dithering repeats.

#include "model/convert_blocks.h"
#include "model/convert_model.h"

#include "qzil/frame/convert.h"

#include "qzil/convert/rgba_lines.h"
#include "qzil/convert/rgba_to_ycca.h"
#include "qzil/image/pixel_math.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

namespace qzil::test::model {
namespace {

template <class T>
std::vector<T> AllValues() {
    std::vector<T> values;
    if constexpr (kIsFloat<T>) {
        using Limits = std::numeric_limits<float>;
        values = {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), Limits::max(), Limits::lowest(), -0.0f};
        Random random(5);
        for (int i = 0; i < 40000; ++i) values.push_back(static_cast<float>(random.Between(-40000, 80000)) / 30011.0f);
        for (int i = -600; i < 600; ++i) values.push_back(static_cast<float>(i) / 510.0f);  // halves of a byte
        while (values.size() % 4) values.push_back(0.25f);
    } else {
        values.resize(std::size_t{1} << (8 * sizeof(T)));
        std::iota(values.begin(), values.end(), std::numeric_limits<T>::min());
    }
    return values;
}

/// A row function over every value at every place of a pixel, against the rule for one sample.
template <class T, class U>
void ExpectRow(void (*row)(int, T const*, U*, int), Depth from, Depth to, bool fromVideo, bool toVideo) {
    auto const values = AllValues<T>();
    for (std::size_t shift = 0; shift < 4; ++shift) {
        std::vector<T> source(values);
        std::rotate(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(shift), source.end());
        std::vector<U> target(source.size() + 4, U{77});
        int const count = static_cast<int>(source.size()) / (fromVideo || toVideo ? 4 : 1);
        row(0, source.data(), target.data(), count);
        for (std::size_t i = 0; i < source.size(); ++i) {
            bool const colour = (i & 3) < 3;
            float v = DepthOfSample(static_cast<float>(source[i]), from, fromVideo && colour, to, toVideo && colour);
            if constexpr (!kIsFloat<U>) v = RoundLimit(v, std::numeric_limits<U>::min(), std::numeric_limits<U>::max());
            U const expected = static_cast<U>(v);
            ASSERT_TRUE(target[i] == expected || (v != v && target[i] != target[i]))
                << "value " << +source[i] << " at " << i << ": expected " << +expected << ", actual " << +target[i];
        }
        for (std::size_t i = source.size(); i < target.size(); ++i) ASSERT_EQ(target[i], U{77}) << "behind the row";
    }
}

TEST(RgbaRows, EveryValue) {
    ExpectRow<u8, short>(qzILConvertUbyteToS2_14, Depth::Byte, Depth::Fixed, false, false);
    ExpectRow<u8, float>(qzILConvertUbyteToFloat, Depth::Byte, Depth::Real, false, false);
    ExpectRow<float, short>(qzILConvertFloatToS2_14, Depth::Real, Depth::Fixed, false, false);
    ExpectRow<short, float>(qzILConvertS2_14ToFloat, Depth::Fixed, Depth::Real, false, false);
    ExpectRow<float, u8>(qzILConvertFloatToUbyte, Depth::Real, Depth::Byte, false, false);
    ExpectRow<short, u8>(qzILConvertS2_14ToUbyte, Depth::Fixed, Depth::Byte, false, false);
    ExpectRow<u8, float>(qzILConvertRGBA_VIDEOToFloat, Depth::Byte, Depth::Real, true, false);
    ExpectRow<u8, short>(qzILConvertRGBA_VIDEOToS2_14, Depth::Byte, Depth::Fixed, true, false);
    ExpectRow<float, u8>(qzILConvertFloatToRGBA_VIDEO, Depth::Real, Depth::Byte, false, true);
    ExpectRow<short, u8>(qzILConvertS2_14ToRGBA_VIDEO, Depth::Fixed, Depth::Byte, false, true);
}

TEST(RgbaRows, DiffusionCarriesAlongTheRow) {
    u8 target[8] = {};
    // 257 x 1020 is 4 x 65536 - 4: a start of 3.5 / 65536 rounds up to the missing 4, one of 3.4 / 65536 does not.
    short const fixed[] = {257, 257, 257, 257, 257, 0, -1, 32767};
    float const up = 3.5f / 65536, down = 3.4f / 65536;
    qzILConvertRGBAS2_14ToRGBAWithErrorDiffusion(0, fixed, target, 2, up, down, up, down, 0);
    EXPECT_EQ(DescribeDifference(std::array<u8, 8>{4, 3, 4, 3, 3, 0, 0, 255}, target), "");
    float const real[] = {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 2.0f, -1.0f, 0.5f};
    qzILConvertRGBAFloatToRGBAWithErrorDiffusion(0, real, target, 2, 0.0f, 0.5f, 0.0f, 0.25f, 0);
    EXPECT_EQ(DescribeDifference(std::array<u8, 8>{127, 128, 127, 127, 128, 255, 0, 128}, target), "");
    qzILConvertRGBAFloatToRGBAWithErrorDiffusion(0, real, target, 1, 0.5f, 0.0f, 0.25f, 0.5f, 1);
    EXPECT_EQ(DescribeDifference(std::array<u8, 4>{126, 125, 125, 128}, std::span(target).first(4)), "");
}

TEST(BlendLine, EqualsModel) {
    Random random(3);
    for (int run = 0; run < 4000; ++run) {
        int const width = random.Below(40), blend = std::array{0, 1, 100, 254, 255}[static_cast<std::size_t>(run % 5)];
        auto const model = std::array{64u, 512u, 1u}[static_cast<std::size_t>(run % 3)];
        bool const alternate = random.OneIn(2);
        std::vector<u8> source(static_cast<std::size_t>(width) * 4), output(static_cast<std::size_t>(width) * 2 + 4);
        for (u8& v : source) v = random.OneIn(3) ? (random.OneIn(2) ? 0 : 255) : static_cast<u8>(random.Below(256));
        for (u8& v : output) v = static_cast<u8>(random.Below(256));
        std::vector<u8> expected = output;
        ByteToYcc const& k = kByteToYcc[model == 512][0];
        i64 carry[3] = {};
        auto const sum = [&](i64 const(&row)[3], std::size_t pixel, i64& carried, int offset) {
            i64 const acc = Dot(row, source[pixel * 4 + 2], source[pixel * 4 + 1], source[pixel * 4]) + carried;
            carried = acc & 0xffff;
            return static_cast<u8>((acc >> 16) + offset);
        };
        for (std::size_t x = 0; model != 1 && blend && x + 1 < static_cast<std::size_t>(width); x += 2) {
            u8 const y0 = sum(k.piY, x, carry[0], 16), y1 = sum(k.piY, x + 1, carry[0], 16);
            u8 const cb = sum(k.piCb, x, carry[1], -128), cr = sum(k.piCr, x, carry[2], -128);
            std::array const bytes = alternate ? std::array{cb, y0, cr, y1} : std::array{y0, cb, y1, cr};
            for (std::size_t i = 0; i < 4; ++i) expected[2 * x + i] = TableMix(blend, expected[2 * x + i], bytes[i]);
        }
        qzILConvert8_BGRA2YCC422AndBlend_Line_Dropping(source.data(), output.data(), width, blend, model, alternate);
        ASSERT_EQ(DescribeDifference(expected, output), "")
            << "width " << width << " blend " << blend << " model " << model << " alternate " << alternate;
    }
}

/// The fill colour that an output must get.
std::vector<u8> FillBytesOf(qzILColor const& color, GUID const& out) {
    std::vector<u8> pixel(16);
    void* const p = pixel.data();
    bool const mono = IsFormatMono(out);
    auto const model = GetColorModelFromFormat(out);
    switch (DepthOf(out)) {
        case Depth::Byte: mono ? color.GetColorAs8(p, model) : color.GetColorAs32(p, model); break;
        case Depth::Word:
            // Video of ten bits has its colour in the 64-bit form of Rec. 601.
            mono ? color.GetColorAs16(p, model) : color.GetColorAs64(p, IsFormat10_6(out) ? XFColorModelYCC601 : model);
            break;
        case Depth::Fixed: mono ? color.GetColorAsMonoS2_14(p, model) : color.GetColorAsS2_14(p, model); break;
        case Depth::Real: mono ? color.GetColorAsMonoFloat(p, model) : color.GetColorAsFloat(p, model); break;
    }
    if (out == MFIF_BGRA_RAW_32) std::swap(pixel[0], pixel[2]);
    std::size_t const channels = mono ? 1 : out == MFIF_RGB_RAW_24 ? 3 : 4;
    pixel.resize(channels * GetChannelSizeFromFormat(out));
    return pixel;
}

TEST(ConvertedColor, IsThatOfTheOutput) {
    qzILColor const color(0.2, 0.9, 0.4, 0.7);
    // Red first or blue first is open where a conversion from video fills; so are three floats and blue at video
    // levels.
    constexpr std::array kOpen{MFIF_RGB_FLOAT, MFIF_RGB_FLOAT_BU, MFIF_BGRA_RAW_32_VIDEO};
    constexpr std::array kBlueFirst{MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO, MFIF_DIB_RAW_32, MFIF_DIB_RAW_24,
                                    MFIF_BGR_RAW_24};
    for (char const* const name : {"rgba-to-rgba", "rgba-to-ycca", "ycca-to-rgba", "rgba-to-hlsa", "hlsa-to-rgba"}) {
        catalog::Entry const& entry = *catalog::Find(name);
        for (catalog::FormatPair const& pair : entry.oPairs) {
            GUID const& out = pair.oTo;
            if (Contains(kOpen, out) || (IsFormatYCC(pair.oFrom) && Contains(kBlueFirst, out))) continue;
            test::Scene const scene = PlainScene(entry, pair, 2, 2);
            Images const images(scene);
            catalog::Instance instance = Prepare(scene, images);
            auto& effect = dynamic_cast<qzILMonadicConvertProc&>(instance.Effect());
            auto const* const actual = static_cast<u8 const*>(effect.GetConvertedColor(color));
            ASSERT_TRUE(actual) << scene.Describe();
            auto const expected = FillBytesOf(color, out);
            EXPECT_EQ(DescribeDifference(expected, {actual, expected.size()}), "") << scene.Describe();
        }
    }
}

// Where the term that is added is free, it still is the same each time.
TEST(Dithering, RepeatsExactly) {
    test::Scene scene = PlainScene(*catalog::Find("rgba-to-ycca"), {MFIF_RGBA_RAW_32, MFIF_CbYCrA_8_4444}, 40, 6);
    Images const plain = Executed(scene);
    std::vector<u8> const undithered(Bytes(plain.Output()).begin(), Bytes(plain.Output()).end());
    scene.Set("dither", true);
    Images const images(scene);
    catalog::Instance instance = Prepare(scene, images);
    ASSERT_EQ(instance.Effect().Execute(), 1);
    std::vector<u8> const first(Bytes(images.Output()).begin(), Bytes(images.Output()).end());
    ASSERT_EQ(instance.Effect().Execute(), 1);
    EXPECT_EQ(DescribeDifference(first, Bytes(images.Output())), "");
    EXPECT_NE(undithered, first);
}

}  // namespace
}  // namespace qzil::test::model
