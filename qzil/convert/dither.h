#pragma once

#include "qzil/transform/numeric/random_number.h"

namespace qzil {

/// Prepares the generator of a dithered conversion: a fixed seed for every call, so that equal images give equal bytes.
inline void StartDither(qzILRandomNumber& random) {
    random.SetUniform(0.0f, 1.0f);
    random.SetFixedSeed(1234569871);
}

}  // namespace qzil
