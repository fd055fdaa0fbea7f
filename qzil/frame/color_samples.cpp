#include "qzil/frame/color_samples.h"

#include "qzil/image/format_row.h"

namespace qzil {

namespace {

/// y, cb and cr in the places of a pair.
template <class T>
Channels<T> PairSamples(T const* ycc, kernel::Layout layout) {
    bool const chromaFirst = layout == kernel::Layout::ChromaFirst || layout == kernel::Layout::ChromaFirstAlpha;
    if (chromaFirst) return {{ycc[1], ycc[0], ycc[2], ycc[0]}};
    return {{ycc[0], ycc[1], ycc[0], ycc[2]}};
}

}  // namespace

XFColorModel YccModelOf(FormatRow const& format) {
    return format.Is601() ? XFColorModelYCC601 : XFColorModelYCC709;
}

template <>
Channels<u8> ColorSamples<u8>(qzILColor const& color, kernel::Call const& call) {
    Channels<u8> samples{};
    if (call.eLayout == kernel::Layout::Rgba) {
        color.GetColorAs32(samples.aValues, XFColorModelRGB);
    } else if (call.eLayout == kernel::Layout::Mono) {
        color.GetColorAs8(samples.aValues, XFColorModelMono);
        for (u8& value : samples.aValues) value = samples.aValues[0];
    } else {
        u8 ycc[4] = {};
        color.GetColorAs24(ycc, YccModelOf(*call.pFormat));
        samples = PairSamples(ycc, call.eLayout);
    }
    return samples;
}

template <>
Channels<u16> ColorSamples<u16>(qzILColor const& color, kernel::Call const& call) {
    Channels<u16> samples{};
    if (call.eLayout == kernel::Layout::Mono) {
        color.GetColorAs16(samples.aValues, XFColorModelMono);
        for (u16& value : samples.aValues) value = samples.aValues[0];
    } else {
        color.GetColorAs64(samples.aValues, XFColorModelRGB);
    }
    return samples;
}

template <>
Channels<float> ColorSamples<float>(qzILColor const& color, kernel::Call const& call) {
    Channels<float> samples{};
    if (call.eLayout == kernel::Layout::Rgba) {
        color.GetColorAsFloat(samples.aValues, XFColorModelRGB);
    } else if (call.eLayout == kernel::Layout::Mono) {
        for (float& value : samples.aValues) color.GetColorAsMonoFloat(&value, XFColorModelMono);
    } else {
        float ycc[4] = {};
        color.GetColorAsFloat(ycc, YccModelOf(*call.pFormat));
        samples = PairSamples(ycc, call.eLayout);
    }
    return samples;
}

}  // namespace qzil
