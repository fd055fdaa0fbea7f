#include "support/allocation_hook.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

struct ThreadState {
    std::uint64_t uCount = 0;
    std::uint64_t uBytes = 0;
    std::uint64_t uUntilFailure = 0;
    bool bAllFrom = false;
    bool bFailed = false;
};

thread_local constinit ThreadState t_oState;
constinit std::atomic<std::int64_t> g_iLive{0};

bool Refuse() {
    if (t_oState.bFailed && t_oState.bAllFrom) return true;
    if (t_oState.uUntilFailure == 0 || --t_oState.uUntilFailure != 0) return false;
    t_oState.bFailed = true;
    return true;
}

void* Allocate(std::size_t size, std::size_t alignment) noexcept {
    ++t_oState.uCount;
    t_oState.uBytes += size;
    if (Refuse()) return nullptr;
    void* block = nullptr;
    if (alignment <= alignof(std::max_align_t)) {
        block = std::malloc(size ? size : 1);
    } else if (posix_memalign(&block, alignment, size ? size : 1) != 0) {
        block = nullptr;
    }
    if (block) g_iLive.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
    if (void* const block = Allocate(size, alignment)) return block;
    throw std::bad_alloc();
}

void Free(void* block) noexcept {
    if (!block) return;
    g_iLive.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}

std::size_t Bytes(std::align_val_t alignment) {
    return static_cast<std::size_t>(alignment);
}

}  // namespace

namespace qzil::test {

std::int64_t LiveBlocks() {
    return g_iLive.load();
}

AllocationCounter::AllocationCounter() : m_uStartCount(t_oState.uCount), m_uStartBytes(t_oState.uBytes) {
}

std::uint64_t AllocationCounter::Count() const {
    return t_oState.uCount - m_uStartCount;
}

std::uint64_t AllocationCounter::Bytes() const {
    return t_oState.uBytes - m_uStartBytes;
}

AllocationFailure::AllocationFailure(std::uint64_t nth, Extent extent) {
    t_oState.uUntilFailure = nth;
    t_oState.bAllFrom = extent == Extent::AllFrom;
    t_oState.bFailed = false;
}

AllocationFailure::~AllocationFailure() {
    t_oState.uUntilFailure = 0;
    t_oState.bAllFrom = false;
    t_oState.bFailed = false;
}

bool AllocationFailure::Happened() const {
    return t_oState.bFailed;
}

}  // namespace qzil::test

// clang-format off
void* operator new(std::size_t size) { return AllocateOrThrow(size, 0); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size, 0); }
void* operator new(std::size_t size, std::align_val_t a) { return AllocateOrThrow(size, Bytes(a)); }
void* operator new[](std::size_t size, std::align_val_t a) { return AllocateOrThrow(size, Bytes(a)); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return Allocate(size, 0); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return Allocate(size, 0); }
void* operator new(std::size_t size, std::align_val_t a, std::nothrow_t const&) noexcept { return Allocate(size, Bytes(a)); }
void* operator new[](std::size_t size, std::align_val_t a, std::nothrow_t const&) noexcept { return Allocate(size, Bytes(a)); }
void operator delete(void* block) noexcept { Free(block); }
void operator delete[](void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t) noexcept { Free(block); }
void operator delete(void* block, std::align_val_t) noexcept { Free(block); }
void operator delete[](void* block, std::align_val_t) noexcept { Free(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { Free(block); }
void operator delete(void* block, std::nothrow_t const&) noexcept { Free(block); }
void operator delete[](void* block, std::nothrow_t const&) noexcept { Free(block); }
void operator delete(void* block, std::align_val_t, std::nothrow_t const&) noexcept { Free(block); }
void operator delete[](void* block, std::align_val_t, std::nothrow_t const&) noexcept { Free(block); }
// clang-format on
