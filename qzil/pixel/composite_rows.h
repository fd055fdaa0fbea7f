#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// The fourth channel is (A | B) & derived | fill.
template <class T>
struct CompositeConstants {
    T oAlpha;
    T oDerived;
    T oFill;
};

struct CompositeRows {
    kernel::TypedRow<CompositeConstants<u8>> pOver32WithMask;
    kernel::TypedRow<CompositeConstants<u16>> pOver64WithMask;
};
QZIL_ROW_TABLE(CompositeRows)

}  // namespace qzil
