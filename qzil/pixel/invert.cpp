#include "qzil/pixel/invert.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/invert_rows.h"

using namespace qzil;

namespace {
constexpr auto kFormats =
    Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8,
                    MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16, MFIF_MONO_S2_14, MFIF_MONO_FLOAT},
         kVideoFormats);
static_assert(kFormats.size() == 33);
}  // namespace

FormatList qzILInvertImg::GetFormats() {
    return kFormats;
}

qzILStatus qzILInvertImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kFormats);
}

qzILStatus qzILInvertImg::DoEffect() {
    GUID const& format = Format();
    kernel::RowTraits traits = PixelTraits(format, kernel::MixRule::Mix257);
    bool const graphics = IsFormatRGB(format) || IsFormatMono(format);
    if (traits.iSampleBytes == 0 || (!graphics && !IsFormatYCC(format))) return -1;
    traits.bPolls = false;
    traits.bIgnoresMask = !graphics;
    InvertRows const& rows = GetInvertRows();
    auto const* const pRow =
        EntryFor(graphics ? rows.oProcessRGBA : rows.oProcessYCC422, GetChannelTypeFromFormat(format));
    if (!pRow) return -1;
    InvertClassAttributes const attributes{traits.iSamples, IsFormatAlternateYUV(format) ? 1 : 0};
    return RunRows(traits, kernel::Bound(*pRow, attributes));
}
