#include "qzil/platform/memory.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace qzil::platform {
namespace {

constexpr std::uint32_t kPageSize = 4096;
/// From here on calloc's own zero pages are left untouched until somebody writes to them.
constexpr std::size_t kLarge = std::size_t{1} << 20;

/// Stands before a block.
struct Head {
    void* pRaw;
    bool bLarge;
};

}  // namespace

void GetSystemInfo(SystemInfo* info) {
    info->dwPageSize = kPageSize;
}

void* VirtualAlloc(void* address, std::size_t size, std::uint32_t type, std::uint32_t protection) {
    if (address || size == 0 || (type & ~kMemTopDown) != kMemCommit || protection != kPageReadWrite) return nullptr;
    std::size_t const all = size + sizeof(Head) + kPageSize;
    bool const large = size >= kLarge;
    void* const pRaw = all < size ? nullptr : large ? std::calloc(1, all) : ::operator new(all, std::nothrow);
    if (!pRaw) return nullptr;
    auto const first = reinterpret_cast<std::uintptr_t>(pRaw) + sizeof(Head) + (kPageSize - 1);
    void* const pBlock = reinterpret_cast<void*>(first / kPageSize * kPageSize);
    static_cast<Head*>(pBlock)[-1] = {pRaw, large};
    if (!large) std::memset(pBlock, 0, size);
    return pBlock;
}

bool VirtualFree(void* address, std::size_t size, std::uint32_t type) {
    if (!address || size != 0 || type != kMemRelease) return false;
    Head const head = static_cast<Head*>(address)[-1];
    if (head.bLarge) {
        std::free(head.pRaw);
    } else {
        ::operator delete(head.pRaw);
    }
    return true;
}

}  // namespace qzil::platform
