#pragma once

#include "settings.h"

#include <optional>
#include <span>
#include <vector>

namespace qzil::command {

/// The formats of an effect's inputs and of its output.
struct StageFormats {
    GUID oIn{};
    GUID oOut{};
};

/// Bits of a channel: 8, 16 (S2.14 included) or 32.
int DepthOfFormat(GUID const& format);

/// Whether the effect works in the format with these values: some of them are for some of its formats only.
bool Works(Settings const& settings, StageFormats const& formats);

/// The formats for pictures of a depth: that depth, or the next deeper, or the deepest below. Masks and grey are
/// looked at. Throws Failure when pictures have no way into any of them.
StageFormats FormatsForPictures(Settings const& settings, int depth, bool grey);

/// The formats for frames that come in a first format and can be had in all of `own`: the first that the effect works
/// in, else the one that keeps the most of those that conversions lead to and back from.
StageFormats FormatsForFrames(Settings const& settings, std::span<GUID const> own);

}  // namespace qzil::command
