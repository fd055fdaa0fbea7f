#include "qzil/pixel/solarize.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/solarize_rows.h"

#include <array>

using namespace qzil;

namespace {
constexpr std::array kFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};
}

std::span<GUID const> qzILSolarizeImg::GetFormats() {
    return kFormats;
}

qzILStatus qzILSolarizeImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    GUID format{};
    m_pOutputImg->GetFormat(&format);
    if (!Contains(kFormats, format)) return Fail(0x1000D);
    return m_dfThreshold >= 0.0 && m_dfThreshold <= 1.0 ? 1 : Fail(0x10012);
}

qzILStatus qzILSolarizeImg::DoEffect() {
    if (!Contains(kFormats, Format())) return -1;
    kernel::RowTraits const traits = PixelTraits(Format(), kernel::MixRule::Mix257);
    SolarizeRows const& rows = GetSolarizeRows();
    if (traits.iSampleBytes == 1) {
        Solarize<u8> const constants{qzILFormat<u8>::FromReal(m_dfThreshold), traits.iSamples};
        return RunRows(traits, kernel::Bound(rows.pSolarize8, constants));
    }
    Solarize<u16> const constants{qzILFormat<u16>::FromReal(m_dfThreshold), traits.iSamples};
    return RunRows(traits, kernel::Bound(rows.pSolarize16, constants));
}
