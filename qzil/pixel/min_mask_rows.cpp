#include "qzil/pixel/min_mask_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Applies a rule to a value, its mask value, and whether it is alpha.
template <class T, class Rule>
QZIL_INLINE void Process(Row const& row, Rule rule) {
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    void const* const mask = row.pMask;
    Lanes<T> const alpha(0, 0, 0, 1);
    WithMaskLayout(row, [&](auto layout) {
        ForPairs(4 * row.iPixels, [=, &alpha](Place at, auto which) {
            auto const m = LoadMask<T>(which, layout, mask, at);
            Store(which, out + at.i, Each(rule, Load(which, in + at.i), m, Load(which, alpha.At(at.iLane))));
        });
    });
}

/// Both rules give 0 for an empty mask and the value for a full one.
void Process8(Row const& row, void const*) {
    Process<u8>(row, [](u16 v, u16 m, u16 alpha) { return alpha != 0 ? Min(m, v) : WideMix257(0, v, m); });
}

/// S2.14 alpha may lie outside 0 to full scale, where the smaller value is not the end's.
void ProcessS2_14(Row const& row, void const*) {
    Process<s16>(row, [](s32 v, s32 mask, s32 alpha) {
        s32 const m = Clamp(mask, 0, 16384);
        s32 const least = m == 16384 ? v : m == 0 ? 0 : Min(m, v);
        return alpha != 0 ? least : WideMixS2_14(0, v, m);
    });
}

void ProcessFloat(Row const& row, void const*) {
    float* const out = Out<float>(row.pOut);
    float const* const in = In<float>(row.pA);
    float const* const mask = In<float>(row.pMask);
    Lanes<s32> const alpha(0, 0, 0, 1);
    ForLanes(4 * row.iPixels, [=, &alpha](int i, int lane) {
        float const v = in[i], m = mask[i];
        float const between = alpha[lane] != 0 ? Min(m, v) : v * m;
        out[i] = m >= 1.0f ? v : m <= 0.0f ? 0.0f : between;
    });
}

}  // namespace

MinMaskRows const g_oMinMaskRows{Process8, ProcessS2_14, ProcessFloat};

QZIL_ROWS_END
