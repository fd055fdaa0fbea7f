#pragma once

#include "model/model.h"

#include <optional>

/// Plain models of the effects that read neighbours: every sample by itself, by logical position.
namespace qzil::test::model {

/// The samples of an image by logical position. A double holds the values of every channel type.
struct Picture {
    int iWidth = 0, iHeight = 0, iChannels = 1;
    std::vector<double> aSamples;

    Picture() = default;
    Picture(int width, int height, int channels)
        : iWidth(width),
          iHeight(height),
          iChannels(channels),
          aSamples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height * channels)) {}
    double& At(int x, int y, int c = 0) { return aSamples[Place(x, y, c)]; }
    double At(int x, int y, int c = 0) const { return aSamples[Place(x, y, c)]; }

private:
    std::size_t Place(int x, int y, int c) const { return static_cast<std::size_t>((y * iWidth + x) * iChannels + c); }
};

Picture Load(IXFImage* image);

/// What an effect has to process: the input under its edge mode, from the first pixel of the region.
struct Region {
    Picture oInput;
    Picture oMask;  ///< of the region; no samples without a mask
    std::vector<double> aEdge;
    XFChannelType uType = XFChannelTypeUInt8;
    unsigned uMode = 15;
    int iEdgeMode = 3;
    qzILVector2l oOrigin;
    int iWidth = 0, iHeight = 0, iChannels = 1;
    float fRadiusX = 0, fRadiusY = 0;

    int RadiusX() const { return static_cast<int>(fRadiusX); }
    int RadiusY() const { return static_cast<int>(fRadiusY); }
    Region() = default;
    explicit Region(Call const& call);
    double In(int x, int y, int c) const;
    double Full() const;
    bool Selects(int c) const { return iChannels == 1 || (uMode >> c & 1); }
};

enum class MixRule { Table, Plain };  ///< of bytes: by the table of products, or by shifts

/// Results through mask and channel selection.
Picture Commit(Region const& region, Picture const& results, MixRule rule);

using RegionModel = std::function<Picture(Region const&, test::Scene const&)>;

/// An effect on the neighbourhood of every pixel of a call.
Model Regions(RegionModel const& model);

enum class Detector { Roberts, Sobel, Laplace };

/// Laplace: `type` 1 has four neighbours, 2 eight.
Picture DetectEdges(Region const& region, Detector detector, int type, double sensitivity, double bias);
Picture Gradient(Region const& region, unsigned directions, double sensitivity, double bias);
Picture Emboss(Region const& region, unsigned directions);

using Kernel = std::vector<float>;
struct Factors {
    Kernel aX, aY;
};
/// The factors of a kernel of rank one, or nothing.
std::optional<Factors> Factorise(Kernel const& kernel, int width, int height);
Picture SinglePass(Region const& region, Kernel const& kernel, float offset);
Picture DualPass(Region const& region, Factors const& factors);
Picture SinglePassFixed(Region const& region, Kernel const& kernel, float offset);
Picture DualPassFixed(Region const& region, Factors const& factors);
Picture Convolve(Region const& region, Kernel const& kernel, float offset);

Kernel SharpenKernel(float radiusX, float radiusY, float degree);
Picture Sharpen(Region const& region, int type, float degree, double sensitivity);

Kernel EllipseKernel(float radiusX, float radiusY, float degree);
Kernel GaussKernel(float radiusX, float radiusY, float degree);
Picture Blur(Region const& region, int type, float degree);

/// The filters of one line: exponential, and a box with a tail.
struct LineFilter {
    bool bBox = false;
    double dfSpread = 0;
    int iReach = 0;

    /// One pass over x.size() samples gives iReach fewer, in reverse.
    std::vector<double> Pass(std::vector<double> const& x) const;
    std::vector<i64> FixedPass(std::vector<i64> const& x, bool mono) const;
    /// Both directions; a filter without spread or reach only leaves out its reach at both ends.
    template <class T, class PassFn>
    std::vector<T> Both(std::vector<T> const& x, PassFn pass) const {
        if (dfSpread > 0 && iReach != 0) return pass(pass(x));
        return {x.begin() + iReach, x.end() - iReach};
    }
};

struct Glow {
    double dfPresence = 0.8, dfLow = 0.1, dfHigh = 0.9;

    /// `type` and `degree` of the blur.
    Picture operator()(Region const& region, int type, float degree) const;
};

}  // namespace qzil::test::model
