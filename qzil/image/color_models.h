#pragma once

#include "qzil/image/core_values.h"

namespace qzil {

/// Three components of a colour.
struct Triple {
    double c[3];
};

/// Components of an RGB colour in a model; false for a model that has no three-component form here.
bool ToModel(Triple const& rgb, XFColorModel model, Triple& out);
bool FromModel(Triple const& in, XFColorModel model, Triple& rgb);

}  // namespace qzil
