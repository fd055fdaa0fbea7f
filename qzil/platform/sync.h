#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace qzil::platform {

/// Lock that its owner may enter again.
class CriticalSection {
public:
    void Enter() { m_oMutex.lock(); }
    bool TryEnter() { return m_oMutex.try_lock(); }
    void Leave() { m_oMutex.unlock(); }

private:
    std::recursive_mutex m_oMutex;
};

inline void EnterCriticalSection(CriticalSection* section) {
    section->Enter();
}
inline bool TryEnterCriticalSection(CriticalSection* section) {
    return section->TryEnter();
}
inline void LeaveCriticalSection(CriticalSection* section) {
    section->Leave();
}

/// Atomically changes the value by one; returns the new value.
inline std::int32_t InterlockedIncrement(std::int32_t* value) {
    return std::atomic_ref(*value).fetch_add(1, std::memory_order_relaxed) + 1;
}
inline std::int32_t InterlockedDecrement(std::int32_t* value) {
    return std::atomic_ref(*value).fetch_sub(1, std::memory_order_acq_rel) - 1;
}

}  // namespace qzil::platform

/// The lock class of the library's host interface.
class CQZCriticalSection : public qzil::platform::CriticalSection {};
