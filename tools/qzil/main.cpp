#include "command.h"
#include "interrupt.h"

#include <cstdio>
#include <new>

using namespace qzil::command;

namespace {

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
    std::fprintf(stderr, "qzil: %s\n", sentence);
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Image effects for video editing and compositing", "qzil");
    int result = kOk;
    app.require_subcommand(1);
    app.footer(kFooter);
    for (auto const add : {AddList, AddDescribe, AddInfo, AddRun, AddDiff, AddHash, AddSheet, AddConvert, AddPan})
        add(app, result);
    CatchInterrupts();
    try {
        app.parse(argc, argv);
        return result;
    } catch (CLI::Success const& help) {
        return app.exit(help);
    } catch (CLI::ParseError const& error) {
        return Fail(kWrongUsage, (std::string(error.what()) + " (qzil --help tells more)").c_str());
    } catch (Failure const& failure) {
        return Fail(failure.eCode, failure.what());
    } catch (std::bad_alloc const&) {
        return Fail(kRefused, "there is not enough memory.");
    }
}
