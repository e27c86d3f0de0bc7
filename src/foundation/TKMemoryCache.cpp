// The block pool behind strings: a busy count decides whether this call may use the slots;
// a call that finds the cache busy goes to the heap at once.
#include "foundation/TKMemoryCache.h"

#include <cstdlib>

namespace {
// One call's turn at the slots. A call that finds the busy count above 0 leaves at once
// without touching it; otherwise one compare-and-swap from 0 to 1 makes it the owner, and
// the owner's release is a plain store. This keeps the uncontended cost to a single locked
// instruction, which is what decides whether the cache beats the heap at all.
class TKCacheTurn {
public:
    explicit TKCacheTurn(std::atomic<int32_t>& busy) : fBusy(busy) {
        int32_t idle = 0;
        fOwner = busy.load(std::memory_order_relaxed) == 0 &&
                 busy.compare_exchange_strong(idle, 1, std::memory_order_acquire, std::memory_order_relaxed);
    }
    ~TKCacheTurn() {
        if (fOwner) fBusy.store(0, std::memory_order_release);
    }
    bool Owner() const { return fOwner; }

private:
    std::atomic<int32_t>& fBusy;
    bool fOwner = false;
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
            // Empty slots have size 0 and never fit, so the scan reads only the sizes.
            for (int32_t i = 0; i < fSlotCount; ++i) {
                std::size_t blockSize = fSizes[i];
                bool fits = maximum ? (blockSize >= size && blockSize <= maximum) : blockSize == size;
                if (fits) {
                    void* block = fBlocks[i];
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
// Slot counts are small on purpose: a miss scans every slot, and against a modern heap
// allocator a long scan costs more than it saves. Share counts all have one size, so any
// parked one fits and a few slots suffice.
TKMemoryCache& TKMemoryCache::CharacterCache() {
    static TKMemoryCache* cache = new TKMemoryCache(16);
    return *cache;
}

TKMemoryCache& TKMemoryCache::ShareCountCache() {
    static TKMemoryCache* cache = new TKMemoryCache(8);
    return *cache;
}
