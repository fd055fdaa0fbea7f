#pragma once

#include "catalog/catalog.h"
#include "qzil/image/core_values.h"

#include <optional>
#include <string>
#include <vector>

namespace qzil::command {

/// What a user asks of an effect. Coordinates are those of the shown picture: from the top left, y downward.
struct Settings {
    catalog::Entry const* pEntry = nullptr;
    std::vector<std::string> oInputs;
    std::string sOutput;
    std::string sMask;
    std::vector<catalog::Value> oValues;  ///< one for each parameter
    std::optional<GUID> oFormat;
    std::optional<qzILBbox2l> oMaskRect;
    std::optional<qzILBbox2l> oRoi;
    std::optional<qzILVector2l> oOffset;
    std::optional<qzILVector2l> oSize;
    qzILVector2l oInputOffset;
    std::optional<bool> oDominantB;
    std::string sChannels = "7";  ///< letters of rgba, or the bits as a number
    std::optional<bool> oEvenField;
    qzILColor oDefaultColor;
    bool bTime = false;
};

/// Reads the arguments of `qzil run EFFECT`. Nothing when only help was asked for, and printed. Throws Failure.
std::optional<Settings> ParseSettings(catalog::Entry const& entry, std::vector<std::string> const& arguments);

/// The formats that both the effect and pictures have.
std::vector<GUID> UsableFormats(catalog::Entry const& entry);
/// The bits of a processing mode that `channels` names, for the channel order of a format; nothing for other texts.
std::optional<unsigned> ChannelBits(std::string const& channels, GUID const& format);

}  // namespace qzil::command
