// TKArray<T>: a growing array that is a value: copies share one block and the first write
// to a shared block copies it (copy-on-write). Element blocks are default-constructed for
// their whole capacity, so the unused tail always holds default values.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "foundation/TKError.h"

namespace TKArrayDetail {
// Allocates a default-constructed (value-initialised for plain types) block; an allocation
// failure becomes MemFullErr, because the engine throws nothing but TKError.
template <class T>
T* NewBlock(int64_t capacity) {
    if (capacity <= 0) return nullptr;
    if (capacity > INT32_MAX || uint64_t(capacity) > SIZE_MAX / sizeof(T)) TKThrow(MemFullErr);
    try {
        return new T[std::size_t(capacity)]();
    } catch (const std::bad_alloc&) {
        TKThrow(MemFullErr);
    }
}

// A share count, created at 1. Allocation failure is MemFullErr.
inline std::atomic<int32_t>* NewShare() {
    auto* share = new (std::nothrow) std::atomic<int32_t>(1);
    if (!share) TKThrow(MemFullErr);
    return share;
}
}  // namespace TKArrayDetail

template <class T>
class TKArray {
public:
    static constexpr int32_t kDefaultMaxGrowth = 10000;

    TKArray() noexcept = default;
    explicit TKArray(int32_t count) { SetCount(count); }
    TKArray(const TKArray& other) noexcept { ShareFrom(other); }
    TKArray(TKArray&& other) noexcept { TakeFrom(other); }
    ~TKArray() { ReleaseBlock(); }

    TKArray& operator=(const TKArray& other) noexcept {
        if (this != &other && fData != other.fData) {
            if (other.fShare) other.fShare->fetch_add(1);
            ReleaseBlock();
            fData = other.fData;
            fShare = other.fShare;
            fCount = other.fCount;
            fCapacity = other.fCapacity;
        }
        return *this;
    }
    TKArray& operator=(TKArray&& other) noexcept {
        if (this != &other) {
            ReleaseBlock();
            TakeFrom(other);
        }
        return *this;
    }

    int32_t Count() const noexcept { return fCount; }
    int32_t Capacity() const noexcept { return fCapacity; }
    bool IsEmpty() const noexcept { return fCount == 0; }
    // Number of arrays sharing the block; 0 without a block.
    int32_t ShareCount() const noexcept { return fShare ? fShare->load() : 0; }

    // Growth policy: automatic growth doubles below maxGrowth elements and adds maxGrowth above;
    // minGrowth, if positive, is the least number of elements a reallocation adds.
    void SetGrowth(int32_t minGrowth, int32_t maxGrowth) {
        if (minGrowth < 0 || maxGrowth < 1) TKThrow(ArgErr);
        fMinGrowth = minGrowth;
        fMaxGrowth = maxGrowth;
    }

    // Sets the number of elements; requested is the capacity to use, -1 for automatic growth.
    void SetCount(int32_t n, int32_t requested = -1);

    // Makes the block private to this array, copying the elements if it is shared.
    void Detach();

    void Add(const T& element) {
        if (fCount == INT32_MAX) TKThrow(MemFullErr);
        T copy(element);  // the element may live in this very block
        SetCount(fCount + 1);
        fData[fCount - 1] = std::move(copy);
    }
    void Insert(int32_t index, const T& element) {
        if (index < 0 || index > fCount) TKThrow(IndexError);
        if (fCount == INT32_MAX) TKThrow(MemFullErr);
        T copy(element);
        SetCount(fCount + 1);
        for (int32_t i = fCount - 1; i > index; --i) fData[i] = std::move(fData[i - 1]);
        fData[index] = std::move(copy);
    }
    void Remove(int32_t index) {
        if (index < 0 || index >= fCount) TKThrow(IndexError);
        Detach();
        for (int32_t i = index; i + 1 < fCount; ++i) fData[i] = std::move(fData[i + 1]);
        fData[fCount - 1] = T();
        SetCount(fCount - 1);
    }
    void Clear() { SetCount(0); }

    // Writing access detaches; reading access through a const array does not.
    T& operator[](int32_t index) {
        CheckIndex(index);
        Detach();
        return fData[index];
    }
    const T& operator[](int32_t index) const {
        CheckIndex(index);
        return fData[index];
    }
    const T& Get(int32_t index) const { return (*this)[index]; }
    void Set(int32_t index, const T& element) { (*this)[index] = element; }

    // Index of the first element equal to the given one, or -1.
    int32_t Find(const T& element) const {
        for (int32_t i = 0; i < fCount; ++i)
            if (fData[i] == element) return i;
        return -1;
    }

    // Raw element access; Data() of a non-const array detaches first.
    const T* Data() const noexcept { return fData; }
    T* Data() {
        Detach();
        return fData;
    }
    const T* begin() const noexcept { return fData; }
    const T* end() const noexcept { return fData + fCount; }

private:
    void CheckIndex(int32_t index) const {
        if (index < 0 || index >= fCount) TKThrow(IndexError);
    }
    void ShareFrom(const TKArray& other) noexcept {
        fCount = other.fCount;
        fCapacity = other.fCapacity;
        fData = other.fData;
        fShare = other.fShare;
        if (fShare) fShare->fetch_add(1);
    }
    void TakeFrom(TKArray& other) noexcept {
        fCount = other.fCount;
        fCapacity = other.fCapacity;
        fMinGrowth = other.fMinGrowth;
        fMaxGrowth = other.fMaxGrowth;
        fData = other.fData;
        fShare = other.fShare;
        other.fData = nullptr;
        other.fShare = nullptr;
        other.fCount = 0;
        other.fCapacity = 0;
    }
    // Gives up this array's share; the last sharer destroys the elements and the block.
    void ReleaseBlock() noexcept {
        if (fShare && fShare->fetch_sub(1) == 1) {
            delete[] fData;
            delete fShare;
        }
        fData = nullptr;
        fShare = nullptr;
        fCount = 0;
        fCapacity = 0;
    }
    // Moves the elements into a fresh private block of the given capacity.
    void Reallocate(int64_t capacity, int32_t keep);
    // Capacity for n elements under automatic growth. The minimum growth only applies when
    // the block grows; a shrinking block just takes the doubled count.
    int64_t AutomaticCapacity(int32_t n) const {
        int64_t capacity = n < fMaxGrowth ? 2 * int64_t(n) : int64_t(n) + fMaxGrowth;
        if (n > fCapacity && fMinGrowth > 0 && fMinGrowth > capacity - fCapacity)
            capacity = int64_t(fCapacity) + fMinGrowth;
        return capacity < n ? n : capacity;
    }

    int32_t fCount = 0;
    int32_t fCapacity = 0;
    int32_t fMinGrowth = 0;
    int32_t fMaxGrowth = kDefaultMaxGrowth;
    T* fData = nullptr;
    std::atomic<int32_t>* fShare = nullptr;
};

template <class T>
void TKArray<T>::Detach() {
    if (!fShare || fShare->load() <= 1) return;
    int32_t count = fCount;
    T* block = TKArrayDetail::NewBlock<T>(count);
    std::atomic<int32_t>* share = nullptr;
    try {
        for (int32_t i = 0; i < count; ++i) block[i] = fData[i];
        if (block) share = TKArrayDetail::NewShare();
    } catch (...) {
        delete[] block;
        throw;
    }
    ReleaseBlock();
    fData = block;
    fShare = share;
    fCount = count;
    fCapacity = count;
}

template <class T>
void TKArray<T>::Reallocate(int64_t capacity, int32_t keep) {
    T* block = TKArrayDetail::NewBlock<T>(capacity);
    std::atomic<int32_t>* share = nullptr;
    try {
        for (int32_t i = 0; i < keep; ++i) block[i] = std::move(fData[i]);
        share = TKArrayDetail::NewShare();
    } catch (...) {
        delete[] block;
        throw;
    }
    ReleaseBlock();
    fData = block;
    fShare = share;
    fCapacity = int32_t(capacity);
}

template <class T>
void TKArray<T>::SetCount(int32_t n, int32_t requested) {
    if (n < 0 || requested < -1) TKThrow(ArgErr);
    if (requested >= 0 && requested < n) TKThrow(ArgErr);
    if (n < 1 && requested < 1) {
        ReleaseBlock();
        fCount = n;
        return;
    }
    // The same count keeps everything, unless a larger capacity is asked for in advance.
    if (n == fCount && (requested < 0 || requested <= fCapacity)) return;
    Detach();
    const int32_t c = fCapacity;
    const int32_t old = fCount;
    if (requested >= 0 && requested != c) {
        Reallocate(requested, n < old ? n : old);
    } else if (n < old) {
        // Keep the block while it is at least a third used; a smaller count gives memory back.
        if (requested < 0 && int64_t(n) * 3 < c) {
            Reallocate(AutomaticCapacity(n), n);
        } else {
            for (int32_t i = n; i < old; ++i) fData[i] = T();
        }
    } else if (n > c) {
        Reallocate(AutomaticCapacity(n), old);
    }
    fCount = n;
}
