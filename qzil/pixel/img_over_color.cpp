#include "qzil/pixel/img_over_color.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/color_samples.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/color_blend_rows.h"
#include "qzil/pixel/img_over_color_rows.h"

using namespace qzil;

namespace {
constexpr auto kFormats = Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14}, k8Bit422Formats,
                               std::array{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24}, kFloat422Formats,
                               kFloatAlphaPlaneFormats, kS2_14_422Formats, kS2_14AlphaPlaneFormats);
static_assert(kFormats.size() == 25);
}  // namespace

FormatList qzILImgOverColor::GetFormats() {
    return kFormats;
}

qzILStatus qzILImgOverColor::Execute() {
    if ((m_uProcessingMode & kModeNoLines) == kModeNoLines) return 1;
    return qzILImgProc::Execute();
}

qzILStatus qzILImgOverColor::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kFormats).Share(m_dfOpacity, Code::Opacity);
}

void qzILImgOverColor::SetStartOffsetX(int n) {
    ShiftStarts(n, {&m_oInputLines, &m_oOutputLines, &m_oMaskLines, &m_oInputAlphaLines, &m_oOutputAlphaLines},
                m_oBoxes.oProcessed);
}

qzILColor qzILImgOverColor::Premultiplied() const {
    qzILColor const& c = m_oBackgroundColor;
    double const a = c.GetAlpha();
    return qzILColor(a * c.GetRed(), a * c.GetGreen(), a * c.GetBlue(), a);
}

qzILStatus qzILImgOverColor::DoEffect() {
    if (!Contains(kFormats, Format())) return -1;
    if (Has(GetRealOverColor())) return CompositeReal();
    if (Has(GetOverColor())) return CompositeOverColor8();
    // A mask on 8-bit video succeeds without writing anything, deliberately.
    if (m_oMaskLines.pFirst) return 1;
    return Has(GetPlaneOverColor()) ? CompositeOverColorYUVA422() : CompositeOverColorYCC422();
}

qzILStatus qzILImgOverColor::CompositeOverColor8() {
    qzILColor const color = Premultiplied();
    auto const sample = &qzILFormat<unsigned char>::FromReal;
    Channels<u8> const background{
        {sample(color.GetRed()), sample(color.GetGreen()), sample(color.GetBlue()), sample(color.GetAlpha())}};
    u16 const opacity = Share<u8>(m_dfOpacity);
    if (m_iPremultiplied) {
        return Run(GetOverColor(), [&]<class T>(As<T>) { return OverColor<T>{background, opacity}; });
    }
    return Run(GetStraightOverColor(), [&]<class T>(As<T>) { return StraightOverColor<T>{background, opacity}; });
}

qzILStatus qzILImgOverColor::CompositeOverColorYCC422() {
    auto const build = [this]<class T>(As<T> call) -> ColorBlend<T> {
        if constexpr (std::is_same_v<T, u8>) {
            u8 const back = static_cast<u8>(255 - Share<u8>(m_dfOpacity));
            return ColorBlend<u8>::Make(ColorSamples<u8>(Premultiplied(), call), AllChannels(back));
        } else {
            return {};
        }
    };
    return Run(GetColorBlend(), build);
}

qzILStatus qzILImgOverColor::CompositeOverColorYUVA422() {
    return Run(GetPlaneOverColor(), [this]<class T>(As<T> call) {
        u8 ycc[4] = {};
        Premultiplied().GetColorAs24(ycc, YccModelOf(*call.pFormat));
        u8 const alpha = qzILFormat<unsigned char>::FromReal(m_oBackgroundColor.GetAlpha());
        return PlaneOverColor<T>{ycc[0] - 16,
                                 ycc[1] - 128,
                                 ycc[2] - 128,
                                 alpha,
                                 Share<u8>(m_dfOpacity),
                                 m_iPremultiplied != 0,
                                 (m_uProcessingMode & kModeAlpha) != 0};
    });
}

qzILStatus qzILImgOverColor::CompositeReal() {
    return Run(GetRealOverColor(), [this]<class T>(As<T> call) {
        constexpr float kFull = kFullScale<T>;
        auto const alpha = static_cast<float>(m_oBackgroundColor.GetAlpha());
        bool const video = call.eLayout != kernel::Layout::Rgba;
        Channels<float> samples = ColorSamples<float>(video ? m_oBackgroundColor : Premultiplied(), call);
        RealOverColor<T> rule{{},
                              alpha * kFull,
                              static_cast<float>(m_dfOpacity),
                              m_iPremultiplied != 0,
                              call.pFormat->HasAlpha(),
                              m_uProcessingMode & kModeAllChannels};
        for (int i = 0; i < 4; ++i) rule.aBackground[i] = samples.aValues[i] * (video ? alpha : 1.0f) * kFull;
        return rule;
    });
}
