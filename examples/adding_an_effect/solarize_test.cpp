#include "catalog/catalog.h"
#include "qzil/kernel/levels.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace qzil::catalog {
Entry SolarizeEntry();
}

namespace qzil::test {
namespace {

/// The rule on one sample, in wide integers.
long Model(long value, long full, double threshold) {
    long const limit = std::lround(threshold * static_cast<double>(full));
    return value > limit ? full - value : value;
}

long SampleAt(std::span<unsigned char const> bytes, std::size_t index, std::size_t size) {
    unsigned short value = 0;
    std::memcpy(&value, bytes.data() + index * size, size);
    return value;
}

class Solarize : public testing::TestWithParam<kernel::CpuLevel> {
protected:
    void SetUp() override {
        if (!kernel::ForceCpuLevel(GetParam())) GTEST_SKIP() << "this processor does not have the level";
    }
    void TearDown() override { kernel::ForceCpuLevel(kernel::HighestCpuLevel()); }
};

TEST_P(Solarize, GivesTheModelsValues) {
    catalog::Entry const entry = catalog::SolarizeEntry();
    for (GUID const& format : entry.oFormats) {
        for (double const threshold : {0.0, 0.25, 0.5, 1.0}) {
            auto const input = MakeRandomImage(format, 77, 9, 1), output = MakeRandomImage(format, 77, 9, 2);
            catalog::Instance instance = entry.Make();
            instance.SetInput(0, input.Get());
            instance.Set("threshold", threshold);
            instance.SetOutput(output.Get());
            instance.Effect().SetProcessingMode(15);
            ASSERT_EQ(instance.Effect().Verify(), 1) << NameOf(format);
            ASSERT_EQ(instance.Effect().Execute(), 1) << NameOf(format);
            std::size_t const size = GetChannelSizeFromFormat(format);
            for (std::size_t i = 0; i < Bytes(input).size() / size; ++i) {
                long const value = SampleAt(Bytes(input), i, size);
                ASSERT_EQ(SampleAt(Bytes(output), i, size), Model(value, size == 1 ? 255 : 65535, threshold))
                    << NameOf(format) << " threshold " << threshold << " sample " << i << " input " << value;
            }
        }
    }
}

std::string LevelName(testing::TestParamInfo<kernel::CpuLevel> const& info) {
    constexpr char const* kNames[] = {"Baseline", "V3", "V4"};
    return kNames[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Levels, Solarize,
                         testing::Values(kernel::CpuLevel::Baseline, kernel::CpuLevel::V3, kernel::CpuLevel::V4),
                         LevelName);

TEST(SolarizeVerify, RefusesThresholdsOutOfRangeAndOtherFormats) {
    catalog::Entry const entry = catalog::SolarizeEntry();
    auto const verify = [&entry](GUID const& format, double threshold) {
        auto const input = MakeImage(format, 4, 4), output = MakeImage(format, 4, 4);
        catalog::Instance instance = entry.Make();
        instance.SetInput(0, input.Get());
        instance.Set("threshold", threshold);
        instance.SetOutput(output.Get());
        return instance.Effect().Verify() == 1 ? 0u : instance.Effect().GetLastError().GetErrorCode();
    };
    EXPECT_EQ(verify(MFIF_RGBA_RAW_32, -0.1), 0x10012u);
    EXPECT_EQ(verify(MFIF_RGBA_RAW_32, 1.1), 0x10012u);
    EXPECT_EQ(verify(MFIF_RGBA_FLOAT, 0.5), 0x1000Du);
    EXPECT_EQ(verify(MFIF_MONO_RAW_16, 1.0), 0u);
}

}  // namespace
}  // namespace qzil::test
