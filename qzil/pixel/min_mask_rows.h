#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// RGBA times mask. The context is not used.
struct MinMaskRows {
    void (*pProcess8)(kernel::Row const& row, void const* context);
    void (*pProcessS2_14)(kernel::Row const& row, void const* context);
    void (*pProcessFloat)(kernel::Row const& row, void const* context);
};
QZIL_ROW_TABLE(MinMaskRows)

}  // namespace qzil
