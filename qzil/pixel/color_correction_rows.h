#pragma once

#include "qzil/kernel/color_matrix.h"

namespace qzil {

/// Four offsets at the level of a luma.
struct LevelTable {
    s16 const* pOffsets;

    QZIL_INLINE s16 const* At(s32 luma, s32 full) const { return pOffsets + 4 * Clamp<s32>(luma, 0, full); }
};

template <class T>
QZIL_INLINE s32 ClampLevel(s32 v) {
    return Clamp<s32>(v, 0, kFullScale<T>);
}
template <class T>
QZIL_INLINE Quad<s32> ClampLevels(Quad<s32> v) {
    return {ClampLevel<T>(v.c0), ClampLevel<T>(v.c1), ClampLevel<T>(v.c2), ClampLevel<T>(v.c3)};
}
/// Hues go round a circle of the full scale, which is thus no hue itself.
template <class T>
QZIL_INLINE s32 WrapHue(s32 hue) {
    constexpr s32 kFull = kFullScale<T>;
    s32 const rest = hue % kFull;
    return rest < 0 ? rest + kFull : rest;
}

template <class T>
struct ColorCorrection {
    ColorMatrix oMatrix;

    QZIL_INLINE Quad<s32> operator()(Quad<s32> in) const { return ClampLevels<T>(oMatrix(in)); }
};
QZIL_OPERATION(ColorCorrection, u8, u16)

/// Of hue, lightness and saturation.
template <class T>
struct HlsCorrection {
    ColorMatrix oMatrix;

    QZIL_INLINE Quad<s32> operator()(Quad<s32> in) const {
        Quad<s32> const v = oMatrix(in), limited = ClampLevels<T>(v);
        return {WrapHue<T>(v.c0), limited.c1, limited.c2, limited.c3};
    }
};
QZIL_OPERATION(HlsCorrection, u8, u16)

/// With tables, each of which may be absent.
template <class T>
struct TableCorrection {
    ColorMatrix oFirst;
    ColorMatrix oSecond;  ///< behind the offsets
    LevelTable oLevels;
    T const* pChannels;  ///< four tables in a row
    bool bWrapsHue;

    QZIL_INLINE Quad<s32> operator()(Quad<s32> in) const {
        Quad<s32> v = oFirst(in);
        if (bWrapsHue) {
            v.c0 = WrapHue<T>(v.c0);
        } else if (oLevels.pOffsets) {
            s16 const* const offsets = oLevels.At(v.c0, kFullScale<T>);
            v = oSecond.Colors({v.c0 + offsets[0], v.c1 + offsets[1], v.c2 + offsets[2], v.c3 + offsets[3]});
        }
        v = ClampLevels<T>(v);
        if (!pChannels) return v;
        constexpr int kEntries = kFullScale<T> + 1;
        return {pChannels[v.c0], pChannels[kEntries + v.c1], pChannels[2 * kEntries + v.c2],
                pChannels[3 * kEntries + v.c3]};
    }
};
QZIL_OPERATION(TableCorrection, u8, u16)

/// What 4:2:2 samples are limited to.
struct YccLimits {
    s32 iLow;
    s32 iLuma;
    s32 iChroma;

    QZIL_INLINE YccPair<s32> operator()(YccPair<s32> p) const {
        return {Clamp(p.y0, iLow, iLuma), Clamp(p.cb, iLow, iChroma), Clamp(p.y1, iLow, iLuma),
                Clamp(p.cr, iLow, iChroma)};
    }
};

template <class T>
struct PairCorrection {
    ColorMatrix oMatrix;
    YccLimits oLimits;

    QZIL_INLINE YccPair<s32> operator()(YccPair<s32> p) const { return oLimits(Corrected(p)); }
    QZIL_INLINE YccPair<s32> Corrected(YccPair<s32> p) const {
        return {oMatrix.Channel<0>(p.y0, p.cb, p.cr), oMatrix.Channel<1>(p.y0, p.cb, p.cr),
                oMatrix.Channel<0>(p.y1, p.cb, p.cr), oMatrix.Channel<2>(p.y0, p.cb, p.cr)};
    }
};
QZIL_OPERATION(PairCorrection, u8)

/// With offsets: of luma by its own pixel, of chroma by the mean of both.
template <class T>
struct PairLevelCorrection {
    PairCorrection<T> oFirst;
    ColorMatrix oSecond;  ///< each channel by itself
    LevelTable oLevels;

    QZIL_INLINE YccPair<s32> operator()(YccPair<s32> p) const {
        YccPair<s32> const v = oFirst.Corrected(p);
        s16 const* const offsets0 = oLevels.At(v.y0, kFullScale<T>);
        s16 const* const offsets1 = oLevels.At(v.y1, kFullScale<T>);
        auto const mean = [=](int channel) { return (offsets0[channel] + offsets1[channel]) >> 1; };
        return oFirst.oLimits({oSecond.OwnChannel<0>(v.y0 + offsets0[0]), oSecond.OwnChannel<1>(v.cb + mean(1)),
                               oSecond.OwnChannel<0>(v.y1 + offsets1[0]), oSecond.OwnChannel<2>(v.cr + mean(2))});
    }
};
QZIL_OPERATION(PairLevelCorrection, u8)

/// A table of 8 bits that goes on in a straight line beyond both ends.
struct OpenTable {
    u8 const* pTable;
    s32 iFirst, iFirstSlope, iLast, iLastSlope;

    explicit OpenTable(u8 const* table)
        : pTable(table),
          iFirst(table[0]),
          iFirstSlope(table[1] - table[0]),
          iLast(table[255]),
          iLastSlope(table[255] - table[254]) {}
    /// A result of a matrix has at most 24 bits: its product with a slope fits.
    QZIL_INLINE s32 operator()(s32 v) const {
        s32 const inside = pTable[Clamp<s32>(v, 0, 255)];
        return v < 0 ? iFirst + iFirstSlope * v : v > 255 ? iLast + (v - 255) * iLastSlope : inside;
    }
};

/// By way of RGB, with tables of its channels. Chroma is the first pixel's.
template <class T>
struct PairTableCorrection {
    ColorMatrix oFirst;
    ColorMatrix oSecond;
    ColorMatrix oBack;
    YccLimits oLimits;
    LevelTable oLevels;  ///< may be absent
    OpenTable aTables[3];

    QZIL_INLINE Quad<s32> Rgb(s32 y, s32 cb, s32 cr) const {
        Quad<s32> v = oFirst.Colors({y, cb, cr, 0});
        if (oLevels.pOffsets) {
            s16 const* const offsets = oLevels.At(v.c0, kFullScale<T>);
            v = oSecond.Colors({v.c0 + offsets[0], v.c1 + offsets[1], v.c2 + offsets[2], 0});
        }
        return {aTables[0](v.c0), aTables[1](v.c1), aTables[2](v.c2), 0};
    }
    QZIL_INLINE YccPair<s32> operator()(YccPair<s32> p) const {
        Quad<s32> const first = Rgb(p.y0, p.cb, p.cr), second = Rgb(p.y1, p.cb, p.cr);
        Quad<s32> const back = oBack.Colors(first);
        return oLimits({back.c0, back.c1, oBack.Channel<0>(second.c0, second.c1, second.c2), back.c2});
    }
};
QZIL_OPERATION(PairTableCorrection, u8)

/// The alpha plane of 4:2:2 with chroma first.
template <class T>
struct PlaneCorrection {
    ColorMatrix oMatrix;
    LevelTable oLevels;  ///< may be absent
    T const* pTable;     ///< of alpha; may be absent

    QZIL_INLINE T operator()(T alpha, s32 offset) const {
        s32 const corrected = ClampLevel<T>(oMatrix.Alpha(alpha, 128u) + offset);
        return pTable ? pTable[corrected] : static_cast<T>(corrected);
    }
};
QZIL_OPERATION(PlaneCorrection, u8)

}  // namespace qzil
