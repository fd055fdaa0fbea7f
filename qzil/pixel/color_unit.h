#pragma once

#include "qzil/image/color.h"
#include "qzil/image/formats.h"
#include "qzil/image/pixel_math.h"

namespace qzil {

/// A colour as the four samples of two 4:2:2 pixels.
template <class T>
struct Unit422 {
    T aSamples[4];
};

/// The YCC model of a format: Rec. 601 or, for all others, Rec. 709.
XFColorModel YccModelOf(GUID const& format);

/// 8-bit samples in the order of the format.
Unit422<u8> ColorUnit8(qzILColor const& color, GUID const& format);

/// Float samples, times a scale, in the order Cb, Y, Cr, Y.
Unit422<float> ColorUnitFloat(qzILColor const& color, GUID const& format, float scale);

}  // namespace qzil
