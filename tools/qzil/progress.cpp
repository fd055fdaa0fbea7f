#include "progress.h"

#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <utility>

namespace qzil::command {

namespace {

constexpr int kBarWidth = 30;

/// The time between two reports.
std::chrono::milliseconds Pause(Progress::Mode mode) {
    using namespace std::chrono_literals;
    switch (mode) {
        case Progress::Mode::kBar: return 100ms;
        case Progress::Mode::kJson: return 500ms;
        default: return 5000ms;
    }
}

}  // namespace

std::optional<Progress::Mode> Progress::ParseMode(std::string const& name) {
    static constexpr std::pair<char const*, Mode> kModes[] = {
        {"auto", Mode::kAuto}, {"bar", Mode::kBar}, {"lines", Mode::kLines}, {"json", Mode::kJson}, {"off", Mode::kOff},
    };
    for (auto const& [known, mode] : kModes) {
        if (name == known) return mode;
    }
    return {};
}

Progress::Progress(Mode mode, std::string effect, std::optional<long long> total)
    : m_eMode(mode), m_sEffect(std::move(effect)), m_oTotal(total) {
    if (mode == Mode::kAuto) m_eMode = isatty(STDERR_FILENO) != 0 ? Mode::kBar : Mode::kLines;
}

void Progress::Update(long long frames) {
    if (Clock::now() - m_oTold >= Pause(m_eMode)) Tell(frames, false);
}

void Progress::Finish(long long frames) {
    Tell(frames, true);
}

void Progress::GiveUp(long long frames) {
    if (m_eMode == Mode::kBar || m_eMode == Mode::kJson) Tell(frames, true);
}

void Progress::Tell(long long frames, bool done) {
    m_oTold = Clock::now();
    double const seconds = std::chrono::duration<double>(m_oTold - m_oStart).count();
    double const rate = seconds > 0.0 ? static_cast<double>(frames) / seconds : 0.0;
    switch (m_eMode) {
        case Mode::kBar: TellBar(frames, rate, done); break;
        case Mode::kJson: TellJson(frames, seconds, rate, done); break;
        case Mode::kOff: break;
        default: TellLine(frames, rate);
    }
}

void Progress::TellBar(long long frames, double rate, bool done) const {
    std::string text = m_sEffect;
    text += " ";
    if (m_oTotal && *m_oTotal > 0) {
        auto const filled = static_cast<std::size_t>(kBarWidth * std::min(frames, *m_oTotal) / *m_oTotal);
        text.append("[").append(filled, '#').append(kBarWidth - filled, '.').append("] ");
        text += std::to_string(frames) + "/" + std::to_string(*m_oTotal);
    } else {
        text += std::to_string(frames);
    }
    std::fprintf(stderr, "\r%s frames, %.1f a second \033[K%s", text.c_str(), rate, done ? "\n" : "");
    std::fflush(stderr);
}

void Progress::TellLine(long long frames, double rate) const {
    std::string const total = m_oTotal ? " of " + std::to_string(*m_oTotal) : std::string();
    std::fprintf(stderr, "%s: %lld%s frames, %.1f a second\n", m_sEffect.c_str(), frames, total.c_str(), rate);
}

void Progress::TellJson(long long frames, double seconds, double rate, bool done) const {
    std::string const total = m_oTotal ? std::to_string(*m_oTotal) : "null";
    std::fprintf(stderr, "{\"effect\":\"%s\",\"frame\":%lld,\"frames\":%s,\"seconds\":%.3f,\"fps\":%.3f,\"done\":%s}\n",
                 m_sEffect.c_str(), frames, total.c_str(), seconds, rate, done ? "true" : "false");
}

}  // namespace qzil::command
