#include "catalog/catalog.h"
#include "command.h"
#include "interrupt.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>

using namespace qzil::command;

namespace {

/// Help, man page and completion are long; a lost line of them is a failure like any other.
int Finished(int result) {
    std::cout.flush();
    bool const written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
    if (written || IsInterrupted()) return result;
    int const error = errno;
    std::fprintf(stderr, "qzil: cannot write the standard output: %s\n",
                 error == EPIPE ? "its reader has closed the pipe" : std::strerror(error != 0 ? error : EIO));
    return kUnwritable;
}

constexpr char kFooter[] =
    "Exit codes:\n"
    "  0    ok\n"
    "  1    diff found differences\n"
    "  2    wrong usage: an argument is unknown, missing or out of its range\n"
    "  3    an input cannot be read, or videos do not end together\n"
    "  4    the effect refused its images or parameters, or memory ran out\n"
    "  5    the output cannot be written, or its reader went away\n"
    "  130  interrupted; no file was written\n";

int Fail(ExitCode code, char const* sentence) {
    if (IsInterrupted() && code != kInterrupted) {
        std::fputs("qzil: interrupted; nothing was written.\n", stderr);
        return kInterrupted;
    }
    // The parser's sentences may have several lines.
    std::string line = sentence;
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::fprintf(stderr, "qzil: %s\n", line.c_str());
    return code;
}

/// An effect in the place of a command is meant to be run.
std::string Advice(int argc, char** argv) {
    if (argc < 2 || !qzil::catalog::Find(argv[1])) return "";
    return std::string("there is no command '") + argv[1] + "'; did you mean qzil run " + argv[1] + "?";
}

/// The library takes an unknown level for the highest; a person who mistyped it is told.
std::string UnknownLevel() {
    char const* const pLevel = std::getenv("QZIL_CPU_LEVEL");
    std::string const level = pLevel ? pLevel : "";
    if (level.empty() || level == "baseline" || level == "v3" || level == "v4") return "";
    return "QZIL_CPU_LEVEL is '" + level + "', but takes baseline, v3 or v4.";
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Image effects for video editing and compositing", "qzil");
    int result = kOk;
    app.require_subcommand(1);
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("qzil " QZIL_VERSION));
    for (auto const add : {AddList, AddDescribe, AddInfo, AddRun, AddDiff, AddHash, AddSheet, AddConvert, AddPan,
                           AddPreview, AddComplete})
        add(app, result);
    CatchInterrupts();
    if (std::string const level = UnknownLevel(); !level.empty()) return Fail(kWrongUsage, level.c_str());
    try {
        app.parse(argc, argv);
        return Finished(result);
    } catch (CLI::Success const& help) {
        return Finished(app.exit(help));
    } catch (CLI::ParseError const& error) {
        if (std::string const advice = Advice(argc, argv); !advice.empty()) return Fail(kWrongUsage, advice.c_str());
        return Fail(kWrongUsage, (std::string(error.what()) + " (qzil --help tells more)").c_str());
    } catch (Failure const& failure) {
        return Fail(failure.eCode, failure.what());
    } catch (std::bad_alloc const&) {
        return Fail(kRefused, "there is not enough memory.");
    }
}
