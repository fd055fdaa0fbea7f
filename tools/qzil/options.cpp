#include "options.h"

#include "qzil/image/formats.h"
#include "qzil/kernel/levels.h"
#include "video_options.h"

#include <sys/resource.h>
#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace qzil::command {

namespace {

/// Far beyond any picture, and far from the end of the numbers.
constexpr int kFarthest = 1 << 20;
constexpr char kFileGroup[] = "Files", kRunGroup[] = "Every run", kEffectGroup[] = "Every effect";

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

int Whole(std::string const& text, int least, int most) {
    auto const number = ParseIntegers<1>(text);
    if (number && (*number)[0] >= least && (*number)[0] <= most) return (*number)[0];
    throw Takes{"a whole number from " + std::to_string(least) + " to " + std::to_string(most)};
}

/// The place of a text among words.
std::size_t Word(std::string const& text, std::initializer_list<char const*> words) {
    auto const found = std::find(words.begin(), words.end(), text);
    if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
    std::string names;
    for (auto word = words.begin(); word != words.end(); ++word) {
        names += (word == words.begin() ? "" : word + 1 == words.end() ? " or " : ", ") + std::string(*word);
    }
    throw Takes{names};
}

std::array<int, 4> Box(std::string const& text) {
    auto const values = ParseIntegers<4>(text);
    if (values && (*values)[2] >= 1 && (*values)[3] >= 1) return *values;
    throw Takes{"X,Y,W,H in whole pixels from the top left, with W and H from 1"};
}

std::array<int, 2> Place(std::string const& text) {
    if (auto const values = ParseIntegers<2>(text)) return *values;
    throw Takes{"X,Y in whole pixels from the top left"};
}

/// A region or a point, or one that changes: the first value counts for checks.
template <class Read>
auto MaybeKeys(Settings& settings, PlaceTrack::Place place, std::string const& text, Read read) {
    bool const changes = text.find("..") != std::string::npos || text.find(':') != std::string::npos;
    auto const keys = changes ? SplitKeys(text, false) : std::nullopt;
    if (!keys) return read(text);
    PlaceTrack track{place, {}};
    for (auto const& [frame, part] : *keys) {
        auto const values = read(part);
        track.oKeys.oKeys.push_back({frame, std::vector<double>(values.begin(), values.end())});
    }
    settings.oPlaces.push_back(track);
    return read(keys->front().second);
}

qzILBbox2l AsBox(std::array<int, 4> const& box) {
    return {box[0], box[1], box[2], box[3]};
}

qzILVector2l AsPlace(std::array<int, 2> const& place) {
    return {place[0], place[1]};
}

GUID Format(std::string const& name, std::vector<GUID> const& known) {
    auto const format = FormatNamed(name);
    if (format && Contains(known, *format)) return *format;
    std::string possible;
    for (GUID const& one : known) possible += (possible.empty() ? "one of " : ", ") + std::string(FormatName(one));
    throw Takes{possible};
}

/// The formats of an effect, or of one side of a conversion.
std::vector<GUID> FormatsOf(catalog::Entry const& entry, bool to) {
    std::vector<GUID> formats;
    if (entry.oPairs.empty()) formats.assign(entry.oFormats.begin(), entry.oFormats.end());
    for (catalog::FormatPair const& pair : entry.oPairs) {
        GUID const& format = to ? pair.oTo : pair.oFrom;
        if (!Contains(formats, format)) formats.push_back(format);
    }
    return formats;
}

void ForceLevel(std::string const& text) {
    constexpr char const* kLevels[] = {"baseline", "v3", "v4"};
    auto const level = static_cast<kernel::CpuLevel>(Word(text, {kLevels[0], kLevels[1], kLevels[2]}));
    if (kernel::ForceCpuLevel(level)) return;
    std::string const highest = kLevels[static_cast<int>(kernel::HighestCpuLevel())];
    throw Takes{"at most " + highest + ": this processor or build has no more"};
}

/// Allocations beyond it fail, which every reader and effect answers with a sentence.
void LimitMemory(std::string const& text) {
    unsigned long long bytes = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), bytes);
    std::string const unit(end, text.data() + text.size());
    int const shift = unit == "K" ? 10 : unit == "M" ? 20 : unit == "G" ? 30 : -1;
    if (error != std::errc() || shift < 0 || bytes == 0 || bytes > 1ull << 20) throw Takes{"a size such as 500M or 2G"};
    rlimit limit{};
    getrlimit(RLIMIT_DATA, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, bytes << shift);
    setrlimit(RLIMIT_DATA, &limit);
}

bool TakesTwo(catalog::Entry const& entry) {
    return entry.HasTwoInputs();
}
bool Converts(catalog::Entry const& entry) {
    return !entry.oPairs.empty();
}
bool HasBackground(catalog::Entry const& entry) {
    return entry.FindParameter("background") != nullptr;
}
bool HasNoBackground(catalog::Entry const& entry) {
    return !HasBackground(entry);
}

void ReadDefaultColor(Settings& settings, std::string const& text) {
    try {
        settings.oDefaultColor = catalog::ParseColor(text);
    } catch (std::invalid_argument const&) {
        throw Takes{"a colour: r,g,b or r,g,b,a from 0 to 1, or #rrggbb or #rrggbbaa"};
    }
}

using File = FileSettings;
using Run = RunSettings;
using Texts = std::string const&;

constexpr OptionRow<File> kInputRows[] = {
    {"--page", kFileGroup, "Which picture of a file of several, from 1 (the default)",
     [](File& file, Texts text) {
         file.oRead.iPage = Whole(text, 1, 65536);
         file.bPageGiven = true;
     }},
    {"--no-orient", kFileGroup, "Keep pictures as they are stored instead of turning them upright",
     [](File& file, Texts) { file.oRead.bOrient = false; }, true},
    {"--memory", kFileGroup, "Give up beyond this much memory, such as 500M or 2G",
     [](File&, Texts text) { LimitMemory(text); }},
    {"--quiet", kFileGroup, "No notes on the error output", [](File&, Texts) { SilenceNotes(); }, true},
};

constexpr OptionRow<File> kOutputRows[] = {
    {"--depth", kFileGroup, "8, 16 or float: samples of the output (default: the deepest input's)",
     [](File& file, Texts text) {
         file.oDepth = 8 << Word(text, {"8", "16", "float"});
     }},
    {"--quality", kFileGroup, "1 to 100, of JPEG (default 90) and WebP (default: without loss)",
     [](File& file, Texts text) { file.oWrite.oQuality = Whole(text, 1, 100); }},
    {"--sampling", kFileGroup, "Chroma of JPEG: 420 (the default), 422 or 444",
     [](File& file, Texts text) {
         file.oWrite.eSampling = static_cast<media::ChromaSampling>(Word(text, {"420", "422", "444"}));
     }},
    {"--progressive", kFileGroup, "JPEG that shows early", [](File& file, Texts) { file.oWrite.bProgressive = true; },
     true},
    {"--compression", kFileGroup, "0 to 9, of PNG: from fast to small (default 6)",
     [](File& file, Texts text) { file.oWrite.oCompression = Whole(text, 0, 9); }},
    {"--strip", kFileGroup, "Leave out profile, resolution, gamma and EXIF data",
     [](File& file, Texts) { file.oWrite.bStrip = true; }, true},
    {"--no-clobber", kFileGroup, "Never replace a file", [](File& file, Texts) { file.oWrite.bKeepOld = true; }, true},
};

constexpr OptionRow<Run> kRunRows[] = {
    {"-o,--output", kRunGroup, "File to write; {name}, {n} or %04d in it make one for each input",
     [](Run& run, Texts text) { run.sOutput = text; }},
    {"--jobs", kRunGroup, "Frames or pictures to work on side by side (default 1)",
     [](Run& run, Texts text) { run.oSequence.iJobs = Whole(text, 1, 256); }},
    {"--frames", kRunGroup, "Number of frames to make",
     [](Run& run, Texts text) { run.oSequence.oFrames = Whole(text, 1, kFarthest); }},
    {"--start", kRunGroup, "First number of a numbered sequence (default: the lowest there is)",
     [](Run& run, Texts text) { run.oStart = Whole(text, 0, kFarthest); }},
    {"--ease", kRunGroup, "Way between keyframes: linear (the default) or smooth",
     [](Run& run, Texts text) {
         run.bSmooth = Word(text, {"linear", "smooth"}) == 1;
     }},
    {"--manifest", kRunGroup, "File that gets a line for each output: name, size, hash, seconds",
     [](Run& run, Texts text) { run.sManifest = text; }},
    {"--resume", kRunGroup, "Leave out outputs that the manifest has and that are as it says",
     [](Run& run, Texts) { run.bResume = true; }, true},
    {"--json", kRunGroup, "Print what the effect finds as JSON", [](Run& run, Texts) { run.bJson = true; }, true},
    {"--time", kRunGroup, "Print the effect's time", [](Run& run, Texts) { run.bTime = true; }, true},
    {"--dry-run", kRunGroup, "Tell what would be done, and do nothing", [](Run& run, Texts) { run.bDryRun = true; },
     true},
    {"--verbose", kRunGroup, "Tell formats and sizes on the error output", [](Run& run, Texts) { run.bVerbose = true; },
     true},
    {"--progress", kRunGroup, "auto, bar, lines, json or off, on the error output",
     [](Run& run, Texts text) {
         auto const mode = Progress::ParseMode(text);
         if (!mode) throw Takes{"auto, bar, lines, json or off"};
         run.oSequence.eProgress = *mode;
     }},
    {"--shortest", "Video", "End with the shortest video", [](Run& run, Texts) { run.oSequence.bShortest = true; },
     true},
    {"--rate", "Video", "Frames a second of a video made of pictures (default 25)",
     [](Run& run, Texts text) {
         run.oSequence.oRate = ParseRate(text);
         if (!run.oSequence.oRate) throw Takes{"frames a second, such as 25 or 30000:1001"};
     }},
    {"--matrix", "Video", "601 or 709 (default 709 from 1280 columns or 720 lines on)",
     [](Run& run, Texts text) {
         Word(text, {"601", "709"});
         run.oSequence.sMatrix = text;
     }},
    {"--encode", "Video", "Options of ffmpeg for the output, such as \"-c:v libx264 -crf 18\"",
     [](Run& run, Texts text) { run.oSequence.sEncode = text; }},
};

constexpr OptionRow<Settings> kEffectRows[] = {
    {"--format", kEffectGroup, "Working format, such as RGBA_RAW_64 (qzil describe lists them)",
     [](Settings& s, Texts text) { s.oFormat = Format(text, FormatsOf(*s.pEntry, false)); }},
    {"--to", kEffectGroup, "Format that a conversion makes",
     [](Settings& s, Texts text) { s.oToFormat = Format(text, FormatsOf(*s.pEntry, true)); }, false, Converts},
    {"--onto", kEffectGroup, "Picture that the result is put into", [](Settings& s, Texts text) { s.sOnto = text; },
     false, Converts},
    {"--mask", kEffectGroup, "Picture or video whose grey says how much of the effect each pixel gets",
     [](Settings& s, Texts text) { s.sMask = text; }},
    {"--mask-rect", kEffectGroup, "X,Y,W,H: where the mask lies in the first input",
     [](Settings& s, Texts text) { s.oMaskRect = AsBox(MaybeKeys(s, PlaceTrack::Place::kMaskRect, text, Box)); }},
    {"--roi", kEffectGroup, "X,Y,W,H: the region of the first input to work on",
     [](Settings& s, Texts text) { s.oRoi = AsBox(MaybeKeys(s, PlaceTrack::Place::kRoi, text, Box)); }},
    {"--offset", kEffectGroup, "X,Y: where the region goes in the output",
     [](Settings& s, Texts text) { s.oOffset = AsPlace(MaybeKeys(s, PlaceTrack::Place::kOffset, text, Place)); }},
    {"--size", kEffectGroup, "W,H: size of the output (default: the first input's)",
     [](Settings& s, Texts text) {
         auto const size = ParseIntegers<2>(text);
         auto const suits = [](int side) { return side >= 1 && side <= media::kMaxSide; };
         if (!size || !suits((*size)[0]) || !suits((*size)[1])) {
             throw Takes{"W,H in whole pixels from 1 to " + std::to_string(media::kMaxSide)};
         }
         s.oSize = AsPlace(*size);
     }},
    {"--channels", kEffectGroup, "Channels to process: letters of rgba, or bits 0 to 15 (default 7, rgb)",
     [](Settings& s, Texts text) {
         s.sChannels = text;
         if (!ChannelBits(text, MFIF_RGBA_RAW_32)) throw Takes{"letters of rgba, or a number from 0 to 15"};
     }},
    {"--field", kEffectGroup, "even or odd: process only these lines, counted from 0 at the top",
     [](Settings& s, Texts text) {
         s.oEvenField = Word(text, {"odd", "even"}) == 1;
     }},
    {"--background,--default-color", kEffectGroup, "Colour of output pixels that have no input pixel (default 0,0,0,0)",
     ReadDefaultColor, false, HasNoBackground},
    // An effect's own background comes first; the default colour has a name of its own beside it.
    {"--default-color", kEffectGroup, "Colour of output pixels that have no input pixel (default 0,0,0,0)",
     ReadDefaultColor, false, HasBackground},
    {"--clamp", kEffectGroup, "Limit results to full scale where the effect would wrap: it works in float",
     [](Settings& s, Texts) { s.bClamp = true; }, true},
    {"--cpu", kEffectGroup, "baseline, v3 or v4: instruction set to use",
     [](Settings&, Texts text) { ForceLevel(text); }},
    {"--input-offset", kEffectGroup, "X,Y: where input b lies in input a (default 0,0)",
     [](Settings& s, Texts text) {
         s.oInputOffset = AsPlace(MaybeKeys(s, PlaceTrack::Place::kInputOffset, text, Place));
     },
     false, TakesTwo},
    {"--dominant", kEffectGroup, "a or b: the input that decides which pixels exist (default a)",
     [](Settings& s, Texts text) {
         s.oDominantB = Word(text, {"a", "b"}) == 1;
     },
     false, TakesTwo},
};

}  // namespace

std::span<OptionRow<FileSettings> const> InputRows() {
    return kInputRows;
}
std::span<OptionRow<FileSettings> const> OutputRows() {
    return kOutputRows;
}
std::span<OptionRow<RunSettings> const> RunRows() {
    return kRunRows;
}
std::span<OptionRow<Settings> const> EffectRows() {
    return kEffectRows;
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

}  // namespace qzil::command
