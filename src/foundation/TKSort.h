// TKSortClass: sorting by indices. A subclass says how many elements there are, how two of
// them compare and how to swap them; the algorithm never sees the elements themselves, so
// parallel arrays, data base entries and table rows all sort the same way.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "foundation/TKArray.h"

class TKSortClass {
public:
    virtual ~TKSortClass() = default;
    virtual int32_t Count() = 0;
    // Negative, zero or positive, as element i sorts before, with or after element j.
    virtual int Compare(int32_t i, int32_t j) = 0;
    virtual void Swap(int32_t i, int32_t j) = 0;
};

// Sorts elements first to last. A last below first means Count() - 1. A range that is already
// in order is left untouched (no Swap call). Not stable. IndexError for a range outside.
void Sort(TKSortClass& sorter, int32_t first = 0, int32_t last = -1);
void Sort(TKSortClass* sorter, int32_t first = 0, int32_t last = -1);  // ArgErr on null

// Sorts a TKArray by operator< of its elements or by a given three-way comparison.
template <class T>
class TKSortArrayClass : public TKSortClass {
public:
    using Comparison = std::function<int(const T&, const T&)>;

    explicit TKSortArrayClass(TKArray<T>& array, Comparison compare = nullptr)
        : fArray(array), fCompare(std::move(compare)) {}

    int32_t Count() override { return fArray.Count(); }
    int Compare(int32_t i, int32_t j) override {
        const TKArray<T>& array = fArray;  // reading must not copy a shared block
        const T& a = array[i];
        const T& b = array[j];
        if (fCompare) return fCompare(a, b);
        return a < b ? -1 : (b < a ? 1 : 0);
    }
    void Swap(int32_t i, int32_t j) override {
        T* data = fArray.Data();  // detaches once; later calls find the block private
        if (i < 0 || j < 0 || i >= fArray.Count() || j >= fArray.Count()) TKThrow(IndexError);
        using std::swap;
        swap(data[i], data[j]);
    }

private:
    TKArray<T>& fArray;
    Comparison fCompare;
};

template <class T>
void TKSortArray(TKArray<T>& array, typename TKSortArrayClass<T>::Comparison compare = nullptr) {
    TKSortArrayClass<T> sorter(array, std::move(compare));
    Sort(sorter);
}
