#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

namespace qzil::command {

/// Runs frames side by side: each of `jobs` threads reads a frame, works on it and writes it. Frames are read one after
/// the other and written in the order of reading, so that never more than `jobs` of them are in memory.
class FrameQueue {
public:
    /// What one thread does with its frame. `oRead` gives false behind the last frame.
    struct Worker {
        std::function<bool(long long frame)> oRead;
        std::function<void(long long frame)> oWork;
        std::function<void(long long frame)> oWrite;
    };

    /// Runs until the end or the first failure, which is thrown again once all frames before it are written. `tick` is
    /// called on the caller's thread every tenth of a second. An interrupt wakes threads that wait in system calls.
    void Run(std::vector<Worker>& workers, std::function<void(long long written)> const& tick);
    /// Frames written.
    long long Written() const { return m_iTurn; }

private:
    void Serve(Worker& worker);
    bool ServeFrame(Worker& worker);
    bool AwaitTurn(long long frame);

    std::mutex m_oReading;
    long long m_iNext = 0;
    bool m_bEnd = false;  ///< nothing more is read

    std::mutex m_oMutex;
    std::condition_variable m_oChange;
    std::atomic<long long> m_iTurn = 0;  ///< the frame to be written next
    std::size_t m_uRunning = 0;
    std::exception_ptr m_pFailure;
};

}  // namespace qzil::command
