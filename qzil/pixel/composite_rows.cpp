#include "qzil/pixel/composite_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Mask times alpha: in 8 bits the rounded table product, which gives alpha itself at 255; in 16 bits a truncated
/// quotient, which gives alpha itself at 65535.
QZIL_INLINE u8 MaskedAlpha(u8 mask, u8 alpha) {
    return NormMult(mask, alpha);
}
QZIL_INLINE u16 MaskedAlpha(u16 mask, u16 alpha) {
    return static_cast<u16>(u32{mask} * alpha / 65535u);
}
QZIL_INLINE u8 Mix(u8 a, u8 b, u8 w) {
    return MixNormMult(a, b, w);
}
QZIL_INLINE u16 Mix(u16 a, u16 b, u16 w) {
    return Mix16(a, b, w);
}

template <class T>
void OverWithMask(Row const& row, CompositeConstants<T> const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    T const* const mask = In<T>(row.pMask);
    T const alpha = c.oAlpha, full = static_cast<T>(~T{0});
    Lanes<T> const color(full, full, full, T{0});
    Lanes<T> const derived(T{0}, T{0}, T{0}, c.oDerived);
    Lanes<T> const fill(T{0}, T{0}, T{0}, c.oFill);
    ForLanes(4 * row.iPixels, [=, &color, &derived, &fill](int i, int lane) {
        T const mixed = Mix(a[i], b[i], MaskedAlpha(mask[i], alpha));
        out[i] = static_cast<T>((mixed & color[lane]) | ((a[i] | b[i]) & derived[lane]) | fill[lane]);
    });
}

}  // namespace

CompositeRows const g_oCompositeRows{OverWithMask<u8>, OverWithMask<u16>};

QZIL_ROWS_END
