#pragma once

#include "command.h"
#include "settings.h"

#include <CLI/App.hpp>
#include <span>
#include <string>

namespace qzil::command {

/// What an option takes, thrown by its reader for a text that it does not take.
struct Takes {
    std::string sWhat;
};

/// An option of the command. Help, man page and completion are made from these tables, too.
template <class Target>
struct OptionRow {
    char const* pNames;
    char const* pGroup;
    char const* pHelp;
    void (*pRead)(Target&, std::string const& text);
    bool bFlag = false;  ///< the reader gets an empty text
    bool (*pApplies)(catalog::Entry const&) = nullptr;

    /// The longest of the names, for sentences.
    std::string Name() const {
        std::string const names = pNames;
        std::size_t const place = names.rfind("--");
        return names.substr(place == std::string::npos ? 0 : place);
    }
};

/// Of files that are read, and of files that are written; of the whole run; of each effect.
std::span<OptionRow<FileSettings> const> InputRows();
std::span<OptionRow<FileSettings> const> OutputRows();
std::span<OptionRow<RunSettings> const> RunRows();
std::span<OptionRow<Settings> const> EffectRows();

/// Adds the options; `effect` stands in front of the sentences that refuse a value.
template <class Target>
void AddRows(CLI::App& app, std::span<OptionRow<Target> const> rows, Target& target, std::string const& effect) {
    for (OptionRow<Target> const& row : rows) {
        if (row.bFlag) {
            app.add_flag_callback(
                   row.pNames, [&row, &target] { row.pRead(target, ""); }, row.pHelp)
                ->group(row.pGroup);
            continue;
        }
        auto const read = [&row, &target, effect](std::string const& text) {
            try {
                row.pRead(target, text);
            } catch (Takes const& takes) {
                throw Failure(kWrongUsage,
                              effect + ": " + row.Name() + " is '" + text + "', but takes " + takes.sWhat + ".");
            }
        };
        app.add_option_function<std::string>(row.pNames, read, row.pHelp)->group(row.pGroup);
    }
}

}  // namespace qzil::command
