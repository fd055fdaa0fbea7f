#pragma once

#include "model/format_lists.h"
#include "model/scene.h"

/// Parameters that the tests of several effects share.
namespace qzil::test::model {

inline constexpr double kAlphas[] = {0.0, 1e-6, 0.3, 0.5, 254.0 / 255.0, 1.0};

inline qzILColor const kColors[] = {{0.25, 0.5, 0.75, 0.0},
                                    {0.9, 0.1, 0.4, 0.3},
                                    {0.6, 1.0, 0.0, 1.0},
                                    {0.3, 0.7, 0.2, 254.0 / 255.0},
                                    {0.0, 0.0, 0.0, 0.0}};

inline std::string Text(char const* name, double value) {
    return std::string(name) + ' ' + std::to_string(value) + ' ';
}
inline std::string Text(qzILColor const& c) {
    return "colour (" + Text("", c.GetRed()) + Text("", c.GetGreen()) + Text("", c.GetBlue()) + Text("", c.GetAlpha()) +
           ") ";
}

/// A 256 x 256 picture of an 8-bit format, for all pairs of two values.
inline Scene Square(GUID const& format, XFImageChannel mask = 0, unsigned mode = 15) {
    Scene scene{.oFormat = format, .iWidth = 256, .iHeight = 256, .uMode = mode, .uMask = mask};
    scene.Make();
    return scene;
}

/// Every value of A through every value of the mask, or of B without a mask.
inline Scene EveryPair(GUID const& format, XFImageChannel mask = 0) {
    Scene scene = Square(format, mask);
    FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(mask ? scene.oMask.Get() : scene.oB.Get(), -1, [](int, int y, int) { return y; });
    return scene;
}

}  // namespace qzil::test::model
