#include "qzil/convert/hls.h"

#include "qzil/convert/color_lines.h"
#include "qzil/convert/formats.h"

using namespace qzil;

namespace {

bool IsRgba(GUID const& format) {
    return format == MFIF_RGBA_RAW_32 || format == MFIF_RGBA_RAW_64;
}

bool IsHlsa(GUID const& format) {
    return format == MFIF_HLSA_RAW_32 || format == MFIF_HLSA_RAW_64;
}

}  // namespace

bool qzILRGBA2HLSA::Converts(GUID const& input, GUID const& output) {
    return (input == MFIF_RGBA_RAW_32 && output == MFIF_HLSA_RAW_32) ||
           (input == MFIF_RGBA_RAW_64 && output == MFIF_HLSA_RAW_64);
}

qzILStatus qzILRGBA2HLSA::Verify() {
    return VerifyFormats(IsRgba, Converts);
}

qzILStatus qzILRGBA2HLSA::DoEffect() {
    if (qzILStatus const status = CheckFormats(InputFormat(), OutputFormat(), IsRgba, Converts); status != 1) {
        return status;
    }
    ColorLines const lines(InputFormat(), OutputFormat());
    return RunRows(lines.Traits(), lines.Call());
}

void* qzILRGBA2HLSA::GetConvertedColor(qzILColor const& color) {
    return ColorForOutput(m_pOutputImg, color, m_oConverted);
}

bool qzILHLSA2RGBA::Converts(GUID const& input, GUID const& output) {
    return qzILRGBA2HLSA::Converts(output, input);
}

qzILStatus qzILHLSA2RGBA::Verify() {
    return VerifyFormats(IsHlsa, Converts);
}

qzILStatus qzILHLSA2RGBA::DoEffect() {
    if (qzILStatus const status = CheckFormats(InputFormat(), OutputFormat(), IsHlsa, Converts); status != 1) {
        return status;
    }
    ColorLines const lines(InputFormat(), OutputFormat());
    return RunRows(lines.Traits(), lines.Call());
}

void* qzILHLSA2RGBA::GetConvertedColor(qzILColor const& color) {
    return ColorForOutput(m_pOutputImg, color, m_oConverted);
}
