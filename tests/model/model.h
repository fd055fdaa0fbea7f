#pragma once

#include "model/rules.h"
#include "scene/scene.h"

#include <functional>
#include <string>
#include <tuple>
#include <vector>

/// Plain models of effects, and how a scene is held against one.
namespace qzil::test::model {

/// A call whose result a model writes.
struct Call {
    test::Scene const& oScene;
    Images const& oImages;    ///< as they are before
    std::vector<u8> oOutput;  ///< as the frame leaves it, for the model to write over
    qzILBbox2l oActive;       ///< what the effect itself works on, in region coordinates

    int OutputX(int x) const { return x - oScene.oRoi.Origin.x + oScene.oOutputOffset.x; }
    int OutputY(int y) const { return y - oScene.oRoi.Origin.y + oScene.oOutputOffset.y; }
    bool SkipsLine(int y) const { return (oScene.uMode & (OutputY(y) % 2 ? 0x200u : 0x100u)) != 0; }
};

/// Region, default colour, what lies beside the mask rectangle, and fields.
Call MakeCall(test::Scene const& scene, Images const& images);

using Model = std::function<void(Call&)>;
/// Does more to an effect than the scene says.
using Tweak = std::function<void(qzILProcessor&)>;

/// The bytes that the model leaves.
std::vector<u8> Expected(test::Scene const& scene, Images const& images, Model const& model);
/// At every CPU level the effect must leave the bytes that the model leaves; NaN equals NaN.
void ExpectModel(test::Scene const& scene, Model const& model, Tweak const& tweak = {});
/// Empty when samples are equal bit by bit (two NaN are), else the first that is not.
std::string SampleDifference(GUID const& format, std::span<u8 const> expected, std::span<u8 const> actual);

enum class Kind { Rgba, Mono, Video };
enum class Planes { Split, Whole };  ///< how an effect sees images with an alpha plane

/// One line of a picture, as a model sees it. An alpha plane that is processed for itself is a mono line.
template <class T>
struct Line {
    Kind eKind;
    GUID oFormat;
    int iWidth;
    unsigned uMode;
    bool bDominantB;
    T const* pA = nullptr;
    T const* pB = nullptr;
    T const* pP = nullptr;        ///< the dominant input
    T const* pMask = nullptr;     ///< null without a mask
    T const* pAlphaIn = nullptr;  ///< alpha plane, when it is seen together with the colours
    T* pOut = nullptr;
    T* pAlphaOut = nullptr;

    int Samples() const { return eKind == Kind::Rgba ? 4 : eKind == Kind::Mono ? 1 : 2; }
    bool Selects(int channel) const { return eKind == Kind::Mono || (uMode >> channel & 1); }
    /// Stores a pixel's result by mask and channel selection.
    template <class MixRule>
    void Commit(int x, T const* result, MixRule mix) const {
        for (int c = 0, n = Samples(); c < n; ++c) {
            int const i = x * n + c;
            T const p = pP[i];
            if (!Selects(c) || (pMask && IsNone(pMask[x]))) {
                pOut[i] = p;
            } else {
                pOut[i] = !pMask || IsFull(pMask[x]) ? result[c] : mix(pMask[x], p, result[c]);
            }
        }
    }
};

/// Any model of lines, so that what runs models is compiled once.
class AnyModel {
public:
    template <class LineModel>
    AnyModel(LineModel const& model) : m_oLines{model, model, model, model} {}
    template <class T>
    void operator()(Line<T> const& line) const {
        std::get<std::function<void(Line<T> const&)>>(m_oLines)(line);
    }

private:
    template <class... T>
    using Lines = std::tuple<std::function<void(Line<T> const&)>...>;
    Lines<u8, u16, short, float> m_oLines;
};

void RunLines(Call& call, AnyModel const& model, Planes planes = Planes::Split);

/// `make` gives the model of a line for a scene's settings.
template <class Make>
Model Lines(Make make, Planes planes = Planes::Split) {
    return [=](Call& call) { RunLines(call, make(call.oScene), planes); };
}

}  // namespace qzil::test::model
