#include "qzil/pixel/lut_map.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/operation_rows.h"
#include "qzil/frame/run.h"

#include <array>
using namespace qzil;

namespace {

constexpr std::array kDyadicFormats{MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8};

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

/// The caller's tables; a one-channel image has the first.
template <template <class> class Rule, class T>
Rule<T> Choose(void** tables, As<T> call) {
    Rule<T> rule{};
    for (int i = 0; i < kernel::SamplesOf(call.eLayout); ++i) rule.apTables[i] = static_cast<T const*>(tables[i]);
    return rule;
}

}  // namespace

qzILStatus qzILMonadicLutMapImg::Verify() {
    auto const complete = [this] { return HasTables(m_ppLut, FormatOf(m_pOutputImg), m_uProcessingMode); };
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kRawFormats).That(complete, Code::Table);
}

qzILStatus qzILMonadicLutMapImg::DoEffect() {
    if (!Contains(kRawFormats, Format())) return 1;
    if (!HasTables(m_ppLut, Format(), m_uProcessingMode)) return Fail(Code::Table);
    return Run(GetLut(), [this]<class T>(As<T> call) { return Choose<Lut>(m_ppLut, call); });
}

FormatList qzILDyadicLutMapImg::GetFormats() {
    return kDyadicFormats;
}

qzILStatus qzILDyadicLutMapImg::Verify() {
    auto const complete = [this] { return HasTables(m_ppLut, FormatOf(m_pOutputImg), m_uProcessingMode); };
    return Checks(*this, qzILDyadicPixelProc::Verify()).Format(kDyadicFormats).That(complete, Code::Table);
}

qzILStatus qzILDyadicLutMapImg::DoEffect() {
    if (!Contains(kDyadicFormats, Format())) return 1;
    if (!HasTables(m_ppLut, Format(), m_uProcessingMode)) return Fail(Code::Table);
    return Run(GetPairLut(), [this]<class T>(As<T> call) { return Choose<PairLut>(m_ppLut, call); });
}
