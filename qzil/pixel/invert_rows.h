#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

struct InvertClassAttributes {
    int iSamples;  ///< per pixel
    int iLuma;     ///< place of luma in a 4:2:2 pixel
};

struct InvertRows {
    /// RGBA and mono; 4:2:2.
    kernel::ByType<kernel::TypedRow<InvertClassAttributes>> oProcessRGBA;
    kernel::ByType<kernel::TypedRow<InvertClassAttributes>> oProcessYCC422;
};
QZIL_ROW_TABLE(InvertRows)

}  // namespace qzil
