#pragma once

#include "model/rules.h"
#include "support/picture.h"
#include "support/plain_layout.h"

#include "qzil/frame/dyadic.h"
#include "qzil/frame/monadic.h"
#include "qzil/image/image_ops.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <tuple>
#include <vector>

/// Runs one scene through an effect and through its plain model.
namespace qzil::test::model {

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
    T const* pA;
    T const* pB;
    T const* pP;        ///< the dominant input
    T const* pMask;     ///< null without a mask
    T const* pAlphaIn;  ///< alpha plane, when it is seen together with the colours
    T* pOut;
    T* pAlphaOut;

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

struct Scene {
    GUID oFormat{};
    int iWidth = 8;
    int iHeight = 2;
    unsigned uMode = 15;
    XFImageChannel uMask = 0;  ///< 0: no mask; 16: one channel; 1, 2, 4, 8: that channel of four
    bool bDominantB = false;
    int iInPlace = 0;  ///< 1: the output is input A, 2: it is input B
    bool bSpecials = false;
    std::uint64_t uSeed = 1;
    Ref<IXFImage> oA{}, oB{}, oOut{}, oMask{};

    /// Makes the images, with random and end values.
    void Make();
    IXFImage* Output() const { return iInPlace == 1 ? oA.Get() : iInPlace == 2 ? oB.Get() : oOut.Get(); }
    IXFImage* Dominant() const { return bDominantB ? oB.Get() : oA.Get(); }
    std::string Describe() const;
};

std::string ParamName(testing::TestParamInfo<GUID> const& info);
GUID MaskFormat(GUID const& format, bool fourChannels);
/// Fills by channel type, half of the samples end values.
void FillEnds(IXFImage* image, std::uint64_t seed, bool specials);
void FillMask(IXFImage* image, std::uint64_t seed);
/// Puts the same value of 0 to 255 through a function of x and y into a channel (or all, -1) of an 8-bit image.
template <class Fn>
void FillBytes(IXFImage* image, int channel, Fn value) {
    PlainLayout const layout(image);
    auto const bytes = Bytes(image);
    int const n = static_cast<int>(layout.PixelStep());
    for (int y = 0; y < layout.iHeight; ++y) {
        for (int x = 0; x < layout.iWidth; ++x) {
            for (int c = 0; c < n; ++c) {
                if (channel >= 0 && c != channel) continue;
                bytes[layout.Pixel(x, y) + static_cast<std::size_t>(c)] = static_cast<u8>(value(x, y, c));
            }
        }
    }
}
/// Fills every 16-bit sample of a 256 x 256 image with a number of its own pixel, 0 to 65535.
void FillAllWords(IXFImage* image);

inline constexpr int kWidths[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 64, 67, 130, 600};
#ifdef __SANITIZE_ADDRESS__
inline constexpr int kWidest = 67;  // wider lines are left to the nets there
#else
inline constexpr int kWidest = 600;
#endif
inline constexpr XFImageChannel kMasks[] = {0, 16, 1, 2, 4, 8};

enum Sweep : unsigned { kDyadic = 1, kMasked = 2, kSpecials = 4, kVideoMasks = 8, kStandardModes = 16 };

/// Every mask, channel selection, dominant input and width for a format; the parameters are `fn`'s business.
template <class Fn>
void ForEachScene(GUID const& format, unsigned sweep, Fn fn) {
    bool const video = IsFormatYCC(format);
    std::uint64_t seed = 1;
    for (XFImageChannel const mask : kMasks) {
        if (mask && (!(sweep & kMasked) || (video && !(sweep & kVideoMasks)))) continue;
        for (unsigned mode = 0; mode < 16; ++mode) {
            bool const standard = mode == 7 || mode == 15 || (mode == 8 && IsFormatWithSeparateAlpha(format));
            if ((video && (mask || sweep & kStandardModes) && !standard)) continue;
            for (int dominant = 0; dominant < (sweep & kDyadic ? 2 : 1); ++dominant) {
                for (int const width : kWidths) {
                    if (width > kWidest) break;
                    Scene scene{.oFormat = format, .iWidth = width, .uMode = mode, .uMask = mask};
                    scene.iHeight = 2 + static_cast<int>(seed % 2);
                    scene.bDominantB = dominant != 0;
                    scene.iInPlace = static_cast<int>(seed % 7);
                    if (scene.iInPlace > (sweep & kDyadic ? 2 : 1)) scene.iInPlace = 0;
                    scene.bSpecials = (sweep & kSpecials) && seed % 3 == 0;
                    scene.uSeed = ++seed;
                    scene.Make();
                    fn(scene);
                    if (testing::Test::HasFailure()) return;
                }
            }
        }
    }
}

template <class Fn>
void ForEachScene(std::vector<GUID> const& formats, unsigned sweep, Fn fn) {
    for (GUID const& format : formats) ForEachScene(format, sweep, fn);
}

/// Any model, so that what runs models is compiled once.
class AnyModel {
public:
    template <class Model>
    AnyModel(Model const& model) : m_oLines{model, model, model, model} {}
    template <class T>
    void operator()(Line<T> const& line) const {
        std::get<std::function<void(Line<T> const&)>>(m_oLines)(line);
    }

private:
    template <class... T>
    using Lines = std::tuple<std::function<void(Line<T> const&)>...>;
    Lines<u8, u16, short, float> m_oLines;
};

void Configure(Scene const& scene, qzILImgProc& effect);

/// Empty when samples are equal bit by bit (two NaN are), else the first that is not.
std::string SampleDifference(GUID const& format, std::span<u8 const> expected, std::span<u8 const> actual);

/// The effect must give the model's bytes, bit by bit (two NaN are equal). A scene in place is made anew afterwards.
void ExpectModel(Scene& scene, qzILImgProc& effect, AnyModel const& model, std::string const& parameters = {},
                 Planes planes = Planes::Split);

}  // namespace qzil::test::model
