#include "qzil/pixel/output_alpha_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

template <class T, bool kChromaFirst>
void PlaneRow(kernel::Row const& row, void const* constants) {
    OutputAlpha<T> const rule = *static_cast<OutputAlpha<T> const*>(constants);
    T* const out = Out<T>(row.pOut);
    T* const alphaOut = Out<T>(row.pAlphaOut);
    T const* const in = In<T>(row.pAlphaIn);
    constexpr int kLuma = kChromaFirst ? 1 : 0;
    ForEach(row.iPixels, [=](int i) {
        T const v = static_cast<T>(rule.Shown(in[i]));
        out[2 * i + kLuma] = rule.Luma(v);
        out[2 * i + 1 - kLuma] = rule.kNeutral;
        alphaOut[i] = static_cast<T>(rule.Alpha(v));
    });
}

}  // namespace

kernel::Operation<OutputAlpha> const g_oOutputAlpha =
    kPixel<OutputAlpha, With{.eMix8 = kernel::MixRule::Mix257}> |
    RowForms<OutputAlpha, With{.bIgnoresMask = true}, kVideoAlpha>(
        []<kernel::Layout kLayout, class T>() { return PlaneRow<T, IsChromaFirst(kLayout)>; });

QZIL_ROWS_END
