#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

template <class T>
struct Invert {
    static constexpr bool kUnsigned = std::is_unsigned_v<T>;
    using V = std::conditional_t<kUnsigned, T, Wide<T>>;

    QZIL_INLINE V operator()(V v) const {
        if constexpr (std::is_same_v<T, s16>) {
            return Min(16384 - v, 32767);
        } else {
            return static_cast<V>(kFullScale<T> - v);
        }
    }
    /// 16 + 235 of 8-bit video, times 257 in 16 bits.
    QZIL_INLINE Wide<T> Luma(Wide<T> y) const {
        constexpr Wide<T> kEnds = sizeof(T) == 1 ? 251 : 64507;
        if constexpr (kUnsigned) {
            return static_cast<Wide<T>>(Max(kEnds, y) - y);
        } else {
            return operator()(y);
        }
    }
    QZIL_INLINE Wide<T> Chroma(Wide<T> c) const {
        constexpr Wide<T> kEnds = sizeof(T) == 1 ? 256 : 65792;
        if constexpr (kUnsigned) {
            return Min(static_cast<Wide<T>>(kEnds - c), Wide<T>{kFullScale<T>});
        } else if constexpr (std::is_same_v<T, s16>) {
            return Min(-c, 32767);
        } else {
            return 0.0f - c;
        }
    }
};
QZIL_OPERATION(Invert)

}  // namespace qzil
