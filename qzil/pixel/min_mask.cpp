#include "qzil/pixel/min_mask.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/min_mask_rows.h"

using namespace qzil;

namespace {
constexpr std::array kFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT};
}

FormatList qzILMinMaskImg::GetFormats() {
    return kFormats;
}

qzILStatus qzILMinMaskImg::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kFormats).That(m_pMaskImg != nullptr, Code::MaskPixels);
}

qzILStatus qzILMinMaskImg::DoEffect() {
    if (!Contains(kFormats, Format())) return Fail(Code::Format);
    if (!m_oMaskLines.pFirst) return Fail(Code::MaskPixels);
    qzILStatus const status = Run(GetMinMask(), []<class T>(As<T>) { return MinMask<T>{{{T{0}, T{0}, T{0}, T{1}}}}; });
    if (status != 1) return status;
    // A mode of exactly 15 leaves attribute 2, deliberately, though alpha changes then too.
    if ((m_uProcessingMode & kModeAlpha) != 0 && m_uProcessingMode != kModeAllChannels) {
        m_pOutputImg->SetAttributes(2, 0);
    }
    m_pOutputImg->SetAttributes(1, 0);
    return 1;
}
