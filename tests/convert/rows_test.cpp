// Row functions, fill colours, and values that are known beforehand.

#include "convert/convert_support.h"
#include "model/convert_blocks.h"

#include "qzil/convert/rgba_rows.h"
#include "qzil/image/pixel_math.h"

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
        std::ranges::rotate(source, source.begin() + static_cast<std::ptrdiff_t>(shift));
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

/// The fill colour in one form of an output, as bytes.
template <class T, class Get>
std::vector<u8> ColorBytes(std::size_t count, Get get) {
    T values[4] = {};
    get(values);
    auto const* const bytes = reinterpret_cast<u8 const*>(values);
    return {bytes, bytes + count * sizeof(T)};
}

struct FillColor {
    Conversion eKind;
    GUID oIn, oOut;
    std::vector<u8> oExpected;
};

TEST(ConvertedColor, IsThatOfTheOutput) {
    qzILColor const color(0.2, 0.9, 0.4, 0.7);
    auto const as32 = [&](XFColorModel m, std::size_t n = 4) {
        return ColorBytes<u8>(n, [&](void* p) { n == 3 ? color.GetColorAs24(p, m) : color.GetColorAs32(p, m); });
    };
    auto const as64 = [&](XFColorModel m) { return ColorBytes<u16>(4, [&](void* p) { color.GetColorAs64(p, m); }); };
    auto const fixed = [&](XFColorModel m) {
        return ColorBytes<short>(4, [&](void* p) { color.GetColorAsS2_14(p, m); });
    };
    auto const real = [&](XFColorModel m) {
        return ColorBytes<float>(4, [&](void* p) { color.GetColorAsFloat(p, m); });
    };
    auto const mono8 = ColorBytes<u8>(1, [&](void* p) { color.GetColorAs8(p, 2); });
    auto const mono16 = ColorBytes<u16>(1, [&](void* p) { color.GetColorAs16(p, 2); });
    auto swapped = as32(1);
    std::swap(swapped[0], swapped[2]);
    using enum Conversion;
    FillColor const cases[] = {
        {Rgba, MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, as32(4096)},
        {Rgba, MFIF_RGBA_RAW_64, MFIF_RGBA_RAW_32, as32(1)},
        {Rgba, MFIF_RGBA_RAW_32, MFIF_BGRA_RAW_32, swapped},
        {Rgba, MFIF_MONO_RAW_16, MFIF_MONO_RAW_8, mono8},
        {Rgba, MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, as64(1)},
        {Rgba, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16, mono16},
        {Rgba, MFIF_RGBA_RAW_32, MFIF_RGB_RAW_24, as32(1, 3)},
        {Rgba, MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, real(1)},
        {Rgba, MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, fixed(1)},
        {ToYcc, MFIF_RGBA_RAW_32, MFIF_CbYCrY_16, as32(64)},
        {ToYcc, MFIF_RGBA_RAW_32, MFIF_CbYCrY709A_24, as32(512)},
        {ToYcc, MFIF_RGBA_RAW_32, MFIF_CbYCrY709_S2_14, fixed(512)},
        {ToYcc, MFIF_RGBA_FLOAT, MFIF_CbYCrA_FLOAT_4444, real(64)},
        {ToYcc, MFIF_RGBA_RAW_64, MFIF_YCCA_RAW_64, as64(64)},
        {ToYcc, MFIF_RGBA_RAW_32, MFIF_CbYCrY709_10_6, as64(64)},
        {FromYcc, MFIF_CbYCrY_16, MFIF_RGBA_RAW_32, as32(1)},
        {FromYcc, MFIF_CbYCrY_16, MFIF_RGBA_FLOAT, real(1)},
        {FromYcc, MFIF_CbYCrY_16, MFIF_RGBA_S2_14, fixed(1)},
        {FromYcc, MFIF_YCCA_RAW_64, MFIF_RGBA_RAW_64, as64(1)},
        {ToHls, MFIF_RGBA_RAW_32, MFIF_HLSA_RAW_32, as32(4)},
        {ToHls, MFIF_RGBA_RAW_64, MFIF_HLSA_RAW_64, as64(4)},
        {FromHls, MFIF_HLSA_RAW_64, MFIF_RGBA_RAW_64, as64(1)},
    };
    for (FillColor const& fill : cases) {
        ConvertJob const job = WholeJob(fill.eKind, fill.oIn, fill.oOut, 2, 2);
        auto const effect = MakeEffect(job);
        auto const* const actual = static_cast<u8 const*>(effect->GetConvertedColor(color));
        ASSERT_TRUE(actual) << job.Describe();
        EXPECT_EQ(DescribeDifference(fill.oExpected, {actual, fill.oExpected.size()}), "") << job.Describe();
    }
}

TEST(Dithering, RepeatsExactly) {
    std::pair<Conversion, std::pair<GUID, GUID>> const roads[] = {
        {Conversion::Rgba, {MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_32}},
        {Conversion::ToYcc, {MFIF_RGBA_RAW_32, MFIF_CbYCrY_16}},
        {Conversion::ToYcc, {MFIF_RGBA_RAW_32, MFIF_CbYCrA_8_4444}},
        {Conversion::FromYcc, {MFIF_CbYCrY_FLOAT, MFIF_RGBA_RAW_32}}};
    for (auto const& [kind, formats] : roads) {
        ConvertJob job = WholeJob(kind, formats.first, formats.second, 40, 6);
        FillRandom(job.oInput.Get(), 9);
        auto const output = Bytes(job.oOutput);
        ASSERT_EQ(MakeEffect(job)->Execute(), 1);
        std::vector<u8> const plain(output.begin(), output.end());
        job.bDither = true;
        auto const effect = MakeEffect(job);
        ASSERT_EQ(effect->Execute(), 1);
        std::vector<u8> const first(output.begin(), output.end());
        EXPECT_NE(first, plain) << job.Describe();
        ASSERT_EQ(effect->Execute(), 1);
        EXPECT_EQ(DescribeDifference(first, output), "") << job.Describe();
    }
}

struct Known {
    Conversion eKind;
    GUID oIn, oOut;
    std::vector<u8> oFrom, oTo;  ///< two pixels
};

TEST(Conversions, KnownValues) {
    using enum Conversion;
    auto const floats = [](float v) {
        std::vector<u8> bytes(32);
        for (std::size_t i = 0; i < 8; ++i) std::memcpy(&bytes[4 * i], &v, 4);
        return bytes;
    };
    std::vector<u8> const full(8, 255);
    Known const cases[] = {
        {Rgba, MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_RAW_32, {16, 235, 0, 9, 255, 16, 16, 0}, {0, 255, 0, 9, 255, 0, 0, 0}},
        {Rgba,
         MFIF_RGBA_RAW_32,
         MFIF_RGBA_RAW_32_VIDEO,
         {0, 255, 0, 9, 0, 0, 255, 0},
         {16, 235, 16, 9, 16, 16, 235, 0}},
        {Rgba, MFIF_MONO_RAW_16, MFIF_MONO_RAW_8, {0x34, 0x12, 0x80, 0xff}, {0x34, 0x80}},
        {Rgba, MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_32, floats(1.5f), full},
        {ToYcc, MFIF_RGBA_RAW_32_VIDEO, MFIF_CbYCrY_16, {16, 16, 16, 9, 16, 16, 16, 9}, {128, 16, 128, 16}},
        {FromYcc, MFIF_CbYCrY_16, MFIF_RGBA_RAW_32, {128, 16, 128, 235}, {0, 0, 0, 255, 255, 255, 255, 255}},
        {FromYcc, MFIF_CbYCrY_16, MFIF_BGR_RAW_24, {128, 235, 128, 0}, {255, 255, 255, 0, 0, 0}},
        {ToHls, MFIF_RGBA_RAW_32, MFIF_HLSA_RAW_32, {99, 99, 99, 7, 255, 0, 0, 9}, {0, 99, 0, 7, 0, 128, 255, 9}},
    };
    for (Known const& known : cases) {
        ConvertJob const job = WholeJob(known.eKind, known.oIn, known.oOut, 2, 1);
        ASSERT_EQ(Bytes(job.oInput).size(), known.oFrom.size()) << job.Describe();
        std::ranges::copy(known.oFrom, Bytes(job.oInput).begin());
        ASSERT_EQ(MakeEffect(job)->Execute(), 1);
        EXPECT_EQ(DescribeDifference(known.oTo, Bytes(job.oOutput)), "") << job.Describe();
    }
}

TEST(Hls, RoundTripOfWords) {
    ConvertJob const there = WholeJob(Conversion::ToHls, MFIF_RGBA_RAW_64, MFIF_HLSA_RAW_64, 256, 64);
    ConvertJob back = WholeJob(Conversion::FromHls, MFIF_HLSA_RAW_64, MFIF_RGBA_RAW_64, 256, 64);
    back.oInput = there.oOutput;
    FillRandom(there.oInput.Get(), 4);
    ASSERT_EQ(MakeEffect(there)->Execute(), 1);
    ASSERT_EQ(MakeEffect(back)->Execute(), 1);
    Samples const before(there.oInput.Get(), Bytes(there.oInput)), after(back.oOutput.Get(), Bytes(back.oOutput));
    float error = 0;
    for (int i = 0; i < 256 * 64 * 4; ++i) {
        int const x = i / 4 % 256, y = i / 1024, c = i % 4;
        error = std::max(error, std::fabs(before.Get(x, y, c) - after.Get(x, y, c)));
    }
    EXPECT_LE(error, 4.0f) << "in 65535ths";
}

}  // namespace
}  // namespace qzil::test::model
