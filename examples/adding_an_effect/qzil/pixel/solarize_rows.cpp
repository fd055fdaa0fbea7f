#include "qzil/pixel/solarize_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

template <class T>
void SolarizeRow(kernel::Row const& row, Solarize<T> const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    T const threshold = c.uThreshold;
    constexpr T kFull = static_cast<T>(~T{0});
    ForEach(row.iPixels * c.iSamples,
            [=](int i) { out[i] = in[i] > threshold ? static_cast<T>(kFull - in[i]) : in[i]; });
}

}  // namespace

SolarizeRows const g_oSolarizeRows{SolarizeRow<u8>, SolarizeRow<u16>};

QZIL_ROWS_END
