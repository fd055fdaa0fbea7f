#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace qzil::command {

/// Tells on the error output how far a sequence is.
class Progress {
public:
    enum class Mode { kAuto, kBar, kLines, kJson, kOff };

    static std::optional<Mode> ParseMode(std::string const& name);

    /// kAuto is a bar on a terminal and lines elsewhere. The total is for people and may be unknown.
    Progress(Mode mode, std::string effect, std::optional<long long> total);
    /// Frames done so far. Tells them when it is time to.
    void Update(long long frames);
    /// Tells the end.
    void Finish(long long frames);
    /// After a failure: its sentence is to stand on a line of its own, and alone.
    void GiveUp(long long frames);

private:
    using Clock = std::chrono::steady_clock;
    void Tell(long long frames, bool done);
    void TellBar(long long frames, double rate, bool done) const;
    void TellLine(long long frames, double rate) const;
    void TellJson(long long frames, double seconds, double rate, bool done) const;

    Mode m_eMode;
    std::string m_sEffect;
    std::optional<long long> m_oTotal;
    Clock::time_point m_oStart = Clock::now();
    Clock::time_point m_oTold = m_oStart;
};

}  // namespace qzil::command
