// TKBlockArray<T>: a large array kept in fixed-size blocks. Growing adds blocks and never
// moves an element, so pointers to elements stay valid for the array's life (until the
// element is cut off by a smaller count), and no single huge allocation is needed.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "foundation/TKError.h"

template <class T>
class TKBlockArray {
public:
    // blockSize elements per block; a power of two keeps indexing to a shift and a mask.
    explicit TKBlockArray(int32_t blockShift = 12) {
        if (blockShift < 0 || blockShift > 24) TKThrow(ArgErr);
        fShift = blockShift;
    }
    // Copies are deep: each array owns its blocks, so element addresses are never shared.
    TKBlockArray(const TKBlockArray& other) : fShift(other.fShift) { CopyFrom(other); }
    TKBlockArray& operator=(const TKBlockArray& other) {
        if (this != &other) {
            TKBlockArray copy(other);
            *this = std::move(copy);
        }
        return *this;
    }
    TKBlockArray(TKBlockArray&&) noexcept = default;
    TKBlockArray& operator=(TKBlockArray&&) noexcept = default;

    int32_t Count() const { return fCount; }
    int32_t BlockSize() const { return int32_t(1) << fShift; }

    // Sets the count. New elements are default values; elements past a smaller count are
    // reset, and blocks that no longer hold any element are freed.
    void SetCount(int32_t n) {
        if (n < 0) TKThrow(ArgErr);
        size_t blocksNeeded = n == 0 ? 0 : size_t((int64_t(n) - 1) >> fShift) + 1;
        for (int32_t i = n; i < fCount && size_t(i >> fShift) < blocksNeeded; ++i) Slot(i) = T();
        if (blocksNeeded < fBlocks.size()) fBlocks.resize(blocksNeeded);
        try {
            while (fBlocks.size() < blocksNeeded) fBlocks.emplace_back(new T[size_t(BlockSize())]());
        } catch (const std::bad_alloc&) {
            TKThrow(MemFullErr);
        }
        fCount = n;
    }
    // Appends an element and returns a reference that stays valid while the array grows.
    T& Add(const T& element) {
        if (fCount == INT32_MAX) TKThrow(MemFullErr);
        T copy(element);
        SetCount(fCount + 1);
        T& slot = Slot(fCount - 1);
        slot = std::move(copy);
        return slot;
    }
    void Clear() { SetCount(0); }

    T& operator[](int32_t index) {
        Check(index);
        return Slot(index);
    }
    const T& operator[](int32_t index) const {
        Check(index);
        return const_cast<TKBlockArray*>(this)->Slot(index);
    }

private:
    void Check(int32_t index) const {
        if (index < 0 || index >= fCount) TKThrow(IndexError);
    }
    T& Slot(int32_t index) { return fBlocks[size_t(index >> fShift)][index & (BlockSize() - 1)]; }
    void CopyFrom(const TKBlockArray& other) {
        SetCount(other.fCount);
        for (int32_t i = 0; i < fCount; ++i) Slot(i) = other[i];
    }

    int32_t fShift = 12;
    int32_t fCount = 0;
    std::vector<std::unique_ptr<T[]>> fBlocks;
};
