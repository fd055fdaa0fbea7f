#include "catalog/effect.h"
#include "qzil/pixel/blend.h"
#include "qzil/pixel/channels.h"
#include "qzil/pixel/color_blend.h"
#include "qzil/pixel/color_correction.h"
#include "qzil/pixel/composite.h"
#include "qzil/pixel/img_over_color.h"
#include "qzil/pixel/invert.h"
#include "qzil/pixel/logic.h"
#include "qzil/pixel/lut_map.h"
#include "qzil/pixel/min_mask.h"
#include "qzil/pixel/output_alpha.h"
#include "qzil/pixel/premult.h"

namespace qzil::catalog {

namespace {

constexpr Range kShare{0.0, 1.0};
/// The 16-bit form that the effect lets through is one it does not write.
constexpr GUID kChannelSwitchFormat = MFIF_RGBA_RAW_32;

std::vector<Choice> AlphaModes() {
    return {{"zero", qzILAlphaZero}, {"full", qzILAlphaFull}, {"derived", qzILAlphaDerived}};
}

/// The effect takes its two weights together.
void SetAlphaA(qzILGeneralBlendImage& effect, double alpha) {
    double a = 0.0, b = 0.0;
    effect.GetAlphas(a, b);
    effect.SetAlphas(alpha, b);
}

void SetAlphaB(qzILGeneralBlendImage& effect, double alpha) {
    double a = 0.0, b = 0.0;
    effect.GetAlphas(a, b);
    effect.SetAlphas(a, alpha);
}

/// The effect takes its four sources together.
template <int kChannel>
void SetSource(qzILChannelSwitch& effect, unsigned source) {
    int sources[4];
    effect.GetSourceChannels(sources);
    sources[kChannel] = static_cast<int>(source);
    effect.SetSourceChannels(sources);
}

std::vector<Choice> Sources() {
    return {{"red", 0},         {"green", 1},    {"blue", 2},      {"alpha", 3}, {"not-red", 4},
            {"not-green", 5},   {"not-blue", 6}, {"not-alpha", 7}, {"hue", 8},   {"lightness", 9},
            {"saturation", 10}, {"zero", 11},    {"full", 12}};
}

/// Takes the colour model from the format unless it is told one.
class ColorCorrection : public qzILColorCorrectionImg {
public:
    qzILStatus Verify() override {
        ChooseModel();
        return qzILColorCorrectionImg::Verify();
    }
    qzILStatus Execute() override {
        ChooseModel();
        return qzILColorCorrectionImg::Execute();
    }
    void SetModel(unsigned model) {
        m_bChooses = model == kChosen;
        m_iColorModel = static_cast<int>(model);
    }
    void SetLegalClamp(int clamp) { m_iLegalClamp = clamp; }

    static constexpr long kChosen = 1;

private:
    void ChooseModel() {
        GUID format{};
        if (!m_bChooses || !m_pOutputImg || m_pOutputImg->GetFormat(&format) < 0) return;
        bool const hls = GetColorModelFromFormat(format) == XFColorModelHLS;
        m_iColorModel = hls ? XFColorModelHLS : IsFormatYCC(format) ? XFColorModelNone : XFColorModelYCC601;
    }

    bool m_bChooses = true;
};

/// The effect has fields in the place of setters.
template <auto kField>
void SetField(ColorCorrection& effect, double value) {
    effect.*kField = value;
}

std::vector<Entry> ColorEffects() {
    using Correction = ColorCorrection;
    return {
        Effect<Correction>("color-correction", "pixel", "Grades hue, saturation, contrast and brightness")
            .Input("input", &Correction::SetInputImg)
            .Angle("hue", SetField<&Correction::m_dfHue>, {-180.0, 180.0}, "0", "turn of the hues")
            .Real("saturation", SetField<&Correction::m_dfSaturation>, {0.0, 400.0}, "100", "0 is grey", "percent")
            .Open()
            .Real("contrast", SetField<&Correction::m_dfContrast>, {0.0, 400.0}, "100",
                  "distance of luma from black, and scale of alpha", "percent")
            .Open()
            .Real("brightness", SetField<&Correction::m_dfBrightness>, {-100.0, 100.0}, "0", "added to luma and alpha",
                  "percent")
            .Open()
            .Choice("model", &Correction::SetModel,
                    {{"format", Correction::kChosen},
                     {"rec601", XFColorModelYCC601},
                     {"rec709", XFColorModelYCC709},
                     {"hls", XFColorModelHLS}},
                    "format", "colour model of the matrices; that of the format is Rec. 601 for RGBA")
            .Flag("legal", &Correction::SetLegalClamp, "off", "limits 4:2:2 to luma 16 to 235 and chroma 16 to 240"),
    };
}

}  // namespace

std::vector<Entry> PixelEffects() {
    std::vector<Entry> all{
        Effect<qzILInvertImg>("invert", "pixel", "Inverts the selected channels")
            .Input("input", &qzILInvertImg::SetInputImg),

        Effect<qzILMonadicLutMapImg>("lut", "pixel", "Maps every channel through a curve")
            .Input("input", &qzILMonadicLutMapImg::SetInputImg)
            .Lut(
                "curve", &qzILMonadicLutMapImg::SetLut, ParseCurve,
                "invert, gamma:G with G from 0.01 to 100, posterize:N with N from 2 to 256, or points x:y,x:y,... from "
                "0 to 1 with ascending x",
                "gamma:2.2", "curve from the old to the new value; gamma:2.2 brightens (v to the power of 1/2.2)"),

        Effect<qzILDyadicLutMapImg>("lut2", "pixel", "Maps every pair of channel values of two images through a rule")
            .Input("a", &qzILDyadicLutMapImg::SetInputImgA)
            .Input("b", &qzILDyadicLutMapImg::SetInputImgB)
            .Lut("rule", &qzILDyadicLutMapImg::SetLut, ParsePairRule,
                 "one of multiply, screen, difference, add, min, max", "multiply", "how the two values are combined"),

        Effect<qzILBlendImg>("blend", "pixel", "Cross-fades two images")
            .Input("a", &qzILBlendImg::SetInputImgA)
            .Input("b", &qzILBlendImg::SetInputImgB)
            .Real("alpha", &qzILBlendImg::SetAlpha, kShare, "0.5", "share of the second image"),

        Effect<qzILGeneralBlendImage>("general-blend", "pixel", "Adds two images, each with a weight of its own")
            .Input("a", &qzILGeneralBlendImage::SetInputImgA)
            .Input("b", &qzILGeneralBlendImage::SetInputImgB)
            .Real("alpha-a", SetAlphaA, kShare, "0.5", "weight of the first image; sums above full scale wrap")
            .Real("alpha-b", SetAlphaB, kShare, "0.5", "weight of the second image"),

        Effect<qzILAdjustPremultImg>("adjust-premult", "pixel",
                                     "Rescales the second image's colours from the first one's alpha to its own")
            .Input("a", &qzILAdjustPremultImg::SetInputImgA)
            .Input("b", &qzILAdjustPremultImg::SetInputImgB),

        Effect<qzILUnpremultiplyImg>("unpremultiply", "pixel",
                                     "Removes a background colour and rebuilds the alpha that explains the image")
            .Input("input", &qzILUnpremultiplyImg::SetInputImg)
            .Color("background", &qzILUnpremultiplyImg::SetBackgroundColor, "0,0,0,0",
                   "colour the image was composited over; transparent black undoes premultiplication"),

        Effect<qzILCompositeImg>("composite", "pixel", "Mixes the second image over the first through a mask")
            .Input("a", &qzILCompositeImg::SetInputImgA)
            .Input("b", &qzILCompositeImg::SetInputImgB)
            .MaskRequired()
            .Real("alpha", &qzILCompositeImg::SetAlpha, kShare, "1", "strength of the mask")
            .Choice("alpha-mode", &qzILCompositeImg::SetAlphaMode, AlphaModes(), "derived",
                    "alpha of the result: zero, full, or derived, the OR of both images' alphas"),

        Effect<qzILCopyOverImg>("copy-over", "pixel", "Copies the second image over the dominant one through a mask")
            .Input("a", &qzILCopyOverImg::SetInputImgA)
            .Input("b", &qzILCopyOverImg::SetInputImgB),

        Effect<qzILImgOverColor>("over-color", "pixel", "Composites an image over a flat colour by its alpha")
            .Input("input", &qzILImgOverColor::SetInputImg)
            .Color("background", &qzILImgOverColor::SetBackgroundColor, "0,0,0,1", "colour behind the image, straight")
            .Flag("premultiplied", &qzILImgOverColor::SetInputImgPremultiplied, "off",
                  "the image's colours are already multiplied by its alpha")
            .Real("opacity", &qzILImgOverColor::SetForegroundOpacity, kShare, "1", "opacity of the image"),

        Effect<qzILColorBlendImg>("color-blend", "pixel", "Mixes a flat colour into an image")
            .Input("input", &qzILColorBlendImg::SetInputImg)
            .Color("color", &qzILColorBlendImg::SetBlendColor, "1,1,1,1", "colour to mix in")
            .Real("alpha", &qzILColorBlendImg::SetAlpha, kShare, "0.5", "share of the colour"),

        Effect<qzILOutputAlpha>("output-alpha", "pixel", "Shows an image's alpha as a grey picture")
            .Input("input", &qzILOutputAlpha::SetInputImg)
            .Flag("reverse", &qzILOutputAlpha::SetShowReverseFlag, "off", "shows transparency instead of opacity")
            .Choice("alpha-mode", &qzILOutputAlpha::SetAlphaMode, AlphaModes(), "full",
                    "alpha of the result: zero, full, or derived, the shown value"),

        Effect<qzILGrayscaleImg>("grayscale", "pixel", "Turns colour into luminance")
            .Input("input", &qzILGrayscaleImg::SetInputImg),

        Effect<qzILChannelSwitch>("channel-switch", "pixel", "Rebuilds each channel from a chosen source")
            .Input("input", &qzILChannelSwitch::SetInputImg)
            .Formats({&kChannelSwitchFormat, 1})
            .Choice("red", SetSource<0>, Sources(), "red", "source of the first channel")
            .Open()
            .Choice("green", SetSource<1>, Sources(), "green", "source of the second channel")
            .Open()
            .Choice("blue", SetSource<2>, Sources(), "blue", "source of the third channel")
            .Open()
            .Choice("alpha", SetSource<3>, Sources(), "alpha", "source of the fourth channel")
            .Open(),

        Effect<qzILRGBA2Alpha>("rgba-to-alpha", "pixel", "Writes the luminance of a picture into its alpha")
            .Input("input", &qzILRGBA2Alpha::SetInputImg)
            .NoMask()
            .Updates(),

        Effect<qzILAndImg>("and", "pixel", "Keeps the bits that both images have")
            .Input("a", &qzILAndImg::SetInputImgA)
            .Input("b", &qzILAndImg::SetInputImgB),

        Effect<qzILOrImg>("or", "pixel", "Takes the bits that either image has")
            .Input("a", &qzILOrImg::SetInputImgA)
            .Input("b", &qzILOrImg::SetInputImgB),

        Effect<qzILXOrImg>("xor", "pixel", "Shows where two images differ")
            .Input("a", &qzILXOrImg::SetInputImgA)
            .Input("b", &qzILXOrImg::SetInputImgB)
            .Choice("operation", &qzILXOrImg::SetOperation, {{"xor", 1}, {"difference", 0}}, "xor",
                    "exclusive OR of the bits, or the absolute difference of the values")
            .Open(),

        Effect<qzILMaxImg>("max", "pixel", "Takes the larger of two values")
            .Input("a", &qzILMaxImg::SetInputImgA)
            .Input("b", &qzILMaxImg::SetInputImgB),

        Effect<qzILMinImg>("min", "pixel", "Takes the smaller of two values")
            .Input("a", &qzILMinImg::SetInputImgA)
            .Input("b", &qzILMinImg::SetInputImgB),

        Effect<qzILMonadicAndImg>("and-color", "pixel", "Keeps the bits that a flat colour has")
            .Input("input", &qzILMonadicAndImg::SetInputImg)
            .Color("operand", &qzILMonadicAndImg::SetOperand, "0.8784,0.8784,0.8784,1",
                   "colour whose bits are kept; 0.8784 keeps the upper three of eight"),

        Effect<qzILMonadicOrImg>("or-color", "pixel", "Adds the bits of a flat colour")
            .Input("input", &qzILMonadicOrImg::SetInputImg)
            .Color("operand", &qzILMonadicOrImg::SetOperand, "0.1216,0.1216,0.1216,0",
                   "colour whose bits are added; 0.1216 sets the lower five of eight"),

        Effect<qzILMinMaskImg>("min-mask", "pixel", "Multiplies a picture by its mask")
            .Input("input", &qzILMinMaskImg::SetInputImg)
            .MaskRequired(),
    };
    for (Entry& entry : ColorEffects()) all.push_back(std::move(entry));
    return all;
}

}  // namespace qzil::catalog
