#include "qzil/pixel/color_blend.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/color_samples.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/color_blend_rows.h"

using namespace qzil;

qzILStatus qzILColorBlendImg::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kOnePixelFormats).Share(m_dfAlpha, Code::Alpha);
}

qzILStatus qzILColorBlendImg::ExecuteAlphaPart(IXFImage* input, IXFImage* output) {
    qzILColor const color = m_oBlendColor;
    m_oBlendColor.SetRed(color.GetAlpha());
    qzILStatus const status = qzILMonadicPixelProc::ExecuteAlphaPart(input, output);
    m_oBlendColor = color;
    return status;
}

qzILStatus qzILColorBlendImg::DoEffect() {
    bool const bytes = IsFormatYCC(Format()) && GetChannelSizeFromFormat(Format()) == 1;
    if (!bytes && !Contains(kOnePixelFormats, Format())) return -1;
    if (Has(GetMonoColorBlend())) {
        return Run(GetMonoColorBlend(), [this]<class T>(As<T>) {
            s32 const color = qzILFormat<T>::FromReal(m_oBlendColor.GetRed());
            return MonoColorBlend<T>{color, Share<T>(m_dfAlpha), Share16(m_dfAlpha)};
        });
    }
    auto const build = [this]<class T>(As<T> call) -> ColorBlend<T> {
        if constexpr (std::is_same_v<T, u8>) {
            u8 const weight = Share<u8>(m_dfAlpha);
            return ColorBlend<u8>::Make(ColorSamples<u8>(m_oBlendColor, call), SelectedChannels(call, weight, u8{0}));
        } else if constexpr (std::is_same_v<T, u16>) {
            u16 const weight = Share<u16>(m_dfAlpha);
            return {ColorSamples<u16>(m_oBlendColor, call), SelectedChannels(call, weight, u16{0})};
        } else {
            Channels<float> color = ColorSamples<float>(m_oBlendColor, call);
            for (float& value : color.aValues) value *= kFullScale<T>;
            bool const all = std::is_same_v<T, s16>;
            Channels<u32> const selected = all ? AllChannels(1u) : SelectedChannels(call, 1u, 0u);
            auto const rule = ColorBlend<float>::Make(color, selected, static_cast<float>(m_dfAlpha));
            if constexpr (all) {
                return {rule.oScale, rule.oAdd, rule.oColor, rule.fWeight};
            } else {
                return rule;
            }
        }
    };
    return Run(GetColorBlend(), build, Code::None);
}
