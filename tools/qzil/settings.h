#pragma once

#include "catalog/catalog.h"
#include "media/y4m_header.h"
#include "progress.h"
#include "qzil/image/core_values.h"

#include <optional>
#include <string>
#include <vector>

namespace qzil::command {

/// A parameter that runs from one value at the first frame to another at the last.
struct Ramp {
    std::size_t uParameter;
    double dfFrom;
    double dfTo;
};

/// What a user asks of a sequence of frames.
struct SequenceSettings {
    int iJobs = 1;
    std::optional<long long> oFrames;
    bool bShortest = false;
    Progress::Mode eProgress = Progress::Mode::kAuto;
    std::string sMatrix;  ///< 601, 709, or empty for what the size says
    std::optional<media::Y4mRatio> oRate;
};

/// What a user asks of an effect. Coordinates are those of the shown picture: from the top left, y downward.
struct Settings {
    catalog::Entry const* pEntry = nullptr;
    std::vector<std::string> oInputs;
    std::string sOutput;
    std::string sMask;
    std::vector<catalog::Value> oValues;  ///< one for each parameter
    std::vector<Ramp> oRamps;
    SequenceSettings oSequence;
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
