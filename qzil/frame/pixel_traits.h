#pragma once

#include "qzil/image/formats.h"
#include "qzil/kernel/row.h"

namespace qzil {

/// What a walk has to know of a pixel format: four samples of RGBA, one of mono, two of a 4:2:2 pixel. Channel bits
/// count for RGBA only. `mix8` is the effect's mix rule for 8-bit formats. A sample size of 0 for formats of no such
/// layout.
kernel::RowTraits PixelTraits(GUID const& format, kernel::MixRule mix8);

/// What a walk has to know of the formats that value functions and look-up tables serve: the 8- and 16-bit RGBA and
/// mono formats; a sample size of 0 for all others.
kernel::RowTraits OperationTraits(GUID const& format);

/// The entry of a table for a channel type; null for a type that has none.
template <class T>
T const* EntryFor(kernel::ByType<T> const& table, XFChannelType type) {
    switch (type) {
        case XFChannelTypeUInt8: return &table.oUInt8;
        case XFChannelTypeUInt16: return &table.oUInt16;
        case XFChannelTypeS2_14: return &table.oS2_14;
        case XFChannelTypeFloat: return &table.oFloat;
        default: return nullptr;
    }
}

}  // namespace qzil
