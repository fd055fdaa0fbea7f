#include "settings.h"

#include "command.h"
#include "options.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace qzil::command {

namespace {

constexpr std::size_t kDeepestFile = 8;

/// The arguments of a file, apart by blanks or line ends; quotes keep blanks, a '#' starts a comment.
std::vector<std::string> WordsOf(std::string const& path) {
    std::ifstream file(path);
    if (!file) throw Failure(kUnreadable, "cannot read the arguments in '" + path + "'.");
    std::string const text(std::istreambuf_iterator<char>(file), {});
    std::vector<std::string> words;
    std::string word;
    bool inside = false, comment = false;
    char quote = 0;
    for (char const c : text + "\n") {
        bool const blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        if (comment) {
            comment = c != '\n';
        } else if (quote != 0) {
            c == quote ? void(quote = 0) : void(word += c);
        } else if (c == '"' || c == '\'') {
            quote = c;
            inside = true;
        } else if (blank) {
            if (inside) words.push_back(std::exchange(word, ""));
            inside = false;
        } else if (c == '#' && !inside) {
            comment = true;
        } else {
            word += c;
            inside = true;
        }
    }
    if (quote != 0) throw Failure(kWrongUsage, "a quote in '" + path + "' has no end.");
    return words;
}

/// Puts the arguments of @FILE in its place.
std::vector<std::string> Expanded(std::vector<std::string> const& arguments, std::size_t depth = 0) {
    if (depth == kDeepestFile) throw Failure(kWrongUsage, "files of arguments name each other without end.");
    std::vector<std::string> all;
    for (std::string const& argument : arguments) {
        // Kernels read files of their own.
        bool const value = !all.empty() && all.back() == "--kernel";
        if (argument.size() < 2 || argument[0] != '@' || value) {
            all.push_back(argument);
            continue;
        }
        auto const more = Expanded(WordsOf(argument.substr(1)), depth + 1);
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

std::string InputNames(catalog::Entry const& entry, char const* between) {
    std::string names;
    for (catalog::Port const& input : entry.oInputs) {
        if (!input.bOptional) names += (names.empty() ? "" : between) + input.sName;
    }
    return names;
}

/// Images that may be absent have options of their names.
void AddFurther(CLI::App& app, std::vector<catalog::Port> const& ports, std::vector<std::string>& paths,
                char const* what) {
    paths.resize(
        static_cast<std::size_t>(std::count_if(ports.begin(), ports.end(), [](auto& p) { return p.bOptional; })));
    std::size_t index = 0;
    for (catalog::Port const& port : ports) {
        if (!port.bOptional) continue;
        std::string const help = what + (port.sHelp.empty() ? "" : ": " + port.sHelp);
        app.add_option("--" + port.sName, paths[index++], help)->group("Files");
    }
}

/// One value, or several with frames.
catalog::Value ParseTrack(Settings& settings, std::size_t index, std::string const& text) {
    catalog::Parameter const& parameter = settings.pEntry->oParameters[index];
    bool const single = parameter.eKind == catalog::Kind::Real || parameter.eKind == catalog::Kind::Integer;
    bool const mixes = single || parameter.eKind == catalog::Kind::Pair || parameter.eKind == catalog::Kind::Color;
    bool const changes = text.find("..") != std::string::npos || text.find(':') != std::string::npos;
    auto const keys = mixes && changes ? SplitKeys(text, single) : std::nullopt;
    if (!keys) return ParseValue(parameter, text);
    Track track{index, {}};
    for (auto const& [frame, part] : *keys) {
        track.oKeys.oKeys.push_back({frame, NumbersOf(ParseValue(parameter, part))});
    }
    settings.oTracks.push_back(track);
    return ParseValue(parameter, keys->front().second);
}

void AddParameters(CLI::App& app, Settings& settings) {
    catalog::Entry const& entry = *settings.pEntry;
    for (std::size_t i = 0; i < entry.oParameters.size(); ++i) {
        catalog::Parameter const& parameter = entry.oParameters[i];
        settings.oValues.push_back(parameter.oDefault);
        auto const read = [&settings, i](std::string const& text) {
            try {
                settings.oValues[i] = ParseTrack(settings, i, text);
            } catch (std::invalid_argument const& error) {
                throw Failure(kWrongUsage, error.what());
            }
        };
        std::string const help = parameter.sHelp + " (" + Allowed(parameter) + "; default " + parameter.sDefault + ")";
        app.add_option_function<std::string>("--" + parameter.sName, read, help)->group("Parameters");
    }
}

/// Behind `then` the result before is the first input, unless "-" says which it is.
void CompleteInputs(Settings& settings, bool first) {
    std::size_t const wanted = settings.pEntry->RequiredInputs();
    bool const named = std::count(settings.oInputs.begin(), settings.oInputs.end(), "-") != 0;
    if (!first && !named && settings.oInputs.size() + 1 == wanted) {
        settings.oInputs.insert(settings.oInputs.begin(), "-");
    }
}

void CheckStage(Settings const& settings, bool first, bool batch) {
    catalog::Entry const& entry = *settings.pEntry;
    std::size_t const wanted = entry.RequiredInputs(), given = settings.oInputs.size();
    if (given != wanted && !(batch && given > wanted && wanted > 0)) {
        throw Failure(
            kWrongUsage,
            entry.sName + ": " + std::to_string(given) + (given == 1 ? " input picture is" : " input pictures are") +
                " given, but the effect takes " + std::to_string(wanted) + " (" + InputNames(entry, ", ") + ")" +
                (first && given > wanted && wanted > 0 ? "; {name} in --output makes one of each" : "") + ".");
    }
    auto const before = std::count(settings.oInputs.begin(), settings.oInputs.end(), "-");
    if (before > 1) {
        throw Failure(kWrongUsage, entry.sName + ": '-' is given twice, but there is one " +
                                       (first ? "standard input." : "result before."));
    }
    if (!first && entry.IsGenerator()) {
        throw Failure(kWrongUsage, entry.sName + ": the effect takes no input, so it cannot stand behind another one.");
    }
    if (entry.IsGenerator() && !settings.oSize) {
        throw Failure(kWrongUsage, entry.sName + ": --size is missing, but this effect makes a picture of its own.");
    }
    if (!first && before == 0) {
        throw Failure(kWrongUsage, entry.sName + ": no input is '-', which is the result of the effect before.");
    }
    if (entry.bMaskRequired && settings.sMask.empty()) {
        throw Failure(kWrongUsage, entry.sName + ": --mask is missing, but this effect needs a mask picture.");
    }
}

/// Reads one effect of a chain. False when only help was asked for.
bool ParseStage(std::vector<std::string> arguments, RunSettings& run, Settings& settings) {
    if (arguments.empty()) throw Failure(kWrongUsage, "run: EFFECT is missing; qzil list names all effects.");
    settings.pEntry = catalog::Find(arguments[0]);
    if (!settings.pEntry) {
        throw Failure(kWrongUsage, "there is no effect '" + arguments[0] + "'; qzil list names all effects.");
    }
    catalog::Entry const& entry = *settings.pEntry;
    CLI::App app(entry.sSummary, "qzil run " + entry.sName);
    app.add_option("INPUT", settings.oInputs,
                   "Pictures or videos, - for the standard input: " + InputNames(entry, " "));
    AddFurther(app, entry.oInputs, settings.oFurtherInputs, "Picture");
    AddFurther(app, entry.oOutputs, settings.oFurtherOutputs, "File to write");
    AddParameters(app, settings);
    for (OptionRow<Settings> const& row : EffectRows()) {
        if (!row.pApplies || row.pApplies(entry)) AddRows<Settings>(app, {&row, 1}, settings, entry.sName);
    }
    AddRows(app, RunRows(), run, entry.sName);
    AddRows(app, InputRows(), run.oFiles, entry.sName);
    AddRows(app, OutputRows(), run.oFiles, entry.sName);
    arguments.erase(arguments.begin());
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(arguments);
    } catch (CLI::Success const& help) {
        app.exit(help);
        return false;
    } catch (CLI::ParseError const& error) {
        throw Failure(kWrongUsage,
                      entry.sName + ": " + error.what() + " (qzil run " + entry.sName + " --help tells more)");
    }
    return true;
}

}  // namespace

bool RunSettings::Changes() const {
    return std::any_of(oStages.begin(), oStages.end(), [](Settings const& stage) { return stage.Changes(); });
}

std::optional<RunSettings> ParseSettings(std::vector<std::string> const& given) {
    RunSettings run;
    std::vector<std::string> const arguments = Expanded(given);
    for (auto start = arguments.begin();; ++start) {
        auto const end = std::find(start, arguments.end(), "then");
        Settings settings;
        if (!ParseStage({start, end}, run, settings)) return {};
        CompleteInputs(settings, run.oStages.empty());
        run.oStages.push_back(std::move(settings));
        if (end == arguments.end()) break;
        start = end;
    }
    for (Settings const& stage : run.oStages) {
        bool const last = &stage == &run.oStages.back();
        if (!last && stage.pEntry->IsSink()) {
            throw Failure(kWrongUsage,
                          stage.pEntry->sName + ": the effect makes no picture that another one could take.");
        }
        auto const& paths = stage.oFurtherOutputs;
        if (!last && std::any_of(paths.begin(), paths.end(), [](auto& path) { return !path.empty(); })) {
            throw Failure(kWrongUsage, stage.pEntry->sName + ": only the last effect writes more than one file.");
        }
    }
    if (run.sOutput.empty() && !run.FindsNumbers())
        throw Failure(kWrongUsage, run.Name() + ": --output is missing or empty.");
    bool const batch = IsPattern(run.sOutput);
    for (Settings const& stage : run.oStages) {
        CheckStage(stage, &stage == run.oStages.data(), batch && &stage == run.oStages.data());
    }
    return run;
}

}  // namespace qzil::command
