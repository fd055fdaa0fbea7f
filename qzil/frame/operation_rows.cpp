#include "qzil/frame/operation_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Channel by channel: those that are not selected pass through, and their tables may be absent.
template <class T, class LookUp>
QZIL_INLINE void ByChannel(Row const& row, T const* const* tables, LookUp lookUp) {
    T* const out = Out<T>(row.pOut);
    T const* const pass = In<T>(row.pPass);
    int const channels = row.iSamples / row.iPixels, samples = row.iSamples;
    for (int channel = 0; channel < channels; ++channel) {
        T const* const table = tables[channel];
        if (channels == 1 || (row.uSelected >> channel & 1) != 0) {
            for (int i = channel; i < samples; i += channels) out[i] = table[lookUp(i)];
        } else {
            for (int i = channel; i < samples; i += channels) out[i] = pass[i];
        }
    }
}

template <class T>
void LutRow(Row const& row, Lut<T> const& rule) {
    T const* const a = In<T>(row.pA);
    if (row.iSamples == row.iPixels || row.uSelected != 15) {
        return ByChannel(row, rule.apTables, [=](int i) { return a[i]; });
    }
    T* const out = Out<T>(row.pOut);
    int const samples = row.iSamples;
    T const *const t0 = rule.apTables[0], *const t1 = rule.apTables[1], *const t2 = rule.apTables[2],
                   *const t3 = rule.apTables[3];
    for (int i = 0; i < samples; i += 4) {
        T const r0 = t0[a[i]], r1 = t1[a[i + 1]], r2 = t2[a[i + 2]], r3 = t3[a[i + 3]];
        out[i] = r0;
        out[i + 1] = r1;
        out[i + 2] = r2;
        out[i + 3] = r3;
    }
}

void PairLutRow(Row const& row, PairLut<u8> const& rule) {
    u8 const* const a = In<u8>(row.pA);
    u8 const* const b = In<u8>(row.pB);
    ByChannel(row, rule.apTables, [=](int i) { return b[i] * 256 + a[i]; });
}

constexpr With kTables{.uLayouts = kGraphics, .eSelection = Selection::Row};

}  // namespace

kernel::Operation<Lut, u8, u16> const g_oLut =
    kStretch<Lut, u8, LutRow<u8>, kTables> | kStretch<Lut, u16, LutRow<u16>, kTables>;
kernel::Operation<PairLut, u8> const g_oPairLut = kStretch<PairLut, u8, PairLutRow, kTables>;
kernel::Operation<PairFunction, u8, u16> const g_oPairFunction = kCompose<PairFunction, With{}, u8, u16>;

QZIL_ROWS_END
