#pragma once

#include "qzil/image/image_helper.h"
#include "qzil/kernel/convert_row.h"

namespace qzil::kernel {

/// A conversion of a box that lies in both images. The helpers are in the box's coordinates. Lines are logical ones,
/// whatever the storage.
struct ConvertWalk {
    qzILImageHelper const* pIn = nullptr;
    qzILImageHelper const* pOut = nullptr;
    qzILBbox2l oBox;
    unsigned uMode = 0;  ///< field bits leave out lines
    /// Asked after each line where the conversion polls; true stops the walk.
    bool (*pStop)(void const* context) = nullptr;
    void const* pStopContext = nullptr;
};

/// Runs a conversion; false, with nothing written, when the images are not laid out as the traits say.
bool RunConversion(ConvertWalk const& walk, ConvertTraits const& traits, ConvertCall const& call);

}  // namespace qzil::kernel
