#include "qzil/pixel/composite.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/composite_rows.h"

using namespace qzil;

namespace {

constexpr std::array kCompositeFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64};
constexpr std::array kCopyOverFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64,
                                      MFIF_MONO_RAW_8,  MFIF_MONO_S2_14, MFIF_MONO_FLOAT, MFIF_MONO_RAW_16};

}  // namespace

FormatList qzILCompositeImg::GetFormats() {
    return kCompositeFormats;
}

qzILStatus qzILCompositeImg::Verify() {
    m_uProcessingMode |= kModeAllChannels;
    m_pDominantInput = m_pInputImgA;
    return Checks(*this, qzILDyadicPixelProc::Verify())
        .Format(kCompositeFormats)
        .That(m_pMaskImg != nullptr, Code::NeedsMask)
        .Share(m_dfAlpha, Code::Alpha)
        .That(m_uAlphaMode >= qzILAlphaZero && m_uAlphaMode <= qzILAlphaDerived, Code::AlphaMode);
}

qzILStatus qzILCompositeImg::DoEffect() {
    if (!Contains(kCompositeFormats, Format())) return Fail(Code::Format);
    if (!m_oMaskLines.pFirst) return Fail(Code::NeedsMask);
    return Run(GetComposite(), [this]<class T>(As<T>) {
        constexpr T kFull = kFullScale<T>;
        return Composite<T>{Share<T>(m_dfAlpha),
                            m_uAlphaMode == qzILAlphaDerived ? kFull : T{0},
                            m_uAlphaMode == qzILAlphaFull ? kFull : T{0},
                            {{kFull, kFull, kFull, 0}}};
    });
}

FormatList qzILCopyOverImg::GetFormats() {
    return kCopyOverFormats;
}

qzILStatus qzILCopyOverImg::Verify() {
    return Checks(*this, qzILDyadicPixelProc::Verify()).Format(kCopyOverFormats);
}

qzILStatus qzILCopyOverImg::DoEffect() {
    return Run(GetCopyOver(), Code::InputFormat);
}
