#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// B over A through a mask times alpha. The fourth channel is (A | B) & derived | fill, whatever the mask.
template <class T>
struct Composite {
    T oAlpha, oDerived, oFill;
    Channels<T> oColorBits;  ///< all set but in the fourth channel

    /// Mask times alpha: in 8 bits the rounded table product, which gives alpha itself at 255; in 16 bits a truncated
    /// quotient, which gives alpha itself at 65535.
    QZIL_INLINE Wide<T> Weight(Wide<T> mask) const {
        if constexpr (sizeof(T) == 1) {
            return WideNormMult(mask, oAlpha);
        } else {
            return mask * oAlpha / 65535u;
        }
    }
    QZIL_INLINE static Wide<T> Mix(Wide<T> a, Wide<T> b, Wide<T> w) {
        if constexpr (sizeof(T) == 1) {
            return WideMixNormMult(a, b, w);
        } else {
            return WideMix16(a, b, w);
        }
    }

    QZIL_CHANNELS(oColorBits)
    QZIL_INLINE Wide<T> Masked(Wide<T> a, Wide<T> b, Wide<T> colorBits, Wide<T> m) const {
        Wide<T> const mixed = Mix(a, b, Weight(m)), last = static_cast<Wide<T>>(((a | b) & oDerived) | oFill);
        return static_cast<Wide<T>>((mixed & colorBits) | (last & ~colorBits));
    }
};
QZIL_OPERATION(Composite, u8, u16)

/// The second input itself.
template <class T>
struct CopyOver {};
QZIL_OPERATION(CopyOver)

}  // namespace qzil
