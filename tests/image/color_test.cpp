#include "qzil/image/color.h"

#include "image/color_models.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cmath>

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

// Corners, greys and a random scatter of the unit cube.
std::vector<qzILColor> SampleColors() {
    std::vector<qzILColor> colors;
    for (int i = 0; i < 8; ++i) colors.emplace_back(i & 1, i >> 1 & 1, i >> 2 & 1, 0.25 + 0.0625 * i);
    for (double grey : {0.25, 0.5, 0.75}) colors.emplace_back(grey, grey, grey, grey);
    Random random(4);
    for (int i = 0; i < 300; ++i) {
        auto const unit = [&] { return random.Below(4097) / 4096.0; };
        colors.emplace_back(unit(), unit(), unit(), unit());
    }
    return colors;
}

TEST(Color, ModelsFollowTheirFormulas) {
    for (auto const& model : kColorModels) {
        SCOPED_TRACE(model.pName);
        for (auto const& color : SampleColors()) {
            SCOPED_TRACE(DescribeColor(color));
            Triple const given{color.GetRed(), color.GetGreen(), color.GetBlue()};
            Triple const actual = GetTriple(color, model), expected = model.pFromRgb(given);
            for (int i = 0; i < 3; ++i) ASSERT_NEAR(actual[i], expected[i], 1e-12) << "component " << i;
            // The way back, of the colour's own components and of any: these may leave the unit cube.
            for (bool own : {true, false}) {
                Triple const& set = own ? actual : given;
                qzILColor back(0.5, 0.5, 0.5, 0.125);
                SetTriple(back, model, set);
                Triple const rgb = model.pToRgb(set);
                ASSERT_TRUE(IsNear(back, qzILColor(rgb[0], rgb[1], rgb[2]), 1e-12)) << DescribeColor(back);
                ASSERT_EQ(back.GetAlpha(), 0.125);
                // The coefficients are rounded to three to nine places.
                ASSERT_TRUE(!own || IsNear(back, color, model.dfRoundTrip)) << DescribeColor(back);
            }
        }
    }
}

TEST(Color, ANullComponentKeepsItsValue) {
    for (auto const& model : kColorModels) {
        for (int kept = 0; kept < 3; ++kept) {
            qzILColor color(0.7, 0.4, 0.2, 0.5);
            Triple wanted = GetTriple(color, model);
            Triple set = wanted;
            for (int i = 0; i < 3; ++i) {
                if (i != kept) set[i] = wanted[i] = wanted[i] * 0.9 + 0.05;
            }
            double const* parts[3] = {kept == 0 ? nullptr : &set[0], kept == 1 ? nullptr : &set[1],
                                      kept == 2 ? nullptr : &set[2]};
            (color.*model.pSet)(parts[0], parts[1], parts[2], nullptr);
            Triple const rgb = model.pToRgb(wanted);
            EXPECT_TRUE(IsNear(color, qzILColor(rgb[0], rgb[1], rgb[2]), 1e-12)) << model.pName << " keeps " << kept;
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

}  // namespace
