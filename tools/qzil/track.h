#pragma once

#include "catalog/catalog.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qzil::command {

/// Numbers at frames, with even or eased steps between them.
struct Keys {
    struct Key {
        std::optional<long long> oFrame;  ///< the last one of the sequence when there is none
        std::vector<double> oNumbers;
    };
    std::vector<Key> oKeys;

    /// Before the first and behind the last key the numbers stand still.
    std::vector<double> At(long long frame, long long frames, bool smooth) const;
    /// A key asks how many frames there are.
    bool NeedsEnd() const { return !oKeys.back().oFrame; }
};

/// Splits "a..b", or "frame:value" with ';' between (or ',' for single numbers), into frames and values; nothing for
/// other texts. Frames count from 0 and rise.
std::optional<std::vector<std::pair<std::optional<long long>, std::string>>> SplitKeys(std::string const& text,
                                                                                       bool single);

/// A parameter that changes with the frames.
struct Track {
    std::size_t uParameter;
    Keys oKeys;
    /// A value of the parameter's kind.
    catalog::Value At(catalog::Parameter const& parameter, long long frame, long long frames, bool smooth) const;
};

/// The numbers of a value; empty for kinds that have no values between.
std::vector<double> NumbersOf(catalog::Value const& value);

/// A region or a point that changes with the frames.
struct PlaceTrack {
    enum class Place { kRoi, kMaskRect, kOffset, kInputOffset } ePlace;
    Keys oKeys;
    std::array<int, 4> At(long long frame, long long frames, bool smooth) const;
};

}  // namespace qzil::command
