#pragma once

#include "qzil/kernel/convert_row.h"
#include "qzil/numeric/random_number.h"

namespace qzil {

/// Prepares the generator of a dithered conversion: a fixed seed for every call, so that equal images give equal bytes.
inline void StartDither(qzILRandomNumber& random) {
    random.SetUniform(0.0f, 1.0f);
    random.SetFixedSeed(1234569871);
}

/// A dithered conversion on its way: every line starts the four running errors of its constants anew.
template <class Constants>
struct DitheredLines {
    qzILRandomNumber& oRandom;
    kernel::TypedConvertRow<Constants> pRow;
    Constants oConstants;
    float aErrors[4];

    static void Row(kernel::ConvertRow const& row, void const* self) {
        auto& lines = *static_cast<DitheredLines*>(const_cast<void*>(self));
        if (row.bLineStart) {
            for (float& error : lines.aErrors) error = lines.oRandom.GetNumber() - 0.5f;
        }
        lines.oConstants.pErrors = lines.aErrors;
        lines.pRow(row, lines.oConstants);
    }
};

}  // namespace qzil
