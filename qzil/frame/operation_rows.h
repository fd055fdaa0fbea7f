#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Four tables from channel value to channel value, one per channel of a pixel.
template <class T>
struct LutConstants {
    T const* apTables[4] = {};
    int iSamples = 4;

    void SetAll(T const* table) { apTables[0] = apTables[1] = apTables[2] = apTables[3] = table; }
};

/// Four tables indexed by b * 256 + a.
struct DyadicLutConstants {
    u8 const* apTables[4] = {};
    int iSamples = 4;
};

/// A value function of two channels.
struct DyadicOperation {
    u8 (*pOperation8)(void const* self, u8 a, u8 b);
    u16 (*pOperation16)(void const* self, u16 a, u16 b);
    void const* pSelf;
    int iSamples;
};

struct OperationRows {
    kernel::TypedRow<LutConstants<u8>> pLut8;
    kernel::TypedRow<LutConstants<u16>> pLut16;
    kernel::TypedRow<DyadicLutConstants> pDyadicLut8;
    kernel::TypedRow<DyadicOperation> pDyadic8;
    kernel::TypedRow<DyadicOperation> pDyadic16;
};
QZIL_ROW_TABLE(OperationRows)

}  // namespace qzil
