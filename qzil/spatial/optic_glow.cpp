#include "qzil/spatial/optic_glow.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/spatial_run.h"
#include "qzil/spatial/glow_rows.h"

#include <array>

using namespace qzil;

namespace {

constexpr std::array kFormats{MFIF_RGBA_RAW_32};

}  // namespace

FormatList qzILOpticGlowImg::GetFormats() {
    return kFormats;
}

void qzILOpticGlowImg::Init() {
    SetRadius(3.0f);
    SetType(qzILBlurTypeUniform);
    SetDegree(1.0f);
    m_dfPresence = 0.8;
    m_dfLow = 0.1;
    m_dfHigh = 0.9;
}

void qzILOpticGlowImg::SetThresholds(double low, double high) {
    m_dfLow = low;
    m_dfHigh = high;
}

void qzILOpticGlowImg::GetThresholds(double* low, double* high) const {
    if (low) *low = m_dfLow;
    if (high) *high = m_dfHigh;
}

qzILStatus qzILOpticGlowImg::Verify() {
    return Checks(*this, qzILBlurImg::Verify())
        .Format(kFormats)
        .Share(m_dfPresence, Code::Degree)
        .Share(m_dfLow, Code::Threshold)
        .Share(m_dfHigh, Code::Threshold);
}

qzILStatus qzILOpticGlowImg::ProcessData() {
    unsigned const mode = m_uProcessingMode;
    // The blur leaves alpha alone, which may be the mask of the glow. Where there is no mask the glow takes alpha from
    // the source in any case: only a host that interrupts could see it blurred, and whole pixels need no commit.
    bool const wholePixels = !HasInterrupt() && !m_pMaskImg;
    m_uProcessingMode = wholePixels ? mode | kModeAllChannels : (mode | kModeColor) & ~kModeAlpha;
    qzILStatus const status = qzILBlurImg::ProcessData();
    m_uProcessingMode = mode;
    if (status != 1 || m_oBoxes.oProcessed.IsEmpty()) return status;
    return Has(GetGlow()) ? OpticGlow8() : OpticGlow16();
}

qzILStatus qzILOpticGlowImg::OpticGlow8() {
    // Behind a slope of 2^40 every luma above the lower threshold has the full gain.
    constexpr double kSteepest = 1099511627776.0;
    // Thresholds that Verify refuses stop where no luma tells them apart.
    auto const level = [](double share) { return s64{Clamp(RoundHalfAway(share * 255), -256, 512)}; };
    s64 const low = level(m_dfLow), high = level(m_dfHigh);
    double const exact = 65536.0 / (m_dfHigh - m_dfLow);
    s64 const slope = TruncateTo<s64>(exact + (exact < 0.0 ? -0.5 : 0.5), -kSteepest, kSteepest);
    u8 const presence = TruncateTo<u8>(255 * m_dfPresence + 0.5, 0.0, 255.0);
    Glow<u8> rule;
    for (s64 luma = 0; luma < 256; ++luma) {
        s64 const ramp = Clamp<s64>((slope * (luma - low) + 32768) >> 16, 0, 255);
        s64 const gain = luma < low ? 0 : luma > high ? 255 : ramp;
        rule.aWeights[luma] = ilNormMult[gain][presence] * 0x01010101u;
    }
    return RunOverOutput(
        GetGlow(), [&]<class T>(As<T>) { return rule; }, kWritesNothing);
}
