#include "qzil/pixel/blend.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/blend_rows.h"

using namespace qzil;
using kernel::Bound;
using kernel::MaskLayout;
using kernel::MixRule;

namespace {

constexpr auto kFormats =
    Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14, MFIF_MONO_RAW_8,
                    MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_S2_14},
         kVideoFormats);

/// Alpha in fixed point. A value that Verify refuses is limited to what the weights can hold.
s32 FixedAlpha(double alpha, double scale) {
    return Clamp<s32>(RoundHalfAway(alpha * scale), 0, static_cast<s32>(scale));
}

}  // namespace

FormatList qzILBlendImg::GetFormats() {
    return kFormats;
}

qzILStatus qzILBlendImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kFormats) != 1) return -1;
    // NaN passes, deliberately: neither comparison holds for it.
    return m_dfAlpha < 0.0 || m_dfAlpha > 1.0 ? Fail(0x10012) : 1;
}

/// A format and its routines.
struct qzILBlendImg::Dispatch {
    using Routine = qzILStatus (qzILBlendImg::*)();
    GUID oFormat;
    Routine pNoMask;
    Routine pMask;
};

qzILStatus qzILBlendImg::DoEffect() {
    using B = qzILBlendImg;
    static constexpr Dispatch kTable[] = {
        {MFIF_RGBA_RAW_32, &B::BlendRgba8, &B::BlendRgba8},
        {MFIF_MONO_RAW_8, &B::BlendMono8, &B::BlendMono8},
        {MFIF_MONO_RAW_8_TD, &B::BlendMono8, &B::BlendMono8},
        {MFIF_YCC_422_16, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_YCC_422_16_SF_NTSC, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_YCC_422_16_SF_PAL, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_YCC709_422_16, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_YCC709_422_16_SF_EVEN, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_YCC709_422_16_SF_ODD, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_CbYCrY_16, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_CbYCrY_16_SF_TFL, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_CbYCrY_16_SF_TFF, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_CbYCrY709_16, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_CbYCrY709_16_SF_TFL, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_CbYCrY709_16_SF_TFF, &B::Blend8_YCC422_NoMask, &B::Blend8_YCC422},
        {MFIF_RGBA_RAW_64, &B::Blend16, &B::Blend16},
        {MFIF_MONO_RAW_16, &B::Blend16, &B::Blend16},
        {MFIF_RGBA_FLOAT, &B::BlendRgbaFloatNoMask, &B::BlendRgbaFloatMask},
        {MFIF_MONO_FLOAT, &B::BlendMonoFloat, &B::BlendMonoFloat},
        {MFIF_RGBA_S2_14, &B::BlendS2_14, &B::BlendS2_14},
        {MFIF_MONO_S2_14, &B::BlendS2_14, &B::BlendS2_14},
        {MFIF_CbYCrY_FLOAT, &B::BlendYCC422Float, &B::BlendYCC422Float},
        {MFIF_CbYCrY709_FLOAT, &B::BlendYCC422Float, &B::BlendYCC422Float},
        {MFIF_CbYCrY_S2_14, &B::BlendYCC422S2_14, &B::BlendYCC422S2_14},
        {MFIF_CbYCrY709_S2_14, &B::BlendYCC422S2_14, &B::BlendYCC422S2_14},
    };
    static_assert(std::size(kTable) == 25);
    for (Dispatch const& row : kTable) {
        if (row.oFormat == Format()) return (this->*(m_oMaskLines.pFirst ? row.pMask : row.pNoMask))();
    }
    return -1;
}

void qzILBlendImg::SetStartOffsetX(int n) {
    if (n == 0) return;
    for (Lines* const pLines : {&m_oInputLinesA, &m_oInputLinesB, &m_oOutputLines, &m_oMaskLines}) {
        ShiftStart(*pLines, n);
    }
    m_oBoxes.oProcessed.Origin.x += n;
    m_oBoxes.oProcessed.Size.x -= n;
}

namespace {

template <class T>
BlendWeight<T> WeightOf(T weight, kernel::RowTraits const& traits, unsigned mode) {
    BlendWeight<T> constants{weight, {}, traits.iSamples};
    for (int i = 0; i < 4; ++i) {
        bool const selected = !traits.bHasChannels || (mode >> i & 1) != 0;
        constants.aWord[i] = selected ? static_cast<T>(~T{0}) : T{0};
    }
    return constants;
}

}  // namespace

qzILStatus qzILBlendImg::Blend8(kernel::RowTraits const& traits) {
    auto const alpha = static_cast<u8>(RoundHalfAway(255 * m_dfAlpha) & 255);
    auto const weight = WeightOf(alpha, traits, m_uProcessingMode);
    return RunRows(traits, Bound(GetBlendRows().pBlend8, weight));
}

qzILStatus qzILBlendImg::BlendRgba8() {
    unsigned const channels = m_uProcessingMode & kModeAllChannels;
    if (!m_oMaskLines.pFirst && channels == kModeColor) return Blend8_RGB_NoMask();
    if (!m_oMaskLines.pFirst && channels == kModeAllChannels) return Blend8_RGBA_NoMask();
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    // A channel that passes through also survives the mix: the two products of a value and its complement sum to it.
    traits.bTakesChannels = true;
    return Blend8(traits);
}

qzILStatus qzILBlendImg::Blend8_RGB_NoMask() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesChannels = true;
    return Blend8(traits);
}

qzILStatus qzILBlendImg::Blend8_RGBA_NoMask() {
    return Blend8(PixelTraits(Format(), MixRule::NormMult));
}

qzILStatus qzILBlendImg::BlendMono8() {
    return Blend8(PixelTraits(Format(), MixRule::NormMult));
}

qzILStatus qzILBlendImg::Blend8_YCC422() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.eMaskLayout = MaskLayout::Pair8;
    return Blend8(traits);
}

qzILStatus qzILBlendImg::Blend8_YCC422_NoMask() {
    return Blend8(PixelTraits(Format(), MixRule::NormMult));
}

qzILStatus qzILBlendImg::Blend16() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesChannels = true;
    auto const weight = WeightOf(static_cast<u16>(FixedAlpha(m_dfAlpha, 65535)), traits, m_uProcessingMode);
    return RunRows(traits, Bound(GetBlendRows().pBlend16, weight));
}

qzILStatus qzILBlendImg::BlendS2_14() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesChannels = traits.bTakesMask = true;
    if (traits.iSamples == 2) traits.eMaskLayout = MaskLayout::Chroma;
    s32 const alpha14 = FixedAlpha(m_dfAlpha, 16384);
    if (!m_oMaskLines.pFirst) {
        auto const weight = WeightOf(static_cast<s16>(alpha14), traits, m_uProcessingMode);
        return RunRows(traits, Bound(GetBlendRows().pBlendS2_14, weight));
    }
    BlendMaskS2_14 constants{alpha14, FixedAlpha(m_dfAlpha, 65536), BIsDominant(), {}, traits.iSamples};
    for (int i = 0; i < 4; ++i) {
        constants.abSelected[i] = !traits.bHasChannels || (m_uProcessingMode >> i & 1) != 0;
    }
    return RunRows(traits, Bound(GetBlendRows().pBlendMaskS2_14, constants));
}

qzILStatus qzILBlendImg::BlendYCC422S2_14() {
    return BlendS2_14();
}

qzILStatus qzILBlendImg::BlendFloat(kernel::RowTraits const& traits) {
    BlendLanesFloat weights{{}, traits.iSamples};
    for (int i = 0; i < 4; ++i) {
        bool const selected = !traits.bHasChannels || (m_uProcessingMode >> i & 1) != 0;
        weights.aWeights[i] = selected ? static_cast<float>(m_dfAlpha) : BIsDominant() ? 1.0f : 0.0f;
    }
    return RunRows(traits, Bound(GetBlendRows().pBlendFloat, weights));
}

qzILStatus qzILBlendImg::BlendRgbaFloatNoMask() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesChannels = true;
    return BlendFloat(traits);
}

qzILStatus qzILBlendImg::BlendRgbaFloatMask() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesChannels = traits.bTakesMask = true;
    if (traits.iSamples == 2) traits.eMaskLayout = MaskLayout::Chroma;
    BlendMaskFloat constants{static_cast<float>(m_dfAlpha), BIsDominant(), {}, traits.iSamples};
    for (int i = 0; i < 4; ++i) {
        constants.abSelected[i] = !traits.bHasChannels || (m_uProcessingMode >> i & 1) != 0;
    }
    return RunRows(traits, Bound(GetBlendRows().pBlendMaskFloat, constants));
}

qzILStatus qzILBlendImg::BlendMonoFloat() {
    // The mask mixes after the blend here, deliberately unlike the four-channel rule.
    return BlendFloat(PixelTraits(Format(), MixRule::NormMult));
}

qzILStatus qzILBlendImg::BlendYCC422Float() {
    return m_oMaskLines.pFirst ? BlendRgbaFloatMask() : BlendRgbaFloatNoMask();
}

FormatList qzILGeneralBlendImage::GetFormats() {
    return kRawFormats;
}

void qzILGeneralBlendImage::SetAlphas(double alphaA, double alphaB) {
    m_dfAlphaA = alphaA;
    m_dfAlphaB = alphaB;
}

void qzILGeneralBlendImage::GetAlphas(double& alphaA, double& alphaB) const {
    alphaA = m_dfAlphaA;
    alphaB = m_dfAlphaB;
}

qzILStatus qzILGeneralBlendImage::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kRawFormats) != 1) return -1;
    for (double const alpha : {m_dfAlphaA, m_dfAlphaB}) {
        if (alpha < 0.0 || alpha > 1.0) return Fail(0x10012);
    }
    return 1;
}

qzILStatus qzILGeneralBlendImage::DoEffect() {
    kernel::RowTraits const traits = PixelTraits(Format(), MixRule::NormMult);
    if (!Contains(kRawFormats, Format())) return -1;
    bool const wide = traits.iSampleBytes == 2;
    double const scale = wide ? 32768 : 65536;
    GeneralBlendWeights const weights{static_cast<u32>(FixedAlpha(m_dfAlphaA, scale)),
                                      static_cast<u32>(FixedAlpha(m_dfAlphaB, scale)), traits.iSamples};
    BlendRows const& rows = GetBlendRows();
    return RunRows(traits, Bound(wide ? rows.pGeneral16 : rows.pGeneral8, weights));
}
