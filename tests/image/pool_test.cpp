#include "qzil/image/memory_pool.h"

#include "qzil/image/image.h"
#include "qzil/image/image_ops.h"
#include "support/allocation_hook.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace {

using namespace qzil::test;
using namespace qzil::platform;

constexpr std::uint32_t kLimit0 = 4000, kLimit1 = 10000, kLimit2 = 20000;  // the last two become 12288 and 20480

// A pool whose calls say whether the system was asked: the pool's own records are far smaller than any block here.
class PoolTest : public ::testing::Test {
protected:
    void* Take(std::uint32_t size) {
        AllocationCounter const counter;
        void* block = nullptr;
        EXPECT_EQ(m_oPool.AllocateMemory(size, &block), kOk);
        m_bAskedSystem = counter.Bytes() >= 1000;
        if (block) std::memset(block, 0xEE, size);
        return block;
    }
    void* TakeFresh(std::uint32_t size) {
        void* const block = Take(size);
        EXPECT_TRUE(m_bAskedSystem) << size;
        return block;
    }
    void ExpectKept(std::uint32_t size, void* expected) {
        EXPECT_EQ(Take(size), expected) << size;
        EXPECT_FALSE(m_bAskedSystem) << size;
    }
    void Release(std::initializer_list<void*> blocks) {
        for (void* block : blocks) m_oPool.ReleaseMemory(block);
    }

    qzILMemoryPool m_oPool{2, kLimit0, 1, kLimit1, 1, kLimit2};
    bool m_bAskedSystem = false;
};

TEST_F(PoolTest, RoundsUpToPages) {
    for (auto const& [size, rounded] :
         {std::pair{0u, 0u}, {1u, 4096u}, {4096u, 4096u}, {4097u, 8192u}, {40960u, 40960u}}) {
        EXPECT_EQ(m_oPool.RndUpToPageSize(size), rounded);
    }
}

TEST_F(PoolTest, SmallBlocksAreReusedAtTheirExactSizeOnly) {
    void* const a = TakeFresh(3000);
    Release({a});
    void* const b = TakeFresh(3001);
    void* const c = TakeFresh(2999);
    ExpectKept(3000, a);
    Release({a, b, c});
}

TEST_F(PoolTest, LargeBlocksAreReusedWhenTheirPagesAgree) {
    void* const a = TakeFresh(4001);
    Release({a});
    ExpectKept(4096, a);
    Release({a});
    void* const b = TakeFresh(4097);
    ExpectKept(4050, a);
    Release({a, b});
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b) % 4096, 0u);
}

TEST_F(PoolTest, LimitsAreRoundedToPagesAndSeparateTheClasses) {
    // One block kept in each of the classes 1 and 2: the kept one of the other class does not get in the way.
    void* const last1 = TakeFresh(12288);
    void* const first2 = TakeFresh(12289);
    Release({last1, first2});
    ExpectKept(12288, last1);
    ExpectKept(16384, first2);
    Release({last1, first2});
    void* const other1 = TakeFresh(8192);
    Release({other1});
    ExpectKept(12289, first2);
    EXPECT_NE(TakeFresh(12288), nullptr) << "pushed out by a block of its own class";
    void* const last2 = TakeFresh(20480);
    Release({last2});
    ExpectKept(20480, last2);
    Release({last2, first2});
}

TEST_F(PoolTest, KeepsTheNewestUpToItsCount) {
    void* const a = TakeFresh(3000);
    void* const b = TakeFresh(3000);
    void* const c = TakeFresh(3000);
    auto const live = LiveBlocks();
    Release({a, b});
    EXPECT_EQ(LiveBlocks(), live) << "two lists of two records, no block freed";
    Release({c});
    EXPECT_LT(LiveBlocks(), live) << "the oldest is gone";
    ExpectKept(3000, c);
    ExpectKept(3000, b);
    void* const fresh = TakeFresh(3000);
    Release({b, c, fresh});
}

TEST_F(PoolTest, ACountOfOneLeavesTheMostRecent) {
    void* const a = TakeFresh(5000);
    void* const b = TakeFresh(5000);
    Release({a, b});
    ExpectKept(5000, b);
    void* const c = TakeFresh(5000);
    Release({b, c});
}

TEST_F(PoolTest, ACountOfNoneStillKeepsTheLastRelease) {
    qzILMemoryPool pool(0, 4000, 0, 10000, 0, 20000);
    void *a = nullptr, *again = nullptr;
    ASSERT_EQ(pool.AllocateMemory(3000, &a), kOk);
    pool.ReleaseMemory(a);
    ASSERT_EQ(pool.AllocateMemory(3000, &again), kOk);
    EXPECT_EQ(again, a);
    pool.ReleaseMemory(again);
}

TEST_F(PoolTest, HugeBlocksAreServedAndFreedDirectly) {
    auto const live = LiveBlocks();
    void* const a = TakeFresh(20481);
    EXPECT_EQ(LiveBlocks(), live + 1) << "tracked nowhere";
    Release({a});
    EXPECT_EQ(LiveBlocks(), live);
    Release({TakeFresh(20481)});
}

TEST_F(PoolTest, ClearingAndTheDestructorFreeWhatIsKept) {
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

TEST_F(PoolTest, AFailureClearsThePoolAndTriesAgain) {
    void* const kept = TakeFresh(3000);
    Release({kept});
    for (std::uint32_t size : {3500u, 8000u, 16000u, 50000u}) {
        auto const live = LiveBlocks();
        void* block = nullptr;
        {
            AllocationFailure const failure(1);
            EXPECT_EQ(m_oPool.AllocateMemory(size, &block), kOk) << size;
            EXPECT_TRUE(failure.Happened());
        }
        EXPECT_NE(block, nullptr);
        EXPECT_LE(LiveBlocks(), live + 2);
        Release({block});
    }
    Release({TakeFresh(3000)});
    for (std::uint32_t size : {3500u, 8000u, 16000u, 50000u}) {
        m_oPool.ClearPool(0);
        m_oPool.ClearPool(1);
        m_oPool.ClearPool(2);
        auto const live = LiveBlocks();
        for (std::uint64_t nth : {1u, 2u, 3u}) {
            void* block = &block;
            HRESULT result = kOk;
            bool happened = false;
            {
                AllocationFailure const failure(nth, AllocationFailure::Extent::AllFrom);
                result = m_oPool.AllocateMemory(size, &block);
                happened = failure.Happened();
            }
            EXPECT_EQ(result, happened ? kOutOfMemory : kOk) << size << ' ' << nth;
            EXPECT_EQ(block == nullptr, happened);
            if (happened) {
                EXPECT_EQ(LiveBlocks(), live) << size << ' ' << nth;
            }
            m_oPool.ReleaseMemory(block);
            for (int c = 0; c < 3; ++c) m_oPool.ClearPool(c);
        }
    }
}

TEST(ImagePool, IsBuiltAgainAfterItWasCleared) {
    CMFImage::ClearImagePool();
    EXPECT_EQ(CMFImage::s_pImageMemoryPool, nullptr);
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 10, 10);
    EXPECT_NE(CMFImage::s_pImageMemoryPool, nullptr);
}

TEST(ImagePool, ASecondFrameOfOneSizeAsksTheSystemForNothing) {
    for (auto const& [w, h] : {std::pair{64, 64}, {720, 576}, {1920, 1080}, {4096, 3112}}) {
        { auto const first = MakeImage(MFIF_RGBA_RAW_32, w, h); }
        AllocationCounter const counter;
        auto const second = MakeImage(MFIF_RGBA_RAW_32, w, h);
        EXPECT_LT(counter.Bytes(), 4096u) << w << ": the object and its records, no pixels";
        EXPECT_TRUE(second);
    }
}

TEST(ImagePool, LimitsOfTheImagesPool) {
    auto const askedFor = [](std::uint32_t first, std::uint32_t second) {
        auto& pool = *CMFImage::s_pImageMemoryPool;
        void* block = nullptr;
        pool.AllocateMemory(first, &block);
        pool.ReleaseMemory(block);
        AllocationCounter const counter;
        pool.AllocateMemory(second, &block);
        pool.ReleaseMemory(block);
        return counter.Bytes() >= second;
    };
    auto const image = MakeImage(MFIF_MONO_RAW_8, 1, 1);
    EXPECT_TRUE(askedFor(40959, 40960)) << "exact sizes up to 40960";
    EXPECT_FALSE(askedFor(40961, 45056)) << "whole pages above";
    EXPECT_FALSE(askedFor(0x2000000, 0x2000000));
    for (int c = 0; c < 3; ++c) CMFImage::s_pImageMemoryPool->ClearPool(c);
}

// Runs an action with its 1st, 2nd, ... allocation and all behind it refused, until it needs no more.
template <class Action>
void WithEachFailure(Action action) {
    for (std::uint64_t nth = 1; nth < 100; ++nth) {
        if (auto* const pool = CMFImage::s_pImageMemoryPool) {
            for (int c = 0; c < 3; ++c) pool->ClearPool(c);
        }
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

TEST(AllocationFailures, CreateGivesOutOfMemory) {
    int refused = 0;
    WithEachFailure([&](void** out) {
        HRESULT const result = qzILCreateAndAllocImage(nullptr, IID_IXFImage, 100, 200, MFIF_RGBA_RAW_32, out);
        if (result != kOk) {
            EXPECT_EQ(result, kOutOfMemory);
            ++refused;
        }
        return result;
    });
    EXPECT_GE(refused, 2) << "object and pixels";
    CMFImage::ClearImagePool();
    {
        AllocationFailure const failure(1, AllocationFailure::Extent::AllFrom);
        void* out = nullptr;
        EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFImage, &out), kOutOfMemory);
    }
    {
        AllocationFailure const failure(2, AllocationFailure::Extent::AllFrom);
        void* out = nullptr;
        EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFImage, &out), kOutOfMemory) << "the pool itself";
    }
    EXPECT_TRUE(MakeImage(MFIF_RGBA_RAW_32, 4, 4));
}

TEST(AllocationFailures, CloneAndCopyStayConsistent) {
    auto const source = MakeRandomImage(MFIF_CbYCrYA_24, 120, 90, 3);
    auto const clone = As<IXFImageClone>(source.Get(), IID_IXFImageClone);
    WithEachFailure([&](void** out) {
        HRESULT const result = clone->CloneNoData(IID_IXFImage, out);
        if (result != kOk) {
            EXPECT_EQ(result, kOutOfMemory);
        }
        return result;
    });
    WithEachFailure([&](void** out) {
        HRESULT const result = clone->Clone(IID_IXFImage, out);
        // A clone whose pixels could not be had is handed out without them.
        if (result != kOk) {
            EXPECT_EQ(result, kOutOfMemory);
        }
        if (result == kOk) {
            auto const bytes = Bytes(static_cast<IXFImage*>(*out));
            EXPECT_TRUE(bytes.empty() || !FirstDifference(bytes, Bytes(source)));
        }
        return result;
    });
    std::vector<unsigned char> const before(Bytes(source).begin(), Bytes(source).end());
    qzILBbox2l const region(0, 0, 100, 80);
    qzILVector2l const offset(2, 1);
    WithEachFailure([&](void**) {
        HRESULT const result = qzILCopyImage(source.Get(), source.Get(), &region, &offset, 0);
        if (result != kOk) {
            EXPECT_EQ(DescribeDifference(before, Bytes(source)), "") << "untouched";
        }
        return result;
    });
    auto const target = MakeRandomImage(MFIF_MONO_RAW_8, 4, 4, 1);
    WithEachFailure([&](void**) {
        HRESULT const result = target->CopyFrom(source.Get());
        if (result != kOk) {
            EXPECT_EQ(result, kOutOfMemory);
            EXPECT_TRUE(Bytes(target).empty());
            target->Allocate(0, 0);
        }
        return kOk;
    });
    EXPECT_EQ(target->IsEqual(source.Get()), 0);
}

TEST(AllocationFailures, AllocateLoadAndRegionsGiveTheirCodes) {
    auto const image = MakeRandomImage(MFIF_RGBA_RAW_32, 8, 8, 1);
    for (int c = 0; c < 3; ++c) CMFImage::s_pImageMemoryPool->ClearPool(c);
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

}  // namespace
