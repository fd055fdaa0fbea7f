#include "qzil/image/color.h"
#include "qzil/image/image_ops.h"

#include "image/color_models.h"
#include "image/format_rows.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace qzil::test;
using Getter = int (qzILColor::*)(void*, XFColorModel) const;
using Setter = int (qzILColor::*)(void const*, XFColorModel);

constexpr XFColorModel kFourChannelModels[] = {1, 4, 8, 16, 64, 128, 256, 512, 4096};
constexpr XFColorModel kAllNumbers[] = {0, 1, 2, 3, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 4096, 0xFFFFFFFF};

enum class Serves { Mono, Four, Ycc };
struct Form {
    char const* pName;
    Getter pGet;
    Setter pSet;
    std::size_t uBytes;
    Serves eServes;
};
constexpr Form kForms[] = {
    {"8", &qzILColor::GetColorAs8, &qzILColor::SetColorAs8, 1, Serves::Mono},
    {"16", &qzILColor::GetColorAs16, &qzILColor::SetColorAs16, 2, Serves::Mono},
    {"MonoS2_14", &qzILColor::GetColorAsMonoS2_14, &qzILColor::SetColorAsMonoS2_14, 2, Serves::Mono},
    {"MonoFloat", &qzILColor::GetColorAsMonoFloat, &qzILColor::SetColorAsMonoFloat, 4, Serves::Mono},
    {"24", &qzILColor::GetColorAs24, &qzILColor::SetColorAs24, 4, Serves::Four},
    {"32", &qzILColor::GetColorAs32, &qzILColor::SetColorAs32, 4, Serves::Four},
    {"64", &qzILColor::GetColorAs64, &qzILColor::SetColorAs64, 8, Serves::Four},
    {"S2_14", &qzILColor::GetColorAsS2_14, &qzILColor::SetColorAsS2_14, 8, Serves::Four},
    {"Float", &qzILColor::GetColorAsFloat, &qzILColor::SetColorAsFloat, 16, Serves::Four},
    {"10_6", &qzILColor::GetColorAs10_6, &qzILColor::SetColorAs10_6, 8, Serves::Ycc},
};

bool IsServed(Serves serves, XFColorModel model) {
    if (serves == Serves::Mono) return model == 2;
    if (serves == Serves::Ycc) return model == 64 || model == 512;
    return std::ranges::find(kFourChannelModels, model) != std::end(kFourChannelModels);
}

TEST(ColorForms, AnswerOnlyTheModelsTheyServe) {
    for (auto const& form : kForms) {
        for (XFColorModel model : kAllNumbers) {
            SCOPED_TRACE(std::string(form.pName) + " model " + std::to_string(model));
            bool const served = IsServed(form.eServes, model);
            alignas(8) unsigned char block[24];
            std::memset(block, 0xA5, sizeof block);
            qzILColor color(0.75, 0.5, 0.25, 1.0);
            EXPECT_EQ((color.*form.pGet)(block, model), served ? 1 : 0);
            bool clear = true;
            for (std::size_t i = 0; i < form.uBytes; ++i) clear = clear && block[i] == 0;
            EXPECT_EQ(clear, !served);
            for (std::size_t i = form.uBytes; i < sizeof block; ++i) ASSERT_EQ(block[i], 0xA5) << "byte " << i;
            EXPECT_EQ((color.*form.pSet)(block, model), served ? 1 : 0);
            if (!served) {
                EXPECT_EQ(color, qzILColor(0.75, 0.5, 0.25, 1.0)) << "kept";
            }
            EXPECT_EQ((color.*form.pGet)(nullptr, model), 0);
            EXPECT_EQ((color.*form.pSet)(nullptr, model), 0);
        }
    }
}

// The components of a model, from the accessor of doubles.
Triple Components(qzILColor const& color, XFColorModel model) {
    for (auto const& m : kColorModels) {
        if (m.uModel == model) return GetTriple(color, m);
    }
    Triple v{color.GetRed(), color.GetGreen(), color.GetBlue()};
    if (model == 4096) {
        for (double& c : v) c = c * 0.8588235294117647 + 0.06274509803921569;
    }
    return v;
}

std::int64_t Rounded(double v) {
    return static_cast<std::int64_t>(v < 0 ? v - 0.5 : v + 0.5);
}

std::array<double, 4> FloatForm(qzILColor const& color, XFColorModel model) {
    Triple v = Components(color, model);
    if (model == 64 || model == 512) {
        v[0] = (v[0] - 16 / 255.0) * 1.1643835616438356;
        for (int i = 1; i < 3; ++i) v[i] = (v[i] - 128 / 255.0) * 1.1383928571428572;
    }
    return {v[0], v[1], v[2], color.GetAlpha()};
}

std::vector<qzILColor> Scatter(bool wide) {
    Random random(99);
    std::vector<qzILColor> colors{{0, 0, 0, 0}, {1, 1, 1, 1}, {1, 0, 0, 1}, {0, 1, 0, 0.5}, {0, 0, 1, 0.25}};
    for (int i = 0; i < 300; ++i) {
        auto const value = [&] {
            double const unit = random.Below(10001) / 10000.0;
            return wide ? unit * 5 - 2 : unit;
        };
        colors.emplace_back(value(), value(), value(), value());
    }
    return colors;
}

TEST(ColorForms, FourChannelFormsScaleRoundAndKeepTheLowBits) {
    for (bool wide : {false, true}) {
        for (XFColorModel model : kFourChannelModels) {
            for (auto const& color : Scatter(wide)) {
                SCOPED_TRACE(std::to_string(model) + ": " + DescribeColor(color));
                Triple const v = Components(color, model);
                unsigned char as24[4], as32[4];
                std::uint16_t as64[4];
                std::int16_t asS2_14[4];
                float asFloat[4];
                ASSERT_EQ(color.GetColorAs24(as24, model), 1);
                ASSERT_EQ(color.GetColorAs32(as32, model), 1);
                ASSERT_EQ(color.GetColorAs64(as64, model), 1);
                ASSERT_EQ(color.GetColorAsS2_14(asS2_14, model), 1);
                ASSERT_EQ(color.GetColorAsFloat(asFloat, model), 1);
                auto const floats = FloatForm(color, model);
                for (int i = 0; i < 4; ++i) {
                    double const c = i < 3 ? v[i] : color.GetAlpha();
                    ASSERT_EQ(as24[i], i < 3 ? (Rounded(c * 255.0) & 0xFF) : 255) << i;
                    ASSERT_EQ(as32[i], Rounded(c * 255.0) & 0xFF) << i;
                    ASSERT_EQ(as64[i], Rounded(c * 65535.0) & 0xFFFF) << i;
                    ASSERT_NEAR(asFloat[i], floats[i], 1e-6 * std::max(1.0, std::abs(floats[i]))) << i;
                    ASSERT_EQ(asS2_14[i], std::clamp<std::int64_t>(Rounded(asFloat[i] * 16384.0), -32768, 32767)) << i;
                }
            }
        }
    }
}

TEST(ColorForms, TenBitsAboveSix) {
    for (XFColorModel model : {64u, 512u}) {
        for (auto const& color : Scatter(true)) {
            Triple const v = Components(color, model);
            std::uint16_t words[4];
            ASSERT_EQ(color.GetColorAs10_6(words, model), 1);
            double const expected[4] = {((v[0] * 255 - 16) / 219 * 876 + 64) * 64,
                                        ((v[1] * 255 - 16) / 224 * 896 + 64) * 64,
                                        ((v[2] * 255 - 16) / 224 * 896 + 64) * 64, color.GetAlpha() * 65535};
            for (int i = 0; i < 4; ++i) {
                // A last bit of double precision may decide a tie.
                ASSERT_NEAR(words[i], std::clamp(expected[i], 0.0, 65535.0), 0.5 + 1e-9)
                    << i << " of " << DescribeColor(color);
            }
        }
    }
    std::uint16_t white[4];
    qzILColor(1, 1, 1, 1).GetColorAs10_6(white, 64);
    EXPECT_EQ(white[0], 940 * 64);
    EXPECT_EQ(white[1], 512 * 64);
    EXPECT_EQ(white[3], 65535);
}

TEST(ColorForms, MonoFormsUseRedAsTheGreyLevel) {
    qzILColor const color(0.3, 0.6, 0.9, 0.5);
    unsigned char byte = 0;
    std::uint16_t word = 0;
    std::int16_t fixed = 0;
    float real = 0;
    EXPECT_EQ(color.GetColorAs8(&byte, 2) + color.GetColorAs16(&word, 2), 2);
    EXPECT_EQ(color.GetColorAsMonoS2_14(&fixed, 2) + color.GetColorAsMonoFloat(&real, 2), 2);
    EXPECT_EQ(byte, 77) << "76.5 is rounded away from zero";
    EXPECT_EQ(word, 19661);
    EXPECT_EQ(fixed, 4915);
    EXPECT_EQ(real, 0.3f);
    qzILColor(1.5, 0, 0, 0).GetColorAs8(&byte, 2);
    EXPECT_EQ(byte, 383 & 255);
    qzILColor(-0.5, 0, 0, 0).GetColorAs8(&byte, 2);
    EXPECT_EQ(byte, -128 & 255);
    qzILColor(1.5, 0, 0, 0).GetColorAs16(&word, 2);
    EXPECT_EQ(word, 98303 & 65535);
    qzILColor(-0.25, 0, 0, 0).GetColorAsMonoS2_14(&fixed, 2);
    EXPECT_EQ(fixed, -4096);
}

TEST(ColorForms, MonoSetFormsSetTheThreeAndKeepAlpha) {
    unsigned char const byte = 51;
    std::uint16_t const word = 13107;
    std::int16_t const fixed = -8192;
    float const real = 1.25f;
    struct Case {
        Setter pSet;
        void const* pIn;
        double dfGrey;
    };
    for (Case const c :
         {Case{&qzILColor::SetColorAs8, &byte, 0.2}, Case{&qzILColor::SetColorAs16, &word, 0.2},
          Case{&qzILColor::SetColorAsMonoS2_14, &fixed, -0.5}, Case{&qzILColor::SetColorAsMonoFloat, &real, 1.25}}) {
        qzILColor color(0.9, 0.8, 0.7, 0.375);
        EXPECT_EQ((color.*c.pSet)(c.pIn, 2), 1);
        EXPECT_EQ(color, qzILColor(c.dfGrey, c.dfGrey, c.dfGrey, 0.375));
    }
}

// What a form wrote, set into another colour and got again, must be the same block; alpha comes from the fourth value.
TEST(ColorForms, SetFormsInvertTheGetForms) {
    for (auto const& form : kForms) {
        if (form.eServes == Serves::Mono) continue;
        for (XFColorModel model : kFourChannelModels) {
            if (!IsServed(form.eServes, model)) continue;
            // The coefficients of YUV and YIQ give back only about three places.
            double const tolerance = model == 128 || model == 256 ? 0.008 : 0.004;
            bool const isByte = form.uBytes == 4;
            for (auto const& color : Scatter(false)) {
                alignas(8) unsigned char block[16] = {};
                ASSERT_EQ((color.*form.pGet)(block, model), 1);
                qzILColor back(0.5, 0.5, 0.5, 0.5);
                ASSERT_EQ((back.*form.pSet)(block, model), 1);
                double const step = isByte ? 1 / 255.0 : tolerance;
                ASSERT_NEAR(back.GetAlpha(), std::strcmp(form.pName, "24") == 0 ? 1.0 : color.GetAlpha(), step);
                if (isByte && (model == 4 || model == 8)) continue;  // hue of a dark colour is coarse
                double const reach = isByte ? 0.012 : tolerance;
                ASSERT_NEAR(back.GetRed(), color.GetRed(), reach)
                    << form.pName << ' ' << model << ' ' << DescribeColor(color);
                ASSERT_NEAR(back.GetGreen(), color.GetGreen(), reach)
                    << form.pName << ' ' << model << ' ' << DescribeColor(color);
                ASSERT_NEAR(back.GetBlue(), color.GetBlue(), reach)
                    << form.pName << ' ' << model << ' ' << DescribeColor(color);
            }
        }
    }
}

TEST(ColorForms, SetFormsAreExactOnGridValues) {
    unsigned char const bytes[4] = {51, 102, 204, 51};
    qzILColor color;
    color.SetColorAs32(bytes, 1);
    EXPECT_EQ(color, qzILColor(0.2, 0.4, 0.8, 0.2));
    color.SetColorAs24(bytes, 1);
    EXPECT_EQ(color, qzILColor(0.2, 0.4, 0.8, 0.2)) << "alpha from the fourth value";
    color.SetColorAs32(bytes, 16);
    EXPECT_NEAR(color.GetRed(), 0.8, 1e-12);
    unsigned char const video[4] = {16, 235, 125, 255};
    color.SetColorAs32(video, 4096);
    EXPECT_NEAR(color.GetRed(), 0.0, 1e-12);
    EXPECT_NEAR(color.GetGreen(), 1.0, 1e-12);
    EXPECT_NEAR(color.GetBlue(), 109 / 219.0, 1e-12);
    EXPECT_EQ(color.GetAlpha(), 1.0);
    std::int16_t const fixed[4] = {16384, -8192, 32767, 4096};
    color.SetColorAsS2_14(fixed, 1);
    EXPECT_EQ(color, qzILColor(1.0, -0.5, 32767 / 16384.0, 0.25));
    float const grey[4] = {0.5f, 0.0f, 0.0f, 0.75f};
    color.SetColorAsFloat(grey, 512);
    EXPECT_NEAR(color.GetRed(), 0.5, 1e-7);
    EXPECT_NEAR(color.GetBlue(), 0.5, 1e-7);
    std::uint16_t const white[4] = {940 * 64, 512 * 64, 512 * 64, 65535};
    color.SetColorAs10_6(white, 64);
    EXPECT_NEAR(color.GetRed(), 1.0, 1e-7);
    EXPECT_NEAR(color.GetGreen(), 1.0, 1e-7);
    EXPECT_EQ(color.GetAlpha(), 1.0);
}

// Which form a format gets; null where the format is not served. Formats whose family the rows leave open are left out.
struct FormatForm {
    GUID oFormat;
    char const* pForm;
};
constexpr FormatForm kFormatForms[] = {
    {MFIF_RGBA_RAW_32, "32"},
    {MFIF_RGBA_RAW_32_VIDEO, "32"},
    {MFIF_BGRA_RAW_32, "32"},
    {MFIF_BGRA_RAW_32_VIDEO, "32"},
    {MFIF_DIB_RAW_32, "32"},
    {MFIF_CbYCrY_16, "32"},
    {MFIF_CbYCrY_16_FR, "32"},
    {MFIF_CbYCrY_16_SF_TFL, "32"},
    {MFIF_CbYCrY_16_SF_TFF, "32"},
    {MFIF_CbYCrYA_24, "32"},
    {MFIF_CbYCrYA_24_FR, "32"},
    {MFIF_CbYCrY709_16, "32"},
    {MFIF_CbYCrY709_16_FR, "32"},
    {MFIF_CbYCrY709_16_SF_TFL, "32"},
    {MFIF_CbYCrY709_16_SF_TFF, "32"},
    {MFIF_CbYCrY709A_24, "32"},
    {MFIF_CbYCrY709A_24_FR, "32"},
    {MFIF_YCC_422_16, "32"},
    {MFIF_YCC_422_16_SF_NTSC, "32"},
    {MFIF_YCC_422_16_SF_PAL, "32"},
    {MFIF_YCCA_24, "32"},
    {MFIF_YCC709_422_16, "32"},
    {MFIF_YCC709_422_16_SF_EVEN, "32"},
    {MFIF_YCC709_422_16_SF_ODD, "32"},
    {MFIF_YCC709A_24, "32"},
    {MFIF_YCCA_RAW_32, "32"},
    {MFIF_CbYCrA_8_4444, "32"},
    {MFIF_CbYCr709A_8_4444, "32"},
    {MFIF_MONO_RAW_8, "8"},
    {MFIF_MONO_RAW_8_TD, "8"},
    {MFIF_RGBA_RAW_64, "64"},
    {MFIF_YCCA_RAW_64, "64"},
    {MFIF_MONO_RAW_16, "16"},
    {MFIF_MONO_RAW_16_TD, "16"},
    {MFIF_RGBA_S2_14, "S2_14"},
    {MFIF_CbYCrY_S2_14, "S2_14"},
    {MFIF_CbYCrYA_S2_14, "S2_14"},
    {MFIF_CbYCrY709_S2_14, "S2_14"},
    {MFIF_CbYCrY709A_S2_14, "S2_14"},
    {MFIF_MONO_S2_14, "MonoS2_14"},
    {MFIF_RGBA_FLOAT, "Float"},
    {MFIF_RGBA_FLOAT_BU, "Float"},
    {MFIF_CbYCrY_FLOAT, "Float"},
    {MFIF_CbYCrYA_FLOAT, "Float"},
    {MFIF_CbYCrY709_FLOAT, "Float"},
    {MFIF_CbYCrY709A_FLOAT, "Float"},
    {MFIF_MONO_FLOAT, "MonoFloat"},
    {MFIF_MONO_FLOAT_BU, "MonoFloat"},
    {MFIF_CbYCrY_10_6, "10_6"},
    {MFIF_CbYCrY709_10_6, "10_6"},
    {MFIF_CbYCrY_10_6_FR, "10_6"},
    {MFIF_CbYCrY709_10_6_FR, "10_6"},
    {MFIF_CbYCrYA_10_6, "10_6"},
    {MFIF_CbYCrY709A_10_6, "10_6"},
    {MFIF_CbYCrYA_10_6_FR, "10_6"},
    {MFIF_CbYCrY709A_10_6_FR, "10_6"},
    {MFIF_RGB_RAW_24, nullptr},
    {MFIF_BGR_RAW_24, nullptr},
    {MFIF_DIB_RAW_24, nullptr},
    {MFIF_RGB_S2_14, nullptr},
    {MFIF_RGB_FLOAT, nullptr},
    {MFIF_RGB_FLOAT_BU, nullptr},
    {MFIF_HLSA_RAW_32, nullptr},
    {MFIF_HLSA_RAW_64, nullptr},
    {MFIF_MONO_RAW_32, nullptr},
    {MFIF_GENERIC, nullptr},
    {MFIF_RGB_RAW_48, nullptr},
    {MFIF_RGB_HF_BU, nullptr},
    {MFIF_MONO_RAW_10, nullptr},
    {MFIF_RGB_JPEG_24, nullptr},
    {GUID_NULL, nullptr},
};

Form const* FormNamed(char const* name) {
    for (auto const& form : kForms) {
        if (name && std::strcmp(form.pName, name) == 0) return &form;
    }
    return nullptr;
}

TEST(ColorForms, EachFormatGetsItsForm) {
    qzILColor const color(0.7, 0.35, 0.15, 0.55);
    for (auto const& [format, name] : kFormatForms) {
        alignas(8) std::array<unsigned char, 40> expected;
        expected.fill(0xC3);
        auto actual = expected;
        if (auto const* form = FormNamed(name)) {
            ASSERT_EQ((color.*form->pGet)(expected.data(), GetColorModelFromFormat(format)), 1) << NameOf(format);
        }
        qzILGetColorAsType(color, format, actual.data());
        EXPECT_EQ(DescribeDifference(expected, actual), "") << NameOf(format);
        qzILGetColorAsType(color, format, nullptr);
    }
}

// Place of Y, Cb, Y, Cr in a two-pixel unit, and alpha behind them.
TEST(ColorForms, FillBlocksOfPairFormatsHoldTwoPixels) {
    qzILColor const color(0.7, 0.35, 0.15, 0.55);
    for (auto const& [format, name] : kFormatForms) {
        auto const* form = FormNamed(name);
        alignas(8) std::array<unsigned char, 40> typed{}, expected{}, actual{};
        expected.fill(0xC3);
        actual.fill(0xC3);
        if (form) (color.*form->pGet)(typed.data(), GetColorModelFromFormat(format));
        bool const isPair = form && IsFormatYCC422(format) && GetColorModelFromFormat(format) >= 64 &&
                            format != MFIF_YCCA_RAW_32 && format != MFIF_YCCA_RAW_64;
        if (isPair) {
            std::size_t const size = GetChannelSizeFromFormat(format);
            bool const chromaFirst = IsFormatAlternateYUV(format);
            auto const put = [&](int place, int channel) {
                std::memcpy(&expected[place * size], &typed[channel * size], size);
            };
            put(chromaFirst ? 1 : 0, 0);
            put(chromaFirst ? 3 : 2, 0);
            put(chromaFirst ? 0 : 1, 1);
            put(chromaFirst ? 2 : 3, 2);
            if (IsFormatWithAlpha(format)) put(4, 3);
        } else if (form) {
            std::copy_n(typed.begin(), form->uBytes, expected.begin());
        }
        qzILGetColorInFormat(color, format, actual.data());
        EXPECT_EQ(DescribeDifference(expected, actual), "") << NameOf(format);
    }
}

}  // namespace
