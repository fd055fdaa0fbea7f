#pragma once

#include <cstdint>

/// The test programs replace the global operator new and delete, so that the memory the library asks for can be counted
/// and refused. Counts and refusals are per thread; the number of live blocks is of the whole program.
namespace qzil::test {

/// Blocks that are allocated and not yet freed, in the whole program.
std::int64_t LiveBlocks();

/// Counts this thread's allocations from its construction on. Scopes may nest.
class AllocationCounter {
public:
    AllocationCounter();
    std::uint64_t Count() const;
    /// Sum of the sizes asked for.
    std::uint64_t Bytes() const;

private:
    std::uint64_t m_uStartCount;
    std::uint64_t m_uStartBytes;
};

/// While it lives, refuses this thread's n-th allocation (from 1), or that and all behind it. Scopes do not nest.
class AllocationFailure {
public:
    enum class Extent { One, AllFrom };

    explicit AllocationFailure(std::uint64_t nth, Extent extent = Extent::One);
    ~AllocationFailure();
    AllocationFailure(AllocationFailure const&) = delete;
    AllocationFailure& operator=(AllocationFailure const&) = delete;

    /// An allocation has been refused.
    bool Happened() const;
};

}  // namespace qzil::test
