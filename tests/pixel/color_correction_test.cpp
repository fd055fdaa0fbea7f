// Colour correction against matrices and tables written out in doubles and wide integers.

#include "qzil/pixel/color_correction.h"
#include "support/levels.h"
#include "support/picture.h"

#include "qzil/frame/image_utils.h"
#include "qzil/image/formats.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace qzil::test {
namespace {

using i64 = std::int64_t;
using Matrix = std::array<std::array<double, 4>, 4>;
using Triple = std::array<i64, 3>;

Matrix operator*(Matrix const& a, Matrix const& b) {
    Matrix product{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j)
            for (std::size_t k = 0; k < 4; ++k) product[i][j] += a[i][k] * b[k][j];
    return product;
}
constexpr Matrix kIdentity{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
Matrix Translation(double x, double y, double z) {
    return {{{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}}};
}
Matrix Scaling(double x, double y, double z) {
    return {{{x, 0, 0, 0}, {0, y, 0, 0}, {0, 0, z, 0}, {0, 0, 0, 1}}};
}
Matrix Transposed(double const (&rows)[4][4]) {
    Matrix matrix{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j) matrix[i][j] = rows[j][i];
    return matrix;
}

struct Grade {
    double dfHue, dfSaturation, dfContrast, dfBrightness;
    int iLegal;
};

/// An effect with the tables of a case, and what it does to samples.
struct Model {
    Grade oGrade;
    bool bLevels, bChannels, bHls, bYcc, b709;
    i64 iFull;
    std::vector<short> oLevels;
    std::vector<unsigned short> oWords;
    std::vector<unsigned char> oBytes;
    Matrix oFirst = kIdentity, oSecond = kIdentity, oThird = kIdentity;

    Model(Grade const& grade, GUID const& format, bool levels, bool channels)
        : oGrade(grade), bLevels(levels), bChannels(channels) {
        bHls = GetColorModelFromFormat(format) == XFColorModelHLS;
        bYcc = IsFormatYCC(format);
        b709 = bYcc && IsFormat709(format);
        iFull = GetChannelSizeFromFormat(format) == 1 ? 255 : 65535;
        Random random(5);
        int const reach = static_cast<int>(iFull / 8);
        for (i64 i = 0; i < 4 * (iFull + 1); ++i) {
            oLevels.push_back(static_cast<short>(random.Between(-reach, reach)));
            oWords.push_back(static_cast<unsigned short>(random.Below(static_cast<int>(iFull) + 1)));
            oBytes.push_back(static_cast<unsigned char>(oWords.back()));
        }
        Prepare();
    }
    void Prepare() {
        double const s = oGrade.dfSaturation * 0.01, c = oGrade.dfContrast * 0.01;
        double const b = oGrade.dfBrightness * (iFull == 255 ? 2.55 : 655.35), h = oGrade.dfHue * 0.017453292519943295;
        Matrix const turn{
            {{1, 0, 0, 0}, {0, std::cos(h), -std::sin(h), 0}, {0, std::sin(h), std::cos(h), 0}, {0, 0, 0, 1}}};
        Matrix const adjust = Translation(b, 0, 0) * Scaling(c, c, c) * Scaling(1, s, s) * turn;
        Matrix const toRgb = Transposed(b709 ? qzILColor::s_dfArrayYCCA709toRGBA : qzILColor::s_dfArrayYCCAtoRGBA);
        Matrix const toYcc = Transposed(b709 ? qzILColor::s_dfArrayRGBAtoYCCA709 : qzILColor::s_dfArrayRGBAtoYCCA);
        Matrix const toFull = Translation(0, -128, -128) *
                              Scaling(1.1643835616438356, 1.1383928571428572, 1.1383928571428572) *
                              Translation(-16, -16, -16);
        Matrix const toVideo = Translation(16, 16, 16) *
                               Scaling(0.8588235294117647, 0.8784313725490196, 0.8784313725490196) *
                               Translation(0, 128, 128);
        if (bHls) {
            double const full = static_cast<double>(iFull);
            oFirst = oFirst * Translation(0, b, 0) * Scaling(1, c, c) * Scaling(1, 1, s) *
                     Translation(oGrade.dfHue / 360 * full, 0, 0);
        } else {
            Matrix const last = bYcc && !bChannels ? toVideo : toRgb;
            oSecond = last;
            oFirst = (bLevels ? kIdentity : last) * adjust * (bYcc ? toFull : toYcc);
            oThird = toVideo * toYcc;
        }
        oFirst[3] = {c, 0, 0, b};
    }
    static i64 Fixed(double element) { return static_cast<i64>(std::round(element * 256)); }
    static Triple Apply(Matrix const& m, Triple const& v) {
        Triple result{};
        for (std::size_t i = 0; i < 3; ++i)
            result[i] =
                (Fixed(m[i][0]) * v[0] + Fixed(m[i][1]) * v[1] + Fixed(m[i][2]) * v[2] + Fixed(m[i][3]) + 128) >> 8;
        return result;
    }
    i64 Offset(i64 luma, i64 channel) const {
        return oLevels[static_cast<std::size_t>(4 * std::clamp<i64>(luma, 0, iFull) + channel)];
    }
    i64 Table(i64 channel, i64 v) const {
        return bChannels ? oWords[static_cast<std::size_t>(channel * (iFull + 1) + v)] : v;
    }
    i64 Open(i64 channel, i64 v) const {
        i64 const low = Table(channel, 0), high = Table(channel, 255);
        if (v < 0) return low + (Table(channel, 1) - low) * v;
        return v > 255 ? high + (v - 255) * (high - Table(channel, 254)) : Table(channel, v);
    }
    Triple Leveled(Triple v) const {
        if (!bLevels || bHls) return v;
        i64 const luma = v[0];
        for (std::size_t i = 0; i < 3; ++i) v[i] += Offset(luma, static_cast<i64>(i));
        return Apply(oSecond, v);
    }
    /// A pixel of four samples.
    std::array<i64, 4> Pixel(std::array<i64, 4> const& in) const {
        Triple const first = Apply(oFirst, {in[0], in[1], in[2]}), v = Leveled(first);
        i64 alpha = (in[3] * Fixed(oFirst[3][0]) + Fixed(oFirst[3][3])) >> 8;
        if (bLevels && !bHls) alpha += Offset(first[0], 3);
        std::array<i64, 4> out{v[0], v[1], v[2], alpha};
        i64 const hue = v[0] % iFull;
        for (std::size_t c = 0; c < 4; ++c) out[c] = std::clamp<i64>(out[c], 0, iFull);
        if (bHls) out[0] = hue < 0 ? hue + iFull : hue;
        for (std::size_t c = 0; c < 4; ++c) out[c] = Table(static_cast<i64>(c), out[c]);
        return out;
    }
    /// y0, cb, y1, cr.
    std::array<i64, 4> Pair(std::array<i64, 4> const& p) const {
        Triple const a = Apply(oFirst, {p[0], p[1], p[3]}), b = Apply(oFirst, {p[2], p[1], p[3]});
        std::array<i64, 4> out{a[0], a[1], b[0], a[2]};
        if (bChannels) {
            Triple rgb0 = Leveled(a), rgb1 = Leveled(b);
            for (std::size_t c = 0; c < 3; ++c) {
                rgb0[c] = Open(static_cast<i64>(c), rgb0[c]);
                rgb1[c] = Open(static_cast<i64>(c), rgb1[c]);
            }
            Triple const back = Apply(oThird, rgb0);
            out = {back[0], back[1], Apply(oThird, rgb1)[0], back[2]};
        } else if (bLevels) {
            auto const mean = [&](i64 c) { return (Offset(a[0], c) + Offset(b[0], c)) >> 1; };
            Triple const back = Apply(oSecond, {a[0] + Offset(a[0], 0), a[1] + mean(1), a[2] + mean(2)});
            out = {back[0], back[1], Apply(oSecond, {b[0] + Offset(b[0], 0), 0, 0})[0], back[2]};
        }
        for (std::size_t i = 0; i < 4; ++i) {
            i64 const high = (i & 1) == 0 ? 235 : 240;
            out[i] = oGrade.iLegal ? std::clamp<i64>(out[i], 16, high) : std::clamp<i64>(out[i], 0, 255);
        }
        return out;
    }
    i64 Alpha(i64 alpha, i64 y, i64 cb, i64 cr) const {
        i64 v = (alpha * Fixed(oFirst[3][0]) + Fixed(oFirst[3][3]) + 128) >> 8;
        if (bLevels) v += Offset(Apply(oFirst, {y, cb, cr})[0], 3);
        return Table(3, std::clamp<i64>(v, 0, 255));
    }
};

constexpr int kWidth = 67, kHeight = 5;

std::vector<i64> Samples(Ref<IXFImage> const& image, i64 full) {
    auto const bytes = Bytes(image);
    std::vector<i64> samples(bytes.begin(), bytes.end());
    for (std::size_t i = 0; full != 255 && i < bytes.size() / 2; ++i)
        samples[i] = bytes[2 * i] + 256 * bytes[2 * i + 1];
    samples.resize(bytes.size() / (full == 255 ? 1 : 2));
    return samples;
}

/// Samples in the order of memory; `out` holds the output's old ones, `mask` may be empty.
void Run(Model const& model, GUID const& format, std::vector<i64> const& in, std::vector<i64> const& mask,
         unsigned mode, std::vector<i64>& out) {
    std::size_t const pixels = kWidth * kHeight, luma = IsFormatAlternateYUV(format) ? 1 : 0, chroma = 1 - luma;
    for (std::size_t p = 0; !model.bYcc && p < pixels; ++p) {
        std::array<i64, 4> const from{in[4 * p], in[4 * p + 1], in[4 * p + 2], in[4 * p + 3]}, to = model.Pixel(from);
        i64 const full = model.iFull, m = mask.empty() ? full : mask[p];
        for (std::size_t c = 0; c < 4; ++c) {
            i64 const mixed = full == 255 ? ((255 - m) * from[c] + 127) / 255 + (m * to[c] + 127) / 255
                                          : from[c] + ((m * 0x10001 * (to[c] - from[c]) + 0x80008000) >> 32);
            out[4 * p + c] = (mode >> c & 1) != 0 ? mixed : from[c];
        }
    }
    for (std::size_t p = 0; model.bYcc && p < pixels; ++p) {
        std::size_t const i = 2 * p, x = p % kWidth, a = 2 * pixels + p;
        bool const alone = x + 1 == kWidth, alpha = IsFormatWithAlpha(format), selected = (mode & 8) != 0;
        if (alpha && !selected) out[a] = in[a];
        if ((x & 1) != 0) continue;
        i64 const y0 = in[i + luma], cb = in[i + chroma], y1 = alone ? y0 : in[i + 2 + luma];
        i64 const cr = alone ? 128 : in[i + 2 + chroma];
        std::array<i64, 4> const to = model.Pair({y0, cb, y1, cr});
        out[i + luma] = to[0], out[i + chroma] = to[1];
        if (alone) continue;
        out[i + 2 + luma] = to[2], out[i + 2 + chroma] = to[3];
        if (alpha && selected) out[a] = model.Alpha(in[a], y0, cb, cr), out[a + 1] = model.Alpha(in[a + 1], y1, cb, cr);
    }
}

constexpr Grade kGrades[] = {
    {0, 100, 100, 0, 0}, {30, 150, 80, 12.5, 0}, {-75, 260, 130, -20, 1}, {180, 0, 100, 50, 1}};

void Set(qzILColorCorrectionImg& effect, Model const& model) {
    Grade const& grade = model.oGrade;
    effect.m_dfHue = grade.dfHue, effect.m_dfSaturation = grade.dfSaturation;
    effect.m_dfContrast = grade.dfContrast, effect.m_dfBrightness = grade.dfBrightness;
    effect.m_iLegalClamp = grade.iLegal;
    effect.m_iColorModel = model.bHls ? 4 : model.b709 ? 512 : 64;
    if (model.bLevels) effect.m_pLevelTable = model.oLevels.data();
    void const* const pBytes = model.oBytes.data();
    if (model.bChannels) effect.m_pChannelTable = model.iFull == 255 ? pBytes : model.oWords.data();
}

void Check(GUID const& format, Grade const& grade, int tables, bool inPlace, bool masked, unsigned mode) {
    Model model(grade, format, (tables & 1) != 0, (tables & 2) != 0);
    auto const input = MakeRandomImage(format, kWidth, kHeight, 1);
    auto const output = inPlace ? input : MakeRandomImage(format, kWidth, kHeight, 2);
    auto const mask = MakeRandomImage(model.iFull == 255 ? MFIF_MONO_RAW_8 : MFIF_MONO_RAW_16, kWidth, kHeight, 3);
    std::vector<i64> const from = Samples(input, model.iFull);
    std::vector<i64> const weights = masked ? Samples(mask, model.iFull) : std::vector<i64>{};
    qzILColorCorrectionImg effect;
    effect.SetInputImg(input.Get());
    effect.SetOutputImg(output.Get());
    effect.SetProcessingMode(mode);
    if (masked) effect.SetMask({0, 0, kWidth, kHeight}, mask.Get(), XFImageChannelMono);
    Set(effect, model);
    ASSERT_EQ(effect.Verify(), 1) << NameOf(format);
    for (int run = 0; run < (inPlace ? 1 : 2); ++run) {
        // The matrix of HLSA goes on.
        if (run == 1 && model.bHls) model.Prepare();
        std::vector<i64> expected = Samples(output, model.iFull);
        Run(model, format, from, weights, mode, expected);
        ASSERT_EQ(effect.Execute(), 1) << NameOf(format);
        ASSERT_EQ(Samples(output, model.iFull), expected)
            << NameOf(format) << " hue " << grade.dfHue << " tables " << tables << " in place " << inPlace << " masked "
            << masked << " mode " << mode << " run " << run;
    }
}

TEST(ColorCorrection, EqualsModel) {
    ForEachLevel([] {
        for (GUID const& format : qzILColorCorrectionImg::GetFormats()) {
            bool const ycc = IsFormatYCC(format);
            for (Grade const& grade : kGrades) {
                for (int tables = 0; tables < 4 && !testing::Test::HasFatalFailure(); ++tables) {
                    Check(format, grade, tables, false, false, 15);
                    Check(format, grade, tables, true, !ycc, ycc ? 15 : 6);
                    Check(format, grade, tables, false, !ycc, 7);
                }
            }
        }
    });
}

// Fields of any value, matrices of any size, and matrices of the process that are gone.
TEST(ColorCorrection, SurvivesWithoutVerify) {
    constexpr double kNumbers[] = {1e300, -1e300, HUGE_VAL, std::numeric_limits<double>::quiet_NaN(), 1e9, -40000};
    for (GUID const& format : qzILColorCorrectionImg::GetFormats()) {
        auto const image = MakeRandomImage(format, 9, 4, 1);
        std::vector<short> const levels(65536 * 4, -32768);
        std::vector<unsigned short> const channels(65536 * 4, 0xFF00);
        for (int i = 0; i < 48; ++i) {
            qzILColorCorrectionImg effect;
            effect.SetInputImg(image.Get());
            effect.SetOutputImg(image.Get());
            effect.SetProcessingMode(15);
            (i & 1 ? effect.m_dfSaturation : effect.m_dfBrightness) = kNumbers[i / 2 % 6];
            (i & 2 ? effect.m_dfHue : effect.m_dfContrast) = kNumbers[i / 3 % 6];
            effect.m_iColorModel = (i % 5) == 0 ? 4 : i - 8;
            if (i & 4) effect.m_pLevelTable = levels.data();
            if (i & 8) effect.m_pChannelTable = channels.data();
            effect.m_oFirstMatrix.Resize(i % 6, 3);
            if (i % 7 == 0) qzILColorCorrectionImg::ClearMatrices();
            EXPECT_NE(effect.Execute(), 0) << NameOf(format);
        }
    }
}

}  // namespace
}  // namespace qzil::test
