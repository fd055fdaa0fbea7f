#include "spatial/spatial_support.h"

#include "qzil/spatial/sharpen.h"

namespace qzil::test::model {
namespace {

class Sharpening : public testing::TestWithParam<GUID> {};

TEST_P(Sharpening, EqualsModel) {
    struct {
        float fX, fY;
    } const radii[] = {{1, 1}, {2.5f, 0}, {0, 2}, {2, 3}, {1, 2.9f}, {0.5f, 1}, {3.5f, 3.5f}};
    ForAnyScenes(GetParam(), 250, [&](SpatialScene& scene, Random& random) {
        auto const [rx, ry] = OneOf(random, radii);
        scene.fRadiusX = rx;
        scene.fRadiusY = ry;
        float const degree = OneOf(random, {1.0f, 0.5f, 0.7f, 0.25f});
        double const sensitivity = OneOf(random, {0.0, 1.0, 0.5, 0.9});
        for (int const type : {1, 2}) {
            qzILSharpenImg effect;
            effect.SetType(static_cast<decltype(effect.GetType())>(type));
            effect.SetDegree(degree);
            effect.SetEdgeSensitivity(sensitivity);
            ExpectModel(
                scene, effect, [&](Region const& r) { return Sharpen(r, type, degree, sensitivity); },
                Text("type", type) + Text("degree", degree) + Text("sensitivity", sensitivity));
        }
    });
}

// The copy takes no mask and no default colour along.
TEST_P(Sharpening, WithoutRadiusOrDegreeIsACopy) {
    ForAnyScenes(GetParam(), 60, [](SpatialScene& scene, Random& random) {
        qzILSharpenImg effect;
        effect.SetType(random.OneIn(2) ? qzILSharpenTypeNormal : qzILSharpenTypeEdge);
        bool const small = random.OneIn(2);
        scene.fRadiusX = small ? 0.9f : 2.0f;
        scene.fRadiusY = small ? 0.5f : 0.0f;
        effect.SetDegree(small ? 1.0f : 0.0f);
        ExpectCopy(scene, effect, {});
    });
}

INSTANTIATE_TEST_SUITE_P(Formats, Sharpening, testing::ValuesIn(kInteger), ParamName);

TEST(SharpeningVerify, RefusesInItsOrder) {
    ExpectFrameRefusals<qzILSharpenImg>(kInteger, [](auto& e) { e.SetRadius(1); });
    Ready<qzILSharpenImg> ready;
    EXPECT_EQ(ready->GetType(), qzILSharpenTypeNormal);
    EXPECT_EQ(ready->GetDegree(), 1.0f);
    EXPECT_EQ(ready->GetEdgeSensitivity(), 1.0);
    float const nan = std::numeric_limits<float>::quiet_NaN();
    ready->SetEdgeSensitivity(1.5);
    auto const degree = [](qzILSharpenImg& e, float v) { e.SetDegree(v); };
    ExpectAnswers<qzILSharpenImg, decltype(degree), float>(
        ready, degree, {{0.0f, 0}, {1.0f, 0}, {nan, 0}, {1.01f, 0x10026}, {-0.01f, 0x10026}});
    auto const type = [](qzILSharpenImg& e, int v) { e.SetType(static_cast<qzILSharpenType>(v)); };
    ExpectAnswers<qzILSharpenImg, decltype(type), int>(ready, type,
                                                       {{0, 0x10025}, {3, 0x10025}, {1, 0x10026}, {2, 0x10026}});
    ready->SetDegree(0.5f);
    EXPECT_TRUE(Refuses(ready.oEffect, 0x1002A));
    auto const sensitivity = [](qzILSharpenImg& e, double v) { e.SetEdgeSensitivity(v); };
    ExpectAnswers<qzILSharpenImg, decltype(sensitivity), double>(ready, sensitivity,
                                                                 {{0.0, 0}, {1.0, 0}, {nan, 0}, {-0.01, 0x1002A}});
}

}  // namespace
}  // namespace qzil::test::model
