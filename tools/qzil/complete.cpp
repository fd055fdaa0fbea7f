#include "catalog/catalog.h"
#include "command.h"
#include "options.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>

namespace qzil::command {

namespace {

/// The long names of a table's options.
template <class Target>
void AddNames(std::span<OptionRow<Target> const> rows, catalog::Entry const* entry, std::string& names) {
    for (OptionRow<Target> const& row : rows) {
        if (!entry || !row.pApplies || row.pApplies(*entry)) names += (names.empty() ? "" : " ") + row.Name();
    }
}

/// What `qzil run EFFECT` takes; without an effect what all take.
std::string OptionsOf(catalog::Entry const* entry) {
    std::string names;
    if (entry) {
        for (catalog::Parameter const& parameter : entry->oParameters) {
            names += (names.empty() ? "--" : " --") + parameter.sName;
        }
    }
    AddNames(EffectRows(), entry, names);
    AddNames(RunRows(), entry, names);
    AddNames(InputRows(), entry, names);
    AddNames(OutputRows(), entry, names);
    return names;
}

void ForEachEffect(std::function<void(catalog::Entry const&)> const& f) {
    for (auto const list : {catalog::Effects(), catalog::Conversions()}) {
        for (catalog::Entry const& entry : list) f(entry);
    }
}

std::string EffectNames() {
    std::string names;
    ForEachEffect([&](catalog::Entry const& entry) { names += (names.empty() ? "" : " ") + entry.sName; });
    return names;
}

std::string CommandNames(CLI::App const& app) {
    std::string names;
    for (CLI::App const* const pCommand : app.get_subcommands([](CLI::App const*) { return true; })) {
        names += (names.empty() ? "" : " ") + pCommand->get_name();
    }
    return names;
}

/// zsh reads what bash does.
void TellBash(CLI::App const& app, bool zsh) {
    if (zsh) std::printf("#compdef qzil\nautoload -U +X bashcompinit && bashcompinit\n");
    std::printf(
        "_qzil() {\n"
        "    local word=${COMP_WORDS[COMP_CWORD]} effect=${COMP_WORDS[2]} i words=''\n"
        "    for ((i = 3; i < COMP_CWORD; ++i)); do\n"
        "        [[ ${COMP_WORDS[i]} == then ]] && effect=${COMP_WORDS[i + 1]}\n"
        "    done\n"
        "    if ((COMP_CWORD == 1)); then\n"
        "        words='%s'\n"
        "    elif [[ ${COMP_WORDS[1]} == @(run|preview|describe) && ($COMP_CWORD -eq 2 || ${COMP_WORDS[COMP_CWORD - "
        "1]} == "
        "then) ]]; then\n"
        "        words='%s'\n"
        "    elif [[ $word == -* ]]; then\n"
        "        case $effect in\n",
        CommandNames(app).c_str(), EffectNames().c_str());
    ForEachEffect([](catalog::Entry const& entry) {
        std::printf("            %s) words='%s' ;;\n", entry.sName.c_str(), OptionsOf(&entry).c_str());
    });
    std::printf(
        "        esac\n"
        "    fi\n"
        "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
        "}\n"
        "complete -o default -F _qzil qzil\n");
}

void TellFish(CLI::App const& app) {
    std::printf("complete -c qzil -n __fish_use_subcommand -f -a '%s'\n", CommandNames(app).c_str());
    ForEachEffect([](catalog::Entry const& entry) {
        std::printf("complete -c qzil -n '__fish_seen_subcommand_from run preview describe' -a %s -d '%s'\n",
                    entry.sName.c_str(), entry.sSummary.c_str());
        for (catalog::Parameter const& parameter : entry.oParameters) {
            std::printf("complete -c qzil -n '__fish_seen_subcommand_from %s' -l %s\n", entry.sName.c_str(),
                        parameter.sName.c_str());
        }
    });
    std::string const options = OptionsOf(nullptr);
    for (std::size_t start = 0; start < options.size();) {
        std::size_t const end = std::min(options.find(' ', start), options.size());
        std::printf("complete -c qzil -n '__fish_seen_subcommand_from run preview' -l %s\n",
                    options.substr(start + 2, end - start - 2).c_str());
        start = end + 1;
    }
}

/// A dot or an apostrophe at the start of a line, and a backslash, mean something to the formatter.
std::string Escaped(std::string const& text) {
    std::string escaped;
    for (char const c : text) escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    return escaped;
}

template <class Target>
void TellRows(char const* title, std::span<OptionRow<Target> const> rows) {
    std::printf(".SH %s\n", title);
    for (OptionRow<Target> const& row : rows) {
        std::printf(".TP\n\\fB%s\\fR\n\\&%s\n", Escaped(row.pNames).c_str(), Escaped(row.pHelp).c_str());
    }
}

void TellMan(CLI::App const& app) {
    std::printf(".TH QZIL 1 \"\" \"qzil " QZIL_VERSION "\"\n.SH NAME\nqzil \\- %s\n.SH SYNOPSIS\n",
                Escaped(app.get_description()).c_str());
    std::printf("qzil run EFFECT INPUT... [\\-\\-name value]... [then EFFECT ...] \\-o OUTPUT\n.SH COMMANDS\n");
    for (CLI::App const* const pCommand : app.get_subcommands([](CLI::App const*) { return true; })) {
        std::printf(".TP\n\\fB%s\\fR\n\\&%s\n", pCommand->get_name().c_str(),
                    Escaped(pCommand->get_description()).c_str());
    }
    TellRows("OPTIONS OF EVERY RUN", RunRows());
    TellRows("OPTIONS OF EVERY EFFECT", EffectRows());
    TellRows("OPTIONS OF FILES THAT ARE READ", InputRows());
    TellRows("OPTIONS OF FILES THAT ARE WRITTEN", OutputRows());
    std::printf(".SH EFFECTS\n");
    ForEachEffect([](catalog::Entry const& entry) {
        std::printf(".SS %s\n\\&%s.\n", entry.sName.c_str(), Escaped(entry.sSummary).c_str());
        for (catalog::Parameter const& parameter : entry.oParameters) {
            std::printf(".TP\n\\fB\\-\\-%s\\fR\n\\&%s (%s; default %s)\n", parameter.sName.c_str(),
                        Escaped(parameter.sHelp).c_str(), Escaped(catalog::Allowed(parameter)).c_str(),
                        Escaped(parameter.sDefault).c_str());
        }
    });
}

}  // namespace

void AddComplete(CLI::App& app, int&) {
    CLI::App* const pCommand =
        app.add_subcommand("complete", "Prints completion for bash, zsh or fish, or the man page");
    auto const kind = std::make_shared<std::string>();
    pCommand->add_option("KIND", *kind, "bash, zsh, fish or man")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish", "man"}));
    pCommand->callback([&app, kind] {
        if (*kind == "man") return TellMan(app);
        if (*kind == "fish") return TellFish(app);
        TellBash(app, *kind == "zsh");
    });
}

}  // namespace qzil::command
