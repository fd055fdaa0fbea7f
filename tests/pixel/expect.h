#pragma once

#include "model/cases.h"
#include "support/levels.h"

/// What the tests of effects against their models share.
namespace qzil::test::model {

inline constexpr unsigned kEveryLevel = 0x100;  ///< a sweep at each CPU level

/// One effect over all scenes of a sweep.
struct ModelCase {
    char const* pName;
    Formats oFormats;
    unsigned uSweep;
    void (*pExpect)(Scene& scene);
};

class EqualsModel : public testing::TestWithParam<ModelCase> {
protected:
    void Run() {
        auto const sweep = [] { ForEachScene(GetParam().oFormats, GetParam().uSweep, GetParam().pExpect); };
        GetParam().uSweep& kEveryLevel ? ForEachLevel(sweep) : sweep();
    }
};

inline std::string CaseName(testing::TestParamInfo<ModelCase> const& info) {
    return info.param.pName;
}

/// An effect of the type, set up by the last argument, must give the model's bytes.
template <class Effect, class SetUp = void (*)(Effect&)>
void Expect(
    Scene& scene, AnyModel const& model, std::string const& parameters = {}, SetUp setUp = [](Effect&) {},
    Planes planes = Planes::Split) {
    Effect effect;
    setUp(effect);
    ExpectModel(scene, effect, model, parameters, planes);
}

inline std::vector<u8> Snapshot(Ref<IXFImage> const& image) {
    return {Bytes(image).begin(), Bytes(image).end()};
}

}  // namespace qzil::test::model
