#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

template <class T>
struct Solarize {
    T uThreshold;
    int iSamples;  ///< per pixel
};

struct SolarizeRows {
    kernel::TypedRow<Solarize<u8>> pSolarize8;
    kernel::TypedRow<Solarize<u16>> pSolarize16;
};
QZIL_ROW_TABLE(SolarizeRows)

}  // namespace qzil
