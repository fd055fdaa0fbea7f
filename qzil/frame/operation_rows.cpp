#include "qzil/frame/operation_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

template <class T>
void Lut(Row const& row, LutConstants<T> const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    int const pixels = row.iPixels;
    T const* const t0 = c.apTables[0];
    if (c.iSamples == 1) {
        for (int i = 0; i < pixels; ++i) out[i] = t0[a[i]];
        return;
    }
    T const* const t1 = c.apTables[1];
    T const* const t2 = c.apTables[2];
    T const* const t3 = c.apTables[3];
    for (int i = 0; i < 4 * pixels; i += 4) {
        T const r0 = t0[a[i]], r1 = t1[a[i + 1]], r2 = t2[a[i + 2]], r3 = t3[a[i + 3]];
        out[i] = r0;
        out[i + 1] = r1;
        out[i + 2] = r2;
        out[i + 3] = r3;
    }
}

void DyadicLut8(Row const& row, DyadicLutConstants const& c) {
    u8* const out = Out<u8>(row.pOut);
    u8 const* const a = In<u8>(row.pA);
    u8 const* const b = In<u8>(row.pB);
    int const samples = row.iPixels * c.iSamples;
    int const channels = c.iSamples;
    for (int channel = 0; channel < channels; ++channel) {
        u8 const* const table = c.apTables[channel];
        for (int i = channel; i < samples; i += channels) out[i] = table[b[i] * 256 + a[i]];
    }
}

template <class T, class Operation>
QZIL_INLINE void Dyadic(Row const& row, DyadicOperation const& c, Operation operation) {
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    int const samples = row.iPixels * c.iSamples;
    for (int i = 0; i < samples; ++i) out[i] = operation(c.pSelf, a[i], b[i]);
}

void Dyadic8(Row const& row, DyadicOperation const& c) {
    Dyadic<u8>(row, c, c.pOperation8);
}

void Dyadic16(Row const& row, DyadicOperation const& c) {
    Dyadic<u16>(row, c, c.pOperation16);
}

}  // namespace

OperationRows const g_oOperationRows{Lut<u8>, Lut<u16>, DyadicLut8, Dyadic8, Dyadic16};

QZIL_ROWS_END
