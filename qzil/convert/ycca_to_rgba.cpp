#include "qzil/convert/ycca_to_rgba.h"

#include "qzil/convert/color_lines.h"
#include "qzil/convert/dither.h"
#include "qzil/convert/formats.h"
#include "qzil/convert/ycc_coefficients.h"

using namespace qzil;

namespace {

constexpr auto kSources422 = Join(k8Bit422Formats, std::array{MFIF_CbYCrY709A_24, MFIF_CbYCrYA_24}, kFloat422Formats,
                                  kFloatAlphaPlaneFormats, kS2_14_422Formats, kS2_14AlphaPlaneFormats);
constexpr std::array kTargets422{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14,
                                 MFIF_RGB_RAW_24,  MFIF_BGR_RAW_24,        MFIF_DIB_RAW_24, MFIF_DIB_RAW_32,
                                 MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO};
constexpr std::array kTargetsOfYcca32{MFIF_RGBA_RAW_32, MFIF_RGB_RAW_24, MFIF_BGR_RAW_24, MFIF_BGRA_RAW_32};

bool Is422Source(GUID const& format) {
    return Contains(kSources422, format) || IsFormat10_6YCC422(format);
}

bool IsYccSource(GUID const& format) {
    return Is422Source(format) || format == MFIF_YCCA_RAW_32 || format == MFIF_YCCA_RAW_64;
}

kernel::ConvertTraits PairTraits(GUID const& input, GUID const& output) {
    kernel::ConvertTraits traits = PixelTraitsOf(input, output);
    traits.bPairs = traits.bPairsIn = traits.bRegionLimits = true;
    return traits;
}

}  // namespace

bool qzILYCCA2RGBA::Converts(GUID const& input, GUID const& output) {
    if (input == MFIF_YCCA_RAW_64) return output == MFIF_RGBA_RAW_64;
    if (input == MFIF_YCCA_RAW_32) return Contains(kTargetsOfYcca32, output);
    return Is422Source(input) && Contains(kTargets422, output);
}

qzILStatus qzILYCCA2RGBA::Verify() {
    return VerifyFormats(IsYccSource, Converts);
}

void* qzILYCCA2RGBA::GetConvertedColor(qzILColor const& color) {
    return ColorForOutput(m_pOutputImg, color, m_oConverted);
}

qzILStatus qzILYCCA2RGBA::DoEffect() {
    GUID const &input = InputFormat(), &output = OutputFormat();
    if (qzILStatus const status = CheckFormats(input, output, IsYccSource, Converts); status != 1) return status;
    StartDither(m_oRandom);
    if (!Is422Source(input)) return ConvertYCCA2RGBA();
    bool const fixed = SampleOf(input) == Sample::U8 && SampleOf(output) == Sample::U8;
    return fixed ? Convert8_YCC4222RGBA() : ConvertYCCA422ToRGBA();
}

qzILStatus qzILYCCA2RGBA::Convert8_YCC4222RGBA() {
    PairsToRgb const constants = PairsToRgbOf(InputFormat(), OutputFormat(), m_iFiltering != 0);
    return RunRows(PairTraits(InputFormat(), OutputFormat()),
                   kernel::BoundConversion(GetYccFixedRows().pPairsToRgb, constants));
}

qzILStatus qzILYCCA2RGBA::ConvertYCCA422ToRGBA() {
    YccFloatRows const& rows = GetYccFloatRows();
    Sample const from = SampleOf(InputFormat()), to = SampleOf(OutputFormat());
    ByTarget<YccToRgb> const& table = from == Sample::U8      ? rows.oFromU8
                                      : from == Sample::S2_14 ? rows.oFromS2_14
                                      : from == Sample::W10_6 ? rows.oFromW
                                                              : rows.oFromFloat;
    kernel::ConvertTraits traits = PairTraits(InputFormat(), OutputFormat());
    YccToRgb const constants = YccToRgbOf(InputFormat(), OutputFormat(), m_iFiltering != 0);
    if (!m_iDithering || to != Sample::U8) {
        return RunRows(traits, kernel::BoundConversion(RowFor(table, to), constants));
    }
    traits.bOrdered = true;
    DitheredLines<YccToRgb> lines{m_oRandom, RowFor(table, to), constants, {}};
    return RunRows(traits, {&lines.Row, &lines});
}

qzILStatus qzILYCCA2RGBA::ConvertYCCA2RGBA() {
    ColorLines const lines(InputFormat(), OutputFormat());
    return RunRows(lines.Traits(), lines.Call());
}
