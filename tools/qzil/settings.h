#pragma once

#include "catalog/catalog.h"
#include "media/picture.h"
#include "media/y4m_header.h"
#include "progress.h"
#include "qzil/image/core_values.h"
#include "track.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace qzil::command {

/// What a user asks of the files that are read and written.
struct FileSettings {
    media::ReadOptions oRead;
    bool bPageGiven = false;
    media::WriteOptions oWrite;
    std::optional<int> oDepth;  ///< bits of the samples that are written: 8, 16 or 32
};

/// What a user asks of a sequence of frames.
struct SequenceSettings {
    int iJobs = 1;
    std::optional<long long> oFrames;
    bool bShortest = false;
    Progress::Mode eProgress = Progress::Mode::kAuto;
    std::string sMatrix;  ///< 601, 709, or empty for what the size says
    std::optional<media::Y4mRatio> oRate;
    std::string sEncode;  ///< options of the program that encodes videos
};

/// What a user asks of an effect. Coordinates are those of the shown picture: from the top left, y downward.
struct Settings {
    catalog::Entry const* pEntry = nullptr;
    std::vector<std::string> oInputs;          ///< "-" is the standard input, and behind `then` the result before
    std::vector<std::string> oFurtherInputs;   ///< of the ports that may be absent; empty for those that are
    std::vector<std::string> oFurtherOutputs;  ///< the same of outputs
    std::string sMask;
    std::string sOnto;                    ///< picture that the effect writes into
    std::vector<catalog::Value> oValues;  ///< one for each parameter, at the first frame
    std::vector<Track> oTracks;           ///< of parameters that change
    std::optional<GUID> oFormat;          ///< in which the effect works; of a conversion the one that it takes
    std::optional<GUID> oToFormat;        ///< that a conversion makes
    std::optional<qzILBbox2l> oMaskRect;
    std::optional<qzILBbox2l> oRoi;
    std::optional<qzILVector2l> oOffset;
    std::optional<qzILVector2l> oSize;
    qzILVector2l oInputOffset;
    std::vector<PlaceTrack> oPlaces;  ///< of regions and points that change
    std::optional<bool> oDominantB;
    std::string sChannels = "7";  ///< letters of rgba, or the bits as a number
    std::optional<bool> oEvenField;
    qzILColor oDefaultColor;
    bool bClamp = false;

    bool Changes() const { return !oTracks.empty() || !oPlaces.empty(); }
};

/// What a user asks of a run: effects one after the other, and their files.
struct RunSettings {
    std::vector<Settings> oStages;
    std::string sOutput;
    FileSettings oFiles;
    SequenceSettings oSequence;
    std::string sManifest;
    bool bResume = false;
    std::optional<int> oStart;  ///< first number of a numbered sequence
    bool bSmooth = false;       ///< between keyframes
    bool bTime = false;
    bool bJson = false;  ///< results as JSON
    bool bDryRun = false;
    bool bVerbose = false;

    /// The last effect finds numbers instead of making an image.
    bool FindsNumbers() const { return oStages.back().pEntry->IsSink(); }
    std::string const& Name() const { return oStages[0].pEntry->sName; }
    bool Changes() const;
};

/// Reads the arguments of `qzil run`, from the name of the effect on. Nothing when only help was asked for, and
/// printed. Throws Failure.
std::optional<RunSettings> ParseSettings(std::vector<std::string> const& arguments);

/// The bits of a processing mode that `channels` names, for the channel order of a format; nothing for other texts.
std::optional<unsigned> ChannelBits(std::string const& channels, GUID const& format);

}  // namespace qzil::command
