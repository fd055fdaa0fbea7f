#include "qzil/platform/memory.h"

#include <cstring>
#include <new>

namespace qzil::platform {
namespace {
constexpr std::uint32_t kPageSize = 4096;
}

void GetSystemInfo(SystemInfo* info) {
    info->dwPageSize = kPageSize;
}

void* VirtualAlloc(void* address, std::size_t size, std::uint32_t type, std::uint32_t protection) {
    if (address || size == 0 || (type & ~kMemTopDown) != kMemCommit || protection != kPageReadWrite) return nullptr;
    void* const pBlock = ::operator new (size, std::align_val_t{kPageSize}, std::nothrow);
    if (pBlock) std::memset(pBlock, 0, size);
    return pBlock;
}

bool VirtualFree(void* address, std::size_t size, std::uint32_t type) {
    if (!address || size != 0 || type != kMemRelease) return false;
    ::operator delete (address, std::align_val_t{kPageSize});
    return true;
}

}  // namespace qzil::platform
