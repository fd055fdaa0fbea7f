#pragma once

#include "qzil/convert/ycc_fixed_rows.h"
#include "qzil/convert/ycc_float_rows.h"
#include "qzil/image/formats.h"

namespace qzil {

/// Channel types as conversions tell them apart.
enum class Sample { U8, S2_14, W10_6, Float, None };
Sample SampleOf(GUID const& format);

/// The bytes of a pair in a 4:2:2 format of 8 bits.
PairOrder PairOrderOf(GUID const& format);

/// The constants of a conversion from RGB to YCC, by the formats on both sides. Luma and chroma have the weights of
/// Rec. 601 or 709, chosen by the output. `dithers` leaves the rounding out of the fixed-point offsets.
RgbToPairs RgbToPairsOf(GUID const& input, GUID const& output, bool filter, bool dithers);
RgbToYcc RgbToYccOf(GUID const& input, GUID const& output, bool filter);

/// The constants of a conversion from YCC to RGB, chosen by the input's standard.
PairsToRgb PairsToRgbOf(GUID const& input, GUID const& output, bool interpolate);
YccToRgb YccToRgbOf(GUID const& input, GUID const& output, bool interpolate);

/// Where black, full luma and neutral chroma lie in a sample of YCC, and the value of a full alpha.
struct YccScale {
    double dfY, dfC, dfBlack, dfNeutral, dfAlpha;
};
/// At video levels, or at full range, which only 8-bit and 10.6 samples tell apart.
YccScale YccScaleOf(Sample sample, bool fullRange = false);

/// The row of a table for a target; null for none.
template <class Constants>
kernel::TypedConvertRow<Constants> RowFor(ByTarget<Constants> const& rows, Sample target) {
    switch (target) {
        case Sample::U8: return rows.pU8;
        case Sample::S2_14: return rows.pS2_14;
        case Sample::W10_6: return rows.pW;
        case Sample::Float: return rows.pFloat;
        default: return nullptr;
    }
}

}  // namespace qzil
