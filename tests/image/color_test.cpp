#include "qzil/image/color.h"

#include "image/color_models.h"
#include "image/image_questions.h"
#include "qzil/image/image_ops.h"
#include "support/picture.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <utility>

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

qzILColor ColorOf(std::string const& cell) {
    std::istringstream words(cell);
    double v[4] = {};
    for (double& part : v) words >> part;
    return {v[0], v[1], v[2], v[3]};
}

// Float holds a level as it is; S2.14 of four channels and ten bits limit it; all others keep the low bits.
TEST(ColorForms, HoldAndGiveBackTheirValues) {
    for (Row const& row : ReadTable("image/color_forms.tsv")) {
        SCOPED_TRACE(row["form"] + ", model " + row["model"] + ": " + row["colour"]);
        auto const& form = *std::ranges::find(kForms, row["form"], &Form::pName);
        auto const model = static_cast<XFColorModel>(row.Number("model"));
        alignas(8) unsigned char block[16];
        ASSERT_EQ((ColorOf(row["colour"]).*form.pGet)(block, model), 1);
        std::istringstream words(row["holds"]);
        for (int i = 0; i < ChannelsOf(form); ++i) {
            double expected = 0;
            words >> expected;
            double const tolerance = form.dfScale == 1 ? 1e-6 * std::max(1.0, std::abs(expected)) : 0.0;
            ASSERT_NEAR(RawAt(form, block, i), expected, tolerance) << "channel " << i;
        }
        // Mono sets the three and keeps alpha; with 24 bits, too, it is the fourth value.
        qzILColor back(0.5, 0.5, 0.5, 0.375);
        ASSERT_EQ((back.*form.pSet)(block, model), 1);
        qzILColor const expected = ColorOf(row["back"]);
        ASSERT_TRUE(IsNear(back, expected, 1e-7)) << DescribeColor(back) << ", not " << row["back"];
        ASSERT_NEAR(back.GetAlpha(), expected.GetAlpha(), 1e-7);
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

TEST(ColorForms, EachFormatGetsItsForm) {
    qzILColor const color(0.7, 0.35, 0.15, 0.55);
    for (Row const& row : ReadTable("image/formats.tsv")) {
        // Whether formats with form ? have one is open.
        if (row["form"] == "?") continue;
        auto const* const form = std::ranges::find_if(kForms, [&](Form const& f) { return f.pName == row["form"]; });
        bool const isServed = form != std::end(kForms);
        EXPECT_TRUE(isServed || row["form"] == "none");
        SCOPED_TRACE(row["format"]);
        GUID const format = FormatNamed(row["format"]);
        alignas(8) Block typed, actual, filled, untouched;
        untouched.fill(0xC3);
        typed = actual = filled = untouched;
        if (isServed) (color.*form->pGet)(typed.data(), GetColorModelFromFormat(format));
        qzILGetColorAsType(color, format, actual.data());
        EXPECT_EQ(DescribeDifference(typed, actual), "");
        qzILGetColorInFormat(color, format, filled.data());
        // A fill of 4:2:2 is of two pixels.
        if (isServed && row["fill"] != "=") {
            Block const channels = std::exchange(typed, untouched);
            std::size_t place = 0, size = GetChannelSizeFromFormat(format);
            for (int const channel : row.Numbers("fill")) {
                std::copy_n(channels.begin() + channel * size, size, typed.begin() + size * place++);
            }
        }
        EXPECT_EQ(DescribeDifference(typed, filled), "");
        qzILGetColorAsType(color, format, nullptr);
    }
}

}  // namespace
