#include "model/cases.h"
#include "model/color_model.h"

#include "qzil/pixel/color_blend.h"
#include "qzil/pixel/img_over_color.h"
#include "qzil/pixel/output_alpha.h"

namespace qzil::test::model {
namespace {

TEST(ImgOverColor, EqualsModel) {
    ForEachScene(kImgOverColor, kMasked | kVideoMasks | kStandardModes, [](Scene& scene) {
        for (qzILColor const& color : kColors) {
            for (int i = 0; i < 8; ++i) {
                double const opacity = std::array{0.0, 0.3, 254.0 / 255.0, 1.0}[static_cast<std::size_t>(i / 2)];
                bool const premultiplied = i % 2;
                // With an alpha plane, channel 8 alone leaves open what becomes of the colours.
                if (IsFormatYCC(scene.oFormat) && scene.uMode == 8) continue;
                qzILImgOverColor effect;
                effect.SetBackgroundColor(color);
                effect.SetForegroundOpacity(opacity);
                effect.SetInputImgPremultiplied(premultiplied);
                ExpectModel(scene, effect, ImgOverColorModel{color, premultiplied, opacity},
                            Text(color) + Text("opacity", opacity) + (premultiplied ? "premultiplied" : ""),
                            Planes::Whole);
            }
        }
    });
}

TEST(ImgOverColorBytes, EveryAlphaThroughEveryMask) {
    Scene scene = Square(MFIF_RGBA_RAW_32, 16);
    FillBytes(scene.oA.Get(), 3, [](int x, int, int) { return x; });
    FillBytes(scene.oMask.Get(), -1, [](int, int y, int) { return y; });
    for (int i = 0; i < 8; ++i) {
        double const opacity = std::array{1.0 / 255.0, 0.4, 254.0 / 255.0, 1.0}[static_cast<std::size_t>(i / 2)];
        for (qzILColor const& color : kColors) {
            qzILImgOverColor effect;
            effect.SetBackgroundColor(color);
            effect.SetForegroundOpacity(opacity);
            effect.SetInputImgPremultiplied(i % 2);
            ExpectModel(scene, effect, ImgOverColorModel{color, i % 2 != 0, opacity},
                        Text(color) + Text("opacity", opacity));
        }
    }
}

TEST(ColorBlend, EqualsModel) {
    ForEachScene(kColorBlend, kMasked | kVideoMasks, [](Scene& scene) {
        for (qzILColor const& color : kColors) {
            for (double const alpha : kAlphas) {
                qzILColorBlendImg effect;
                effect.SetBlendColor(color);
                effect.SetAlpha(alpha);
                ExpectModel(scene, effect, ColorBlendModel{color, alpha}, Text(color) + Text("alpha", alpha));
                EXPECT_EQ(effect.GetBlendColor(), color);
            }
        }
    });
}

TEST(ColorBlendWords, EveryValue) {
    for (GUID const& format :
         {MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16, MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_CbYCrY_S2_14}) {
        Scene scene = Square(format);
        FillAllWords(scene.oA.Get());
        for (double const alpha : kAlphas) {
            qzILColorBlendImg effect;
            effect.SetBlendColor(kColors[1]);
            effect.SetAlpha(alpha);
            ExpectModel(scene, effect, ColorBlendModel{kColors[1], alpha}, Text("alpha", alpha));
        }
    }
}

TEST(ColorBlendBytes, EveryValueThroughEveryMask) {
    Scene scene = Square(MFIF_RGBA_RAW_32, 16);
    FillBytes(scene.oA.Get(), -1, [](int x, int, int) { return x; });
    FillBytes(scene.oMask.Get(), -1, [](int, int y, int) { return y; });
    for (double const alpha : kAlphas) {
        qzILColorBlendImg effect;
        effect.SetBlendColor(kColors[3]);
        effect.SetAlpha(alpha);
        ExpectModel(scene, effect, ColorBlendModel{kColors[3], alpha}, Text("alpha", alpha));
    }
}

TEST(OutputAlpha, EqualsModel) {
    ForEachScene(kOutputAlpha, kMasked | kStandardModes, [](Scene& scene) {
        for (int reverse : {0, 1}) {
            for (unsigned const mode : {1u, 2u, 3u}) {
                qzILOutputAlpha effect;
                effect.SetShowReverseFlag(reverse);
                effect.SetAlphaMode(mode);
                ExpectModel(scene, effect, OutputAlphaModel{reverse != 0, mode},
                            Text("reverse", reverse) + Text("alpha mode", mode), Planes::Whole);
            }
        }
    });
}

TEST(OutputAlphaWords, EveryAlpha) {
    for (GUID const& format : {MFIF_RGBA_S2_14, MFIF_CbYCrYA_S2_14}) {
        for (int reverse : {0, 1}) {
            Scene scene = Square(format);
            if (format == MFIF_RGBA_S2_14) {
                FillAllWords(scene.oA.Get());
            } else {
                auto const alpha = Bytes(scene.oA).subspan(4 * 65536);
                for (std::size_t i = 0; i < 65536; ++i) {
                    u16 const value = static_cast<u16>(i);
                    std::memcpy(&alpha[2 * i], &value, 2);
                }
            }
            qzILOutputAlpha effect;
            effect.SetShowReverseFlag(reverse);
            effect.SetAlphaMode(3);
            ExpectModel(scene, effect, OutputAlphaModel{reverse != 0, 3}, Text("reverse", reverse), Planes::Whole);
        }
    }
}

TEST(OutputAlphaBytes, LumaAtVideoLevels) {
    Scene scene{.oFormat = MFIF_YCCA_24, .iWidth = 256, .iHeight = 1};
    scene.Make();
    auto const alpha = Bytes(scene.oA).subspan(512);
    for (std::size_t i = 0; i < 256; ++i) alpha[i] = static_cast<u8>(i);
    qzILOutputAlpha effect;
    ExpectModel(scene, effect, OutputAlphaModel{false, 2}, {}, Planes::Whole);
    EXPECT_EQ(Bytes(scene.oOut)[0], 16);
    EXPECT_EQ(Bytes(scene.oOut)[510], 235);
}

}  // namespace
}  // namespace qzil::test::model
