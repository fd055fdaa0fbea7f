#include "frame_queue.h"

#include "interrupt.h"

#include <signal.h>
#include <chrono>
#include <new>
#include <system_error>
#include <thread>

namespace qzil::command {

/// Waits until all frames before this one are written; false after a failure among them.
bool FrameQueue::AwaitTurn(long long frame) {
    std::unique_lock lock(m_oMutex);
    m_oChange.wait(lock, [&] { return m_pFailure || m_iTurn == frame; });
    return !m_pFailure;
}

bool FrameQueue::ServeFrame(Worker& worker) {
    long long frame = 0;
    std::exception_ptr failure;
    {
        std::lock_guard const lock(m_oReading);
        if (m_bEnd) return false;
        frame = m_iNext++;
        try {
            m_bEnd = !worker.oRead(frame);
            if (m_bEnd) return false;
        } catch (...) {
            m_bEnd = true;
            failure = std::current_exception();
        }
    }
    try {
        if (!failure) worker.oWork(frame);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!AwaitTurn(frame)) return false;
    try {
        if (!failure) worker.oWrite(frame);
    } catch (...) {
        failure = std::current_exception();
    }
    std::lock_guard const lock(m_oMutex);
    m_pFailure = failure;
    if (!failure) ++m_iTurn;
    m_oChange.notify_all();
    return !failure;
}

void FrameQueue::Serve(Worker& worker) {
    while (ServeFrame(worker)) {
    }
    std::lock_guard const lock(m_oMutex);
    --m_uRunning;
    m_oChange.notify_all();
}

void FrameQueue::Run(std::vector<Worker>& workers, std::function<void(long long written)> const& tick) {
    using namespace std::chrono_literals;
    std::vector<std::thread> threads;
    threads.reserve(workers.size());
    std::unique_lock lock(m_oMutex);
    try {
        for (Worker& worker : workers) {
            threads.emplace_back([this, &worker] { Serve(worker); });
            ++m_uRunning;
        }
    } catch (std::system_error const&) {
        // Fewer threads do the same work.
        if (threads.empty()) throw std::bad_alloc();
    }
    while (!m_oChange.wait_for(lock, 100ms, [this] { return m_uRunning == 0; })) {
        tick(m_iTurn);
        // The signal reached one thread; the others may wait for a pipe.
        if (!IsInterrupted()) continue;
        for (std::thread& thread : threads) pthread_kill(thread.native_handle(), SIGINT);
    }
    lock.unlock();
    for (std::thread& thread : threads) thread.join();
    if (m_pFailure) std::rethrow_exception(m_pFailure);
}

}  // namespace qzil::command
