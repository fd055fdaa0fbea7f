#include "qzil/convert/ycc_coefficients.h"

#include "qzil/convert/formats.h"

#include <utility>

namespace qzil {
namespace {

/// Share of red, green and blue in luma.
struct Weights {
    double dfRed, dfGreen, dfBlue;
};
constexpr Weights k601{0.299, 0.587, 0.114};
constexpr Weights k709{0.2126, 0.7152, 0.0722};

/// 16.16 factors of red, green, blue for Y, Cb, Cr, with the offset of Y last, without rounding.
struct FixedToYcc {
    s32 aY[3], aCb[3], aCr[3];
    s32 iOffsetY;
};
constexpr FixedToYcc kFixedToYcc[2][2] = {
    // Rec. 601: from video levels, from full levels.
    {{{19595, 38470, 7471}, {-11311, -22205, 33516}, {33516, -28066, -5451}, 0},
     {{16829, 33039, 6416}, {-9714, -19071, 28784}, {28784, -24103, -4681}, 0x100000}},
    // Rec. 709.
    {{{13933, 46871, 4732}, {-7680, -25836, 33516}, {33516, -30443, -3073}, 0},
     {{11966, 40254, 4064}, {-6596, -22189, 28784}, {28784, -26145, -2639}, 0x100000}},
};
constexpr s32 kRounding = 0x8000;
constexpr s32 kChromaOffset = 0x800000;

/// 16.16 factors from Y, Cb, Cr, offsets with rounding; to video and to full levels.
struct FixedToRgb {
    s32 iY;
    s32 aRed[2], aGreen[3], aBlue[2];
};
constexpr FixedToRgb kFixedToRgb[2][2] = {
    {{0x10000, {89831, -11465542}, {-22050, -45757, 8712045}, {113538, -14500046}},
     {76309, {104597, -14576620}, {-25675, -53279, 8917902}, {132201, -18109946}}},
    {{0x10000, {100902, -12882737}, {-12002, -29994, 5408339}, {118894, -15185680}},
     {76309, {117489, -16226779}, {-13975, -34925, 5071050}, {138438, -18908287}}},
};

/// Factors and offsets between RGB at one scale and YCC at another.
struct Scale {
    double dfY, dfC, dfOffsetY, dfOffsetC, dfAlpha;
};

Scale ScaleToYcc(Sample from, bool video, Sample to) {
    switch (from) {
        case Sample::U8: {
            double const full = video ? 219.0 : 255.0;
            switch (to) {
                case Sample::U8:
                    return video ? Scale{1, 224.0 / 219.0, 0, 128, 1} : Scale{219.0 / 255.0, 224.0 / 255.0, 16, 128, 1};
                case Sample::S2_14: return {16384 / full, 16384 / full, video ? -1197.0 : 0.0, 0, 16384 / 255.0};
                case Sample::Float: return {1 / full, 1 / full, video ? -16.0 / 219.0 : 0.0, 0, 1 / 255.0};
                default: return {56064 / full, 57344 / full, video ? 0.0 : 4096.0, 32768, 257};
            }
        }
        case Sample::S2_14:
            switch (to) {
                case Sample::U8: return {219.0 / 16384, 224.0 / 16384, 16, 128, 255.0 / 16384};
                case Sample::S2_14: return {1, 1, 0, 0, 1};
                case Sample::Float: return {1.0 / 16384, 1.0 / 16384, 0, 0, 1.0 / 16384};
                default: return {56064.0 / 16384, 57344.0 / 16384, 4096, 32768, 65535.0 / 16384};
            }
        default:
            switch (to) {
                case Sample::U8: return {219, 224, 16, 128, 255};
                case Sample::S2_14: return {16384, 16384, 0, 0, 16384};
                case Sample::Float: return {1, 1, 0, 0, 1};
                default: return {56064, 57344, 4096, 32768, 65535};
            }
    }
}

/// Gain and offset of RGB, and the value of a full alpha.
struct RgbScale {
    double dfGain, dfOffset, dfAlpha;
};

RgbScale RgbScaleOf(GUID const& format) {
    switch (SampleOf(format)) {
        case Sample::U8: return IsFormatVideoLevels(format) ? RgbScale{219, 16, 255} : RgbScale{255, 0, 255};
        case Sample::S2_14: return {16384, 0, 16384};
        default: return {1, 0, 1};
    }
}

void Set(float (&row)[4], double c0, double c1, double c2, double offset) {
    row[0] = static_cast<float>(c0);
    row[1] = static_cast<float>(c1);
    row[2] = static_cast<float>(c2);
    row[3] = static_cast<float>(offset);
}

}  // namespace

Sample SampleOf(GUID const& format) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8: return Sample::U8;
        case XFChannelTypeUInt16: return Sample::W10_6;
        case XFChannelTypeS2_14: return Sample::S2_14;
        case XFChannelTypeFloat: return Sample::Float;
        default: return Sample::None;
    }
}

YccScale YccScaleOf(Sample sample, bool fullRange) {
    switch (sample) {
        case Sample::U8: return fullRange ? YccScale{255, 255, 0, 128, 255} : YccScale{219, 224, 16, 128, 255};
        case Sample::W10_6:
            return fullRange ? YccScale{65535, 65535, 0, 32768, 65535} : YccScale{56064, 57344, 4096, 32768, 65535};
        case Sample::S2_14: return {16384, 16384, 0, 0, 16384};
        default: return {1, 1, 0, 0, 1};
    }
}

PairOrder PairOrderOf(GUID const& format) {
    return IsFormatAlternateYUV(format) ? PairOrder{0, 8, 16, 24} : PairOrder{8, 0, 24, 16};
}

RgbToPairs RgbToPairsOf(GUID const& input, GUID const& output, bool filter, bool dithers) {
    FixedToYcc const& fixed = kFixedToYcc[IsFormat709(output)][!IsFormatVideoLevels(input)];
    s32 const rounding = dithers ? 0 : kRounding;
    RgbToPairs result{{fixed.aY[0], fixed.aY[1], fixed.aY[2], fixed.iOffsetY + rounding},
                      {fixed.aCb[0], fixed.aCb[1], fixed.aCb[2], kChromaOffset + rounding},
                      {fixed.aCr[0], fixed.aCr[1], fixed.aCr[2], kChromaOffset + rounding},
                      PairOrderOf(output),
                      filter,
                      IsFormatWithAlpha(input)};
    if (IsBgrOrder(input)) {
        for (s32* const row : {result.aY, result.aCb, result.aCr}) std::swap(row[0], row[2]);
    }
    return result;
}

RgbToYcc RgbToYccOf(GUID const& input, GUID const& output, bool filter) {
    Weights const k = IsFormat709(output) ? k709 : k601;
    Scale const scale = ScaleToYcc(SampleOf(input), IsFormatVideoLevels(input), SampleOf(output));
    RgbToYcc result{};
    Set(result.aY, scale.dfY * k.dfRed, scale.dfY * k.dfGreen, scale.dfY * k.dfBlue, scale.dfOffsetY);
    double const b = 2 * (1 - k.dfBlue), r = 2 * (1 - k.dfRed);
    Set(result.aCb, scale.dfC * (-k.dfRed / b), scale.dfC * (-k.dfGreen / b), scale.dfC * 0.5, scale.dfOffsetC);
    Set(result.aCr, scale.dfC * 0.5, scale.dfC * (-k.dfGreen / r), scale.dfC * (-k.dfBlue / r), scale.dfOffsetC);
    result.fAlpha = static_cast<float>(scale.dfAlpha);
    result.bFilter = filter;
    result.bAlternate = IsFormatAlternateYUV(output);
    return result;
}

PairsToRgb PairsToRgbOf(GUID const& input, GUID const& output, bool interpolate) {
    FixedToRgb const& fixed = kFixedToRgb[IsFormat709(input)][!IsFormatVideoLevels(output)];
    bool const bgr = IsBgrOrder(output);
    return {fixed.iY,
            {fixed.aRed[0], fixed.aRed[1]},
            {fixed.aGreen[0], fixed.aGreen[1], fixed.aGreen[2]},
            {fixed.aBlue[0], fixed.aBlue[1]},
            PairOrderOf(input),
            bgr ? 16 : 0,
            bgr ? 0 : 16,
            interpolate,
            IsFormatWithAlpha(output)};
}

YccToRgb YccToRgbOf(GUID const& input, GUID const& output, bool interpolate) {
    Weights const k = IsFormat709(input) ? k709 : k601;
    YccScale const from = YccScaleOf(SampleOf(input));
    RgbScale const to = RgbScaleOf(output);
    // Factors of a sample's distance from neutral chroma, at the target's gain.
    double const red = to.dfGain * 2 * (1 - k.dfRed) / from.dfC;
    double const blue = to.dfGain * 2 * (1 - k.dfBlue) / from.dfC;
    double const greenB = -to.dfGain * (2 * k.dfBlue * (1 - k.dfBlue) / k.dfGreen) / from.dfC;
    double const greenR = -to.dfGain * (2 * k.dfRed * (1 - k.dfRed) / k.dfGreen) / from.dfC;
    double const black = to.dfOffset - to.dfGain * from.dfBlack / from.dfY;
    YccToRgb result{};
    result.fY = static_cast<float>(to.dfGain / from.dfY);
    result.aRed[0] = static_cast<float>(red);
    result.aRed[1] = static_cast<float>(black - red * from.dfNeutral);
    result.aGreen[0] = static_cast<float>(greenB);
    result.aGreen[1] = static_cast<float>(greenR);
    result.aGreen[2] = static_cast<float>(black - (greenB + greenR) * from.dfNeutral);
    result.aBlue[0] = static_cast<float>(blue);
    result.aBlue[1] = static_cast<float>(black - blue * from.dfNeutral);
    result.fAlpha = static_cast<float>(to.dfAlpha / from.dfAlpha);
    result.fFullAlpha = static_cast<float>(to.dfAlpha);
    result.bInterpolate = interpolate;
    result.bAlternate = IsFormatAlternateYUV(input);
    result.bBgr = IsBgrOrder(output);
    result.bTargetAlpha = IsFormatWithAlpha(output);
    return result;
}

}  // namespace qzil
