#include "qzil/numeric/random_number.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>

namespace {

constexpr int kCount = 100000;

/// The published generator, by 64-bit products in place of the split of a product into two.
class Model {
public:
    explicit Model(std::int64_t seed) {
        state_ = seed == 0 ? 1 : seed;
        for (int i = 0; i < 8; ++i) Multiply();
        for (int i = 31; i >= 0; --i) table_[i] = Multiply();
        last_ = table_[0];
    }

    std::int64_t Multiply() { return state_ = state_ * 16807 % 2147483647; }

    float Uniform(float min = 0, float max = 1) {
        std::int64_t const next = Multiply();
        std::int64_t& slot = table_[last_ >> 26];
        last_ = slot;
        slot = next;
        float const fraction = std::fmin(static_cast<float>(last_) / 2147483648.0F, 1 - 0x1p-23F);
        return min + (max - min) * fraction;
    }

    float Gaussian(float mean, float sigma) {
        if (full_) {
            full_ = false;
            return sigma * spare_ + mean;
        }
        float u;
        float v;
        float r;
        do {
            u = static_cast<float>(2.0 * Uniform() - 1.0);
            v = static_cast<float>(2.0 * Uniform() - 1.0);
            r = u * u + v * v;
        } while (r >= 1 || r == 0);
        double const f = std::sqrt(-2.0 * std::log(double{r}) / r);
        full_ = true;
        spare_ = static_cast<float>(u * f);
        return static_cast<float>(v * sigma * f + mean);
    }

private:
    std::int64_t state_;
    std::int64_t last_;
    std::array<std::int64_t, 32> table_{};
    bool full_ = false;
    float spare_ = 0;
};

struct Case {
    char const* name;
    void (*choose)(qzILRandomNumber&);
    float (*expected)(Model&);
    double mean;
};

Case const kCases[] = {
    {"unit", [](qzILRandomNumber& r) { r.SetUniform(0, 1); }, [](Model& m) { return m.Uniform(); }, 0.5},
    {"uniform", [](qzILRandomNumber& r) { r.SetUniform(-3, 0.7F); }, [](Model& m) { return m.Uniform(-3, 0.7F); },
     -1.15},
    {"gaussian", [](qzILRandomNumber& r) { r.SetGaussian(0.3F, 0.25F); },
     [](Model& m) { return m.Gaussian(0.3F, 0.25F); }, 0.3},
    {"exponential", [](qzILRandomNumber& r) { r.SetExponential(2.5F); },
     [](Model& m) { return static_cast<float>(-std::log(double{m.Uniform() / 2.5F})); }, 1 + std::log(2.5)},
    {"weibull", [](qzILRandomNumber& r) { r.SetWeibull(1.5F, 3); },
     [](Model& m) { return static_cast<float>(std::pow(std::log(double{m.Uniform()}) * (-1 / 1.5), 1.0 / 3)); },
     0.78009},
};

TEST(Random, DistributionsAreThoseOfThePublishedGenerator) {
    for (Case const& tested : kCases) {
        for (int const seed : {0, 1, 1000, 1234569871, INT_MAX - 1}) {
            qzILRandomNumber random;
            random.SetFixedSeed(seed);
            tested.choose(random);
            Model model(seed);
            double sum = 0;
            for (int i = 0; i < kCount; ++i) {
                float const got = random.GetNumber();
                ASSERT_EQ(got, tested.expected(model)) << tested.name << ", seed " << seed << ", number " << i;
                sum += got;
            }
            EXPECT_NEAR(sum / kCount, tested.mean, 0.02) << tested.name << ", seed " << seed;
        }
    }
}

TEST(Random, TheModelIsTheMinimalStandard) {
    Model model(1);
    std::int64_t value = 0;
    for (int i = 40; i < 10000; ++i) value = model.Multiply();
    EXPECT_EQ(value, 1043618065);
}

TEST(Random, IsUniformWithSeedOneUntilTold) {
    qzILRandomNumber random;
    Model model(1);
    for (int i = 0; i < 100; ++i) ASSERT_EQ(random.GetNumber(), model.Uniform());
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
    qzILRandomNumber random;
    Model model(1);
    random.SetGaussian(0, 1);
    EXPECT_EQ(random.GetNumber(), model.Gaussian(0, 1));
    random.SetFixedSeed(77);
    random.SetUniform(0, 1);
    random.SetGaussian(5, 2);
    qzILRandomNumber copy(random);
    float const spare = model.Gaussian(5, 2);
    EXPECT_EQ(random.GetNumber(), spare);
    EXPECT_EQ(copy.GetNumber(), spare);
    Model other(77);
    float const next = other.Gaussian(5, 2);
    EXPECT_EQ(random.GetNumber(), next);
    EXPECT_EQ(copy.GetNumber(), next);
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
