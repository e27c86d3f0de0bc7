// The block pool behind strings: a busy count taken with one atomic add decides whether this
// call may use the slots; a loser goes to the heap at once.
#include "foundation/TKMemoryCache.h"

#include <cstdlib>

namespace {
// Holds the busy count for one call; owns the slots only if the count was 0 before.
class TKCacheTurn {
public:
    explicit TKCacheTurn(std::atomic<int32_t>& busy)
        : fBusy(busy), fOwner(busy.fetch_add(1, std::memory_order_acquire) == 0) {}
    ~TKCacheTurn() { fBusy.fetch_sub(1, std::memory_order_release); }
    bool Owner() const { return fOwner; }

private:
    std::atomic<int32_t>& fBusy;
    bool fOwner;
};
}  // namespace

TKMemoryCache::TKMemoryCache(int32_t slots)
    : fSlotCount(slots > 0 ? slots : 0),
      fBlocks(new void*[std::size_t(fSlotCount) + 1]()),
      fSizes(new std::size_t[std::size_t(fSlotCount) + 1]()) {}

TKMemoryCache::~TKMemoryCache() {
    for (int32_t i = 0; i < fSlotCount; ++i) std::free(fBlocks[i]);
}

void* TKMemoryCache::Allocate(std::size_t size, std::size_t maximum, std::size_t* actualSize) {
    if (size == 0) size = 1;
    if (fSlotCount > 0) {
        TKCacheTurn turn(fBusy);
        if (turn.Owner()) {
            for (int32_t i = 0; i < fSlotCount; ++i) {
                void* block = fBlocks[i];
                std::size_t blockSize = fSizes[i];
                bool fits = maximum ? (blockSize >= size && blockSize <= maximum) : blockSize == size;
                if (block && fits) {
                    fBlocks[i] = nullptr;
                    fSizes[i] = 0;
                    if (actualSize) *actualSize = blockSize;
                    return block;
                }
            }
        }
    }
    // The heap gives the whole reservation, so a caller that allows a range gets its top.
    std::size_t heapSize = maximum > size ? maximum : size;
    void* block = std::malloc(heapSize);
    if (actualSize) *actualSize = block ? heapSize : 0;
    return block;
}

void TKMemoryCache::Free(void* block, std::size_t size) {
    if (!block) return;
    if (fSlotCount > 0) {
        TKCacheTurn turn(fBusy);
        if (turn.Owner()) {
            uint32_t slot = NextSlot() % uint32_t(fSlotCount);
            std::free(fBlocks[slot]);
            fBlocks[slot] = block;
            fSizes[slot] = size;
            return;
        }
    }
    std::free(block);
}

uint32_t TKMemoryCache::NextSlot() {
    uint32_t value = (fZ << 16) + (fW & 65535u);
    fZ = 36969u * (fZ & 65535u) + (fZ >> 16);
    fW = 18000u * (fW & 65535u) + (fW >> 16);
    return value;
}

int32_t TKMemoryCache::ParkedBlocks() const {
    int32_t n = 0;
    for (int32_t i = 0; i < fSlotCount; ++i) n += fBlocks[i] != nullptr;
    return n;
}

// Never destroyed: a string held by a static object may be released after the caches of a
// normal static would already be gone. Their parked blocks stay reachable, not leaked.
TKMemoryCache& TKMemoryCache::CharacterCache() {
    static TKMemoryCache* cache = new TKMemoryCache(64);
    return *cache;
}

TKMemoryCache& TKMemoryCache::ShareCountCache() {
    static TKMemoryCache* cache = new TKMemoryCache(64);
    return *cache;
}
