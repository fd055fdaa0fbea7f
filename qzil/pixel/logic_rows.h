#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Values of a pixel: its bytes for bitwise rows, its samples for the others.
struct PixelValues {
    int iValues;
};

/// A colour in the samples of a format, mono and 8 bits repeated.
struct OperandWords {
    u16 aWords[4];
    int iPixelBytes;
};

struct LogicRows {
    kernel::TypedRow<PixelValues> pAnd, pOr, pXOr;
    kernel::TypedRow<PixelValues> pDistance8, pDistance16, pMax8, pMax16, pMin8, pMin16;
    kernel::TypedRow<OperandWords> pMonadicAnd, pMonadicOr;
};
QZIL_ROW_TABLE(LogicRows)

}  // namespace qzil
