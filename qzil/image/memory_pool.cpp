#include "qzil/image/memory_pool.h"

#include "qzil/image/core_values.h"
#include "qzil/platform/memory.h"

#include <algorithm>
#include <new>

using namespace qzil::platform;

class qzILMemoryPool::Lock {
public:
    explicit Lock(qzILMemoryPool& pool) : m_oPool(pool) {
        if (!TryEnterCriticalSection(&m_oPool.m_oLock)) EnterCriticalSection(&m_oPool.m_oLock);
        ++m_oPool.m_iLockDepth;
    }
    ~Lock() {
        --m_oPool.m_iLockDepth;
        LeaveCriticalSection(&m_oPool.m_oLock);
    }
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;

private:
    qzILMemoryPool& m_oPool;
};

qzILMemoryPool::qzILMemoryPool(std::uint32_t keep0, std::uint32_t limit0, std::uint32_t keep1, std::uint32_t limit1,
                               std::uint32_t keep2, std::uint32_t limit2)
    : m_auKeep{keep0, keep1, keep2}, m_auLimit{limit0, limit1, limit2} {
    SystemInfo info{};
    GetSystemInfo(&info);
    m_uPageSize = info.dwPageSize;
    m_auLimit[1] = RndUpToPageSize(limit1);
    m_auLimit[2] = RndUpToPageSize(limit2);
}

qzILMemoryPool::~qzILMemoryPool() {
    Trash();
}

void qzILMemoryPool::Trash() {
    for (int c = 0; c < kClasses; ++c) ClearPool(c);
}

std::uint32_t qzILMemoryPool::RndUpToPageSize(std::uint32_t size) const {
    std::uint64_t const pages = (std::uint64_t{m_uPageSize} + size - 1) / m_uPageSize;
    std::uint64_t const rounded = pages * m_uPageSize;
    return rounded > UINT32_MAX ? 0 : static_cast<std::uint32_t>(rounded);
}

void* qzILMemoryPool::AllocMem(int sizeClass, std::uint32_t size) {
    if (sizeClass != 0) return VirtualAlloc(nullptr, size, kMemCommit | kMemTopDown, kPageReadWrite);
    return new (std::nothrow) unsigned char[std::max<std::uint32_t>(size, 1)]();
}

void qzILMemoryPool::FreeMem(int sizeClass, void* block) {
    if (sizeClass != 0) {
        VirtualFree(block, 0, kMemRelease);
    } else {
        delete[] static_cast<unsigned char*>(block);
    }
}

HRESULT qzILMemoryPool::AllocateMemory(std::uint32_t size, void** block, bool* fresh) {
    *block = nullptr;
    if (fresh) *fresh = true;
    Lock const lock(*this);
    int sizeClass = 0;
    if (size > m_auLimit[0]) {
        size = RndUpToPageSize(size);
        if (size == 0) return kOutOfMemory;
        while (sizeClass < kClasses && size > m_auLimit[sizeClass]) ++sizeClass;
    }
    if (sizeClass == kClasses) {
        *block = AllocMem(sizeClass, size);
        if (!*block) {
            for (int c = 0; c < kClasses; ++c) ClearPool(c);
            *block = AllocMem(sizeClass, size);
        }
        return *block ? kOk : kOutOfMemory;
    }

    auto& used = m_aoUsed[sizeClass];
    auto& freeList = m_aoFree[sizeClass];
    try {
        auto const hit = std::find_if(freeList.begin(), freeList.end(),
                                      [size](qzILMemoryPoolEntry const& entry) { return entry.uSize == size; });
        if (hit != freeList.end()) {
            used.emplace(hit->pBlock, size);
            *block = hit->pBlock;
            if (fresh) *fresh = false;
            freeList.erase(hit);
            return kOk;
        }
        void* pBlock = AllocMem(sizeClass, size);
        if (!pBlock) {
            for (int c = 0; c < kClasses; ++c) ClearPool(c);
            pBlock = AllocMem(sizeClass, size);
        }
        if (!pBlock) return kOutOfMemory;
        try {
            used.emplace(pBlock, size);
        } catch (std::bad_alloc const&) {
            FreeMem(sizeClass, pBlock);
            throw;
        }
        *block = pBlock;
        return kOk;
    } catch (std::bad_alloc const&) {
        return kOutOfMemory;
    }
}

void qzILMemoryPool::ReleaseMemory(void* block) {
    if (!block) return;
    Lock const lock(*this);
    for (int c = 0; c < kClasses; ++c) {
        auto const found = m_aoUsed[c].find(block);
        if (found == m_aoUsed[c].end()) continue;
        qzILMemoryPoolEntry const entry{block, found->second};
        auto& freeList = m_aoFree[c];
        // The block is kept whatever the keep count says; a count of 0 only makes the next release free it.
        if (!freeList.empty() && freeList.size() >= m_auKeep[c]) {
            FreeMem(c, freeList.back().pBlock);
            freeList.back() = entry;
            freeList.splice(freeList.begin(), freeList, std::prev(freeList.end()));
        } else {
            try {
                freeList.push_front(entry);
            } catch (std::bad_alloc const&) {
                FreeMem(c, block);
            }
        }
        m_aoUsed[c].erase(found);
        return;
    }
    FreeMem(kClasses, block);
}

void qzILMemoryPool::ClearPool(int sizeClass) {
    if (sizeClass < 0 || sizeClass >= kClasses) return;
    Lock const lock(*this);
    for (auto const& entry : m_aoFree[sizeClass]) FreeMem(sizeClass, entry.pBlock);
    m_aoFree[sizeClass].clear();
}

void qzILMemoryPool::PrintImagePoolStatus(int detail) {
    Lock const lock(*this);
    for (int c = 0; c < kClasses; ++c) {
        _qzILTRACE("image pool class %d: %zu used, %zu free\n", c, m_aoUsed[c].size(), m_aoFree[c].size());
        if (detail == 0) continue;
        for (auto const& entry : m_aoFree[c])
            _qzILTRACE("  free block of %u bytes\n", static_cast<unsigned>(entry.uSize));
    }
}
