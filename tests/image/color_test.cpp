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
        for (auto const& color : SampleColors()) {
            Triple const actual = GetTriple(color, model);
            Triple const expected = model.pFromRgb({color.GetRed(), color.GetGreen(), color.GetBlue()});
            for (int i = 0; i < 3; ++i) {
                ASSERT_NEAR(actual[i], expected[i], 1e-12)
                    << model.pName << " component " << i << " of " << DescribeColor(color);
            }
            qzILColor back(0.5, 0.5, 0.5, 0.125);
            SetTriple(back, model, actual);
            Triple const rgb = model.pToRgb(actual);
            EXPECT_EQ(back.GetAlpha(), 0.125) << model.pName;
            ASSERT_NEAR(back.GetRed(), rgb[0], 1e-12) << model.pName << ' ' << DescribeColor(color);
            ASSERT_NEAR(back.GetGreen(), rgb[1], 1e-12) << model.pName << ' ' << DescribeColor(color);
            ASSERT_NEAR(back.GetBlue(), rgb[2], 1e-12) << model.pName << ' ' << DescribeColor(color);
            // The coefficients are rounded to three to nine places.
            ASSERT_NEAR(back.GetRed(), color.GetRed(), model.dfRoundTrip) << model.pName;
            ASSERT_NEAR(back.GetGreen(), color.GetGreen(), model.dfRoundTrip) << model.pName;
            ASSERT_NEAR(back.GetBlue(), color.GetBlue(), model.dfRoundTrip) << model.pName;
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
            EXPECT_NEAR(color.GetRed(), rgb[0], 1e-12) << model.pName << " keeps " << kept;
            EXPECT_NEAR(color.GetGreen(), rgb[1], 1e-12) << model.pName << " keeps " << kept;
            EXPECT_NEAR(color.GetBlue(), rgb[2], 1e-12) << model.pName << " keeps " << kept;
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

TEST(Color, YccHasVideoLevels) {
    double y = 0, cb = 0, cr = 0;
    qzILColor(0, 0, 0).GetColorAsYCCA(&y, &cb, &cr);
    EXPECT_NEAR(y, 16 / 255.0, 1e-7);
    EXPECT_NEAR(cb, 128 / 255.0, 1e-7);
    EXPECT_NEAR(cr, 128 / 255.0, 1e-7);
    qzILColor(1, 1, 1).GetColorAsYCCA709(&y, &cb, &cr);
    EXPECT_NEAR(y, 235 / 255.0, 1e-7);
    EXPECT_NEAR(cb, 128 / 255.0, 1e-7);
    EXPECT_NEAR(cr, 128 / 255.0, 1e-7);
}

TEST(Color, UnevenModelsClampWhatTheySet) {
    double const kY = 0.9, kHigh = 1.0, kLow = 0.0;
    qzILColor color;
    color.SetColorAsYUVA(&kY, &kHigh, &kLow);
    EXPECT_EQ(color.GetBlue(), 1.0);
    color.SetColorAsYIQA(&kY, &kHigh, &kHigh);
    EXPECT_EQ(color.GetRed(), 1.0);
    color.SetColorAsYIQA(&kLow, &kLow, &kLow);
    EXPECT_EQ(color.GetRed(), 0.0);
}

TEST(Color, SextantSixIsSextantZero) {
    double const kTop = 1.0, kBottom = 0.0, kHalf = 0.5, kFull = 1.0;
    qzILColor a, b;
    a.SetColorAsHSVA(&kTop, &kHalf, &kFull);
    b.SetColorAsHSVA(&kBottom, &kHalf, &kFull);
    EXPECT_EQ(a, b);
    a.SetColorAsHLSA(&kTop, &kHalf, &kFull);
    b.SetColorAsHLSA(&kBottom, &kHalf, &kFull);
    EXPECT_EQ(a, b);
    double const kBlackLightness = 0.0;
    a.SetColorAsHLSA(&kHalf, &kBlackLightness, &kFull);
    EXPECT_EQ((std::array{a.GetRed(), a.GetGreen(), a.GetBlue()}), (std::array{0.0, 0.0, 0.0}));
}

}  // namespace
