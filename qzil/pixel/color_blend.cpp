#include "qzil/pixel/color_blend.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/color_blend_rows.h"
#include "qzil/pixel/color_unit.h"

using namespace qzil;
using kernel::Bound;
using kernel::MixRule;

namespace {
constexpr auto kFormats =
    Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8,
                    MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_S2_14},
         kVideoFormats);
}  // namespace

FormatList qzILColorBlendImg::GetFormats() {
    return kFormats;
}

qzILStatus qzILColorBlendImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kFormats) != 1) return -1;
    return m_dfAlpha < 0.0 || m_dfAlpha > 1.0 ? Fail(65554) : 1;
}

qzILStatus qzILColorBlendImg::ExecuteAlphaPart(IXFImage* input, IXFImage* output) {
    qzILColor const color = m_oBlendColor;
    m_oBlendColor.SetRed(color.GetAlpha());
    qzILStatus const status = qzILMonadicPixelProc::ExecuteAlphaPart(input, output);
    m_oBlendColor = color;
    return status;
}

qzILStatus qzILColorBlendImg::DoEffect() {
    GUID const& format = Format();
    if (format == MFIF_RGBA_RAW_32) return ColorBlend8();
    if (IsFormatYCC(format) && GetChannelSizeFromFormat(format) == 1) return ColorBlendYCC422();
    if (!Contains(kFormats, format)) return -1;
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8: return ColorBlend8();
        case XFChannelTypeUInt16: return ColorBlend16();
        case XFChannelTypeFloat: return ColorBlendFloat();
        default: return format == MFIF_MONO_S2_14 ? ColorBlendMonoS2_14() : ColorBlendS2_14();
    }
}

bool qzILColorBlendImg::IsSelected(bool hasChannels, int channel) const {
    return !hasChannels || (m_uProcessingMode >> channel & 1) != 0;
}

/// A channel that is not selected has the weight 0, which leaves it exactly as it is.
qzILStatus qzILColorBlendImg::ColorBlend8() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesMask = traits.bTakesChannels = true;
    auto const alpha = static_cast<u8>(RoundHalfAway(255 * m_dfAlpha) & 255);
    u8 color[4] = {};
    if (traits.iSamples == 1) {
        m_oBlendColor.GetColorAs8(color, XFColorModelMono);
        color[1] = color[2] = color[3] = color[0];
    } else {
        m_oBlendColor.GetColorAs32(color, XFColorModelRGB);
    }
    ColorBlendConstants<u8> constants{{}, {}, traits.iSamples};
    ScaleAdd8 scaleAdd{{}, {}, traits.iSamples};
    for (int i = 0; i < 4; ++i) {
        u8 const weight = IsSelected(traits.bHasChannels, i) ? alpha : u8{0};
        constants.aColor[i] = color[i];
        constants.aWeight[i] = weight;
        scaleAdd.aScale[i] = static_cast<u8>(255 - weight);
        scaleAdd.aAdd[i] = NormMult(weight, color[i]);
    }
    ColorBlendRows const& rows = GetColorBlendRows();
    if (m_oMaskLines.pFirst) return RunRows(traits, Bound(rows.pMask8, constants));
    return RunRows(traits, Bound(rows.pScaleAdd8, scaleAdd));
}

qzILStatus qzILColorBlendImg::ColorBlendYCC422() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    if (traits.iSampleBytes == 0) return -1;
    traits.bIgnoresMask = true;
    auto const alpha = static_cast<u8>(RoundHalfAway(255 * m_dfAlpha) & 255);
    Unit422<u8> const unit = ColorUnit8(m_oBlendColor, Format());
    ScaleAdd8 scaleAdd{{}, {}, traits.iSamples};
    for (int i = 0; i < 4; ++i) {
        scaleAdd.aScale[i] = static_cast<u8>(255 - alpha);
        scaleAdd.aAdd[i] = NormMult(alpha, unit.aSamples[i]);
    }
    return RunRows(traits, Bound(GetColorBlendRows().pScaleAdd8, scaleAdd));
}

qzILStatus qzILColorBlendImg::ColorBlend16() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bTakesMask = traits.bTakesChannels = true;
    auto const alpha = static_cast<u16>(Clamp<s32>(RoundHalfAway(65535 * m_dfAlpha), 0, 65535));
    ColorBlendConstants<u16> constants{{}, {}, traits.iSamples};
    if (traits.iSamples == 1) {
        m_oBlendColor.GetColorAs16(constants.aColor, XFColorModelMono);
        for (u16& color : constants.aColor) color = constants.aColor[0];
    } else {
        m_oBlendColor.GetColorAs64(constants.aColor, XFColorModelRGB);
    }
    for (int i = 0; i < 4; ++i) constants.aWeight[i] = IsSelected(traits.bHasChannels, i) ? alpha : u16{0};
    return RunRows(traits, Bound(GetColorBlendRows().pBlend16, constants));
}

/// RGBA, mono and 4:2:2. Without a mask an unselected channel has the scale 1 and nothing added; with one it is left to
/// the commit, so that its bits stay as they are.
qzILStatus qzILColorBlendImg::ColorBlendFloat() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::Float);
    bool const video = traits.iSamples == 2;
    bool const masked = m_oMaskLines.pFirst && !video;
    traits.bTakesMask = true;
    traits.bTakesChannels = !masked;
    ColorBlendConstants<float> constants{{}, {}, traits.iSamples};
    if (traits.iSamples == 1) {
        for (float& color : constants.aColor) m_oBlendColor.GetColorAsMonoFloat(&color, XFColorModelMono);
    } else if (video) {
        Unit422<float> const unit = ColorUnitFloat(m_oBlendColor, Format(), 1.0f);
        for (int i = 0; i < 4; ++i) constants.aColor[i] = unit.aSamples[i];
    } else {
        m_oBlendColor.GetColorAsFloat(constants.aColor, XFColorModelRGB);
    }
    for (int i = 0; i < 4; ++i) {
        bool const acts = masked || IsSelected(traits.bHasChannels, i);
        constants.aWeight[i] = acts ? static_cast<float>(m_dfAlpha) : 0.0f;
    }
    traits.bIgnoresMask = video;
    return RunRows(traits, Bound(GetColorBlendRows().pBlendFloat, constants));
}

qzILStatus qzILColorBlendImg::ColorBlendS2_14() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::S2_14);
    bool const video = traits.iSamples == 2;
    traits.bTakesMask = true;
    ColorBlendConstants<float> constants{{}, {}, traits.iSamples};
    if (video) {
        Unit422<float> const unit = ColorUnitFloat(m_oBlendColor, Format(), 16384.0f);
        for (int i = 0; i < 4; ++i) constants.aColor[i] = unit.aSamples[i];
        traits.bIgnoresMask = true;
    } else {
        m_oBlendColor.GetColorAsFloat(constants.aColor, XFColorModelRGB);
        for (float& color : constants.aColor) color *= 16384.0f;
    }
    for (float& weight : constants.aWeight) weight = static_cast<float>(m_dfAlpha);
    return RunRows(traits, Bound(GetColorBlendRows().pBlendS2_14, constants));
}

qzILStatus qzILColorBlendImg::ColorBlendMonoS2_14() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::S2_14);
    traits.bTakesMask = true;
    s32 const alpha14 = Clamp<s32>(RoundHalfAway(16384 * m_dfAlpha), 0, 16384);
    s32 const alpha16 = Clamp<s32>(RoundHalfAway(65536 * m_dfAlpha), 0, 65536);
    ColorBlendMonoS14 const constants{qzILFormat<short>::FromReal(m_oBlendColor.GetRed()), static_cast<s16>(alpha14),
                                      alpha16};
    return RunRows(traits, Bound(GetColorBlendRows().pBlendMonoS2_14, constants));
}
