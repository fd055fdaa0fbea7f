#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

struct OutputAlphaAttributes {
    bool bReverse;
    bool bShown;  ///< the result's alpha is the shown value, else full or zero
    bool bFull;
    int iLuma;  ///< place of luma in a 4:2:2 pixel
};

struct OutputAlphaRows {
    kernel::ByType<kernel::TypedRow<OutputAlphaAttributes>> oProcessRGBA;
    kernel::ByType<kernel::TypedRow<OutputAlphaAttributes>> oProcessYUVA422;
};
QZIL_ROW_TABLE(OutputAlphaRows)

}  // namespace qzil
