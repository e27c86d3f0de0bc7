// TKMemoryCache: a small pool of freed heap blocks that makes the many short-lived strings of
// the parsers cheap. A cache used by another thread at the same moment is bypassed, never
// waited for; the heap serves that call instead.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

class TKMemoryCache {
public:
    explicit TKMemoryCache(int32_t slots);
    ~TKMemoryCache();
    TKMemoryCache(const TKMemoryCache&) = delete;
    TKMemoryCache& operator=(const TKMemoryCache&) = delete;

    // A block of at least size bytes. With maximum 0 only a parked block of exactly size bytes
    // is reused; otherwise any parked block of size to maximum bytes. *actualSize (if given)
    // receives the block's usable size. A block from the heap has the maximum (or size).
    // Null when the heap is exhausted.
    void* Allocate(std::size_t size, std::size_t maximum = 0, std::size_t* actualSize = nullptr);
    // Parks a block of the given size in a random slot, giving the slot's previous block back
    // to the heap. Null is ignored.
    void Free(void* block, std::size_t size);

    int32_t SlotCount() const { return fSlotCount; }
    // Blocks parked now; for tests and diagnostics.
    int32_t ParkedBlocks() const;

    // The two caches of the string class: character blocks and share counts. Both live
    // until the process ends, so strings in static objects may still be released late.
    static TKMemoryCache& CharacterCache();
    static TKMemoryCache& ShareCountCache();

private:
    // Next slot by the multiply-with-carry generator: cheap, and good enough to spread
    // replacements over the slots.
    uint32_t NextSlot();

    std::atomic<int32_t> fBusy{0};
    int32_t fSlotCount;
    std::unique_ptr<void*[]> fBlocks;
    std::unique_ptr<std::size_t[]> fSizes;
    uint32_t fZ = 362436069u;
    uint32_t fW = 521288629u;
};
