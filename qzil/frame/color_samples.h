#pragma once

#include "qzil/image/color.h"
#include "qzil/kernel/operation.h"

namespace qzil {

/// The YCC model of a format: Rec. 601 or, for all others, Rec. 709.
XFColorModel YccModelOf(FormatRow const& format);

/// A colour in the samples of a call's pixels: the four channels of RGBA, its mono value four times, or the samples of
/// a pair of 4:2:2. Float samples have full scale 1.0.
template <class T>
Channels<T> ColorSamples(qzILColor const& color, kernel::Call const& call);
template <>
Channels<u8> ColorSamples<u8>(qzILColor const& color, kernel::Call const& call);
template <>
Channels<u16> ColorSamples<u16>(qzILColor const& color, kernel::Call const& call);
template <>
Channels<float> ColorSamples<float>(qzILColor const& color, kernel::Call const& call);

}  // namespace qzil
