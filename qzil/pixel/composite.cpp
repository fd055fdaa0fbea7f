#include "qzil/pixel/composite.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/composite_rows.h"

using namespace qzil;
using kernel::Bound;
using kernel::MixRule;

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
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kCompositeFormats) != 1) return -1;
    if (!m_pMaskImg) return Fail(65625);
    if (m_dfAlpha < 0.0 || m_dfAlpha > 1.0) return Fail(65554);
    return m_uAlphaMode >= qzILAlphaZero && m_uAlphaMode <= qzILAlphaDerived ? 1 : Fail(65626);
}

qzILStatus qzILCompositeImg::DoEffect() {
    if (!Contains(kCompositeFormats, Format())) return -1;
    if (!m_oMaskLines.pFirst) return Fail(65625);
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesMask = true;
    traits.bHasChannels = false;
    CompositeRows const& rows = GetCompositeRows();
    auto const run = [&]<class T>(kernel::TypedRow<CompositeConstants<T>> function) {
        T const full = static_cast<T>(~T{0});
        bool const derived = m_uAlphaMode == qzILAlphaDerived;
        CompositeConstants<T> const constants{qzILFormat<T>::FromReal(m_dfAlpha), derived ? full : T{0},
                                              m_uAlphaMode == qzILAlphaFull ? full : T{0}};
        return RunRows(traits, Bound(function, constants));
    };
    return traits.iSampleBytes == 1 ? run(rows.pOver32WithMask) : run(rows.pOver64WithMask);
}

FormatList qzILCopyOverImg::GetFormats() {
    return kCopyOverFormats;
}

qzILStatus qzILCopyOverImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kCopyOverFormats);
}

qzILStatus qzILCopyOverImg::DoEffect() {
    if (!IsFormatRGB(Format()) && !IsFormatMono(Format())) return Fail(65588);
    kernel::RowTraits const traits = PixelTraits(Format(), MixRule::Mix257);
    // The result is input B itself: the commit does all of the work.
    return traits.iSampleBytes != 0 ? RunRows(traits, kernel::RowCall{}) : -1;
}
