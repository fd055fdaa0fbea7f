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
    void const* const mask = row.pMask;
    Value const alpha = c.oAlpha;
    Value const derived = c.oDerived, fill = c.oFill;
    T const none{}, full = static_cast<T>(~T{0});
    Lanes<T> const color(full, full, full, none);
    auto const over = [=](Value x, Value y, Value m, Value colorBits) {
        Value const mixed = Mix(x, y, MaskedAlpha(m, alpha));
        Value const last = ((x | y) & derived) | fill;
        return static_cast<Value>((mixed & colorBits) | (last & ~colorBits));
    };
    ForPairs(4 * row.iPixels, [=, &color](Place at, auto which) {
        auto const m = LoadMask<T>(which, PerPair{}, mask, at);
        Store(which, out + at.i,
              Each(over, Load(which, a + at.i), Load(which, b + at.i), m, Load(which, color.At(at.iLane))));
    });
}

}  // namespace

CompositeRows const g_oCompositeRows{OverWithMask<u8>, OverWithMask<u16>};

QZIL_ROWS_END
