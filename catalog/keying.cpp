#include "catalog/effect.h"
#include "qzil/keying/linear_keyer.h"
#include "qzil/keying/luma_keyer.h"

namespace qzil::catalog {

namespace {

/// A keyer that starts with all channels, and keys everything while it has no crop box.
template <class Keyer>
class WholeUnlessCropped : public Keyer {
public:
    WholeUnlessCropped() { this->SetProcessingMode(kModeAllChannels); }
    qzILStatus AdjustCrop() override {
        qzILBbox2l const box = this->GetCropBox();
        qzILVector2l const whole = this->m_oBoxes.oProcessed.Size;
        if (box.IsEmpty()) this->SetCropBox({0, 0, whole.x, whole.y});
        qzILStatus const status = Keyer::AdjustCrop();
        this->SetCropBox(box);
        return status;
    }
};

/// An effect with what all keyers of two inputs have.
template <class Keyer, class E = WholeUnlessCropped<Keyer>>
Effect<E> Cropped(char const* name, char const* summary) {
    Effect<E> effect(name, "keying", summary);
    effect.Input("a", &E::SetInputImgA)
        .Input("b", &E::SetInputImgB)
        .Rectangle("crop", &E::SetCropBox, "0,0,0,0",
                   "part of the picture that is keyed, counted from its lower left corner; an empty one stands for all "
                   "of it");
    return effect;
}

std::vector<Choice> LumaModels() {
    return {{"rec601", XFColorModelYCC601}, {"rec709", XFColorModelYCC709}};
}

}  // namespace

std::vector<Entry> KeyingEffects() {
    return {
        Cropped<qzILLinearKeyer>("linear-keyer", "Makes an alpha where blue or green exceeds the other channels")
            .Color("key", &qzILLinearKeyer::SetKeyColor, "0,1,0",
                   "blue is keyed where its blue is the largest, else green")
            .Real("threshold", &qzILLinearKeyer::SetThreshold, {-1.0, 1.0}, "0",
                  "taken off the other channels; above 0 keys more")
            .Real("softness", &qzILLinearKeyer::SetSoftness, {0.0, 1.0}, "0.2",
                  "length of the ramp from opaque to clear"),

        Effect<qzILLumaKeyer>("luma-keyer", "keying", "Makes an alpha of the first image's luma for the second one")
            .Input("a", &qzILLumaKeyer::SetInputImgA)
            .Input("b", &qzILLumaKeyer::SetInputImgB)
            .Real("brightness", &qzILLumaKeyer::SetBrightness, {-1.0, 1.0}, "0", "added to luma times gain")
            .Real("gain", &qzILLumaKeyer::SetGain, {0.0, 2.0}, "1", "factor of luma")
            .Choice(
                "model",
                [](qzILLumaKeyer& effect, unsigned model) { effect.m_iColorModel = static_cast<std::int32_t>(model); },
                LumaModels(), "rec601", "weights of luma")
            .Flag("keep", &qzILLumaKeyer::SetKeepOrigAlphaFlag, "off", "leaves alpha where the second image has less")
            .Flag("reverse", &qzILLumaKeyer::SetReverseFlag, "off", "dark is opaque"),
    };
}

}  // namespace qzil::catalog
