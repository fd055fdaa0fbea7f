#include "qzil/platform/global_memory.h"

#include <cstdlib>

namespace qzil::platform {
namespace {

/// Stands before a block.
struct alignas(std::max_align_t) Head {
    std::size_t uSize;
};

}  // namespace

HGLOBAL GlobalAlloc(std::uint32_t flags, std::size_t size) {
    if ((flags & ~(kGlobalMoveable | kGlobalZeroInit)) != 0 || size > SIZE_MAX - sizeof(Head)) return nullptr;
    auto* const pHead = static_cast<Head*>(std::calloc(1, sizeof(Head) + size));
    if (!pHead) return nullptr;
    pHead->uSize = size;
    return pHead + 1;
}

void* GlobalLock(HGLOBAL block) {
    return block;
}

bool GlobalUnlock(HGLOBAL block) {
    return block != nullptr;
}

std::size_t GlobalSize(HGLOBAL block) {
    return block ? static_cast<Head const*>(block)[-1].uSize : 0;
}

HGLOBAL GlobalFree(HGLOBAL block) {
    if (block) std::free(static_cast<Head*>(block) - 1);
    return nullptr;
}

}  // namespace qzil::platform
