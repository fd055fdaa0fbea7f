#include "qzil/convert/ycc_layouts.h"

#include "qzil/convert/dither.h"
#include "qzil/convert/formats.h"
#include "qzil/convert/ycc_coefficients.h"
#include "qzil/convert/ycc_layout_rows.h"
#include "qzil/image/image_ops.h"
#include "qzil/kernel/convert_walk.h"

using namespace qzil;

namespace {

constexpr std::array kFullRange{MFIF_CbYCrY_16_FR,     MFIF_CbYCrYA_24_FR,  MFIF_CbYCrY709_16_FR,
                                MFIF_CbYCrY709A_24_FR, MFIF_CbYCrY_10_6_FR, MFIF_CbYCrY709_10_6_FR};
/// Interleaved without planes: Y, Cb, Cr, A.
constexpr std::array kInterleaved{MFIF_YCCA_RAW_32, MFIF_YCCA_RAW_64};

/// Packed and compressed formats have no samples; the full-range 10.6 formats with alpha contradict themselves about
/// where it lies.
bool IsLayout(GUID const& format) {
    if (Contains(kInterleaved, format)) return true;
    bool const contradicts = format == MFIF_CbYCrYA_10_6_FR || format == MFIF_CbYCrY709A_10_6_FR;
    return IsFormatYCC(format) && (IsFormat601(format) || IsFormat709(format)) && SampleOf(format) != Sample::None &&
           !contradicts;
}

bool IsPairs(GUID const& format) {
    return IsFormatYCC422(format) && !Contains(kInterleaved, format);
}

bool IsPlainPairs(GUID const& format) {
    return IsLayout(format) && IsPairs(format) && !IsFormatWithAlpha(format);
}

YccPlaces PlacesOf(GUID const& format) {
    if (Contains(kInterleaved, format)) return {4, 0, 1, 2, 3, false};
    if (IsFormatYCCA4444(format)) return {4, 1, 0, 2, 3, false};
    int const chroma = IsFormatAlternateYUV(format) ? 0 : 1;
    return {2, 1 - chroma, chroma, chroma + 2, -1, true};
}

YccScale ScaleOf(GUID const& format) {
    // 16 bits at 257 times the 8-bit levels.
    if (format == MFIF_YCCA_RAW_64) return {56283, 57568, 4112, 32896, 65535};
    return YccScaleOf(SampleOf(format), Contains(kFullRange, format));
}

/// Place of a type in the tables of rows.
int TypeOf(GUID const& format) {
    switch (SampleOf(format)) {
        case Sample::U8: return 0;
        case Sample::W10_6: return 1;
        case Sample::S2_14: return 2;
        default: return 3;
    }
}

YccToYcc ConstantsOf(GUID const& input, GUID const& output, bool filter) {
    YccScale const from = ScaleOf(input), to = ScaleOf(output);
    YccToYcc c{PlacesOf(input), PlacesOf(output), {}, {}, {}, 0, 0, false, false, filter, nullptr};
    c.bMatrix = IsFormat709(input) != IsFormat709(output);
    auto const& matrix =
        IsFormat709(output) ? qzILColor::s_dfArrayYCCA601toYCCA709 : qzILColor::s_dfArrayYCCA709toYCCA601;
    auto const factor = [&](int in, int out) { return c.bMatrix ? matrix[in][out] : in == out ? 1.0 : 0.0; };
    double const luma = to.dfY / from.dfY, cross = to.dfY / from.dfC, chroma = to.dfC / from.dfC;
    double const y1 = factor(1, 0) * cross, y2 = factor(2, 0) * cross;
    c.aY[0] = static_cast<float>(luma);
    c.aY[1] = static_cast<float>(y1);
    c.aY[2] = static_cast<float>(y2);
    c.aY[3] = static_cast<float>(to.dfBlack - luma * from.dfBlack - (y1 + y2) * from.dfNeutral);
    auto const set = [&](float(&row)[3], int out) {
        double const b = factor(1, out) * chroma, r = factor(2, out) * chroma;
        row[0] = static_cast<float>(b);
        row[1] = static_cast<float>(r);
        row[2] = static_cast<float>(to.dfNeutral - (b + r) * from.dfNeutral);
    };
    set(c.aCb, 1);
    set(c.aCr, 2);
    c.bCopies = !c.bMatrix && luma == 1.0 && chroma == 1.0 && to.dfBlack == from.dfBlack;
    c.fAlpha = static_cast<float>(to.dfAlpha / from.dfAlpha);
    c.fFullAlpha = static_cast<float>(to.dfAlpha);
    return c;
}

kernel::ConvertTraits TraitsOf(GUID const& input, GUID const& output) {
    kernel::ConvertTraits traits = PixelTraitsOf(input, output);
    traits.bPairsIn = traits.bRegionLimits = IsPairs(input);
    traits.bPairs = IsPairs(input) || IsPairs(output);
    return traits;
}

/// The codes of a key image without pixels and of one that is not as large as the image it belongs to.
struct KeyCodes {
    unsigned uNoPixels, uSize;
};
constexpr KeyCodes kOutputKey{0x10003, 0x1000A}, kInputKey{0x1000C, 0x10062};

unsigned FindKeyFault(qzILImageHelper const& key, qzILVector2l const& size, KeyCodes const& codes) {
    if (!key.HasPixels()) return codes.uNoPixels;
    if (!(qzILVector2l(key.m_iWidth, key.m_iHeight) == size)) return codes.uSize;
    return IsPlainPairs(key.m_oFormat) ? 0 : 0x1000D;
}

/// Views a key like the image it belongs to; what is wrong with it, or 0.
unsigned ViewKey(IXFImage* image, qzILImageHelper const& like, KeyCodes const& codes, qzILImageHelper& key) {
    key.SetImage(image);
    key.m_iOffsetX = like.m_iOffsetX;
    key.m_iOffsetY = like.m_iOffsetY;
    return FindKeyFault(key, {like.m_iWidth, like.m_iHeight}, codes);
}

}  // namespace

bool qzILYCCA2YCCA::Converts(GUID const& input, GUID const& output) {
    return IsLayout(input) && IsLayout(output) && input != output;
}

qzILStatus qzILYCCA2YCCA::Verify() {
    return VerifyFormats(IsLayout, Converts);
}

void* qzILYCCA2YCCA::GetConvertedColor(qzILColor const& color) {
    return ColorForOutput(m_pOutputImg, color, m_oConverted);
}

qzILStatus qzILYCCA2YCCA::DoEffect() {
    GUID const &input = InputFormat(), &output = OutputFormat();
    if (qzILStatus const status = CheckFormats(input, output, IsLayout, qzILYCCA2YCCA::Converts); status != 1) {
        return status;
    }
    kernel::ConvertTraits traits = TraitsOf(input, output);
    YccToYcc const constants = ConstantsOf(input, output, m_iFiltering != 0);
    auto const row = GetYccLayoutRows().apConvert[TypeOf(input)][TypeOf(output)];
    bool const narrows = SampleOf(output) == Sample::U8 && SampleOf(input) != Sample::U8;
    if (!m_iDithering || !narrows) return RunRows(traits, kernel::BoundConversion(row, constants));
    StartDither(m_oRandom);
    traits.bOrdered = true;
    DitheredLines<YccToYcc> lines{m_oRandom, row, constants, {}};
    return RunRows(traits, {&lines.Row, &lines});
}

bool qzILYCCA2YCCYCC::Converts(GUID const& input, GUID const& output) {
    return qzILYCCA2YCCA::Converts(input, output) && IsFormatWithSeparateAlpha(input) && IsPlainPairs(output);
}

qzILStatus qzILYCCA2YCCYCC::Verify() {
    if (qzILStatus const status = VerifyFormats(IsLayout, Converts); status != 1) return status;
    if (!m_pOutputImgB) return 1;
    unsigned const code = FindKeyFault(qzILImageHelper(m_pOutputImgB), WholeOf(m_pOutputImg).Size, kOutputKey);
    return code == 0 ? 1 : Fail(code);
}

qzILStatus qzILYCCA2YCCYCC::DoEffect() {
    if (qzILStatus const status = CheckFormats(InputFormat(), OutputFormat(), IsLayout, Converts); status != 1) {
        return status;
    }
    if (qzILStatus const status = qzILYCCA2YCCA::DoEffect(); status != 1 || !m_pOutputImgB) return status;
    qzILImageHelper key;
    if (unsigned const code = ViewKey(m_pOutputImgB, m_oOutputHelper, kOutputKey, key)) return Fail(code);
    YccScale const from = ScaleOf(InputFormat()), to = ScaleOf(key.m_oFormat);
    KeyLevels const levels{PlacesOf(key.m_oFormat), static_cast<float>(to.dfY / from.dfAlpha),
                           static_cast<float>(to.dfBlack), static_cast<float>(to.dfNeutral)};
    kernel::ConvertWalk const walk{&m_oInputHelper, &key, m_oProcessedBox, m_uProcessingMode};
    auto const row = GetYccLayoutRows().apToKey[TypeOf(InputFormat())][TypeOf(key.m_oFormat)];
    return kernel::RunConversion(walk, TraitsOf(InputFormat(), key.m_oFormat), kernel::BoundConversion(row, levels))
               ? 1
               : -1;
}

bool qzILYCCYCC2YCCA::Converts(GUID const& input, GUID const& output) {
    return qzILYCCA2YCCA::Converts(input, output) && IsPlainPairs(input) && IsFormatWithSeparateAlpha(output);
}

qzILStatus qzILYCCYCC2YCCA::Verify() {
    if (qzILStatus const status = VerifyFormats(IsLayout, Converts); status != 1) return status;
    if (!m_pInputImgB) return m_iFillMissingInput ? 1 : Fail(0x1000B);
    unsigned const code = FindKeyFault(qzILImageHelper(m_pInputImgB), WholeOf(m_pInputImg).Size, kInputKey);
    return code == 0 ? 1 : Fail(code);
}

qzILStatus qzILYCCYCC2YCCA::DoEffect() {
    if (qzILStatus const status = CheckFormats(InputFormat(), OutputFormat(), IsLayout, Converts); status != 1) {
        return status;
    }
    IXFImage* const pKey = m_pInputImgB;
    // Without a key the conversion itself makes alpha full; a plane that is to be left alone is out of its sight.
    if (!pKey && !m_iFillMissingInput) m_oOutputHelper.m_iSeparateAlpha = 0;
    if (qzILStatus const status = qzILYCCA2YCCA::DoEffect(); status != 1 || !pKey) return status;
    qzILImageHelper key;
    if (unsigned const code = ViewKey(pKey, m_oInputHelper, kInputKey, key)) return Fail(code);
    YccScale const from = ScaleOf(key.m_oFormat), to = ScaleOf(OutputFormat());
    double const scale = to.dfAlpha / from.dfY;
    KeyLevels const levels{PlacesOf(key.m_oFormat), static_cast<float>(scale),
                           static_cast<float>(-scale * from.dfBlack), 0.0f};
    kernel::ConvertWalk const walk{&key, &m_oOutputHelper, m_oProcessedBox, m_uProcessingMode};
    auto const row = GetYccLayoutRows().apFromKey[TypeOf(key.m_oFormat)][TypeOf(OutputFormat())];
    kernel::ConvertTraits traits = TraitsOf(key.m_oFormat, OutputFormat());
    traits.bAlphaOnly = true;
    return kernel::RunConversion(walk, traits, kernel::BoundConversion(row, levels)) ? 1 : -1;
}
