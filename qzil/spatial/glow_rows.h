#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

struct GlowConstants {
    u32 const* pWeights;  ///< for each luma of 0 to 255 the weight of the glow, in all four bytes
};

struct GlowRows {
    /// First input: the blurred pixels; second input: the source.
    kernel::TypedRow<GlowConstants> pGlow8;
};
QZIL_ROW_TABLE(GlowRows)

}  // namespace qzil
