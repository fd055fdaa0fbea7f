#include "qzil/pixel/output_alpha.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/output_alpha_rows.h"

using namespace qzil;

namespace {
constexpr auto kFormats = Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT}, k8BitAlphaPlaneFormats,
                               kFloatAlphaPlaneFormats, kS2_14AlphaPlaneFormats);
}

FormatList qzILOutputAlpha::GetFormats() {
    return kFormats;
}

qzILStatus qzILOutputAlpha::Execute() {
    qzILStatus status = Verify();
    if (status == 1) status = PrepareData();
    if (status == 1) status = ProcessData();
    qzILStatus const cleaned = CleanData();
    return status == 1 ? cleaned : status;
}

qzILStatus qzILOutputAlpha::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kFormats) != 1) return -1;
    return m_uAlphaMode >= qzILAlphaZero && m_uAlphaMode <= qzILAlphaDerived ? 1 : Fail(65626);
}

qzILStatus qzILOutputAlpha::DoEffect() {
    GUID const& format = Format();
    bool const rgb = IsFormatRGB(format);
    if (!rgb && !IsFormatYCCA(format)) return Fail(65588);
    kernel::RowTraits traits = PixelTraits(format, kernel::MixRule::Mix257);
    if (rgb ? traits.iSamples != 4 : !m_oInputAlphaLines.pFirst || !m_oOutputAlphaLines.pFirst) return -1;
    traits.bIgnoresMask = !rgb;
    OutputAlphaRows const& rows = GetOutputAlphaRows();
    auto const* const pRow = EntryFor(rgb ? rows.oProcessRGBA : rows.oProcessYUVA422, GetChannelTypeFromFormat(format));
    if (!pRow) return -1;
    OutputAlphaAttributes const attributes{m_iShowReverse != 0, m_uAlphaMode == qzILAlphaDerived,
                                           m_uAlphaMode == qzILAlphaFull, IsFormatAlternateYUV(format) ? 1 : 0};
    return RunRows(traits, kernel::Bound(*pRow, attributes));
}
