// TKMemoryCache: the reuse rules, the random replacement of a full cache, the bypass of a busy
// cache, and strings that behave the same however the caches happen to be filled.
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "foundation/TKMemoryCache.h"
#include "foundation/TKString.h"
#include "support/TestSupport.h"

TEST(MemoryCache, ReusesBlocksOfTheExactSizeOrInTheAllowedRange) {
    TKMemoryCache cache(1);
    size_t size = 0;
    void* block = cache.Allocate(40, 0, &size);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(size, 40u);
    cache.Free(block, 40);
    EXPECT_EQ(cache.ParkedBlocks(), 1);
    void* other = cache.Allocate(30, 0, &size);  // no maximum: only 30 exactly
    EXPECT_NE(other, block);
    EXPECT_EQ(size, 30u);
    EXPECT_EQ(cache.Allocate(30, 50, &size), block);  // 40 lies in 30..50
    EXPECT_EQ(size, 40u);
    EXPECT_EQ(cache.ParkedBlocks(), 0);
    cache.Free(block, 40);
    void* fresh = cache.Allocate(41, 60, &size);  // nothing fits: the heap gives the maximum
    EXPECT_NE(fresh, block);
    EXPECT_EQ(size, 60u);
    std::memset(fresh, 0xAB, size);
    cache.Free(other, 30);  // one slot: the parked 40-byte block goes back to the heap
    EXPECT_EQ(cache.ParkedBlocks(), 1);
    EXPECT_EQ(cache.Allocate(30, 0, &size), other);
    std::free(other);
    std::free(fresh);
}

TEST(MemoryCache, FullCacheDropsRandomBlocksAndNeverHoldsMoreThanItsSlots) {
    TKMemoryCache cache(8);
    std::vector<void*> blocks;
    for (int i = 0; i < 100; ++i) blocks.push_back(cache.Allocate(16));
    for (void* b : blocks) cache.Free(b, 16);
    EXPECT_LE(cache.ParkedBlocks(), 8);
    EXPECT_GT(cache.ParkedBlocks(), 1);  // the slots are spread, not always the same one
    // Each allocation of the size takes one parked block until none is left.
    for (int parked = cache.ParkedBlocks(); parked > 0; --parked) {
        void* b = cache.Allocate(16);
        EXPECT_EQ(cache.ParkedBlocks(), parked - 1);
        std::free(b);
    }
    TKMemoryCache none(0);
    void* b = none.Allocate(8);
    none.Free(b, 8);
    EXPECT_EQ(none.ParkedBlocks(), 0);
    none.Free(nullptr, 8);
}

TEST(MemoryCache, ThreadsSharingACacheNeverShareABlock) {
    TKMemoryCache cache(4);
    std::atomic<int> bad{0};
    auto work = [&cache, &bad](unsigned char mark) {
        for (int i = 0; i < 20000; ++i) {
            size_t size = 0;
            auto* b = static_cast<unsigned char*>(cache.Allocate(24, 32, &size));
            std::memset(b, mark, size);
            std::this_thread::yield();
            for (size_t k = 0; k < size; ++k) bad += b[k] != mark;
            cache.Free(b, size);
        }
    };
    std::vector<std::thread> threads;
    for (unsigned char m = 1; m <= 4; ++m) threads.emplace_back(work, m);
    for (auto& t : threads) t.join();
    EXPECT_EQ(bad.load(), 0);
}

TEST(MemoryCache, StringsAcrossThreadsKeepTheirText) {
    // Copies of one block are released on many threads at once; the atomic share count and
    // the bypassed caches must leave every text intact and free the block exactly once.
    TKString shared("shared text that every thread copies");
    std::atomic<int> bad{0};
    auto work = [&shared, &bad](int id) {
        for (int i = 0; i < 5000; ++i) {
            TKString copy = shared;
            TKString own = TKString::Format("%d:%d", id, i);
            own.Append(copy);
            TKString again = own;
            again.Append('!');
            if (std::string(own.CString()) != std::to_string(id) + ":" + std::to_string(i) + shared.CString())
                ++bad;
            if (again.Length() != own.Length() + 1 || copy.CString() != shared.CString()) ++bad;
        }
    };
    std::vector<std::thread> threads;
    for (int id = 0; id < 4; ++id) threads.emplace_back(work, id);
    for (auto& t : threads) t.join();
    EXPECT_EQ(bad.load(), 0);
    EXPECT_STREQ(shared.CString(), "shared text that every thread copies");
}
