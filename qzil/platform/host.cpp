#include "qzil/platform/host.h"

#include <atomic>

namespace {
std::atomic<qzil::platform::DebugOutputHook> s_pDebugHook{nullptr};
std::atomic<CQZStatManager::Hook> s_pStatHook{nullptr};
thread_local std::uint32_t s_uLastError = 0;
}  // namespace

namespace qzil::platform {

void SetLastError(std::uint32_t code) {
    s_uLastError = code;
}

std::uint32_t GetLastError() {
    return s_uLastError;
}

void SetDebugOutputHook(DebugOutputHook hook) {
    s_pDebugHook = hook;
}

void OutputDebugStringA(char const* text) {
    if (DebugOutputHook const hook = s_pDebugHook) hook(text);
}

}  // namespace qzil::platform

void CQZStatManager::SetHook(Hook hook) {
    s_pStatHook = hook;
}

void CQZStatManager::MemStat_DeclareThis(MemStatKey key, char const* className, int kind, std::uint32_t objectSize,
                                         std::uint32_t dynamicSize, std::uint32_t flags) {
    if (Hook const hook = s_pStatHook) hook(key, className, kind, objectSize, dynamicSize, flags);
}
