#include "qzil/image/memory_pool.h"

#include "qzil/image/image.h"
#include "qzil/image/image_ops.h"
#include "support/allocation_hook.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

namespace {

using namespace qzil::test;
using namespace qzil::platform;

struct Block {
    void* pBlock;
    std::uint32_t uSize;
};

// Random calls against lists of what has to be kept: the newest blocks of each class, as many as its count says and one
// at least. Blocks of the first class serve their exact size, those of the others any size of as many pages.
TEST(Pool, KeepsTheNewestBlocksOfEachClass) {
    constexpr std::uint32_t kLimits[] = {4000, 12288, 20480}, kCounts[] = {2, 1, 0};
    constexpr std::uint32_t kSizes[] = {2999, 3000,  3001,  4000,  4001,  4096,  4097, 8192,
                                        8193, 12288, 12289, 16384, 16385, 20480, 20481};
    qzILMemoryPool pool(kCounts[0], 4000, kCounts[1], 10000, kCounts[2], 20000);
    std::vector<Block> kept[4], used;
    used.reserve(16);
    for (auto& list : kept) list.reserve(16);
    auto const classOf = [&](std::uint32_t size) { return std::ranges::lower_bound(kLimits, size) - kLimits; };
    auto const live = LiveBlocks();
    Random random(5);
    for (int step = 0; step < 5000; ++step) {
        if (used.size() == 8 || (random.OneIn(2) && !used.empty())) {
            auto const released = used.begin() + random.Below(static_cast<int>(used.size()));
            auto const sizeClass = classOf(released->uSize);
            pool.ReleaseMemory(released->pBlock);
            if (sizeClass < 3) {
                auto& list = kept[sizeClass];
                list.insert(list.begin(), *released);
                list.resize(std::min<std::size_t>(list.size(), std::max(kCounts[sizeClass], 1u)));
            }
            used.erase(released);
        } else {
            std::uint32_t const size = kSizes[random.Below(std::size(kSizes))];
            auto const sizeClass = classOf(size);
            std::uint32_t const served = sizeClass == 0 ? size : (size + 4095) / 4096 * 4096;
            auto& list = kept[sizeClass];
            auto const hit = std::ranges::find(list, served, &Block::uSize);
            AllocationCounter const counter;
            void* block = nullptr;
            ASSERT_EQ(pool.AllocateMemory(size, &block), kOk);
            ASSERT_EQ(counter.Bytes() >= 1000, hit == list.end()) << size << " at step " << step;
            if (hit != list.end()) {
                ASSERT_EQ(block, hit->pBlock) << size << " at step " << step;
                list.erase(hit);
            }
            ASSERT_TRUE(sizeClass == 0 || reinterpret_cast<std::uintptr_t>(block) % 4096 == 0);
            std::memset(block, 0xEE, size);
            used.push_back({block, served});
        }
        // A block and its record each; the largest have none.
        auto const large = std::ranges::count_if(used, [&](Block const& b) { return classOf(b.uSize) == 3; });
        std::size_t const known = kept[0].size() + kept[1].size() + kept[2].size() + used.size();
        ASSERT_EQ(LiveBlocks() - live, static_cast<std::int64_t>(2 * known) - large) << "step " << step;
    }
    for (Block const& block : used) pool.ReleaseMemory(block.pBlock);
}

TEST(Pool, RoundsUpToPages) {
    qzILMemoryPool const pool(1, 4000, 1, 10000, 1, 20000);
    for (auto const& [size, pages] : {std::pair{0u, 0u}, {1u, 1u}, {4096u, 1u}, {4097u, 2u}, {40960u, 10u}}) {
        EXPECT_EQ(pool.RndUpToPageSize(size), pages * 4096);
    }
}

TEST(Pool, ClearingAndTheDestructorFreeWhatIsKept) {
    auto const live = LiveBlocks();
    {
        qzILMemoryPool pool(1, 4000, 1, 10000, 1, 20000);
        for (std::uint32_t size : {3000u, 8000u, 16000u}) {
            void* block = nullptr;
            ASSERT_EQ(pool.AllocateMemory(size, &block), kOk);
            pool.ReleaseMemory(block);
        }
        auto const kept = LiveBlocks();
        pool.PrintImagePoolStatus(1);
        pool.ClearPool(3);
        EXPECT_EQ(LiveBlocks(), kept);
        pool.ClearPool(1);
        EXPECT_LT(LiveBlocks(), kept);
        pool.ReleaseMemory(nullptr);
    }
    EXPECT_EQ(LiveBlocks(), live);
}

void ClearClasses(qzILMemoryPool& pool) {
    for (int i = 0; i < qzILMemoryPool::kClasses; ++i) pool.ClearPool(i);
}

TEST(Pool, AFailureClearsThePoolAndTriesAgain) {
    qzILMemoryPool pool(2, 4000, 1, 10000, 1, 20000);
    void* block = nullptr;
    for (std::uint32_t size : {3500u, 8000u, 16000u, 50000u}) {
        pool.AllocateMemory(3000, &block);
        pool.ReleaseMemory(block);
        auto const live = LiveBlocks();
        AllocationFailure const failure(1);
        EXPECT_EQ(pool.AllocateMemory(size, &block), kOk) << size;
        EXPECT_TRUE(failure.Happened());
        EXPECT_NE(block, nullptr);
        EXPECT_LE(LiveBlocks(), live) << "the block of 3000 bytes is gone";
        pool.ReleaseMemory(block);
    }
    for (std::uint32_t size : {3500u, 8000u, 16000u, 50000u}) {
        for (std::uint64_t nth : {1u, 2u, 3u}) {
            ClearClasses(pool);
            auto const live = LiveBlocks();
            block = &block;
            HRESULT result = kOk;
            bool happened = false;
            {
                AllocationFailure const failure(nth, AllocationFailure::Extent::AllFrom);
                result = pool.AllocateMemory(size, &block);
                happened = failure.Happened();
            }
            EXPECT_EQ(result, happened ? kOutOfMemory : kOk) << size << ' ' << nth;
            EXPECT_EQ(block == nullptr, happened);
            EXPECT_TRUE(!happened || LiveBlocks() == live) << size << ' ' << nth;
            pool.ReleaseMemory(block);
        }
    }
}

TEST(ImagePool, ASecondFrameOfOneSizeAsksTheSystemForNothing) {
    // Exact sizes up to 40960 bytes, whole pages above; the object and its records are below 4096.
    for (auto const& [first, second, asked] : {std::tuple{40928, 40929, true},
                                               {40930, 45025, false},
                                               {64 * 64 * 4, 64 * 64 * 4, false},
                                               {720 * 2304, 720 * 2304, false},
                                               {4096 * 3112 * 4, 4096 * 3112 * 4, false}}) {
        { auto const image = MakeImage(MFIF_MONO_RAW_8, first, 1); }
        AllocationCounter const counter;
        EXPECT_TRUE(MakeImage(MFIF_MONO_RAW_8, second, 1));
        EXPECT_EQ(counter.Bytes() >= 4096, asked) << first;
    }
    ClearClasses(*CMFImage::s_pImageMemoryPool);
}

// Runs an action with its 1st, 2nd, ... allocation and all behind it refused, until it needs no more.
template <class Action>
void WithEachFailure(Action action) {
    for (std::uint64_t nth = 1; nth < 100; ++nth) {
        if (auto* const pool = CMFImage::s_pImageMemoryPool) ClearClasses(*pool);
        auto const live = LiveBlocks();
        bool happened = false;
        HRESULT result = kOk;
        void* out = nullptr;
        {
            AllocationFailure const failure(nth, AllocationFailure::Extent::AllFrom);
            result = action(&out);
            happened = failure.Happened();
        }
        if (result != kOk) {
            EXPECT_TRUE(happened);
            EXPECT_EQ(out, nullptr) << nth;
            EXPECT_EQ(LiveBlocks(), live) << "leak at allocation " << nth;
        }
        if (out) static_cast<IUnknown*>(out)->Release();
        if (!happened) {
            EXPECT_EQ(result, kOk);
            return;
        }
    }
    FAIL() << "never ran without a refusal";
}

/// The same, where out of memory is the only failure.
template <class Action>
void ExpectOutOfMemory(Action action) {
    WithEachFailure([&](void** out) {
        HRESULT const result = action(out);
        EXPECT_TRUE(result == kOk || result == kOutOfMemory) << result;
        return result;
    });
}

TEST(AllocationFailures, CreateGivesOutOfMemory) {
    CMFImage::ClearImagePool();
    EXPECT_EQ(CMFImage::s_pImageMemoryPool, nullptr);
    // The object, then the pool itself.
    for (std::uint64_t nth : {1u, 2u}) {
        AllocationFailure const failure(nth, AllocationFailure::Extent::AllFrom);
        void* out = nullptr;
        EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFImage, &out), kOutOfMemory);
    }
    EXPECT_TRUE(MakeImage(MFIF_RGBA_RAW_32, 4, 4));
    EXPECT_NE(CMFImage::s_pImageMemoryPool, nullptr) << "built again";
    int refused = 0;
    ExpectOutOfMemory([&](void** out) {
        HRESULT const result = qzILCreateAndAllocImage(nullptr, IID_IXFImage, 100, 200, MFIF_RGBA_RAW_32, out);
        refused += result != kOk;
        return result;
    });
    EXPECT_GE(refused, 2) << "object and pixels";
}

TEST(AllocationFailures, CloneAndCopyStayConsistent) {
    auto const source = MakeRandomImage(MFIF_CbYCrYA_24, 120, 90, 3);
    auto const clone = As<IXFImageClone>(source.Get(), IID_IXFImageClone);
    ExpectOutOfMemory([&](void** out) { return clone->CloneNoData(IID_IXFImage, out); });
    ExpectOutOfMemory([&](void** out) {
        HRESULT const result = clone->Clone(IID_IXFImage, out);
        if (result != kOk) return result;
        // A clone whose pixels could not be had is handed out without them.
        auto const bytes = Bytes(static_cast<IXFImage*>(*out));
        EXPECT_TRUE(bytes.empty() || !FirstDifference(bytes, Bytes(source)));
        return result;
    });
    std::vector<unsigned char> const before(Bytes(source).begin(), Bytes(source).end());
    qzILBbox2l const region(0, 0, 100, 80);
    qzILVector2l const offset(2, 1);
    WithEachFailure([&](void**) {
        HRESULT const result = qzILCopyImage(source.Get(), source.Get(), &region, &offset, 0);
        EXPECT_TRUE(result == kOk || !FirstDifference(before, Bytes(source))) << "untouched";
        return result;
    });
    auto const target = MakeRandomImage(MFIF_MONO_RAW_8, 4, 4, 1);
    WithEachFailure([&](void**) {
        HRESULT const result = target->CopyFrom(source.Get());
        EXPECT_TRUE(result == kOk || (result == kOutOfMemory && Bytes(target).empty())) << result;
        if (result != kOk) target->Allocate(0, 0);
        return kOk;
    });
    EXPECT_EQ(target->IsEqual(source.Get()), 0);
}

TEST(AllocationFailures, AllocateLoadAndRegionsGiveTheirCodes) {
    auto const image = MakeRandomImage(MFIF_RGBA_RAW_32, 8, 8, 1);
    ClearClasses(*CMFImage::s_pImageMemoryPool);
    unsigned char buffer[4];
    {
        AllocationFailure const failure(1, AllocationFailure::Extent::AllFrom);
        EXPECT_EQ(image->CopyRegion(buffer, 0, 0, 1, 1), kFailure);
        EXPECT_EQ(image->PasteRegion(buffer, 0, 0, 1, 1), kFailure);
        EXPECT_EQ(image->Allocate(50, 60), kOutOfMemory);
    }
    EXPECT_TRUE(Bytes(image).empty());
    int w = 9, h = 9;
    image->GetRes(&w, &h);
    EXPECT_EQ(w + h, 0);
    EXPECT_EQ(FormatOf(image.Get()), MFIF_RGBA_RAW_32);
    EXPECT_EQ(image->Allocate(50, 60), kOk);
    auto const live = LiveBlocks();
    {
        AllocationFailure const failure(1, AllocationFailure::Extent::AllFrom);
        void* out = nullptr;
        EXPECT_LT(image->QueryInterface(IID_IMarshal, &out), 0);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(LiveBlocks(), live);
}

TEST(Threads, MakeImagesSideBySide) {
    auto const work = [](std::uint64_t seed, bool* good) {
        Random random(seed);
        *good = true;
        for (int i = 0; i < 300; ++i) {
            auto const image =
                MakeRandomImage(MFIF_CbYCrY_16, random.Between(2, 300), random.Between(2, 200), seed + i);
            qzil::Ref<IXFImage> clone;
            *good = *good && image && qzILCloneImage(image.Get(), IID_IXFImage, clone.Out()) == kOk &&
                    clone->IsEqual(image.Get()) == kOk;
        }
    };
    bool good[2] = {};
    std::thread first(work, 1, &good[0]), second(work, 1000, &good[1]);
    first.join();
    second.join();
    EXPECT_TRUE(good[0] && good[1]);
}

TEST(Threads, AskOneImageForItsMarshaler) {
    auto const live = LiveBlocks();
    for (int i = 0; i < 200; ++i) {
        auto const image = MakeImage(MFIF_MONO_RAW_8, 1, 1);
        std::atomic<int> ready = 0;
        auto const ask = [&] {
            for (++ready; ready < 2;) {
            }
            As<IMarshal>(image.Get(), IID_IMarshal);
        };
        std::thread first(ask), second(ask);
        first.join();
        second.join();
    }
    EXPECT_LE(LiveBlocks(), live + 4);
}

}  // namespace
