#include "spatial/spatial_support.h"

#include "qzil/spatial/blur.h"
#include "qzil/spatial/blur_filters.h"
#include "qzil/spatial/optic_glow.h"

namespace qzil::test::model {
namespace {

Formats const kTen = kRgba + kMono + Formats{MFIF_RGBA_FLOAT_BU, MFIF_MONO_FLOAT_BU};

bool TakesFormat(int type, GUID const& format) {
    return type > 2 || std::ranges::find(kInteger, format) != kInteger.end();
}

void SetType(qzILBlurImg& effect, int type) {
    effect.SetType(static_cast<decltype(effect.GetType())>(type));
}

struct Radii {
    float fX, fY;
};

void Set(SpatialScene& scene, Radii const& radii) {
    scene.fRadiusX = radii.fX;
    scene.fRadiusY = radii.fY;
}

constexpr float kDegrees[] = {1.0f, 0.5f, 0.25f, 0.8f, 0.05f, 1e-4f};

class Blurring : public testing::TestWithParam<GUID> {};

TEST_P(Blurring, EqualsModel) {
    Radii const radii[] = {{1, 1}, {5, 0}, {0, 3},    {2.5f, 1.5f}, {6, 2},
                           {9, 7}, {4, 4}, {1, 0.5f}, {0.5f, 12},   {5.9f, 4.1f}};
    ForAnyScenes(GetParam(), 150, [&](SpatialScene& scene, Random& random) {
        Set(scene, OneOf(random, radii));
        float const degree = OneOf(random, kDegrees);
        for (int type = 1; type <= 7; ++type) {
            if (!TakesFormat(type, GetParam())) continue;
            qzILBlurImg effect;
            SetType(effect, type);
            effect.SetDegree(degree);
            ExpectModel(
                scene, effect, [&](Region const& r) { return Blur(r, type, degree); },
                Text("type", type) + Text("degree", degree));
        }
    });
}

// The sums of a box pass 32 bits.
TEST_P(Blurring, ReachesFarBeyondSmallImages) {
    for (int type = 3; type <= 7; ++type) {
        SpatialScene scene = SpatialScene::Whole(GetParam(), 3, 2);
        Set(scene, {200, 150});
        for (int const mode : {2, 3}) {
            scene.iEdgeMode = mode;
            scene.uSeed = static_cast<std::uint64_t>(type);
            qzILBlurImg effect;
            SetType(effect, type);
            ExpectModel(
                scene, effect, [&](Region const& r) { return Blur(r, type, 1); }, Text("type", type));
        }
    }
}

TEST_P(Blurring, WithoutRadiusOrDegreeIsACopy) {
    ForAnyScenes(GetParam(), 40, [](SpatialScene& scene, Random& random) {
        qzILBlurImg effect;
        SetType(effect, random.Between(TakesFormat(1, GetParam()) ? 1 : 3, 7));
        bool const small = random.OneIn(2);
        Set(scene, small ? Radii{0.9f, 0.5f} : Radii{2, 0});
        effect.SetDegree(small ? 1.0f : 0.0f);
        ExpectCopy(scene, effect, scene.oDefaultColor);
    });
}

TEST_P(Blurring, WithoutLinesDoesNothing) {
    SpatialScene scene = SpatialScene::Whole(GetParam(), 5, 4);
    scene.uMode = 0x30F;
    for (float const degree : {0.0f, 1.0f}) {
        Ready<qzILBlurImg> ready(scene);
        SetType(ready.oEffect, 3);
        ready->SetDegree(degree);
        Picture const before = ready.Output();
        EXPECT_EQ(ready->Execute(), 1);
        EXPECT_EQ(Difference(before, ready.Output()), "");
    }
}

// Each pass has unit gain; in fixed point full scale may lose one.
TEST_P(Blurring, OfAFlatPictureIsFlat) {
    for (int type = 3; type <= 7; ++type) {
        SpatialScene scene = SpatialScene::Whole(GetParam(), 20, 9);
        Set(scene, {6, 5});
        Ready<qzILBlurImg> ready(scene);
        qzILFillImageWithColor(ready.oImages.oInput.Get(), {1, 1, 1, 1}, 15, nullptr, nullptr);
        SetType(ready.oEffect, type);
        ASSERT_EQ(ready->Execute(), 1);
        double const full = Load(ready.oImages.oInput.Get()).At(0, 0);
        double const loss = type % 2 == 0 && full == 255 ? 1 : full == 1 ? 1e-5 : 0;
        for (double const sample : ready.Output().aSamples) ASSERT_NEAR(sample, full, loss) << "type " << type;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Blurring, testing::ValuesIn(kTen), ParamName);

TEST(BlurringVerify, AcceptsFormatsByType) {
    for (int type = 1; type <= 7; ++type) {
        ExpectFrameRefusals<qzILBlurImg>(type > 2 ? kTen : kInteger, [&](auto& e) {
            e.SetRadius(2);
            SetType(e, type);
        });
    }
}

// Type and degree are told whatever else is wrong.
TEST(BlurringVerify, RefusesTypeAndDegreeFirst) {
    Ready<qzILBlurImg> ready;
    EXPECT_EQ(ready->GetType(), qzILBlurTypeEllipse);
    EXPECT_EQ(ready->GetDegree(), 1.0f);
    float const nan = std::numeric_limits<float>::quiet_NaN();
    auto const degree = [](qzILBlurImg& e, float v) { e.SetDegree(v); };
    ExpectAnswers<qzILBlurImg, decltype(degree), float>(
        ready, degree, {{0.0f, 0}, {1.0f, 0}, {nan, 0}, {1.01f, 0x10026}, {-0.01f, 0x10026}});
    ready->SetOutputImg(nullptr);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10026));
    auto const type = [](qzILBlurImg& e, int v) { SetType(e, v); };
    ExpectAnswers<qzILBlurImg, decltype(type), int>(ready, type, {{0, 0x10024}, {8, 0x10024}, {7, 0x10026}});
    ready->SetDegree(1);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x10002));
}

TEST(BlurringVerify, BuildsNoKernelForABadRadius) {
    for (int type = 1; type <= 7; ++type) {
        for (float const radius : {std::numeric_limits<float>::quiet_NaN(), 3e8f, 1e9f, 1073741824.0f, 2e9f, -5.0f}) {
            Ready<qzILBlurImg> ready;
            SetType(ready.oEffect, type);
            ready->SetRadius(radius, radius == 3e8f ? 0 : radius);  // a line of the margin buffer passes 32 bits
            bool const isHuge = radius >= 3e8f && radius < 2e9f;
            EXPECT_TRUE(ready->Verify() == -1 || (isHuge && type >= 3)) << type << ' ' << radius;
            if (!(radius > 0)) continue;
            Picture const before = ready.Output();
            EXPECT_EQ(ready->Execute(), -1) << type << ' ' << radius;
            EXPECT_EQ(Difference(before, ready.Output()), "");
        }
    }
}

// Squares of distances pass 32 bits; the taps of a row still grow towards its centre.
TEST(BlurringValues, OfFarReaches) {
    for (int const type : {1, 2}) {
        qzILBlurImg effect;
        SetType(effect, type);
        effect.SetRadius(60000, 1);
        ASSERT_EQ(effect.BuildKernel(), 1);
        EXPECT_TRUE(std::is_sorted(effect.GetKernel(), effect.GetKernel() + 60001)) << type;
    }
}

// A spread that is lost in the arithmetic leaves the picture as it is.
TEST(BlurringValues, OfSpreadsNearNothing) {
    for (GUID const& format : kInteger + Formats{MFIF_RGBA_FLOAT, MFIF_MONO_FLOAT}) {
        for (float const degree : {1e-9f, 1e-20f, 1e-38f, std::numeric_limits<float>::quiet_NaN()}) {
            for (int type = 4; type <= 7; ++type) {
                SpatialScene scene = SpatialScene::Whole(format, 12, 9);
                Set(scene, {6, 7});
                Ready<qzILBlurImg> ready(scene);
                SetType(ready.oEffect, type);
                ready->SetDegree(degree);
                ASSERT_EQ(ready->Execute(), 1);
                EXPECT_EQ(Difference(Load(ready.oImages.oInput.Get()), ready.Output()), "") << type << ' ' << degree;
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
        LineFilter const model{std::is_same_v<TypeParam, qzILBlurUniformIIR1D>, double{OneOf(random, kDegrees)} * reach,
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
        auto const text = [&] { return Text("spread", model.dfSpread) + Text("reach", reach); };
        auto const fixed = [&](bool mono) {
            return [&, mono](std::vector<i64> const& x) { return model.FixedPass(x, mono); };
        };

        unsigned const channels = static_cast<unsigned>(random.Between(1, 4)), pixels = static_cast<unsigned>(length);
        std::vector<float> in(floats.begin(), floats.begin() + channels * length), out(channels * (length - n));
        filter.Execute1Pass(channels, pixels, in.data(), out.data());
        for (std::size_t c = 0; c < channels; ++c) {
            EXPECT_EQ(model.Pass(Channel<double>(in, channels, c)), Channel<double>(out, channels, c)) << text();
        }
        std::vector<short> line(bytes), other(bytes.rbegin(), bytes.rend()), result(4 * (length - n)), more(result);
        filter.Execute1PassRGBA(pixels, line.data(), result.data());
        for (std::size_t c = 0; c < 4; ++c) {
            EXPECT_EQ(fixed(false)(Channel<i64>(bytes, 4, c)), Channel<i64>(result, 4, c)) << text();
        }
        filter.Execute1PassMONO8(pixels, line.data(), result.data());
        result.resize(length - n);
        std::vector<short> const single(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(fixed(true)(Channel<i64>(single, 1, 0)), Channel<i64>(result, 1, 0)) << text();
        result.resize(4 * (length - n));
        std::vector<short> const before(other);
        filter.ExecuteRGBA2Rows(pixels, line.data(), other.data(), result.data(), more.data());
        for (std::size_t c = 0; c < 4; ++c) {
            auto const middle = [&](std::vector<short> const& v) {
                return Channel<i64>(std::vector<short>(v.begin() + 4 * reach, v.end() - 4 * reach), 4, c);
            };
            EXPECT_EQ(model.Both(Channel<i64>(bytes, 4, c), fixed(false)), middle(line)) << text();
            EXPECT_EQ(model.Both(Channel<i64>(before, 4, c), fixed(false)), middle(other)) << text();
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

constexpr double kPresences[] = {0.8, 0.0, 1.0, 0.3};
constexpr struct {
    double dfLow, dfHigh;
} kThresholds[] = {{0.1, 0.9}, {0, 1}, {0.5, 0.5}, {0.9, 0.1}, {0.3, 0.3001}, {0.2, 0.6}, {0.49999, 0.50001}};

TEST(OpticGlow, EqualsModel) {
    ForAnyScenes(MFIF_RGBA_RAW_32, 300, [](SpatialScene& scene, Random& random) {
        float const radius = OneOf(random, {1.0f, 3.0f, 2.5f});
        Set(scene, {radius, radius});
        auto const [low, high] = OneOf(random, kThresholds);
        Glow const model{OneOf(random, kPresences), low, high};
        int const type = OneOf(random, {3, 3, 1, 5});
        qzILOpticGlowImg effect;
        SetType(effect, type);
        effect.SetDiffusionPresence(model.dfPresence);
        effect.SetThresholds(low, high);
        ExpectModel(
            scene, effect, [&](Region const& r) { return model(r, type, 1); },
            Text("type", type) + Text("presence", model.dfPresence) + Text("low", low) + Text("high", high));
    });
}

// The blur between the two steps leaves alpha alone: it may be the mask.
TEST(OpticGlow, InPlaceUnderItsOwnAlpha) {
    SpatialScene scene = SpatialScene::Whole(MFIF_RGBA_RAW_32, 30, 9);
    scene.uMask = 8;
    scene.uMode = 7;
    scene.fRadiusX = scene.fRadiusY = 3;
    scene.bInPlace = true;
    Ready<qzILOpticGlowImg> ready(scene);
    ready.oImages.oMask = ready.oImages.oInput;
    ready->SetMask(scene.oMaskRect, ready.oImages.oMask.Get(), 8);
    ASSERT_TRUE(Accepts(ready.oEffect));
    Picture const expected = RunFrame(scene, ready.oImages, [](Region const& r) { return Glow()(r, 3, 1); });
    ASSERT_EQ(ready->Execute(), 1);
    EXPECT_EQ(Difference(expected, ready.Output()), "");
}

// A threshold that is no number lies below every luma; Verify accepts it.
TEST(OpticGlow, OfThresholdsThatAreNoNumbers) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        double dfLow, dfHigh, dfSameLow, dfSameHigh;
    } const cases[] = {{nan, 0.5, 0.5, 0.5}, {0.0, nan, -1.0, -0.5}, {nan, nan, -1.0, -0.5}, {-1e300, 1e300, 2.0, 3.0}};
    for (auto const& [low, high, sameLow, sameHigh] : cases) {
        Ready<qzILOpticGlowImg> ready, same;
        ready->SetThresholds(low, high);
        same->SetThresholds(sameLow, sameHigh);
        EXPECT_EQ(ready->Verify(), low < 0 ? -1 : 1);
        ASSERT_EQ(ready->Execute(), 1);
        ASSERT_EQ(same->Execute(), 1);
        EXPECT_EQ(Difference(same.Output(), ready.Output()), "") << low << ' ' << high;
    }
}

TEST(OpticGlow, RefusesInItsOrder) {
    Ready<qzILOpticGlowImg> ready;
    qzILOpticGlowImg const fresh;
    double low = 0, high = 0;
    ready->GetThresholds(&low, &high);
    EXPECT_EQ(low, 0.1);
    EXPECT_EQ(high, 0.9);
    EXPECT_EQ(fresh.GetDiffusionPresence(), 0.8);
    EXPECT_EQ(fresh.GetDiffusionLevel(), 3.0f);
    EXPECT_EQ(fresh.GetRadiusY(), 3.0f);
    EXPECT_EQ(fresh.GetType(), qzILBlurTypeUniform);
    EXPECT_EQ(fresh.GetDegree(), 1.0f);
    ready->SetDiffusionLevel(4.5);
    EXPECT_EQ(ready->GetRadius().y, 4.5f);
    auto const first = [](qzILOpticGlowImg& e, double v) { e.SetThresholds(v, 0.5); };
    auto const second = [](qzILOpticGlowImg& e, double v) { e.SetThresholds(0.5, v); };
    auto const presence = [](qzILOpticGlowImg& e, double v) { e.SetDiffusionPresence(v); };
    ExpectAnswers<qzILOpticGlowImg, decltype(first), double>(ready, first,
                                                             {{0, 0}, {1, 0}, {-0.01, 0x1001C}, {1.01, 0x1001C}});
    ExpectAnswers<qzILOpticGlowImg, decltype(second), double>(ready, second,
                                                              {{0, 0}, {1, 0}, {-0.01, 0x1001C}, {1.01, 0x1001C}});
    ExpectAnswers<qzILOpticGlowImg, decltype(presence), double>(ready, presence,
                                                                {{0, 0x1001C}, {-0.01, 0x10026}, {1.01, 0x10026}});
    ExpectFrameRefusals<qzILOpticGlowImg>({MFIF_RGBA_RAW_32}, [](auto&) {});
}

}  // namespace
}  // namespace qzil::test::model
