#include "qzil/image/color.h"

#include "image/color_models.h"
#include "qzil/image/image_ops.h"
#include "support/picture.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

namespace {

using namespace qzil::test;

TEST(Color, MatricesHoldTheirCoefficients) {
    struct Expected {
        char const* pName;
        double const (&adfMatrix)[4][4];
        double adfRows[4][3];
    };
    Expected const kExpected[] = {
#define QZIL_MATRIX(name, ...) {#name, qzILColor::name, {__VA_ARGS__}},
#include "image/color_matrices.inc"
#undef QZIL_MATRIX
    };
    EXPECT_EQ(std::size(kExpected), 16u);
    for (auto const& [name, matrix, rows] : kExpected) {
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 3; ++c) EXPECT_EQ(matrix[r][c], rows[r][c]) << name << " row " << r << " column " << c;
            EXPECT_EQ(matrix[r][3], r == 3 ? 1.0 : 0.0) << name << " row " << r;
        }
    }
}

TEST(Color, HoldsFourDoublesInOrder) {
    static_assert(sizeof(qzILColor) == 4 * sizeof(double));
    qzILColor color(0.1, 0.2, 0.3, 0.4);
    double r = 0, g = 0, b = 0, a = 0;
    color.GetColorAsRGBA(&r, &g, &b, &a);
    EXPECT_EQ((std::array{r, g, b, a}), (std::array{0.1, 0.2, 0.3, 0.4}));
    double const kNew = 0.9;
    color.SetColorAsRGBA(nullptr, &kNew, nullptr);
    EXPECT_EQ(color, qzILColor(0.1, 0.9, 0.3, 0.4));
    color.GetColorAsRGBA(nullptr, nullptr, nullptr, nullptr);
}

Triple TripleOf(std::string const& cell) {
    std::istringstream words(cell);
    Triple v{};
    words >> v[0] >> v[1] >> v[2];
    return v;
}

TEST(Color, ModelsFollowTheirFormulas) {
    for (Row const& row : ReadTable("image/colors.tsv")) {
        SCOPED_TRACE(row["model"] + ": " + row["rgb"]);
        auto const& model = *std::ranges::find(kColorModels, row["model"], &ColorModel::pName);
        Triple const given = TripleOf(row["rgb"]), components = TripleOf(row["components"]);
        qzILColor const color(given[0], given[1], given[2], 0.75);
        Triple const actual = GetTriple(color, model);
        for (int i = 0; i < 3; ++i) ASSERT_NEAR(actual[i], components[i], 1e-12) << "component " << i;
        // The way back, of the colour's own components and of any: these may leave the unit cube.
        for (bool own : {true, false}) {
            qzILColor back(0.5, 0.5, 0.5, 0.125);
            SetTriple(back, model, own ? actual : given);
            Triple const rgb = TripleOf(row[own ? "back" : "as components"]);
            ASSERT_TRUE(IsNear(back, qzILColor(rgb[0], rgb[1], rgb[2]), 1e-12)) << DescribeColor(back);
            ASSERT_EQ(back.GetAlpha(), 0.125);
            ASSERT_TRUE(!own || IsNear(back, color, model.dfRoundTrip)) << DescribeColor(back);
        }
    }
}

TEST(Color, ANullComponentKeepsItsValue) {
    for (auto const& model : kColorModels) {
        for (int kept = 0; kept < 3; ++kept) {
            qzILColor color(0.7, 0.4, 0.2, 0.5), expected = color;
            Triple set = GetTriple(color, model);
            double const* parts[3] = {&set[0], &set[1], &set[2]};
            for (int i = 0; i < 3; ++i) set[i] = i == kept ? set[i] : set[i] * 0.9 + 0.05;
            parts[kept] = nullptr;
            SetTriple(expected, model, set);
            (color.*model.pSet)(parts[0], parts[1], parts[2], nullptr);
            EXPECT_TRUE(IsNear(color, expected, 1e-12)) << model.pName << " keeps " << kept;
            EXPECT_EQ(color.GetAlpha(), 0.5);
        }
    }
}

TEST(Color, Cmyk) {
    double c = 9, m = 9, y = 9, k = 9, a = 9;
    qzILColor(0.5, 0.25, 0.125, 0.75).GetColorAsCMYKA(&c, &m, &y, &k, &a);
    EXPECT_EQ((std::array{c, m, y, k, a}), (std::array{0.0, 0.5, 0.75, 0.5, 0.75}));
    qzILColor(1, 1, 1).GetColorAsCMYKA(&c, &m, &y, &k, nullptr);
    EXPECT_EQ((std::array{c, m, y, k}), (std::array{0.0, 0.0, 0.0, 0.0}));
    qzILColor(0, 0, 0).GetColorAsCMYKA(&c, &m, &y, &k);
    EXPECT_TRUE(std::isnan(c) && std::isnan(m) && std::isnan(y)) << "black divides 0 by 0";
    EXPECT_EQ(k, 1.0);
    qzILColor color;
    double const kC = 0.25, kM = 0.5, kY = 0.75, kK = 0.5, kA = 0.3;
    color.SetColorAsCMYKA(&kC, &kM, &kY, &kK, &kA);
    EXPECT_EQ(color, qzILColor(0.375, 0.25, 0.125, 0.3));
}

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
    double dfScale;
};
constexpr Form kForms[] = {
    {"8", &qzILColor::GetColorAs8, &qzILColor::SetColorAs8, 1, Serves::Mono, 255},
    {"16", &qzILColor::GetColorAs16, &qzILColor::SetColorAs16, 2, Serves::Mono, 65535},
    {"MonoS2_14", &qzILColor::GetColorAsMonoS2_14, &qzILColor::SetColorAsMonoS2_14, 2, Serves::Mono, 16384},
    {"MonoFloat", &qzILColor::GetColorAsMonoFloat, &qzILColor::SetColorAsMonoFloat, 4, Serves::Mono, 1},
    {"24", &qzILColor::GetColorAs24, &qzILColor::SetColorAs24, 4, Serves::Four, 255},
    {"32", &qzILColor::GetColorAs32, &qzILColor::SetColorAs32, 4, Serves::Four, 255},
    {"64", &qzILColor::GetColorAs64, &qzILColor::SetColorAs64, 8, Serves::Four, 65535},
    {"S2_14", &qzILColor::GetColorAsS2_14, &qzILColor::SetColorAsS2_14, 8, Serves::Four, 16384},
    {"Float", &qzILColor::GetColorAsFloat, &qzILColor::SetColorAsFloat, 16, Serves::Four, 1},
    {"10_6", &qzILColor::GetColorAs10_6, &qzILColor::SetColorAs10_6, 8, Serves::Ycc, 65535},
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

qzILColor FromComponents(Triple v, double alpha, XFColorModel model) {
    if (model == 4096) {
        for (double& c : v) c = (c - 0.06274509803921569) / 0.8588235294117647;
    }
    qzILColor color(v[0], v[1], v[2], alpha);
    for (auto const& m : kColorModels) {
        if (m.uModel == model) SetTriple(color, m, v);
    }
    return color;
}

/// A form holds (component - offset) * gain, times its scale. Ten bits above six are 256 times the 8-bit levels; S2.14
/// and float stretch video to 0 to 1, chroma round 0.
struct Range {
    double dfOffset, dfGain;
};
Range RangeOf(Form const& form, XFColorModel model, int i) {
    if (i == 3 || (model != 64 && model != 512)) return {0, 1};
    if (form.eServes == Serves::Ycc) return {0, 65280 / 65535.0};
    if (form.dfScale != 1 && form.dfScale != 16384) return {0, 1};
    return i == 0 ? Range{16 / 255.0, 255 / 219.0} : Range{128 / 255.0, 255 / 224.0};
}

int ChannelsOf(Form const& form) {
    return form.eServes == Serves::Mono ? 1 : 4;
}

template <class T>
double Load(unsigned char const* place) {
    T value;
    std::memcpy(&value, place, sizeof value);
    return static_cast<double>(value);
}
double RawAt(Form const& form, unsigned char const* block, int i) {
    unsigned char const* const place = block + form.uBytes / ChannelsOf(form) * i;
    return form.dfScale == 255     ? *place
           : form.dfScale == 65535 ? Load<std::uint16_t>(place)
           : form.dfScale == 16384 ? Load<std::int16_t>(place)
                                   : Load<float>(place);
}

/// Colours of the unit cube, every other one of a wider cube round it.
std::vector<qzILColor> Scatter() {
    Random random(99);
    std::vector<qzILColor> colors{{0, 0, 0, 0}, {1, 1, 1, 1}, {1, 0, 0, 1}, {0, 1, 0, 0.5}, {0, 0, 1, 0.25}};
    for (int i = 0; i < 600; ++i) {
        auto const value = [&] {
            double const unit = random.Below(10001) / 10000.0;
            return i % 2 ? unit * 5 - 2 : unit;
        };
        colors.emplace_back(value(), value(), value(), value());
    }
    return colors;
}

/// Float holds a level as it is; S2.14 of four channels and ten bits limit it; all others keep the low bits.
void ExpectRaw(Form const& form, double level, double raw) {
    auto const rounded = static_cast<std::int64_t>(level < 0 ? level - 0.5 : level + 0.5);
    bool const isSigned = form.dfScale == 16384, isMono = form.eServes == Serves::Mono;
    double const lowest = isSigned ? -32768 : 0;
    if (form.dfScale == 1) {
        ASSERT_NEAR(raw, level, 1e-6 * std::max(1.0, std::abs(level)));
    } else if (form.eServes == Serves::Ycc || (isSigned && !isMono)) {
        // A last bit of the precision in between may decide a tie.
        ASSERT_NEAR(raw, std::clamp(level, lowest, lowest + 65535), 0.505);
    } else if (isSigned) {
        ASSERT_EQ(raw, static_cast<std::int16_t>(rounded));
    } else {
        ASSERT_EQ(raw, rounded & (form.dfScale == 255 ? 0xFF : 0xFFFF));
    }
}

TEST(ColorForms, GetFormsScaleRoundAndKeepTheLowBitsOrLimit) {
    auto const colors = Scatter();
    for (auto const& form : kForms) {
        for (XFColorModel model : kAllNumbers) {
            for (auto const& color : colors) {
                alignas(8) unsigned char block[16];
                if ((color.*form.pGet)(block, model) == 0) break;
                SCOPED_TRACE(form.pName + (' ' + std::to_string(model)) + ": " + DescribeColor(color));
                Triple const v = Components(color, model);
                for (int i = 0; i < ChannelsOf(form); ++i) {
                    auto const [offset, gain] = RangeOf(form, model, i);
                    double const c = i < 3 ? v[i] : form.pName == std::string("24") ? 1.0 : color.GetAlpha();
                    ExpectRaw(form, (c - offset) * gain * form.dfScale, RawAt(form, block, i));
                }
            }
        }
    }
}

TEST(ColorForms, SetFormsAreTheAccessorsOverScaledValues) {
    Random random(8);
    for (auto const& form : kForms) {
        for (XFColorModel model : kAllNumbers) {
            for (int round = 0; round < 100 && IsServed(form.eServes, model); ++round) {
                alignas(8) unsigned char block[16];
                std::size_t const size = form.uBytes / ChannelsOf(form);
                double v[4] = {};
                for (int i = 0; i < ChannelsOf(form); ++i) {
                    int const value = random.Between(form.dfScale == 16384 ? -32768 : 0, 32767);
                    float const real = static_cast<float>(value) / 16384.0f - 0.5f;
                    std::memcpy(block + size * i, size == 4 ? static_cast<void const*>(&real) : &value, size);
                    auto const [offset, gain] = RangeOf(form, model, i);
                    v[i] = RawAt(form, block, i) / form.dfScale / gain + offset;
                }
                qzILColor actual(0.5, 0.5, 0.5, 0.375);
                ASSERT_EQ((actual.*form.pSet)(block, model), 1);
                // Mono sets the three and keeps alpha; with 24 bits, too, it is the fourth value.
                qzILColor const expected = form.eServes == Serves::Mono
                                               ? qzILColor(v[0], v[0], v[0], 0.375)
                                               : FromComponents({v[0], v[1], v[2]}, v[3], model);
                ASSERT_TRUE(IsNear(actual, expected, 1e-7))
                    << form.pName << ' ' << model << ": " << DescribeColor(actual) << ", not "
                    << DescribeColor(expected);
                ASSERT_NEAR(actual.GetAlpha(), expected.GetAlpha(), 1e-12) << form.pName << ' ' << model;
            }
        }
    }
}

TEST(Color, HuesBeyondTheCircleGoRoundIt) {
    for (auto const set : {&qzILColor::SetColorAsHSVA, &qzILColor::SetColorAsHLSA}) {
        for (int i = 0; i < 24; ++i) {
            double const inside = i / 24.0 + 0.01, half = 0.5;
            qzILColor expected(0, 0, 0, 1);
            (expected.*set)(&inside, &half, &half, nullptr);
            for (int turns : {-3, -1, 1, 2}) {
                double const hue = inside + turns;
                qzILColor actual(0, 0, 0, 1);
                (actual.*set)(&hue, &half, &half, nullptr);
                EXPECT_TRUE(IsNear(actual, expected, 1e-9)) << hue << ": " << DescribeColor(actual);
            }
        }
    }
}

using Block = std::array<unsigned char, 40>;

/// The block of a fill: 4:2:2 formats hold Y, Cb, Y, Cr of two pixels, in the order of the format, and alpha behind
/// them.
Block FillBlock(Block const& typed, GUID const& format, std::size_t bytes) {
    alignas(8) Block block;
    block.fill(0xC3);
    bool const isPair = IsFormatYCC422(format) && GetColorModelFromFormat(format) >= 64 && format != MFIF_YCCA_RAW_32 &&
                        format != MFIF_YCCA_RAW_64;
    if (!isPair) {
        std::copy_n(typed.begin(), bytes, block.begin());
        return block;
    }
    std::size_t const size = GetChannelSizeFromFormat(format);
    bool const chromaFirst = IsFormatAlternateYUV(format);
    std::array<std::size_t, 5> const channels =
        chromaFirst ? std::array<std::size_t, 5>{1, 0, 2, 0, 3} : std::array<std::size_t, 5>{0, 1, 0, 2, 3};
    std::size_t place = 0;
    for (std::size_t const channel : channels) {
        if (channel == 3 && !IsFormatWithAlpha(format)) break;
        std::copy_n(typed.begin() + channel * size, size, block.begin() + size * place++);
    }
    return block;
}

TEST(ColorForms, EachFormatGetsItsForm) {
    qzILColor const color(0.7, 0.35, 0.15, 0.55);
    for (Row const& row : ReadTable("image/formats.tsv")) {
        // Whether formats with form ? have one is open.
        if (row["form"] == "?") continue;
        auto const* const form = std::ranges::find_if(kForms, [&](Form const& f) { return f.pName == row["form"]; });
        bool const isServed = form != std::end(kForms);
        EXPECT_TRUE(isServed || row["form"] == "none");
        SCOPED_TRACE(row["format"]);
        GUID format = GUID_NULL;
        for (auto const& entry : qzil::AllFormats()) {
            if (entry.pName == "MFIF_" + row["format"]) format = entry.oFormat;
        }
        alignas(8) Block typed, actual, filled;
        typed.fill(0xC3);
        actual = filled = typed;
        if (isServed) (color.*form->pGet)(typed.data(), GetColorModelFromFormat(format));
        qzILGetColorAsType(color, format, actual.data());
        EXPECT_EQ(DescribeDifference(typed, actual), "");
        qzILGetColorInFormat(color, format, filled.data());
        EXPECT_EQ(DescribeDifference(isServed ? FillBlock(typed, format, form->uBytes) : typed, filled), "");
        qzILGetColorAsType(color, format, nullptr);
    }
}

}  // namespace
