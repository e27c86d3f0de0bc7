// Shared blocks of plain values: TKRefDataPtr<T> is the heap block with count, capacity and an
// atomic share count (base of counted blocks such as the matrix data), TKSharedBlock<B> holds
// one share of such a block, and TKDataPtr<T> is the copy-on-write value built from both.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "foundation/TKArray.h"
#include "foundation/TKError.h"

template <class T>
class TKRefDataPtr {
    static_assert(std::is_trivially_copyable<T>::value, "TKRefDataPtr holds plain values only");

public:
    // A block of count zeroed values with room for capacity (at least count); share count 1.
    explicit TKRefDataPtr(int32_t count = 0, int32_t capacity = -1) {
        if (count < 0 || capacity < -1) TKThrow(ArgErr);
        Reserve(capacity < count ? count : capacity);
        fCount = count;
    }
    TKRefDataPtr(const T* values, int32_t count) : TKRefDataPtr(count) {
        if (count > 0 && !values) TKThrow(ArgErr);
        if (count > 0) std::memcpy(fData, values, sizeof(T) * size_t(count));
    }
    // A private deep copy with its own share count of 1: what a writer makes of a shared block.
    TKRefDataPtr(const TKRefDataPtr& other) : TKRefDataPtr(other.fData, other.fCount) {}
    TKRefDataPtr& operator=(const TKRefDataPtr&) = delete;
    virtual ~TKRefDataPtr() { delete[] fData; }

    int32_t Count() const noexcept { return fCount; }
    int32_t Capacity() const noexcept { return fCapacity; }
    T* Data() noexcept { return fData; }
    const T* Data() const noexcept { return fData; }
    T& operator[](int32_t index) {
        if (index < 0 || index >= fCount) TKThrow(IndexError);
        return fData[index];
    }
    const T& operator[](int32_t index) const {
        if (index < 0 || index >= fCount) TKThrow(IndexError);
        return fData[index];
    }

    // Changes the count, keeping the values in front; new values are zero. Growing past the
    // capacity doubles the count. Only the single owner of a block may resize it.
    void SetCount(int32_t n) {
        if (n < 0) TKThrow(ArgErr);
        if (n > fCapacity) Reserve(int64_t(n) * 2 > INT32_MAX ? n : n * 2);
        if (n > fCount) std::memset(static_cast<void*>(fData + fCount), 0, sizeof(T) * size_t(n - fCount));
        fCount = n;
    }

    // The share protocol. A new block has one share; the holder that takes the count to 0
    // deletes the block. Releasing a block whose count is already below 1 is a use after
    // free and fails with PtrInvalid.
    int32_t AddShare() noexcept { return fShare.fetch_add(1) + 1; }
    int32_t ReleaseShare() {
        if (fShare.load() < 1) TKThrow(PtrInvalid);
        int32_t left = fShare.fetch_sub(1) - 1;
        if (left == 0) delete this;
        return left;
    }
    int32_t ShareCount() const noexcept { return fShare.load(); }
    bool IsShared() const noexcept { return fShare.load() > 1; }

private:
    void Reserve(int64_t capacity) {
        T* block = TKArrayDetail::NewBlock<T>(capacity);
        if (fCount) std::memcpy(block, fData, sizeof(T) * size_t(fCount));
        delete[] fData;
        fData = block;
        fCapacity = int32_t(capacity);
    }

    int32_t fCount = 0;
    int32_t fCapacity = 0;
    T* fData = nullptr;
    std::atomic<int32_t> fShare{1};
};

// Holds one share of a block B (a TKRefDataPtr or a class derived from it). Copies add a
// share; MakeUnique clones a shared block through B's copy constructor before a write.
template <class B>
class TKSharedBlock {
public:
    TKSharedBlock() noexcept = default;
    // Takes over the share the caller holds (a new block comes with one).
    explicit TKSharedBlock(B* adopted) noexcept : fBlock(adopted) {}
    TKSharedBlock(const TKSharedBlock& other) noexcept : fBlock(other.fBlock) {
        if (fBlock) fBlock->AddShare();
    }
    TKSharedBlock(TKSharedBlock&& other) noexcept : fBlock(other.fBlock) { other.fBlock = nullptr; }
    // Destructors run inside other destructors and must not throw: a use after free was
    // already logged when ReleaseShare built its record.
    ~TKSharedBlock() {
        try {
            Reset();
        } catch (const TKError&) {
        }
    }
    TKSharedBlock& operator=(const TKSharedBlock& other) {
        if (other.fBlock) other.fBlock->AddShare();
        Reset(other.fBlock);
        return *this;
    }
    TKSharedBlock& operator=(TKSharedBlock&& other) {
        if (this != &other) {
            Reset(other.fBlock);
            other.fBlock = nullptr;
        }
        return *this;
    }

    // Releases the held share and takes over the share of adopted.
    void Reset(B* adopted = nullptr) {
        B* old = fBlock;
        fBlock = adopted;
        if (old) old->ReleaseShare();
    }
    // Makes the block private to this holder, cloning it when it is shared.
    B* MakeUnique() {
        if (fBlock && fBlock->IsShared()) Reset(new B(*fBlock));
        return fBlock;
    }
    B* Get() const noexcept { return fBlock; }
    B* operator->() const noexcept { return fBlock; }
    explicit operator bool() const noexcept { return fBlock != nullptr; }

private:
    B* fBlock = nullptr;
};

// A copy-on-write array of plain values: copies share the block, writers clone it first.
template <class T>
class TKDataPtr {
public:
    TKDataPtr() noexcept = default;
    explicit TKDataPtr(int32_t count) { SetCount(count); }
    TKDataPtr(const T* values, int32_t count) {
        if (count < 0) TKThrow(ArgErr);
        if (count > 0) fBlock.Reset(new TKRefDataPtr<T>(values, count));
    }

    int32_t Count() const noexcept { return fBlock ? fBlock->Count() : 0; }
    int32_t Capacity() const noexcept { return fBlock ? fBlock->Capacity() : 0; }
    bool IsEmpty() const noexcept { return Count() == 0; }
    int32_t ShareCount() const noexcept { return fBlock ? fBlock->ShareCount() : 0; }

    // Reading never copies; null when empty.
    const T* Data() const noexcept { return fBlock ? fBlock->Data() : nullptr; }
    const T& operator[](int32_t index) const {
        if (!fBlock) TKThrow(IndexError);
        return (*static_cast<const TKRefDataPtr<T>*>(fBlock.Get()))[index];
    }
    // Writing makes the block private first.
    T* WritableData() { return fBlock ? fBlock.MakeUnique()->Data() : nullptr; }
    T& operator[](int32_t index) {
        if (!fBlock) TKThrow(IndexError);
        return (*fBlock.MakeUnique())[index];
    }
    void Set(int32_t index, T value) { (*this)[index] = value; }

    void SetCount(int32_t n) {
        if (n < 0) TKThrow(ArgErr);
        if (n == Count()) return;
        if (n == 0) {
            fBlock.Reset();
        } else if (!fBlock) {
            fBlock.Reset(new TKRefDataPtr<T>(n));
        } else {
            fBlock.MakeUnique()->SetCount(n);
        }
    }
    void Add(T value) {
        int32_t n = Count();
        SetCount(n + 1);
        fBlock->Data()[n] = value;
    }
    void Clear() { fBlock.Reset(); }
    void Detach() { fBlock.MakeUnique(); }

private:
    TKSharedBlock<TKRefDataPtr<T>> fBlock;
};
