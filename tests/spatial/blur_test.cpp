#include "model/spatial_model.h"
#include "scene/subject.h"

#include "qzil/spatial/blur.h"
#include "qzil/spatial/blur_filters.h"
#include "qzil/spatial/optic_glow.h"

namespace qzil::test::model {
namespace {

constexpr std::array kDegrees{1.0, 0.5, 0.25, 0.8, 0.05, 1e-4};
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Squares of distances pass 32 bits; the taps of a row still grow towards its centre.
TEST(BlurringValues, OfFarReaches) {
    for (qzILBlurType const type : {qzILBlurTypeEllipse, qzILBlurTypeGauss}) {
        qzILBlurImg effect;
        effect.SetType(type);
        effect.SetRadius(60000, 1);
        ASSERT_EQ(effect.BuildKernel(), 1);
        EXPECT_TRUE(std::is_sorted(effect.GetKernel(), effect.GetKernel() + 60001)) << type;
    }
}

// A spread that is lost in the arithmetic leaves the picture as it is.
TEST(BlurringValues, OfSpreadsNearNothing) {
    catalog::Entry const& entry = *catalog::Find("blur");
    for (GUID const& format : entry.oFormats) {
        if (GetChannelTypeFromFormat(format) == XFChannelTypeS2_14) continue;
        for (double const degree : {1e-9, 1e-20, 1e-38, kNaN}) {
            for (long type = 4; type <= 7; ++type) {
                test::Scene scene = PlainScene(entry, format, 12, 9);
                scene.uMode = 15;
                scene.Set("radius", qzILVector2f(6, 7));
                scene.Set("type", type);
                scene.Set("degree", degree);
                Images const images = Executed(scene);
                EXPECT_EQ(DescribeDifference(Bytes(images.oInputs[0]), Bytes(images.Output())), "") << scene.Describe();
            }
        }
    }
}

TEST(BlurFilterCoefficients, OfAnyReach) {
    short line[4 * 5] = {1, 2, 3}, scratch[4 * 5] = {};
    auto const expectUntouched = [&](auto&& filter) {
        filter.SetSpread(2.0);
        filter.SetReach(0xFFFFFFFFu);
        filter.ExecuteRGBA(5, line, scratch);
        filter.Execute1PassMONO8(20, line, scratch);
        EXPECT_EQ(line[2], 3);
        EXPECT_EQ(*std::ranges::max_element(scratch), 0);
    };
    expectUntouched(qzILBlurIIR1D());
    expectUntouched(qzILBlurUniformIIR1D());
}

TEST(BlurFilterCoefficients, OfTheBox) {
    for (auto const& [spread, box, whole] :
         {std::tuple{5.3, 7.033999999999999, 7u}, {0.1, 0.0, 0u}, {100.0, 9.0, 9u}}) {
        qzILBlurUniformIIR1D filter(spread, 9);
        filter.ParametersHaveChanged();
        EXPECT_EQ(filter.GetCoefficients().dfBox, box);
        EXPECT_EQ(filter.GetCoefficients().uBox, whole);
    }
}

/// Samples of one channel out of interleaved ones, and back.
template <class T, class S>
std::vector<T> Channel(std::vector<S> const& line, std::size_t channels, std::size_t c) {
    std::vector<T> samples;
    for (std::size_t i = c; i < line.size(); i += channels) samples.push_back(static_cast<T>(line[i]));
    return samples;
}

template <class Filter>
class BlurFilter : public testing::Test {};
using Filters = testing::Types<qzILBlurIIR1D, qzILBlurUniformIIR1D>;
TYPED_TEST_SUITE(BlurFilter, Filters);

TYPED_TEST(BlurFilter, PassesEqualModel) {
    Random random(1);
    for (int round = 0; round < 300; ++round) {
        int const reach = random.Between(1, 20);
        std::size_t const n = static_cast<std::size_t>(reach), length = n * 2 + 1 + random.Below(40);
        LineFilter const model{std::is_same_v<TypeParam, qzILBlurUniformIIR1D>, OneOf<double>(random, kDegrees) * reach,
                               reach};
        TypeParam filter;
        filter.SetSpread(model.dfSpread);
        filter.SetReach(static_cast<unsigned>(reach));
        filter.ParametersHaveChanged();
        std::vector<short> bytes;
        std::vector<float> floats;
        for (std::size_t i = 0; i < 4 * length; ++i) bytes.push_back(static_cast<short>(64 * random.Below(256)));
        for (std::size_t i = 0; i < 4 * length; ++i)
            floats.push_back(static_cast<float>(random.Between(-999, 9999)) / 997);
        SCOPED_TRACE("spread " + std::to_string(model.dfSpread) + " reach " + std::to_string(reach));
        auto const fixed = [&](bool mono) {
            return [&, mono](std::vector<i64> const& x) { return model.FixedPass(x, mono); };
        };

        unsigned const channels = static_cast<unsigned>(random.Between(1, 4)), pixels = static_cast<unsigned>(length);
        std::vector<float> in(floats.begin(), floats.begin() + channels * length), out(channels * (length - n));
        filter.Execute1Pass(channels, pixels, in.data(), out.data());
        for (std::size_t c = 0; c < channels; ++c) {
            EXPECT_EQ(model.Pass(Channel<double>(in, channels, c)), Channel<double>(out, channels, c));
        }
        std::vector<short> line(bytes), other(bytes.rbegin(), bytes.rend()), result(4 * (length - n)), more(result);
        filter.Execute1PassRGBA(pixels, line.data(), result.data());
        for (std::size_t c = 0; c < 4; ++c) {
            EXPECT_EQ(fixed(false)(Channel<i64>(bytes, 4, c)), Channel<i64>(result, 4, c));
        }
        filter.Execute1PassMONO8(pixels, line.data(), result.data());
        result.resize(length - n);
        std::vector<short> const single(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(fixed(true)(Channel<i64>(single, 1, 0)), Channel<i64>(result, 1, 0));
        result.resize(4 * (length - n));
        std::vector<short> const before(other);
        filter.ExecuteRGBA2Rows(pixels, line.data(), other.data(), result.data(), more.data());
        for (std::size_t c = 0; c < 4; ++c) {
            auto const middle = [&](std::vector<short> const& v) {
                return Channel<i64>(std::vector<short>(v.begin() + 4 * reach, v.end() - 4 * reach), 4, c);
            };
            EXPECT_EQ(model.Both(Channel<i64>(bytes, 4, c), fixed(false)), middle(line));
            EXPECT_EQ(model.Both(Channel<i64>(before, 4, c), fixed(false)), middle(other));
        }
        for (auto const& [spread, zeroReach] : {std::pair{0.0, n}, std::pair{2.0, std::size_t{0}}}) {
            filter.SetSpread(spread);
            filter.SetReach(static_cast<unsigned>(zeroReach));
            std::vector<short> unfiltered(bytes);
            filter.ExecuteRGBA(pixels, unfiltered.data(), result.data());
            EXPECT_EQ(unfiltered, bytes);
        }
        if (testing::Test::HasFailure()) return;
    }
}

Model GlowOf(int type) {
    return Regions([type](Region const& r, auto const&) { return Glow()(r, type, 1); });
}

TEST(OpticGlow, OfOtherTypesOfBlur) {
    Random random(1);
    for (int const type : {1, 5}) {
        for (int i = 0; i < 40 && !HasFailure(); ++i) {
            test::Scene scene = RandomScene(*catalog::Find("glow"), MFIF_RGBA_RAW_32, random);
            scene.oValues = PlainScene(*scene.pEntry, scene.oFormat, 1, 1).oValues;
            ExpectModel(scene, GlowOf(type), [type](qzILProcessor& effect) {
                dynamic_cast<qzILBlurImg&>(effect).SetType(static_cast<qzILBlurType>(type));
            });
        }
    }
}

// The blur between the two steps leaves alpha alone: it may be the mask.
TEST(OpticGlow, InPlaceUnderItsOwnAlpha) {
    test::Scene scene = PlainScene(*catalog::Find("glow"), MFIF_RGBA_RAW_32, 30, 9);
    scene.iInPlace = 0;
    scene.uMode = 15;  // which Verify refuses
    scene.oMaskFormat = scene.oFormat;
    scene.oMaskRect = scene.oRoi;
    scene.uMaskChannel = XFImageChannel3;
    Images images(scene);
    images.oMask = images.oInputs[0];
    auto const expected = Expected(scene, images, GlowOf(3));
    catalog::Instance instance = Prepare(scene, images);
    ASSERT_EQ(instance.Effect().Execute(), 1);
    EXPECT_EQ(DescribeDifference(expected, Bytes(images.Output())), "");
}

// A threshold that is no number lies below every luma; Verify accepts it.
TEST(OpticGlow, OfThresholdsThatAreNoNumbers) {
    struct {
        double dfLow, dfHigh, dfSameLow, dfSameHigh;
    } const cases[] = {
        {kNaN, 0.5, 0.5, 0.5}, {0.0, kNaN, -1.0, -0.5}, {kNaN, kNaN, -1.0, -0.5}, {-1e300, 1e300, 2.0, 3.0}};
    for (auto const& [low, high, sameLow, sameHigh] : cases) {
        Ready<qzILOpticGlowImg> ready("glow"), same("glow");
        ready->SetThresholds(low, high);
        same->SetThresholds(sameLow, sameHigh);
        EXPECT_EQ(ready->Verify(), low < 0 ? -1 : 1);
        ASSERT_EQ(ready->Execute(), 1);
        ASSERT_EQ(same->Execute(), 1);
        EXPECT_EQ(DescribeDifference(same.Output(), ready.Output()), "") << low << ' ' << high;
    }
}

}  // namespace
}  // namespace qzil::test::model
