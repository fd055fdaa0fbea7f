#include "qzil/pixel/color_unit.h"

namespace qzil {

XFColorModel YccModelOf(GUID const& format) {
    return IsFormat601(format) ? XFColorModelYCC601 : XFColorModelYCC709;
}

Unit422<u8> ColorUnit8(qzILColor const& color, GUID const& format) {
    u8 ycc[4] = {};
    color.GetColorAs24(ycc, YccModelOf(format));
    if (IsFormatAlternateYUV(format)) return {{ycc[1], ycc[0], ycc[2], ycc[0]}};
    return {{ycc[0], ycc[1], ycc[0], ycc[2]}};
}

Unit422<float> ColorUnitFloat(qzILColor const& color, GUID const& format, float scale) {
    float ycc[4] = {};
    color.GetColorAsFloat(ycc, YccModelOf(format));
    return {{ycc[1] * scale, ycc[0] * scale, ycc[2] * scale, ycc[0] * scale}};
}

}  // namespace qzil
