#pragma once

#include "qzil/platform/api.h"
#include "qzil/platform/com.h"
#include "qzil/platform/sync.h"

#include <cstdint>
#include <list>
#include <map>

/// Allocator of image pixel memory that keeps released blocks, by size class, for a request of the same rounded size.
/// All public operations hold its lock throughout.
class QZIL_API qzILMemoryPool {
public:
    QZIL_CLASS_NAME(qzILMemoryPool)
    virtual char const* GetActualClassName() const { return m_ClassName; }

    struct qzILMemoryPoolEntry {
        void* pBlock;
        std::uint32_t uSize;
    };
    static constexpr int kClasses = 3;

    /// For each size class the number of free blocks kept and the largest block size; the second and third limit are
    /// rounded up to whole pages.
    qzILMemoryPool(std::uint32_t keep0, std::uint32_t limit0, std::uint32_t keep1, std::uint32_t limit1,
                   std::uint32_t keep2, std::uint32_t limit2);
    virtual ~qzILMemoryPool();
    qzILMemoryPool(qzILMemoryPool const&) = delete;
    qzILMemoryPool& operator=(qzILMemoryPool const&) = delete;

    /// 0, or 0x8007000E and a null block.
    HRESULT AllocateMemory(std::uint32_t size, void** block) { return AllocateMemory(size, block, nullptr); }
    /// `fresh`: the block is all zero; one that was used before is not.
    HRESULT AllocateMemory(std::uint32_t size, void** block, bool* fresh);
    /// Never fails; null is ignored.
    void ReleaseMemory(void* block);
    /// Frees the free list of a size class; class 3 has none.
    void ClearPool(int sizeClass);
    /// page * ((page + size - 1) / page); 0 when the sum does not fit 32 bits.
    std::uint32_t RndUpToPageSize(std::uint32_t size) const;
    /// Class 0 is served by the ordinary array allocation, every other by VirtualAlloc. Null on failure.
    void* AllocMem(int sizeClass, std::uint32_t size);
    void FreeMem(int sizeClass, void* block);
    void PrintImagePoolStatus(int detail);
    void Init() {}
    /// Frees all free lists.
    void Trash();

private:
    class Lock;

    std::uint32_t m_uPageSize;
    std::uint32_t m_auKeep[kClasses];
    std::uint32_t m_auLimit[kClasses];
    std::list<qzILMemoryPoolEntry> m_aoFree[kClasses];
    std::map<void*, std::uint32_t> m_aoUsed[kClasses];
    CQZCriticalSection m_oLock;
    std::int32_t m_iLockDepth = 0;
};
