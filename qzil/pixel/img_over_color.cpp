#include "qzil/pixel/img_over_color.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/color_blend_rows.h"
#include "qzil/pixel/color_unit.h"
#include "qzil/pixel/img_over_color_rows.h"

using namespace qzil;
using kernel::Bound;
using kernel::MaskLayout;
using kernel::MixRule;

namespace {
constexpr auto kFormats = Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14}, k8Bit422Formats,
                               std::array{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24}, kFloat422Formats,
                               kFloatAlphaPlaneFormats, kS2_14_422Formats, kS2_14AlphaPlaneFormats);
static_assert(kFormats.size() == 25);
}  // namespace

FormatList qzILImgOverColor::GetFormats() {
    return kFormats;
}

qzILStatus qzILImgOverColor::Execute() {
    if ((m_uProcessingMode & kModeNoLines) == kModeNoLines) return 1;
    return qzILImgProc::Execute();
}

qzILStatus qzILImgOverColor::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    if (VerifyFormat(kFormats) != 1) return -1;
    return m_dfOpacity < 0.0 || m_dfOpacity > 1.0 ? Fail(65645) : 1;
}

void qzILImgOverColor::SetStartOffsetX(int n) {
    if (n == 0) return;
    for (Lines* const pLines :
         {&m_oInputLines, &m_oOutputLines, &m_oMaskLines, &m_oInputAlphaLines, &m_oOutputAlphaLines}) {
        ShiftStart(*pLines, n);
    }
    m_oBoxes.oProcessed.Origin.x += n;
    m_oBoxes.oProcessed.Size.x -= n;
}

/// A format and its routines; none where a mask is not supported.
struct qzILImgOverColor::Dispatch {
    using Routine = qzILStatus (qzILImgOverColor::*)();
    FormatList oFormats;
    Routine pNoMask;
    Routine pMask;
};

qzILStatus qzILImgOverColor::DoEffect() {
    using C = qzILImgOverColor;
    static constexpr std::array kRgba8{MFIF_RGBA_RAW_32};
    static constexpr std::array kRgbaFloat{MFIF_RGBA_FLOAT};
    static constexpr std::array kRgbaS2_14{MFIF_RGBA_S2_14};
    static constexpr std::array kAlphaPlane8{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24};
    static Dispatch const l_aoTable[] = {
        {kRgba8, &C::CompositeOverColor8, &C::CompositeOverColor8},
        {k8Bit422Formats, &C::CompositeOverColorYCC422, nullptr},
        {kAlphaPlane8, &C::CompositeOverColorYUVA422, nullptr},
        {kRgbaFloat, &C::CompositeOverColorRGBAFloat, &C::CompositeOverColorRGBAFloat},
        {kRgbaS2_14, &C::CompositeOverColorRGBAS2_14, &C::CompositeOverColorRGBAS2_14},
        {kFloat422Formats, &C::CompositeOverColorYCCAFloat, &C::CompositeOverColorYCCAFloat},
        {kFloatAlphaPlaneFormats, &C::CompositeOverColorYCCAFloat, &C::CompositeOverColorYCCAFloat},
        {kS2_14_422Formats, &C::CompositeOverColorYCCAS2_14, &C::CompositeOverColorYCCAS2_14},
        {kS2_14AlphaPlaneFormats, &C::CompositeOverColorYCCAS2_14, &C::CompositeOverColorYCCAS2_14},
    };
    for (Dispatch const& row : l_aoTable) {
        if (!Contains(row.oFormats, Format())) continue;
        Dispatch::Routine const routine = m_oMaskLines.pFirst ? row.pMask : row.pNoMask;
        // A mask on 8-bit video succeeds without writing anything, deliberately.
        return routine ? (this->*routine)() : 1;
    }
    return -1;
}

qzILColor qzILImgOverColor::Premultiplied() const {
    qzILColor const& c = m_oBackgroundColor;
    double const a = c.GetAlpha();
    return qzILColor(a * c.GetRed(), a * c.GetGreen(), a * c.GetBlue(), a);
}

namespace {
u8 Opacity8(double opacity) {
    return static_cast<u8>(RoundHalfAway(255 * opacity) & 255);
}
}  // namespace

qzILStatus qzILImgOverColor::CompositeOverColor8() {
    return m_iPremultiplied ? CompositeOverColorFP8() : CompositeOverColorFNP8();
}

namespace {

OverColor8 Constants8(qzILColor const& premultiplied, double opacity, unsigned mode) {
    OverColor8 constants{{}, {}, Opacity8(opacity)};
    double const values[4] = {premultiplied.GetRed(), premultiplied.GetGreen(), premultiplied.GetBlue(),
                              premultiplied.GetAlpha()};
    for (int i = 0; i < 4; ++i) {
        constants.aBackground[i] = qzILFormat<unsigned char>::FromReal(values[i]);
        constants.aWord[i] = (mode >> i & 1) != 0 ? 255 : 0;
    }
    return constants;
}

kernel::RowTraits Traits8() {
    kernel::RowTraits traits = PixelTraits(MFIF_RGBA_RAW_32, MixRule::NormMult);
    traits.bTakesMask = traits.bTakesChannels = true;
    return traits;
}

}  // namespace

qzILStatus qzILImgOverColor::CompositeOverColorFP8() {
    OverColor8 const constants = Constants8(Premultiplied(), m_dfOpacity, m_uProcessingMode);
    return RunRows(Traits8(), Bound(GetOverColorRows().pPremultiplied8, constants));
}

qzILStatus qzILImgOverColor::CompositeOverColorFNP8() {
    OverColor8 const constants = Constants8(Premultiplied(), m_dfOpacity, m_uProcessingMode);
    return RunRows(Traits8(), Bound(GetOverColorRows().pStraight8, constants));
}

qzILStatus qzILImgOverColor::CompositeOverColorYCC422() {
    Unit422<u8> const unit = ColorUnit8(Premultiplied(), Format());
    u8 const opacity = Opacity8(m_dfOpacity);
    ScaleAdd8 constants{{}, {}, 2};
    for (int i = 0; i < 4; ++i) {
        constants.aScale[i] = opacity;
        constants.aAdd[i] = NormMult(static_cast<u8>(255 - opacity), unit.aSamples[i]);
    }
    return RunRows(PixelTraits(Format(), MixRule::NormMult), Bound(GetColorBlendRows().pScaleAdd8, constants));
}

qzILStatus qzILImgOverColor::CompositeOverColorYUVA422() {
    u8 ycc[4] = {};
    Premultiplied().GetColorAs24(ycc, YccModelOf(Format()));
    OverColorYuva8 const constants{{ycc[0] - 16, ycc[1] - 128, ycc[2] - 128},
                                   qzILFormat<unsigned char>::FromReal(m_oBackgroundColor.GetAlpha()),
                                   Opacity8(m_dfOpacity),
                                   m_iPremultiplied != 0,
                                   IsSelected(3)};
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::NormMult);
    traits.bWritesAll = false;
    return RunRows(traits, Bound(GetOverColorRows().pYuva8, constants));
}

/// Float and S2.14 share one rule.
qzILStatus qzILImgOverColor::CompositeReal(bool video) {
    bool const wide = GetChannelTypeFromFormat(Format()) == XFChannelTypeFloat;
    float const scale = wide ? 1.0f : 16384.0f;
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::Float);
    traits.bTakesMask = traits.bTakesChannels = true;
    traits.eMaskLayout = MaskLayout::Pixel;

    auto const alpha = static_cast<float>(m_oBackgroundColor.GetAlpha());
    OverColorReal constants{{},
                            alpha * scale,
                            static_cast<float>(m_dfOpacity),
                            m_iPremultiplied != 0,
                            IsFormatWithAlpha(Format()),
                            IsSelected(3),
                            {IsSelected(0), IsSelected(1), IsSelected(2), IsSelected(3)}};
    if (video) {
        Unit422<float> const unit = ColorUnitFloat(m_oBackgroundColor, Format(), 1.0f);
        for (int i = 0; i < 4; ++i) constants.aBackground[i] = unit.aSamples[i] * alpha * scale;
    } else {
        Premultiplied().GetColorAsFloat(constants.aBackground, XFColorModelRGB);
        for (float& value : constants.aBackground) value *= scale;
    }
    OverColorRows const& rows = GetOverColorRows();
    auto const row = video ? (wide ? rows.pYccaFloat : rows.pYccaS2_14) : (wide ? rows.pRgbaFloat : rows.pRgbaS2_14);
    return RunRows(traits, Bound(row, constants));
}

qzILStatus qzILImgOverColor::CompositeOverColorRGBAFloat() {
    return CompositeReal(false);
}

qzILStatus qzILImgOverColor::CompositeOverColorRGBAS2_14() {
    return CompositeReal(false);
}

qzILStatus qzILImgOverColor::CompositeOverColorYCCAFloat() {
    return CompositeReal(true);
}

qzILStatus qzILImgOverColor::CompositeOverColorYCCAS2_14() {
    return CompositeReal(true);
}
