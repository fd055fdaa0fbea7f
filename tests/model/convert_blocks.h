#pragma once

#include "model/rules.h"

/// The integer coefficients of 8-bit video, with 16 fraction bits, by standard (601, 709) and by full or video levels
/// of the graphics side.
namespace qzil::test::model {

struct ByteToYcc {
    i64 piY[3], iLuma, piCb[3], piCr[3];
};
inline constexpr ByteToYcc kByteToYcc[2][2] = {
    {{{16829, 33039, 6416}, 0x100000, {-9714, -19071, 28784}, {28784, -24103, -4681}},
     {{19595, 38470, 7471}, 0, {-11311, -22205, 33516}, {33516, -28066, -5451}}},
    {{{11966, 40254, 4064}, 0x100000, {-6596, -22189, 28784}, {28784, -26145, -2639}},
     {{13933, 46871, 4732}, 0, {-7680, -25836, 33516}, {33516, -30443, -3073}}}};
inline constexpr i64 kGrey = 0x800000;

inline i64 Dot(i64 const (&row)[3], i64 r, i64 g, i64 b) {
    return row[0] * r + row[1] * g + row[2] * b;
}

struct ByteFromYcc {
    i64 iLuma, iCrRed, iRed, iCbGreen, iCrGreen, iGreen, iCbBlue, iBlue;  // the offsets with rounding
};
inline constexpr ByteFromYcc kByteFromYcc[2][2] = {
    {{76309, 104597, -14576620, -25675, -53279, 8917902, 132201, -18109946},
     {0x10000, 89831, -11465542, -22050, -45757, 8712045, 113538, -14500046}},
    {{76309, 117489, -16226779, -13975, -34925, 5071050, 138438, -18908287},
     {0x10000, 100902, -12882737, -12002, -29994, 5408339, 118894, -15185680}}};

/// The integer part of a 32-bit sum, as a byte.
inline u8 Saturated(i64 sum) {
    auto const v = static_cast<std::uint32_t>(sum);
    if (v > 0xffffff) return v >> 31 ? 0 : 255;
    return static_cast<u8>(v >> 16);
}

inline u8 RedOf(ByteFromYcc const& k, i64 y, i64, i64 cr) {
    return Saturated(cr * k.iCrRed + k.iRed + y * k.iLuma);
}
inline u8 GreenOf(ByteFromYcc const& k, i64 y, i64 cb, i64 cr) {
    return Saturated(cb * k.iCbGreen + cr * k.iCrGreen + k.iGreen + y * k.iLuma);
}
inline u8 BlueOf(ByteFromYcc const& k, i64 y, i64 cb, i64) {
    return Saturated(cb * k.iCbBlue + k.iBlue + y * k.iLuma);
}

}  // namespace qzil::test::model
