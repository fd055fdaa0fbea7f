#include "qzil/convert/rgba_to_ycca.h"

#include "qzil/convert/color_lines.h"
#include "qzil/convert/dither.h"
#include "qzil/convert/formats.h"
#include "qzil/convert/ycc_coefficients.h"

using namespace qzil;

namespace {

/// Sources that go to 8-bit 4:2:2 and MFIF_YCCA_RAW_32 only.
constexpr std::array kPlainSources{MFIF_RGB_RAW_24, MFIF_DIB_RAW_32, MFIF_DIB_RAW_24, MFIF_BGRA_RAW_32,
                                   MFIF_BGRA_RAW_32_VIDEO};
constexpr std::array kRichSources{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14};
constexpr auto kPlainOutputs = Join(k8Bit422Formats, std::array{MFIF_CbYCrY709A_24, MFIF_CbYCrYA_24, MFIF_YCCA_RAW_32});
constexpr auto kRichOutputs =
    Join(kPlainOutputs, kFloat422Formats, kFloatAlphaPlaneFormats, kS2_14_422Formats, kS2_14AlphaPlaneFormats,
         std::array{MFIF_CbYCrY_10_6, MFIF_CbYCrYA_10_6, MFIF_CbYCrY709_10_6, MFIF_CbYCrY709A_10_6, MFIF_CbYCrA_8_4444,
                    MFIF_CbYCr709A_8_4444, MFIF_CbYCrA_10_6_4444, MFIF_CbYCr709A_10_6_4444});
constexpr std::array kFloat4444{MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444};
constexpr std::array kS2_14_4444{MFIF_CbYCrA_S2_14_4444, MFIF_CbYCr709A_S2_14_4444};

bool IsSource(GUID const& format) {
    return format == MFIF_RGBA_RAW_64 || Contains(kPlainSources, format) || Contains(kRichSources, format);
}

/// The dithered form of a fixed-point line: the low halves of the sums are carried to the next sample.
class DitheredPairs {
public:
    DitheredPairs(RgbToPairs const& constants, qzILRandomNumber& random) : m_oConstants(constants), m_oRandom(random) {}

    static void Row(kernel::ConvertRow const& row, void const* self) {
        static_cast<DitheredPairs*>(const_cast<void*>(self))->Run(row);
    }

private:
    struct Carry {
        s32 iRest = 0;

        /// The integer part of a weighted sum with the rest of the one before.
        s32 Next(s32 const (&factors)[4], s32 const (&color)[3]) {
            s32 const sum = color[0] * factors[0] + color[1] * factors[1] + color[2] * factors[2] + factors[3] + iRest;
            iRest = sum & 0xFFFF;
            return sum >> 16;
        }
    };

    s32 Draw() { return TruncateTo<s32>(m_oRandom.GetNumber() * 65536.0f, 0, 65535) & 0xFFFF; }

    void Run(kernel::ConvertRow const& row) {
        if (row.bLineStart) {
            for (Carry& carry : m_aCarries) carry.iRest = Draw();
        }
        int const bytes = m_oConstants.bSourceAlpha ? 4 : 3;
        for (int i = 0; i + 1 < row.iPixels; i += 2) Pair(row, i, bytes);
        if (!row.pAlphaOut) return;
        for (int i = 0; i < row.iPixels; ++i) row.pAlphaOut[i] = bytes == 4 ? row.pIn[4 * i + 3] : 255;
    }

    void Pair(kernel::ConvertRow const& row, int i, int bytes) {
        s32 even[3], odd[3], chroma[3];
        for (int n = 0; n < 3; ++n) {
            auto const at = [&](int distance) -> s32 {
                return row.pIn[bytes * Clamp(i + distance, row.iFirst, row.iLast) + n];
            };
            even[n] = at(0);
            odd[n] = at(1);
            chroma[n] = m_oConstants.bFilter ? (-at(-2) + 2 * at(-1) + 6 * at(0) + 2 * at(1) - at(2) + 4) >> 3 : at(0);
        }
        s32 const y0 = m_aCarries[0].Next(m_oConstants.aY, even), y1 = m_aCarries[0].Next(m_oConstants.aY, odd);
        s32 const cb = m_aCarries[1].Next(m_oConstants.aCb, chroma), cr = m_aCarries[2].Next(m_oConstants.aCr, chroma);
        auto const put = [&](int shift, s32 value) { row.pOut[2 * i + shift / 8] = static_cast<u8>(value); };
        put(m_oConstants.oOrder.iCb, Clamp(cb, 0, 255));
        put(m_oConstants.oOrder.iY0, y0);
        put(m_oConstants.oOrder.iCr, Clamp(cr, 0, 255));
        put(m_oConstants.oOrder.iY1, y1);
    }

    RgbToPairs const& m_oConstants;
    qzILRandomNumber& m_oRandom;
    Carry m_aCarries[3];  ///< of Y, Cb, Cr
};

}  // namespace

void qzILRGBAORDIB2YCCA::Init() {
    m_iFiltering = 1;
    m_iDithering = 0;
}

bool qzILRGBAORDIB2YCCA::Converts(GUID const& input, GUID const& output) {
    if (input == MFIF_RGBA_RAW_64) return output == MFIF_YCCA_RAW_64;
    if (Contains(kPlainSources, input)) return Contains(kPlainOutputs, output);
    if (!Contains(kRichSources, input)) return false;
    return Contains(kRichOutputs, output) || (input == MFIF_RGBA_FLOAT && Contains(kFloat4444, output)) ||
           (input == MFIF_RGBA_S2_14 && Contains(kS2_14_4444, output));
}

qzILStatus qzILRGBAORDIB2YCCA::Verify() {
    return VerifyFormats(IsSource, Converts);
}

void* qzILRGBAORDIB2YCCA::GetConvertedColor(qzILColor const& color) {
    return ColorForOutput(m_pOutputImg, color, m_oConverted);
}

qzILStatus qzILRGBAORDIB2YCCA::DoEffect() {
    GUID const& output = OutputFormat();
    if (qzILStatus const status = CheckFormats(InputFormat(), output, IsSource, Converts); status != 1) return status;
    StartDither(m_oRandom);
    if (output == MFIF_YCCA_RAW_32 || output == MFIF_YCCA_RAW_64) return ConvertRGBA2YCCA();
    if (IsFormatYCCA4444(output)) return ConvertRGBAToYCCA4444();
    bool const fixed = SampleOf(InputFormat()) == Sample::U8 && SampleOf(output) == Sample::U8;
    return fixed ? Convert8_RGBA2YCC422() : ConvertRGBAToYCCA422();
}

qzILStatus qzILRGBAORDIB2YCCA::Convert8_RGBA2YCC422() {
    kernel::ConvertTraits traits = PixelTraitsOf(InputFormat(), OutputFormat());
    traits.bPairs = true;
    RgbToPairs const constants = RgbToPairsOf(InputFormat(), OutputFormat(), m_iFiltering != 0, m_iDithering != 0);
    if (!m_iDithering) return RunRows(traits, kernel::BoundConversion(GetYccFixedRows().pRgbToPairs, constants));
    traits.bOrdered = true;
    DitheredPairs pairs(constants, m_oRandom);
    return RunRows(traits, {&pairs.Row, &pairs});
}

qzILStatus qzILRGBAORDIB2YCCA::ConvertRGBAToYCCA422() {
    YccFloatRows const& rows = GetYccFloatRows();
    Sample const from = SampleOf(InputFormat());
    ByTarget<RgbToYcc> const& table = from == Sample::U8      ? rows.oTo422FromU8
                                      : from == Sample::S2_14 ? rows.oTo422FromS2_14
                                                              : rows.oTo422FromFloat;
    kernel::ConvertTraits traits = PixelTraitsOf(InputFormat(), OutputFormat());
    traits.bPairs = true;
    RgbToYcc const constants = RgbToYccOf(InputFormat(), OutputFormat(), m_iFiltering != 0);
    return RunRows(traits, kernel::BoundConversion(RowFor(table, SampleOf(OutputFormat())), constants));
}

qzILStatus qzILRGBAORDIB2YCCA::ConvertRGBAToYCCA4444() {
    struct DitheredLines {
        qzILRandomNumber& oRandom;
        kernel::TypedConvertRow<RgbToYcc> pRow;
        RgbToYcc oConstants;

        static void Row(kernel::ConvertRow const& row, void const* self) {
            auto& lines = *static_cast<DitheredLines*>(const_cast<void*>(self));
            if (row.bLineStart) lines.oConstants.fDither = lines.oRandom.GetNumber() - 0.5f;
            lines.pRow(row, lines.oConstants);
        }
    };
    YccFloatRows const& rows = GetYccFloatRows();
    Sample const from = SampleOf(InputFormat()), to = SampleOf(OutputFormat());
    ByTarget<RgbToYcc> const& table = from == Sample::U8      ? rows.oTo4444FromU8
                                      : from == Sample::S2_14 ? rows.oTo4444FromS2_14
                                                              : rows.oTo4444FromFloat;
    kernel::ConvertTraits traits = PixelTraitsOf(InputFormat(), OutputFormat());
    RgbToYcc const constants = RgbToYccOf(InputFormat(), OutputFormat(), false);
    if (!m_iDithering || from != Sample::U8 || to != Sample::U8) {
        return RunRows(traits, kernel::BoundConversion(RowFor(table, to), constants));
    }
    traits.bOrdered = true;
    DitheredLines lines{m_oRandom, RowFor(table, to), constants};
    return RunRows(traits, {&lines.Row, &lines});
}

qzILStatus qzILRGBAORDIB2YCCA::ConvertRGBA2YCCA() {
    ColorLines const lines(InputFormat(), OutputFormat());
    return RunRows(lines.Traits(), lines.Call());
}

void qzILConvert8_BGRA2YCC422AndBlend_Line_Dropping(unsigned char const* source, unsigned char* output, int width,
                                                    int blend, XFColorModel model, int alternate) {
    if (blend == 0 || (model != XFColorModelYCC601 && model != XFColorModelYCC709)) return;
    GUID const output422 = model == XFColorModelYCC709 ? MFIF_CbYCrY709_16 : MFIF_CbYCrY_16;
    RgbToPairs const c = RgbToPairsOf(MFIF_BGRA_RAW_32, output422, false, true);
    PairOrder const order = PairOrderOf(alternate ? MFIF_CbYCrY_16 : MFIF_YCC_422_16);
    u8 const share = static_cast<u8>(Clamp(blend, 0, 255));
    s32 carries[3] = {};
    auto const next = [&](s32& carry, s32 const(&factors)[4], unsigned char const* pixel, s32 offset) {
        s32 const sum = pixel[0] * factors[0] + pixel[1] * factors[1] + pixel[2] * factors[2] + carry;
        carry = sum & 0xFFFF;
        return static_cast<u8>((sum >> 16) + offset);
    };
    for (int i = 0; i + 1 < width; i += 2, source += 8, output += 4) {
        u8 const y0 = next(carries[0], c.aY, source, 16), y1 = next(carries[0], c.aY, source + 4, 16);
        u8 const cb = next(carries[1], c.aCb, source, 128), cr = next(carries[2], c.aCr, source, 128);
        auto const put = [&](int shift, u8 value) {
            u8& old = output[shift / 8];
            old = share == 255 ? value
                               : static_cast<u8>(NormMult(static_cast<u8>(255 - share), old) + NormMult(share, value));
        };
        put(order.iCb, cb);
        put(order.iY0, y0);
        put(order.iCr, cr);
        put(order.iY1, y1);
    }
}
