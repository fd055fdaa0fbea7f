#include "catalog/effect.h"
#include "qzil/spatial/blur.h"
#include "qzil/spatial/convolve.h"
#include "qzil/spatial/edges.h"
#include "qzil/spatial/optic_glow.h"
#include "qzil/spatial/relief.h"
#include "qzil/spatial/sharpen.h"

namespace qzil::catalog {

namespace {

constexpr Range kShare{0.0, 1.0};
/// Effects take more, but a neighbourhood of this size is beyond every picture's need.
constexpr Range kRadius{0.0, 1000.0};
/// Beyond it the weights of the neighbourhood miss 1 by so much that flat areas change, in 16 bits first.
constexpr Range kSharpenRadius{0.0, 8.0};

/// An effect with what all neighbourhood effects have.
template <class E>
Effect<E> Spatial(char const* name, char const* summary) {
    std::vector<Choice> const modes = {{"color", qzILEdgeModeColor},
                                       {"wrap", qzILEdgeModeWrap},
                                       {"extend", qzILEdgeModeExtend},
                                       {"mirror", qzILEdgeModeMirror}};
    Effect<E> effect(name, "spatial", summary);
    effect.Input("input", &E::SetInputImg)
        .Choice("edge", &E::SetEdgeMode, modes, "extend",
                "what lies beyond the picture: a colour, the picture again, its border, or its mirror image")
        .Color("edge-color", &E::SetEdgeColor, "0,0,0,0", "colour beyond the picture with --edge color");
    return effect;
}

template <class E>
void SetRadius(E& effect, qzILVector2f radius) {
    effect.SetRadius(radius);
}

/// The effect only reads the taps.
void SetKernel(qzILConvolveImg& effect, Kernel const& kernel) {
    float const x = static_cast<float>(kernel.iWidth / 2), y = static_cast<float>(kernel.iHeight / 2);
    effect.SetKernel(const_cast<float*>(kernel.oTaps.data()), x, y);
}

void SetLowThreshold(qzILOpticGlowImg& effect, double low) {
    double high = 0.0;
    effect.GetThresholds(nullptr, &high);
    effect.SetThresholds(low, high);
}

void SetHighThreshold(qzILOpticGlowImg& effect, double high) {
    double low = 0.0;
    effect.GetThresholds(&low, nullptr);
    effect.SetThresholds(low, high);
}

std::vector<Choice> Directions() {
    return {{"e", 1}, {"ne", 2}, {"n", 4}, {"nw", 8}, {"w", 16}, {"sw", 32}, {"s", 64}, {"se", 128}};
}

template <class E>
Effect<E>& AddLevels(Effect<E>&& effect) {
    return effect
        .Real("sensitivity", &E::SetEdgeSensitivity, kShare, "1", "1 shows every edge, smaller values strong ones only")
        .Real("bias", &E::SetBias, kShare, "0", "added to the edges that show");
}

template <class E>
Effect<E>& AddDetection(Effect<E>&& effect) {
    std::vector<Choice> const types = {{"magnitude", qzILEdgeDetectTypeMagnitude}, {"angle", qzILEdgeDetectTypeAngle}};
    return AddLevels(std::move(effect))
        .Choice("type", &E::SetType, types, "magnitude",
                "strength of the edges, or their direction as a circle of grey");
}

/// Behind the two parameters of all neighbourhood effects.
constexpr std::size_t kType = 2;

/// Recursive filters round differently behind another start, as running sums of floats do.
bool BlurStartCounts(std::span<Value const> values, GUID const& format) {
    bool const isFloat = GetChannelTypeFromFormat(format) == XFChannelTypeFloat;
    return std::get<long>(values[kType]) >= (isFloat ? 3 : 4);
}

/// Edges are looked for in the region alone.
bool EdgesOfRegion(std::span<Value const> values, GUID const&) {
    return std::get<long>(values[kType]) != qzILSharpenTypeNormal;
}

std::vector<Choice> BlurTypes() {
    return {{"ellipse", qzILBlurTypeEllipse},
            {"gauss", qzILBlurTypeGauss},
            {"uniform", qzILBlurTypeUniform},
            {"exponential", qzILBlurTypeExponential},
            {"exponential-float", qzILBlurTypeExponentialFloat},
            {"fast-gauss", qzILBlurTypeFastGauss},
            {"fast-gauss-float", qzILBlurTypeFastGaussFloat}};
}

}  // namespace

std::vector<Entry> SpatialEffects() {
    return {
        AddDetection(Spatial<qzILRobertsImg>("roberts", "Finds edges by differences with equal weights")),
        AddDetection(Spatial<qzILSobelImg>("sobel", "Finds edges by differences with the middle halved")),

        AddLevels(Spatial<qzILLaplaceImg>("laplace", "Finds edges and points by the second derivative"))
            .Choice("type", &qzILLaplaceImg::SetType, {{"four", 1}, {"eight", 2}}, "four",
                    "neighbours that count: four or eight"),

        AddLevels(Spatial<qzILGradientImg>("gradient", "Shows rises of brightness in one or more directions"))
            .Set("direction", &qzILGradientImg::SetDirection, Directions(), "e", "where brightness rises to"),

        Spatial<qzILEmbossImg>("emboss", "Shows the picture as a relief")
            .Set("direction", &qzILEmbossImg::SetDirection, Directions(), "ne", "where the relief rises to"),

        Spatial<qzILConvolveImg>("convolve", "Applies a kernel of weights to the neighbourhood of each pixel")
            .Kernel(
                "kernel", SetKernel, "0 1 0; 1 2 1; 0 1 0 / 6",
                "the weights; kernels that are a product of a row and a column are applied upside down; sums beyond "
                "full scale wrap in 8 and 16 bits")
            .Real("bias", &qzILConvolveImg::SetOffset, {-65535.0, 65535.0}, "0",
                  "added to each result, in units of the channel; not to kernels that are a product of a row and a "
                  "column")
            .Open(),

        Spatial<qzILSharpenImg>("sharpen", "Sharpens by the difference from the neighbourhood")
            .Choice("type", &qzILSharpenImg::SetType,
                    {{"normal", qzILSharpenTypeNormal}, {"edge", qzILSharpenTypeEdge}}, "normal",
                    "everywhere, or along edges only")
            .Pair("radius", SetRadius<qzILSharpenImg>, kSharpenRadius, "1",
                  "size of the neighbourhood; larger ones would change flat areas", "pixels")
            .Open()
            .Real("degree", &qzILSharpenImg::SetDegree, kShare, "0.3",
                  "strength; results beyond full scale wrap, which strong degrees show")
            .Real("sensitivity", &qzILSharpenImg::SetEdgeSensitivity, kShare, "1",
                  "which edges count, with --type edge")
            .Open()
            .BlackAround()
            .RegionMatters(EdgesOfRegion),

        Spatial<qzILBlurImg>("blur", "Blurs")
            .Choice("type", &qzILBlurImg::SetType, BlurTypes(), "fast-gauss",
                    "shape of the blur; ellipse and gauss in 8 and 16 bits only")
            .Pair("radius", SetRadius<qzILBlurImg>, kRadius, "3", "reach of the blur", "pixels")
            .Real("degree", &qzILBlurImg::SetDegree, kShare, "0.5",
                  "standard deviation as a share of the radius; of an ellipse, how much it blurs; not for uniform")
            .RegionMatters(BlurStartCounts),

        Spatial<qzILOpticGlowImg>("glow", "Lets bright parts glow")
            .Pair("radius", SetRadius<qzILOpticGlowImg>, kRadius, "3", "reach of the glow", "pixels")
            .Real("presence", &qzILOpticGlowImg::SetDiffusionPresence, kShare, "0.8", "strength of the glow")
            .Real("low", SetLowThreshold, kShare, "0.1", "luma from which pixels glow")
            .Real("high", SetHighThreshold, kShare, "0.9", "luma from which they glow fully"),
    };
}

}  // namespace qzil::catalog
