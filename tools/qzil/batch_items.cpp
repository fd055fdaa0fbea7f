#include "batch_items.h"

#include "command.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <regex>

namespace qzil::command {

namespace fs = std::filesystem;

namespace {

/// The place of a number such as %04d.
std::optional<std::smatch> NumberPlace(std::string const& path) {
    static std::regex const l_oNumber("%(0?)([0-9]{0,2})d");
    std::smatch match;
    if (std::regex_search(path, match, l_oNumber)) return match;
    return {};
}

std::string WithNumber(std::string const& path, long long number) {
    auto const place = NumberPlace(path);
    if (!place) return path;
    char text[120];
    int const width = (*place)[2].length() != 0 ? std::stoi((*place)[2]) : 0;
    std::snprintf(text, sizeof text, (*place)[1].length() != 0 ? "%0*lld" : "%*lld", width, number);
    return place->prefix().str() + text + place->suffix().str();
}

/// The lowest and the highest number that there is a file of.
std::pair<long long, long long> NumbersOf(std::string const& effect, std::string const& pattern) {
    fs::path const path(pattern);
    std::string const name = path.filename().string();
    auto const place = NumberPlace(name);
    std::optional<std::pair<long long, long long>> range;
    std::error_code error;
    fs::path const folder = path.parent_path().empty() ? fs::path(".") : path.parent_path();
    std::string const before = place ? place->prefix().str() : name;
    for (fs::directory_entry const& entry : fs::directory_iterator(folder, error)) {
        std::string const file = entry.path().filename().string();
        char* pEnd = nullptr;
        if (!place || !file.starts_with(before)) continue;
        long long const number = std::strtoll(file.c_str() + before.size(), &pEnd, 10);
        if (file != WithNumber(name, number)) continue;
        range = range ? std::pair(std::min(range->first, number), std::max(range->second, number))
                      : std::pair(number, number);
    }
    if (!range) throw Failure(kUnreadable, effect + ": there is no file '" + pattern + "' of any number.");
    return *range;
}

std::string Replaced(std::string text, std::string const& word, std::string const& by) {
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + by.size())) {
        text.replace(at, word.size(), by);
    }
    return text;
}

/// Puts a number into all paths of a run.
RunSettings Numbered(RunSettings run, long long number) {
    for (Settings& stage : run.oStages) {
        for (std::string& path : stage.oInputs) path = WithNumber(path, number);
        stage.sMask = WithNumber(stage.sMask, number);
    }
    return run;
}

void NameOutput(RunSettings& run, long long number) {
    fs::path const input = run.oStages[0].oInputs.empty() ? fs::path() : fs::path(run.oStages[0].oInputs[0]);
    std::string const extension = input.extension().string();
    run.sOutput = WithNumber(run.sOutput, number);
    run.sOutput = Replaced(run.sOutput, "{name}", input.stem().string());
    run.sOutput = Replaced(run.sOutput, "{ext}", extension.empty() ? "" : extension.substr(1));
    run.sOutput = Replaced(run.sOutput, "{n}", std::to_string(number));
}

std::string FirstPattern(RunSettings const& run) {
    for (Settings const& stage : run.oStages) {
        for (std::string const& path : stage.oInputs) {
            if (NumberPlace(path)) return path;
        }
        if (NumberPlace(stage.sMask)) return stage.sMask;
    }
    return "";
}

std::vector<RunSettings> SequenceItems(RunSettings const& run, std::string const& pattern) {
    auto [first, last] = NumbersOf(run.Name(), pattern);
    if (run.oStart) first = *run.oStart;
    if (run.oSequence.oFrames) last = first + *run.oSequence.oFrames - 1;
    std::vector<RunSettings> items;
    for (long long number = first; number <= last; ++number) {
        RunSettings item = Numbered(run, number);
        for (Settings const& stage : item.oStages) {
            for (std::string const& path : stage.oInputs) {
                if (path == "-" || fs::exists(path)) continue;
                throw Failure(kUnreadable, run.Name() + ": the sequence has no '" + path + "'.");
            }
        }
        NameOutput(item, number);
        items.push_back(std::move(item));
    }
    return items;
}

/// The inputs that an effect needs beside the first are the same for all.
std::vector<RunSettings> ListItems(RunSettings const& run) {
    std::vector<std::string> const& inputs = run.oStages[0].oInputs;
    std::size_t const wanted = run.oStages[0].pEntry->oInputs.size();
    std::size_t const count = inputs.size() + 1 - std::max<std::size_t>(wanted, 1);
    std::vector<RunSettings> items;
    for (std::size_t i = 0; i < count; ++i) {
        RunSettings item = run;
        item.oStages[0].oInputs = {inputs[i]};
        item.oStages[0].oInputs.insert(item.oStages[0].oInputs.end(),
                                       inputs.begin() + static_cast<std::ptrdiff_t>(count), inputs.end());
        NameOutput(item, run.oStart.value_or(1) + static_cast<long long>(i));
        items.push_back(std::move(item));
    }
    return items;
}

}  // namespace

std::vector<RunSettings> ItemsOf(RunSettings const& run) {
    std::string const pattern = FirstPattern(run);
    std::vector<RunSettings> items = pattern.empty() ? ListItems(run) : SequenceItems(run, pattern);
    std::map<std::string, std::string> inputs;
    for (RunSettings const& item : items) {
        std::string const input = item.oStages[0].oInputs.empty() ? "" : item.oStages[0].oInputs[0];
        auto const [there, added] = inputs.emplace(item.sOutput, input);
        if (added) continue;
        throw Failure(kWrongUsage, run.Name() + ": '" + there->second + "' and '" + input + "' both make '" +
                                       item.sOutput + "'; {n} in --output tells them apart.");
    }
    return items;
}

}  // namespace qzil::command
