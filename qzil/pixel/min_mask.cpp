#include "qzil/pixel/min_mask.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/min_mask_rows.h"

#include <array>

using namespace qzil;

namespace {
constexpr std::array kFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT};
}

FormatList qzILMinMaskImg::GetFormats() {
    return kFormats;
}

qzILStatus qzILMinMaskImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kFormats) != 1) return -1;
    return m_pMaskImg ? 1 : Fail(0x10005);
}

qzILStatus qzILMinMaskImg::DoEffect() {
    if (!Contains(kFormats, Format())) return -1;
    if (!m_oMaskLines.pFirst) return Fail(0x10005);
    kernel::RowTraits traits = PixelTraits(Format(), kernel::MixRule::Mix257);
    traits.bTakesMask = true;
    traits.bPolls = false;
    MinMaskRows const& rows = GetMinMaskRows();
    kernel::RowCall const call{traits.iSampleBytes == 1   ? rows.pProcess8
                               : traits.iSampleBytes == 2 ? rows.pProcessS2_14
                                                          : rows.pProcessFloat,
                               nullptr};
    if (qzILStatus const status = RunRows(traits, call); status != 1) return status;
    // A mode of exactly 15 leaves attribute 2, deliberately, though alpha changes then too.
    if ((m_uProcessingMode & kModeAlpha) != 0 && m_uProcessingMode != kModeAllChannels) {
        m_pOutputImg->SetAttributes(2, 0);
    }
    m_pOutputImg->SetAttributes(1, 0);
    return 1;
}
