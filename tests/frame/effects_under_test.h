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
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>

namespace qzil::test {

/// An effect class as data: tests over all classes are compiled once.
struct EffectClass {
    std::string_view oName;
    std::unique_ptr<qzILImgProc> (*pMake)();  ///< with parameters that Verify accepts
    void (*pSpoil)(qzILImgProc&, double);     ///< puts a value, where it makes no sense, into every parameter
    std::optional<std::size_t> oFormats;      ///< how many formats its list has
    bool bDyadic;
    bool bNeedsMask;   ///< gives a code without a mask image
    bool bComposites;  ///< selects every channel and the dominant input by itself
};

template <class E>
std::unique_ptr<qzILImgProc> MakeEffect() {
    [[maybe_unused]] static unsigned char l_aTable[0x20000];
    [[maybe_unused]] static void* l_aTables[4] = {l_aTable, l_aTable, l_aTable, l_aTable};
    auto effect = std::make_unique<E>();
    if constexpr (requires { effect->SetLut(l_aTables); }) effect->SetLut(l_aTables);
    if constexpr (requires { effect->SetAlpha(0.5); }) effect->SetAlpha(0.5);
    if constexpr (requires { effect->SetAlphas(0.5, 0.5); }) effect->SetAlphas(0.5, 0.5);
    return effect;
}

template <class E>
void Spoil(qzILImgProc& base, double value) {
    [[maybe_unused]] auto& effect = static_cast<E&>(base);
    [[maybe_unused]] qzILColor const color(value, value, value, value);
    if constexpr (requires { effect.SetAlpha(value); }) effect.SetAlpha(value);
    if constexpr (requires { effect.SetAlphas(value, value); }) effect.SetAlphas(value, value);
    if constexpr (requires { effect.SetAlphaMode(77); }) effect.SetAlphaMode(77);
    if constexpr (requires { effect.SetForegroundOpacity(value); }) effect.SetForegroundOpacity(value);
    if constexpr (requires { effect.SetBackgroundColor(color); }) effect.SetBackgroundColor(color);
    if constexpr (requires { effect.SetBlendColor(color); }) effect.SetBlendColor(color);
    if constexpr (requires { effect.SetLut(nullptr); }) effect.SetLut(nullptr);
}

template <class... E>
std::vector<EffectClass> ClassesOf() {
    auto const formats = []<class One>(One const*) -> std::optional<std::size_t> {
        if constexpr (requires { One::GetFormats(); }) return One::GetFormats().size();
        return {};
    };
    return {{E::m_ClassName, MakeEffect<E>, Spoil<E>, formats(static_cast<E const*>(nullptr)),
             std::is_base_of_v<qzILDyadicImgProc, E>,
             std::is_same_v<E, qzILCompositeImg> || std::is_same_v<E, qzILMinMaskImg>,
             std::is_same_v<E, qzILCompositeImg>}...};
}

inline std::vector<EffectClass> const kAllEffects =
    ClassesOf<qzILCopyImg, qzILInvertImg, qzILMonadicPixelProc, qzILDyadicPixelProc, qzILMonadicLutMapImg,
              qzILDyadicLutMapImg, qzILBlendImg, qzILGeneralBlendImage, qzILAdjustPremultImg, qzILUnpremultiplyImg,
              qzILCompositeImg, qzILCopyOverImg, qzILImgOverColor, qzILColorBlendImg, qzILOutputAlpha, qzILGrayscaleImg,
              qzILAndImg, qzILOrImg, qzILXOrImg, qzILMaxImg, qzILMinImg, qzILMonadicAndImg, qzILMonadicOrImg,
              qzILMinMaskImg>();

/// An image that knows its format and size but has no pixels.
inline Ref<IXFImage> WithoutPixels(GUID const& format, int width = 16, int height = 8) {
    auto image = MakeImage(format, 0, 0);
    if (image) {
        image->SetPixelArray(nullptr);
        image->SetRes(width, height);
    }
    return image;
}

inline void SetInputs(qzILImgProc& effect, IXFImage* image) {
    if (auto* const dyadic = dynamic_cast<qzILDyadicImgProc*>(&effect)) {
        dyadic->SetInputImgA(image);
        dyadic->SetInputImgB(image);
        dyadic->SetDominantInput(image);
    } else {
        dynamic_cast<qzILMonadicImgProc&>(effect).SetInputImg(image);
    }
}

/// Verify gives a code; 0 accepts.
inline testing::AssertionResult Answers(qzILProcessor& effect, unsigned code) {
    effect.SetLastError(0);
    qzILStatus const status = effect.Verify();
    unsigned const actual = effect.GetLastError().GetErrorCode();
    if (status == (code == 0 ? 1 : -1) && (code == 0 || actual == code)) return testing::AssertionSuccess();
    char text[64];
    std::snprintf(text, sizeof text, ": expected 0x%X, actual %d and 0x%X", code, static_cast<int>(status), actual);
    return testing::AssertionFailure() << effect.GetActualClassName() << text;
}
inline testing::AssertionResult Refuses(qzILProcessor& effect, unsigned code) {
    return Answers(effect, code);
}
inline testing::AssertionResult Accepts(qzILProcessor& effect) {
    return Answers(effect, 0);
}

}  // namespace qzil::test
