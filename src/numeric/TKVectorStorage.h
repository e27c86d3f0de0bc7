// Storage shared by the engine's vectors: up to 8 elements inline, more in a counted heap
// block that copies share until one of them writes (copy-on-write).
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <new>

#include "foundation/TKError.h"

// The heap block behind a vector of more than 8 elements. Copies of the vector share it;
// the last one to let go deletes it.
template <class T>
class TKVectorBlock {
public:
    explicit TKVectorBlock(int32_t count) : Count(count), Values(new (std::nothrow) T[count]()) {
        if (!Values) TKThrow(MemFullErr);
    }
    virtual ~TKVectorBlock() { delete[] Values; }
    TKVectorBlock(const TKVectorBlock&) = delete;
    TKVectorBlock& operator=(const TKVectorBlock&) = delete;

    int32_t Count;
    T* Values;
    std::atomic<int32_t> Shares{1};
};

// Inline buffer, optional shared block and element count. Invariant: a store of at most
// kInline elements that doesn't share keeps them inline; a larger one lives in Shared.
template <class T, class Block>
class TKVectorStore {
public:
    static constexpr int32_t kInline = 8;

    TKVectorStore() noexcept = default;
    TKVectorStore(const TKVectorStore& other) { CopyFrom(other); }
    TKVectorStore(TKVectorStore&& other) noexcept { MoveFrom(other); }
    ~TKVectorStore() { Drop(); }
    TKVectorStore& operator=(const TKVectorStore& other) {
        if (this != &other) {
            Drop();
            CopyFrom(other);
        }
        return *this;
    }
    TKVectorStore& operator=(TKVectorStore&& other) noexcept {
        if (this != &other) {
            Drop();
            MoveFrom(other);
        }
        return *this;
    }

    int32_t Dim() const noexcept { return fDim; }
    const T* Data() const noexcept { return fData; }
    // Writable elements; makes the storage private first.
    T* MutableData() {
        MakeUnique();
        return fData;
    }
    bool IsShared() const noexcept { return fShared && fShared->Shares.load(std::memory_order_acquire) > 1; }

    // Clones a block that another store also holds, so that writing here can't be seen there.
    void MakeUnique() {
        if (!IsShared()) return;
        Block* clone = new Block(fDim);
        std::copy(fData, fData + fDim, clone->Values);
        Drop();
        Adopt(clone);
    }

    // Changes the element count; kept elements stay, new elements are zero.
    void Resize(int32_t dim) {
        if (dim < 0) TKThrow(ArgErr);
        if (!fShared && dim <= kInline) {
            std::fill(fData + std::min(fDim, dim), fData + dim, T());
            fDim = dim;
            return;
        }
        if (dim == fDim) return;
        int32_t kept = std::min(fDim, dim);
        if (dim <= kInline) {
            T saved[kInline] = {};
            std::copy(fData, fData + kept, saved);
            Drop();
            std::copy(saved, saved + kInline, fInline);
            fData = fInline;
            fDim = dim;
            return;
        }
        Block* block = new Block(dim);  // zero-initialised
        std::copy(fData, fData + kept, block->Values);
        Drop();
        Adopt(block);
    }

private:
    void CopyFrom(const TKVectorStore& other) noexcept {
        fDim = other.fDim;
        if (other.fShared) {
            other.fShared->Shares.fetch_add(1, std::memory_order_relaxed);
            fShared = other.fShared;
            fData = fShared->Values;
        } else {
            std::copy(other.fInline, other.fInline + fDim, fInline);
            fData = fInline;
        }
    }
    void MoveFrom(TKVectorStore& other) noexcept {
        fDim = other.fDim;
        if (other.fShared) {
            fShared = other.fShared;
            fData = fShared->Values;
            other.fShared = nullptr;
            other.fData = other.fInline;
            other.fDim = 0;
        } else {
            std::copy(other.fInline, other.fInline + fDim, fInline);
            fData = fInline;
        }
    }
    void Adopt(Block* block) noexcept {
        fShared = block;
        fData = block->Values;
        fDim = block->Count;
    }
    void Drop() noexcept {
        if (fShared && fShared->Shares.fetch_sub(1, std::memory_order_acq_rel) == 1) delete fShared;
        fShared = nullptr;
        fData = fInline;
        fDim = 0;
    }

    Block* fShared = nullptr;
    T* fData = fInline;
    int32_t fDim = 0;
    T fInline[kInline] = {};
};
