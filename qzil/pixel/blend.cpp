#include "qzil/pixel/blend.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/blend_rows.h"

using namespace qzil;

qzILStatus qzILBlendImg::Verify() {
    return Checks(*this, qzILDyadicPixelProc::Verify()).Format(kOnePixelFormats).Share(m_dfAlpha, Code::Alpha);
}

qzILStatus qzILBlendImg::DoEffect() {
    if (!Contains(kOnePixelFormats, Format())) return -1;
    auto const build = [&]<class T>(As<T> call) -> Blend<T> {
        if constexpr (std::is_same_v<T, float>) {
            auto const alpha = static_cast<float>(m_dfAlpha);
            return {SelectedChannels(call, alpha, call.bPassB ? 1.0f : 0.0f), SelectedChannels(call, 1u, 0u), alpha,
                    call.bPassB};
        } else if constexpr (std::is_same_v<T, s16>) {
            return {Share<s16>(m_dfAlpha), Share16(m_dfAlpha), call.bPassB};
        } else {
            return {Share<T>(m_dfAlpha)};
        }
    };
    return Run(GetBlend(), build, Code::None);
}

void qzILBlendImg::SetStartOffsetX(int n) {
    ShiftStarts(n, {&m_oInputLinesA, &m_oInputLinesB, &m_oOutputLines, &m_oMaskLines}, m_oBoxes.oProcessed);
}

void qzILGeneralBlendImage::SetAlphas(double alphaA, double alphaB) {
    m_dfAlphaA = alphaA;
    m_dfAlphaB = alphaB;
}

void qzILGeneralBlendImage::GetAlphas(double& alphaA, double& alphaB) const {
    alphaA = m_dfAlphaA;
    alphaB = m_dfAlphaB;
}

qzILStatus qzILGeneralBlendImage::Verify() {
    return Checks(*this, qzILDyadicPixelProc::Verify())
        .Format(kRawFormats)
        .Share(m_dfAlphaA, Code::Alpha)
        .Share(m_dfAlphaB, Code::Alpha);
}

qzILStatus qzILGeneralBlendImage::DoEffect() {
    if (!Contains(kRawFormats, Format())) return -1;
    auto const build = [&]<class T>(As<T>) {
        constexpr s32 kOne = s32{1} << GeneralBlend<T>::kShift;
        auto const weight = [](double alpha) {
            return static_cast<u32>(Clamp<s32>(RoundHalfAway(alpha * kOne), 0, kOne));
        };
        return GeneralBlend<T>{weight(m_dfAlphaA), weight(m_dfAlphaB)};
    };
    return Run(GetGeneralBlend(), build);
}
