#include "qzil/pixel/composite_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Mask times alpha: in 8 bits the rounded table product, which gives alpha itself at 255; in 16 bits a truncated
/// quotient, which gives alpha itself at 65535.
QZIL_INLINE u16 MaskedAlpha(u16 mask, u16 alpha) {
    return WideNormMult(mask, alpha);
}
QZIL_INLINE u32 MaskedAlpha(u32 mask, u32 alpha) {
    return mask * alpha / 65535u;
}
QZIL_INLINE u16 Mix(u16 a, u16 b, u16 w) {
    return WideMixNormMult(a, b, w);
}
QZIL_INLINE u32 Mix(u32 a, u32 b, u32 w) {
    return WideMix16(a, b, w);
}

template <class T>
void OverWithMask(Row const& row, CompositeConstants<T> const& c) {
    using Value = typename Widened<T>::Value;
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    T const* const mask = In<T>(row.pMask);
    Value const alpha = c.oAlpha;
    T const none{}, full = static_cast<T>(~T{0});
    Lanes<T> const color(full, full, full, none);
    Lanes<T> const derived(none, none, none, c.oDerived);
    Lanes<T> const fill(none, none, none, c.oFill);
    auto const over = [=](Value x, Value y, Value m, Value colorBits, Value derivedBits, Value fillBits) {
        Value const mixed = Mix(x, y, MaskedAlpha(m, alpha));
        return static_cast<Value>((mixed & colorBits) | ((x | y) & derivedBits) | fillBits);
    };
    ForPairs(4 * row.iPixels, [=, &color, &derived, &fill](int i, int lane, auto which) {
        Store(which, out + i,
              Each(over, Load(which, a + i), Load(which, b + i), Load(which, mask + i), Load(which, color.At(lane)),
                   Load(which, derived.At(lane)), Load(which, fill.At(lane))));
    });
}

}  // namespace

CompositeRows const g_oCompositeRows{OverWithMask<u8>, OverWithMask<u16>};

QZIL_ROWS_END
