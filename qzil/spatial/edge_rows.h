#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// The 3 x 3 operators, by their place in the table.
enum EdgeOperator : unsigned {
    kRoberts,
    kSobel,
    kRobertsAngle,
    kSobelAngle,
    kLaplace4,
    kLaplace8,
    kGradient,                ///< the first of eight directions
    kEmboss = kGradient + 8,  ///< the first of eight directions
    kEdgeOperators = kEmboss + 8,
};

struct EdgeConstants {
    std::ptrdiff_t iLineStep;  ///< bytes from an input line to the next
    int iSamples;              ///< per pixel
    int iThreshold;            ///< responses up to it give 0
    int iBias;
    unsigned uFirst;  ///< operator of bit 0
    unsigned uSet;    ///< one bit per operator, not 0
};

struct EdgeRows {
    kernel::TypedRow<EdgeConstants> pRow8, pRow16;
    /// Writes 0, or where the mask is 0 the passed pixel.
    kernel::TypedRow<EdgeConstants> pClear8, pClear16;
};
QZIL_ROW_TABLE(EdgeRows)

}  // namespace qzil
