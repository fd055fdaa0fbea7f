#include "settings.h"

#include "command.h"
#include "qzil/image/formats.h"
#include "qzil/kernel/levels.h"
#include "video_options.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace qzil::command {

namespace {

/// Far beyond any picture, and far from the end of the numbers.
constexpr int kFarthest = 1 << 20;
constexpr int kMostJobs = 256;

/// The options of every effect, as texts; empty when not given.
struct Texts {
    std::string sFormat, sMaskRect, sRoi, sOffset, sSize, sInputOffset, sDominant, sField, sDefaultColor, sCpu;
    std::string sJobs, sFrames, sProgress, sMatrix, sRate;
    std::vector<std::string> oParameters;
};

/// A refusal of an argument: effect, option, value, and what it takes.
Failure Refusal(catalog::Entry const& entry, char const* option, std::string const& text, std::string const& allowed) {
    return Failure(kWrongUsage, entry.sName + ": " + option + " is '" + text + "', but takes " + allowed + ".");
}

template <std::size_t N>
std::optional<std::array<int, N>> ParseIntegers(std::string const& text) {
    std::array<int, N> values{};
    char const* pNext = text.data();
    char const* const pEnd = text.data() + text.size();
    for (std::size_t i = 0; i < N; ++i) {
        auto const [end, error] = std::from_chars(pNext, pEnd, values[i]);
        bool const last = i + 1 == N;
        if (error != std::errc() || std::abs(values[i]) > kFarthest) return {};
        if (last ? end != pEnd : end == pEnd || *end != ',') return {};
        pNext = end + 1;
    }
    return values;
}

std::optional<qzILBbox2l> ParseBox(catalog::Entry const& entry, char const* option, std::string const& text) {
    if (text.empty()) return {};
    auto const values = ParseIntegers<4>(text);
    if (!values || (*values)[2] < 1 || (*values)[3] < 1) {
        throw Refusal(entry, option, text, "X,Y,W,H in whole pixels from the top left, with W and H from 1");
    }
    return qzILBbox2l((*values)[0], (*values)[1], (*values)[2], (*values)[3]);
}

std::optional<qzILVector2l> ParsePlace(catalog::Entry const& entry, char const* option, std::string const& text) {
    if (text.empty()) return {};
    auto const values = ParseIntegers<2>(text);
    if (!values) throw Refusal(entry, option, text, "X,Y in whole pixels from the top left");
    return qzILVector2l((*values)[0], (*values)[1]);
}

std::optional<qzILVector2l> ParseSize(catalog::Entry const& entry, std::string const& text) {
    if (text.empty()) return {};
    auto const values = ParseIntegers<2>(text);
    auto const suits = [](int side) { return side >= 1 && side <= media::kMaxSide; };
    if (!values || !suits((*values)[0]) || !suits((*values)[1])) {
        throw Refusal(entry, "--size", text, "W,H in whole pixels from 1 to " + std::to_string(media::kMaxSide));
    }
    return qzILVector2l((*values)[0], (*values)[1]);
}

/// One of two words: true for the second.
std::optional<bool> ParseWord(catalog::Entry const& entry, char const* option, std::string const& text,
                              char const* first, char const* second) {
    if (text.empty()) return {};
    if (text != first && text != second) {
        throw Refusal(entry, option, text, std::string(first) + " or " + second);
    }
    return text == second;
}

std::optional<GUID> ParseFormat(catalog::Entry const& entry, std::string const& name) {
    if (name.empty()) return {};
    auto const format = FormatNamed(name);
    if (format && Contains(entry.oFormats, *format)) return format;
    std::string possible = "one of";
    for (GUID const& known : entry.oFormats) {
        possible += (possible.ends_with(" of") ? " " : ", ") + std::string(FormatName(known));
    }
    throw Refusal(entry, "--format", name, possible);
}

qzILColor ParseDefaultColor(catalog::Entry const& entry, std::string const& text) {
    try {
        return text.empty() ? qzILColor() : catalog::ParseColor(text);
    } catch (std::invalid_argument const&) {
        throw Refusal(entry, "--default-color", text,
                      "a colour: r,g,b or r,g,b,a from 0 to 1, or #rrggbb or #rrggbbaa");
    }
}

void ForceLevel(catalog::Entry const& entry, std::string const& text) {
    auto const wanted = ParseWord(entry, "--cpu", text, "baseline", "v3");
    if (wanted && !kernel::ForceCpuLevel(*wanted ? kernel::CpuLevel::V3 : kernel::CpuLevel::Baseline)) {
        throw Failure(kWrongUsage, entry.sName + ": --cpu is 'v3', but this processor or build has only baseline.");
    }
}

/// A whole number from 1 to `most`.
std::optional<int> ParseCount(catalog::Entry const& entry, char const* option, std::string const& text, int most) {
    if (text.empty()) return {};
    auto const number = ParseIntegers<1>(text);
    if (!number || (*number)[0] < 1 || (*number)[0] > most) {
        throw Refusal(entry, option, text, "a whole number from 1 to " + std::to_string(most));
    }
    return (*number)[0];
}

SequenceSettings ParseSequence(catalog::Entry const& entry, Texts const& texts) {
    SequenceSettings sequence;
    sequence.iJobs = ParseCount(entry, "--jobs", texts.sJobs, kMostJobs).value_or(1);
    if (auto const frames = ParseCount(entry, "--frames", texts.sFrames, kFarthest)) sequence.oFrames = *frames;
    ParseWord(entry, "--matrix", texts.sMatrix, "601", "709");
    sequence.sMatrix = texts.sMatrix;
    if (!texts.sRate.empty()) sequence.oRate = ParseRate(texts.sRate);
    if (!texts.sRate.empty() && !sequence.oRate) {
        throw Refusal(entry, "--rate", texts.sRate, "frames a second, such as 25 or 30000:1001");
    }
    auto const mode = Progress::ParseMode(texts.sProgress.empty() ? "auto" : texts.sProgress);
    if (!mode) throw Refusal(entry, "--progress", texts.sProgress, "auto, bar, lines, json or off");
    sequence.eProgress = *mode;
    return sequence;
}

std::string InputNames(catalog::Entry const& entry, char const* between) {
    std::string names;
    for (catalog::Input const& input : entry.oInputs) names += (names.empty() ? "" : between) + input.sName;
    return names;
}

void AddText(CLI::App& app, char const* group, char const* name, std::string& text, char const* help) {
    app.add_option(name, text, help)->group(group)->check([](std::string const& value) {
        return value.empty() ? std::string("an empty value is given") : std::string();
    });
}

void AddSequenceOptions(CLI::App& app, Settings& settings, Texts& texts) {
    char const* const video = "Video";
    AddText(app, video, "--jobs", texts.sJobs, "Frames to work on side by side (default 1)");
    AddText(app, video, "--frames", texts.sFrames, "Number of frames to make");
    AddText(app, video, "--rate", texts.sRate, "Frames a second of a video made of pictures (default 25)");
    AddText(app, video, "--matrix", texts.sMatrix, "601 or 709 (default 709 from 1280 columns or 720 lines on)");
    AddText(app, video, "--progress", texts.sProgress, "auto, bar, lines, json or off, on the error output");
    app.add_flag("--shortest", settings.oSequence.bShortest, "End with the shortest video")->group(video);
}

void AddOptions(CLI::App& app, Settings& settings, Texts& texts) {
    catalog::Entry const& entry = *settings.pEntry;
    app.add_option("INPUT", settings.oInputs,
                   "Input pictures or y4m videos, - for the standard input: " + InputNames(entry, " "));
    app.add_option("-o,--output", settings.sOutput,
                   "Picture to write: .png, .tif or .tiff; video: .y4m or - for the standard output")
        ->required();

    texts.oParameters.resize(entry.oParameters.size());
    for (std::size_t i = 0; i < entry.oParameters.size(); ++i) {
        catalog::Parameter const& parameter = entry.oParameters[i];
        std::string const help = parameter.sHelp + " (" + Allowed(parameter) + "; default " + parameter.sDefault + ")";
        app.add_option("--" + parameter.sName, texts.oParameters[i], help)->group("Parameters");
    }

    char const* const frame = "Every effect";
    auto const add = [&](char const* name, std::string& text, char const* help) {
        AddText(app, frame, name, text, help);
    };
    add("--format", texts.sFormat, "Working format, such as RGBA_RAW_64 (qzil describe lists them)");
    add("--mask", settings.sMask, "Picture whose grey says how much of the effect each pixel gets");
    add("--mask-rect", texts.sMaskRect, "X,Y,W,H: where the mask lies in the first input");
    add("--roi", texts.sRoi, "X,Y,W,H: the region of the first input to work on");
    add("--offset", texts.sOffset, "X,Y: where the region goes in the output");
    add("--size", texts.sSize, "W,H: size of the output (default: the first input's)");
    add("--channels", settings.sChannels, "Channels to process: letters of rgba, or bits 0 to 15 (default 7, rgb)");
    add("--field", texts.sField, "even or odd: process only these lines, counted from 0 at the top");
    // An effect's own background comes first; the default colour has a name of its own beside it.
    add(entry.FindParameter("background") ? "--default-color" : "--background,--default-color", texts.sDefaultColor,
        "Colour of output pixels that have no input pixel (default 0,0,0,0)");
    add("--cpu", texts.sCpu, "baseline or v3: instruction set to use");
    app.add_flag("--time", settings.bTime, "Print the effect's time")->group(frame);
    AddSequenceOptions(app, settings, texts);
    if (!entry.HasTwoInputs()) return;
    add("--input-offset", texts.sInputOffset, "X,Y: where input b lies in input a (default 0,0)");
    add("--dominant", texts.sDominant, "a or b: the input that decides which pixels exist (default a)");
}

/// One value, or two around "..": a ramp of a real parameter.
catalog::Value ParseValueOrRamp(Settings& settings, std::size_t index, std::string const& text) {
    catalog::Parameter const& parameter = settings.pEntry->oParameters[index];
    std::size_t const dots = text.find("..");
    if (parameter.eKind != catalog::Kind::Real || dots == std::string::npos) return ParseValue(parameter, text);
    catalog::Value const from = ParseValue(parameter, text.substr(0, dots));
    catalog::Value const to = ParseValue(parameter, text.substr(dots + 2));
    settings.oRamps.push_back({index, std::get<double>(from), std::get<double>(to)});
    return from;
}

void ParseValues(Settings& settings, CLI::App const& app, std::vector<std::string> const& texts) {
    catalog::Entry const& entry = *settings.pEntry;
    try {
        for (std::size_t i = 0; i < entry.oParameters.size(); ++i) {
            catalog::Parameter const& parameter = entry.oParameters[i];
            bool const given = app.count("--" + parameter.sName) != 0;
            settings.oValues.push_back(given ? ParseValueOrRamp(settings, i, texts[i]) : parameter.oDefault);
        }
    } catch (std::invalid_argument const& error) {
        throw Failure(kWrongUsage, error.what());
    }
}

void CheckCounts(Settings const& settings) {
    catalog::Entry const& entry = *settings.pEntry;
    std::size_t const wanted = entry.oInputs.size(), given = settings.oInputs.size();
    if (given != wanted) {
        throw Failure(kWrongUsage, entry.sName + ": " + std::to_string(given) +
                                       (given == 1 ? " input picture is" : " input pictures are") +
                                       " given, but the effect takes " + std::to_string(wanted) + " (" +
                                       InputNames(entry, ", ") + ").");
    }
    if (entry.bMaskRequired && settings.sMask.empty()) {
        throw Failure(kWrongUsage, entry.sName + ": --mask is missing, but this effect needs a mask picture.");
    }
}

}  // namespace

std::vector<GUID> UsableFormats(catalog::Entry const& entry) {
    std::vector<GUID> formats;
    for (GUID const& format : media::WorkingFormats()) {
        if (Contains(entry.oFormats, format)) formats.push_back(format);
    }
    return formats;
}

std::optional<unsigned> ChannelBits(std::string const& channels, GUID const& format) {
    if (auto const number = ParseIntegers<1>(channels)) {
        if ((*number)[0] < 0 || (*number)[0] > 15) return {};
        return static_cast<unsigned>((*number)[0]);
    }
    bool const blueFirst = format == MFIF_BGRA_RAW_32 || format == MFIF_DIB_RAW_32;
    std::string const order = blueFirst ? "bgra" : "rgba";
    unsigned bits = 0;
    for (char const letter : channels) {
        std::size_t const place = order.find(letter);
        if (place == std::string::npos) return {};
        bits |= 1u << place;
    }
    if (bits == 0) return {};
    return bits;
}

std::optional<Settings> ParseSettings(catalog::Entry const& entry, std::vector<std::string> const& arguments) {
    CLI::App app(entry.sSummary, "qzil run " + entry.sName);
    Settings settings;
    Texts texts;
    settings.pEntry = &entry;
    AddOptions(app, settings, texts);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (CLI::Success const& help) {
        app.exit(help);
        return {};
    } catch (CLI::ParseError const& error) {
        throw Failure(kWrongUsage,
                      entry.sName + ": " + error.what() + " (qzil run " + entry.sName + " --help tells more)");
    }
    CheckCounts(settings);
    ParseValues(settings, app, texts.oParameters);
    bool const shortest = settings.oSequence.bShortest;
    settings.oSequence = ParseSequence(entry, texts);
    settings.oSequence.bShortest = shortest;
    settings.oFormat = ParseFormat(entry, texts.sFormat);
    settings.oMaskRect = ParseBox(entry, "--mask-rect", texts.sMaskRect);
    settings.oRoi = ParseBox(entry, "--roi", texts.sRoi);
    settings.oOffset = ParsePlace(entry, "--offset", texts.sOffset);
    settings.oSize = ParseSize(entry, texts.sSize);
    settings.oInputOffset = ParsePlace(entry, "--input-offset", texts.sInputOffset).value_or(qzILVector2l());
    settings.oDominantB = ParseWord(entry, "--dominant", texts.sDominant, "a", "b");
    settings.oEvenField = ParseWord(entry, "--field", texts.sField, "odd", "even");
    settings.oDefaultColor = ParseDefaultColor(entry, texts.sDefaultColor);
    if (!ChannelBits(settings.sChannels, MFIF_RGBA_RAW_32)) {
        throw Refusal(entry, "--channels", settings.sChannels, "letters of rgba, or a number from 0 to 15");
    }
    ForceLevel(entry, texts.sCpu);
    return settings;
}

}  // namespace qzil::command
