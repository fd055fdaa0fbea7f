#pragma once

#include "model/model.h"
#include "support/plain_layout.h"

#include "qzil/frame/dyadic.h"
#include "qzil/frame/monadic.h"
#include "qzil/image/image_ops.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

/// Whole pictures through an effect object of a test's own and through its plain model.
namespace qzil::test::model {

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

void Configure(Scene const& scene, qzILImgProc& effect);

/// The effect must give the model's bytes, bit by bit (two NaN are equal). A scene in place is made anew afterwards.
void ExpectModel(Scene& scene, qzILImgProc& effect, AnyModel const& model, std::string const& parameters = {},
                 Planes planes = Planes::Split);

}  // namespace qzil::test::model
