#include "qzil/pixel/logic.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/image/pixel_math.h"
#include "qzil/pixel/logic_rows.h"

#include <array>
#include <cstring>

using namespace qzil;
using kernel::Bound;
using kernel::MixRule;

namespace {

/// What is not one of the two 8-bit formats is taken as 16-bit words, as far as it has pixels of four or of one of
/// them; a sample size of 0 for all others.
kernel::RowTraits LogicTraits(GUID const& format) {
    kernel::RowTraits traits = PixelTraits(format, MixRule::NormMult);
    bool const words = traits.iSampleBytes == 2 && traits.iSamples != 2;
    if (words) traits.eMix = MixRule::UInt16;
    if (!words && format != MFIF_RGBA_RAW_32 && format != MFIF_MONO_RAW_8) traits.iSampleBytes = 0;
    traits.bPolls = false;
    return traits;
}

/// Bitwise rows do not ask how wide a sample is.
PixelValues BytesOf(kernel::RowTraits const& traits) {
    return {traits.iSamples * traits.iSampleBytes};
}

PixelValues SamplesOf(kernel::RowTraits const& traits) {
    return {traits.iSamples};
}

/// The operand in the samples of a format. A channel that is not selected gets the word that leaves every value as it
/// is, and so passes through a mask's mix unchanged too.
OperandWords OperandOf(qzILColor const& operand, kernel::RowTraits const& traits, unsigned mode, u16 neutral) {
    OperandWords constants{{}, traits.iSamples * traits.iSampleBytes};
    alignas(u16) unsigned char pixel[8] = {};
    bool const wide = traits.iSampleBytes == 2;
    if (traits.bHasChannels) {
        wide ? operand.GetColorAs64(pixel, XFColorModelRGB) : operand.GetColorAs32(pixel, XFColorModelRGB);
    } else {
        wide ? operand.GetColorAs16(pixel, XFColorModelMono) : operand.GetColorAs8(pixel, XFColorModelMono);
    }
    auto const size = static_cast<std::size_t>(traits.iSampleBytes);
    for (std::size_t channel = 0; traits.bHasChannels && channel < 4; ++channel) {
        if ((mode >> channel & 1) == 0) std::memcpy(pixel + channel * size, &neutral, size);
    }
    auto const bytes = static_cast<std::size_t>(constants.iPixelBytes);
    auto* const pOperand = reinterpret_cast<unsigned char*>(constants.aWords);
    for (std::size_t at = 0; at < sizeof constants.aWords; at += bytes) std::memcpy(pOperand + at, pixel, bytes);
    return constants;
}

/// The value functions' formats, with the channel selection left to the operand.
kernel::RowTraits OperandTraits(GUID const& format) {
    kernel::RowTraits traits = OperationTraits(format);
    traits.bTakesChannels = true;
    return traits;
}

}  // namespace

FormatList qzILAndImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILAndImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kRawFormats);
}

qzILStatus qzILAndImg::DoEffect() {
    kernel::RowTraits const traits = LogicTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    return RunRows(traits, Bound(GetLogicRows().pAnd, BytesOf(traits)));
}

FormatList qzILOrImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILOrImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kRawFormats);
}

qzILStatus qzILOrImg::DoEffect() {
    kernel::RowTraits const traits = LogicTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    return RunRows(traits, Bound(GetLogicRows().pOr, BytesOf(traits)));
}

FormatList qzILXOrImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILXOrImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kRawFormats);
}

qzILStatus qzILXOrImg::DoEffect() {
    kernel::RowTraits const traits = LogicTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    LogicRows const& rows = GetLogicRows();
    if (m_uOperation == 1) return RunRows(traits, Bound(rows.pXOr, BytesOf(traits)));
    return RunRows(traits, Bound(traits.iSampleBytes == 1 ? rows.pDistance8 : rows.pDistance16, SamplesOf(traits)));
}

FormatList qzILMaxImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILMaxImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kRawFormats);
}

unsigned char qzILMaxImg::Operation8(unsigned char a, unsigned char b) const {
    return Max(a, b);
}

unsigned short qzILMaxImg::Operation16(unsigned short a, unsigned short b) const {
    return Max(a, b);
}

qzILStatus qzILMaxImg::DoEffect() {
    kernel::RowTraits const traits = OperationTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    LogicRows const& rows = GetLogicRows();
    return RunRows(traits, Bound(traits.iSampleBytes == 1 ? rows.pMax8 : rows.pMax16, SamplesOf(traits)));
}

FormatList qzILMinImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILMinImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kRawFormats);
}

unsigned char qzILMinImg::Operation8(unsigned char a, unsigned char b) const {
    return Min(a, b);
}

unsigned short qzILMinImg::Operation16(unsigned short a, unsigned short b) const {
    return Min(a, b);
}

qzILStatus qzILMinImg::DoEffect() {
    kernel::RowTraits const traits = OperationTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    LogicRows const& rows = GetLogicRows();
    return RunRows(traits, Bound(traits.iSampleBytes == 1 ? rows.pMin8 : rows.pMin16, SamplesOf(traits)));
}

FormatList qzILMonadicAndImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILMonadicAndImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kRawFormats);
}

qzILStatus qzILMonadicAndImg::DoEffect() {
    kernel::RowTraits const traits = OperandTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    return RunRows(traits, Bound(GetLogicRows().pMonadicAnd, OperandOf(m_oOperand, traits, m_uProcessingMode, 0xFFFF)));
}

FormatList qzILMonadicOrImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILMonadicOrImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kRawFormats);
}

qzILStatus qzILMonadicOrImg::DoEffect() {
    kernel::RowTraits const traits = OperandTraits(Format());
    if (traits.iSampleBytes == 0) return 1;
    return RunRows(traits, Bound(GetLogicRows().pMonadicOr, OperandOf(m_oOperand, traits, m_uProcessingMode, 0)));
}
