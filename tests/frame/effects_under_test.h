#pragma once

#include "model/format_lists.h"
#include "support/picture.h"

#include "qzil/frame/copy.h"
#include "qzil/frame/image_utils.h"
#include "qzil/pixel/blend.h"
#include "qzil/pixel/channels.h"
#include "qzil/pixel/color_blend.h"
#include "qzil/pixel/composite.h"
#include "qzil/pixel/img_over_color.h"
#include "qzil/pixel/invert.h"
#include "qzil/pixel/logic.h"
#include "qzil/pixel/lut_map.h"
#include "qzil/pixel/min_mask.h"
#include "qzil/pixel/output_alpha.h"
#include "qzil/pixel/premult.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <type_traits>

namespace qzil::test {

using AllEffects =
    testing::Types<qzILCopyImg, qzILInvertImg, qzILMonadicPixelProc, qzILDyadicPixelProc, qzILMonadicLutMapImg,
                   qzILDyadicLutMapImg, qzILBlendImg, qzILGeneralBlendImage, qzILAdjustPremultImg, qzILUnpremultiplyImg,
                   qzILCompositeImg, qzILCopyOverImg, qzILImgOverColor, qzILColorBlendImg, qzILOutputAlpha,
                   qzILGrayscaleImg, qzILAndImg, qzILOrImg, qzILXOrImg, qzILMaxImg, qzILMinImg, qzILMonadicAndImg,
                   qzILMonadicOrImg, qzILMinMaskImg>;

template <class Effect>
inline constexpr bool kIsDyadic = std::is_base_of_v<qzILDyadicImgProc, Effect>;

/// These give a code without a mask image.
template <class Effect>
inline constexpr bool kNeedsMask = std::is_same_v<Effect, qzILCompositeImg> || std::is_same_v<Effect, qzILMinMaskImg>;

/// An image that knows its format and size but has no pixels.
inline Ref<IXFImage> WithoutPixels(GUID const& format, int width = 16, int height = 8) {
    auto image = MakeImage(format, 0, 0);
    if (image) {
        image->SetPixelArray(nullptr);
        image->SetRes(width, height);
    }
    return image;
}

template <class Effect>
void SetInputs(Effect& effect, IXFImage* image) {
    if constexpr (kIsDyadic<Effect>) {
        effect.SetInputImgA(image);
        effect.SetInputImgB(image);
        effect.SetDominantInput(image);
    } else {
        effect.SetInputImg(image);
    }
}

/// Parameters that Verify accepts.
template <class Effect>
void SetGoodParameters(Effect& effect) {
    [[maybe_unused]] static unsigned char l_aTable[0x20000];
    [[maybe_unused]] static void* l_aTables[4] = {l_aTable, l_aTable, l_aTable, l_aTable};
    if constexpr (requires { effect.SetLut(l_aTables); }) effect.SetLut(l_aTables);
    if constexpr (requires { effect.SetAlpha(0.5); }) effect.SetAlpha(0.5);
    if constexpr (requires { effect.SetAlphas(0.5, 0.5); }) effect.SetAlphas(0.5, 0.5);
}

inline std::string Hex(unsigned code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", code);
    return text;
}

template <class Effect>
testing::AssertionResult Refuses(Effect& effect, unsigned code) {
    effect.SetLastError(0);
    qzILStatus const status = effect.Verify();
    unsigned const actual = effect.GetLastError().GetErrorCode();
    if (status == -1 && actual == code) return testing::AssertionSuccess();
    return testing::AssertionFailure() << Effect::m_ClassName << ": expected -1 and " << Hex(code) << ", actual "
                                       << status << " and " << Hex(actual);
}
template <class Effect>
testing::AssertionResult Accepts(Effect& effect) {
    effect.SetLastError(0);
    if (effect.Verify() == 1) return testing::AssertionSuccess();
    return testing::AssertionFailure() << Effect::m_ClassName << " refuses with "
                                       << Hex(effect.GetLastError().GetErrorCode());
}

}  // namespace qzil::test
