#include "qzil/pixel/lut_map.h"

#include "qzil/frame/operation_rows.h"
#include "qzil/frame/pixel_traits.h"
#include "qzil/image/formats.h"

#include <array>
#include <new>

using namespace qzil;

namespace {

constexpr std::array kDyadicFormats{MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8};

GUID FormatOf(IXFImage* image) {
    GUID format{};
    image->GetFormat(&format);
    return format;
}

unsigned ChannelsOf(GUID const& format) {
    return GetNumOfChannelsFromFormat(format);
}

/// Every table is there that a format needs for the channels of a mode.
bool HasTables(void** tables, GUID const& format, unsigned mode) {
    if (!tables) return false;
    unsigned const channels = ChannelsOf(format);
    for (unsigned i = 0; i < channels; ++i) {
        bool const needed = channels == 1 || (mode >> i & 1) != 0;
        if (needed && !tables[i]) return false;
    }
    return true;
}

bool LeavesChannelsOut(GUID const& format, unsigned mode) {
    return ChannelsOf(format) > 1 && (mode & kModeAllChannels) != kModeAllChannels;
}

/// The caller's tables with the identity in the place of channels that the mode leaves out.
template <class Constants>
Constants Choose(void** tables, unsigned char const* identity, unsigned mode, int samples) {
    using Pointer = std::remove_reference_t<decltype(Constants{}.apTables[0])>;
    Constants constants;
    constants.iSamples = samples;
    for (int i = 0; i < samples; ++i) {
        bool const kept = identity && (mode >> i & 1) == 0;
        constants.apTables[i] = static_cast<Pointer>(kept ? static_cast<void const*>(identity) : tables[i]);
    }
    return constants;
}

}  // namespace

FormatList qzILMonadicLutMapImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILMonadicLutMapImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kRawFormats) != 1) return -1;
    return HasTables(m_ppLut, FormatOf(m_pOutputImg), m_uProcessingMode) ? 1 : Fail(0x10018);
}

qzILStatus qzILMonadicLutMapImg::PrepareData() {
    qzILStatus const status = qzILMonadicPixelProc::PrepareData();
    if (status != 1) return status;
    GUID const format = FormatOf(m_pOutputImg);
    if (!LeavesChannelsOut(format, m_uProcessingMode)) return status;
    bool const wide = GetChannelSizeFromFormat(format) == 2;
    m_oIdentity.reset(new (std::nothrow) unsigned char[wide ? 0x20000 : 256]);
    if (!m_oIdentity) return Fail(0x10001);
    if (wide) {
        auto* const pTable = reinterpret_cast<u16*>(m_oIdentity.get());
        for (int i = 0; i < 65536; ++i) pTable[i] = static_cast<u16>(i);
    } else {
        for (int i = 0; i < 256; ++i) m_oIdentity[i] = static_cast<u8>(i);
    }
    return status;
}

qzILStatus qzILMonadicLutMapImg::CleanData() {
    m_oIdentity.reset();
    return qzILMonadicPixelProc::CleanData();
}

qzILStatus qzILMonadicLutMapImg::DoEffect() {
    kernel::RowTraits traits = OperationTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    if (!HasTables(m_ppLut, Format(), m_uProcessingMode)) return Fail(0x10018);
    traits.bTakesChannels = true;
    OperationRows const& rows = GetOperationRows();
    if (traits.iSampleBytes == 1) {
        auto const tables = Choose<LutConstants<u8>>(m_ppLut, m_oIdentity.get(), m_uProcessingMode, traits.iSamples);
        return RunRows(traits, kernel::Bound(rows.pLut8, tables));
    }
    auto const tables = Choose<LutConstants<u16>>(m_ppLut, m_oIdentity.get(), m_uProcessingMode, traits.iSamples);
    return RunRows(traits, kernel::Bound(rows.pLut16, tables));
}

FormatList qzILDyadicLutMapImg::GetFormats() {
    return kDyadicFormats;
}

qzILStatus qzILDyadicLutMapImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kDyadicFormats) != 1) return -1;
    return HasTables(m_ppLut, FormatOf(m_pOutputImg), m_uProcessingMode) ? 1 : Fail(0x10018);
}

qzILStatus qzILDyadicLutMapImg::PrepareData() {
    qzILStatus const status = qzILDyadicPixelProc::PrepareData();
    if (status != 1 || !LeavesChannelsOut(FormatOf(m_pOutputImg), m_uProcessingMode)) return status;
    m_oIdentity.reset(new (std::nothrow) unsigned char[0x10000]);
    if (!m_oIdentity) return Fail(0x10001);
    for (int b = 0; b < 256; ++b) {
        for (int a = 0; a < 256; ++a) m_oIdentity[b * 256 + a] = static_cast<u8>(BIsDominant() ? b : a);
    }
    return status;
}

qzILStatus qzILDyadicLutMapImg::CleanData() {
    m_oIdentity.reset();
    return qzILDyadicPixelProc::CleanData();
}

qzILStatus qzILDyadicLutMapImg::DoEffect() {
    kernel::RowTraits traits = OperationTraits(Format());
    if (traits.iSampleBytes != 1) return 1;
    if (!HasTables(m_ppLut, Format(), m_uProcessingMode)) return Fail(0x10018);
    traits.bTakesChannels = true;
    auto const tables = Choose<DyadicLutConstants>(m_ppLut, m_oIdentity.get(), m_uProcessingMode, traits.iSamples);
    return RunRows(traits, kernel::Bound(GetOperationRows().pDyadicLut8, tables));
}
