#include "qzil/numeric/random_number.h"

#include "support/table.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <map>
#include <sstream>
#include <string>

namespace {

constexpr int kCount = 100000;

TEST(Random, DistributionsAreThoseOfThePublishedGenerator) {
    std::map<std::string, void (*)(qzILRandomNumber&)> const choices{
        {"unit", [](qzILRandomNumber& r) { r.SetUniform(0, 1); }},
        {"uniform", [](qzILRandomNumber& r) { r.SetUniform(-3, 0.7F); }},
        {"gaussian", [](qzILRandomNumber& r) { r.SetGaussian(0.3F, 0.25F); }},
        {"exponential", [](qzILRandomNumber& r) { r.SetExponential(2.5F); }},
        {"weibull", [](qzILRandomNumber& r) { r.SetWeibull(1.5F, 3); }}};
    for (auto const& row : qzil::test::ReadTable("numeric/random.tsv")) {
        qzILRandomNumber random;
        random.SetFixedSeed(row.Number("seed"));
        choices.at(row["distribution"])(random);
        std::istringstream expected(row["numbers"]);
        std::string word;
        for (int i = 0; i < kCount; ++i) {
            float const got = random.GetNumber();
            if (i >= 40 && i < kCount - 10) continue;
            expected >> word;
            ASSERT_EQ(got, std::stof(word)) << row["distribution"] << ", seed " << row["seed"] << ", number " << i;
        }
    }
}

TEST(Random, IsUniformWithSeedOneUntilTold) {
    qzILRandomNumber random, told;
    told.SetFixedSeed(1);
    told.SetUniform(0, 1);
    for (int i = 0; i < 100; ++i) ASSERT_EQ(random.GetNumber(), told.GetNumber());
}

TEST(Random, SeedsRestartOnlyWhenStoredNotPositive) {
    qzILRandomNumber random;
    float const first = random.Uniform();
    random.Uniform();
    random.SetFixedSeed(1);
    EXPECT_EQ(random.Uniform(), first);
    random.SetFixedSeed(-1);
    EXPECT_NE(random.Uniform(), first);
    random.SetRandomSeed();
    EXPECT_NE(random.Uniform(), first);
}

TEST(Random, KeepsTheSpareOverSeedsAndCopies) {
    qzILRandomNumber random, plain, other;
    for (auto* const r : {&random, &plain}) r->SetGaussian(0, 1);
    EXPECT_EQ(random.GetNumber(), plain.GetNumber());
    random.SetFixedSeed(77);
    random.SetUniform(0, 1);
    random.SetGaussian(5, 2);
    qzILRandomNumber copy(random);
    other.SetFixedSeed(77);
    other.SetGaussian(5, 2);
    for (float const expected : {2 * plain.GetNumber() + 5, other.GetNumber()}) {
        EXPECT_EQ(random.GetNumber(), expected);
        EXPECT_EQ(copy.GetNumber(), expected);
    }
}

TEST(Random, StaysInRangeForEverySeed) {
    for (int const seed : {INT_MIN, INT_MIN + 1, -2, -1, 0, INT_MAX - 1, INT_MAX}) {
        for (int const used : {0, 3}) {
            qzILRandomNumber random;
            for (int i = 0; i < used; ++i) random.Uniform();
            random.SetFixedSeed(seed);
            double sum = 0;
            for (int i = 0; i < kCount; ++i) {
                float const u = random.Uniform();
                ASSERT_TRUE(u >= 0 && u < 1) << "seed " << seed << ", number " << i << ": " << u;
                sum += u;
            }
            EXPECT_NEAR(sum / kCount, 0.5, 0.01) << "seed " << seed;
        }
    }
}

TEST(Random, NormalDeviatesEndForEveryUniformRange) {
    for (float const min : {5.0F, 0.5F, -1e30F, std::nanf("")}) {
        qzILRandomNumber random;
        random.SetUniform(min, min);
        random.SetGaussian(7, 2);
        EXPECT_EQ(random.GetNumber(), 7) << min;
    }
}

}  // namespace
