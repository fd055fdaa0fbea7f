#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

template <class T>
struct OutputAlpha {
    bool bReverse;
    bool bShown;     ///< the result's alpha is the shown value
    Wide<T> oFixed;  ///< else this one

    QZIL_INLINE Wide<T> Shown(Wide<T> alpha) const {
        Wide<T> reverse = static_cast<Wide<T>>(kFullScale<T> - alpha);
        if constexpr (std::is_same_v<T, s16>) reverse = Min(reverse, 32767);
        return bReverse ? reverse : alpha;
    }
    QZIL_INLINE Wide<T> Alpha(Wide<T> shown) const { return bShown ? shown : oFixed; }
    QZIL_INLINE Quad<Wide<T>> operator()(Quad<Wide<T>> pixel) const {
        Wide<T> const v = Shown(pixel.c3);
        return {v, v, v, Alpha(v)};
    }

    /// Full range to the range of video luma.
    QZIL_INLINE static T Luma(T v) {
        if constexpr (sizeof(T) == 1) {
            return static_cast<T>((v * 56283u + 0x108000u) >> 16);
        } else if constexpr (std::is_same_v<T, u16>) {
            return static_cast<T>((v * 56284u + 269516800u) >> 16);
        } else {
            return v;
        }
    }
    static constexpr T kNeutral = sizeof(T) == 1 ? 128 : std::is_same_v<T, u16> ? static_cast<T>(32768) : 0;
};
QZIL_OPERATION(OutputAlpha)

}  // namespace qzil
