#include "qzil/convert/hls.h"

#include "qzil/convert/color_lines.h"
#include "qzil/convert/formats.h"

using namespace qzil;

bool qzILRGBA2HLSA::Converts(GUID const& input, GUID const& output) {
    return (input == MFIF_RGBA_RAW_32 && output == MFIF_HLSA_RAW_32) ||
           (input == MFIF_RGBA_RAW_64 && output == MFIF_HLSA_RAW_64);
}

qzILStatus qzILRGBA2HLSA::Verify() {
    return VerifyFormats([](GUID const& input) { return input == MFIF_RGBA_RAW_32 || input == MFIF_RGBA_RAW_64; },
                         Converts);
}

qzILStatus qzILRGBA2HLSA::DoEffect() {
    if (!Converts(InputFormat(), OutputFormat())) return -1;
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
    return VerifyFormats([](GUID const& input) { return input == MFIF_HLSA_RAW_32 || input == MFIF_HLSA_RAW_64; },
                         Converts);
}

qzILStatus qzILHLSA2RGBA::DoEffect() {
    if (!Converts(InputFormat(), OutputFormat())) return -1;
    ColorLines const lines(InputFormat(), OutputFormat());
    return RunRows(lines.Traits(), lines.Call());
}

void* qzILHLSA2RGBA::GetConvertedColor(qzILColor const& color) {
    return ColorForOutput(m_pOutputImg, color, m_oConverted);
}
