#include "interrupt.h"

#include <signal.h>
#include <csignal>
#include <initializer_list>
#include <type_traits>

namespace qzil::command {

namespace {

static_assert(std::is_same_v<std::sig_atomic_t, int>, "a signal handler may set the flag that effects poll");
int volatile s_iInterrupted = 0;

}  // namespace

void CatchInterrupts() {
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) { s_iInterrupted = 1; };
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        // What whoever started the command has chosen to ignore, as nohup does, stays ignored.
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN || signal == SIGINT) sigaction(signal, &action, nullptr);
    }
    // A broken pipe is an error of the write, which has a sentence and an exit code.
    std::signal(SIGPIPE, SIG_IGN);
}

int volatile* InterruptFlag() {
    return &s_iInterrupted;
}

bool IsInterrupted() {
    return s_iInterrupted != 0;
}

}  // namespace qzil::command
