#include "model/color_model.h"
#include "pixel/expect.h"

#include "qzil/pixel/color_blend.h"
#include "qzil/pixel/img_over_color.h"
#include "qzil/pixel/output_alpha.h"

namespace qzil::test::model {
namespace {

void ExpectOverColor(Scene& scene, double opacity) {
    for (qzILColor const& color : kColors) {
        for (bool const premultiplied : {false, true}) {
            Expect<qzILImgOverColor>(
                scene, ImgOverColorModel{color, premultiplied, opacity},
                Text(color) + Text("opacity", opacity) + (premultiplied ? "premultiplied" : ""),
                [&](auto& effect) {
                    effect.SetBackgroundColor(color);
                    effect.SetForegroundOpacity(opacity);
                    effect.SetInputImgPremultiplied(premultiplied);
                },
                Planes::Whole);
        }
    }
}

TEST(ImgOverColorBytes, EveryAlphaThroughEveryMask) {
    Scene scene = Square(MFIF_RGBA_RAW_32, 16);
    FillBytes(scene.oA.Get(), 3, [](int x, int, int) { return x; });
    FillBytes(scene.oMask.Get(), -1, [](int, int y, int) { return y; });
    for (double const opacity : {1.0 / 255.0, 0.4, 254.0 / 255.0, 1.0}) ExpectOverColor(scene, opacity);
}

void ExpectColorBlend(Scene& scene, qzILColor const& color) {
    for (double const alpha : kAlphas) {
        Expect<qzILColorBlendImg>(scene, ColorBlendModel{color, alpha}, Text(color) + Text("alpha", alpha),
                                  [&](auto& effect) {
                                      effect.SetBlendColor(color);
                                      effect.SetAlpha(alpha);
                                  });
    }
}

TEST(ColorBlendWords, EveryValue) {
    for (GUID const& format :
         {MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_CbYCrY_S2_14}) {
        Scene scene = Square(format);
        FillAllWords(scene.oA.Get());
        ExpectColorBlend(scene, kColors[1]);
    }
}

TEST(ColorBlendBytes, EveryValueThroughEveryMask) {
    Scene scene = EveryPair(MFIF_RGBA_RAW_32, 16);
    ExpectColorBlend(scene, kColors[3]);
}

void ExpectOutputAlpha(Scene& scene, unsigned mode) {
    for (int reverse : {0, 1}) {
        Expect<qzILOutputAlpha>(
            scene, OutputAlphaModel{reverse != 0, mode}, Text("reverse", reverse) + Text("alpha mode", mode),
            [=](auto& effect) {
                effect.SetShowReverseFlag(reverse);
                effect.SetAlphaMode(mode);
            },
            Planes::Whole);
    }
}

TEST(OutputAlphaWords, EveryAlpha) {
    for (GUID const& format : {MFIF_RGBA_S2_14, MFIF_CbYCrYA_S2_14}) {
        Scene scene = Square(format), words = Square(MFIF_MONO_S2_14);
        FillAllWords(scene.oA.Get());
        FillAllWords(words.oA.Get());
        if (IsFormatYCC(format)) std::ranges::copy(Bytes(words.oA), Bytes(scene.oA).begin() + 4 * 65536);
        ExpectOutputAlpha(scene, 3);
    }
}

TEST(OutputAlphaBytes, LumaAtVideoLevels) {
    Scene scene{.oFormat = MFIF_YCCA_24, .iWidth = 256, .iHeight = 1};
    scene.Make();
    auto const alpha = Bytes(scene.oA).subspan(512);
    for (std::size_t i = 0; i < 256; ++i) alpha[i] = static_cast<u8>(i);
    ExpectOutputAlpha(scene, 2);
}

ModelCase const kCases[] = {
    {"ImgOverColor", kImgOverColor, kMasked | kVideoMasks | kStandardModes,
     [](Scene& scene) {
         // With an alpha plane, channel 8 alone leaves open what becomes of the colours.
         if (IsFormatYCC(scene.oFormat) && scene.uMode == 8) return;
         for (double const opacity : {0.0, 0.3, 254.0 / 255.0, 1.0}) ExpectOverColor(scene, opacity);
     }},
    {"ColorBlend", kColorBlend, kMasked | kVideoMasks,
     [](Scene& scene) { std::ranges::for_each(kColors, [&](auto& color) { ExpectColorBlend(scene, color); }); }},
    {"OutputAlpha", kOutputAlpha, kMasked | kStandardModes,
     [](Scene& scene) {
         std::ranges::for_each(std::array{1u, 2u, 3u}, [&](unsigned m) { ExpectOutputAlpha(scene, m); });
     }},
};
INSTANTIATE_TEST_SUITE_P(Colors, EqualsModel, testing::ValuesIn(kCases), CaseName);

}  // namespace
}  // namespace qzil::test::model
