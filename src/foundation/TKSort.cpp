// Index quicksort behind TKSortClass: a pre-scan for ranges already in order, then
// partitioning around the middle element, whose index is followed through the swaps.
#include "foundation/TKSort.h"

#include "foundation/TKError.h"

namespace {
bool InOrder(TKSortClass& s, int32_t first, int32_t last) {
    for (int32_t i = first; i < last; ++i)
        if (s.Compare(i, i + 1) > 0) return false;
    return true;
}

void QuickSort(TKSortClass& s, int32_t first, int32_t last) {
    while (first < last) {
        int32_t pivot = first + (last - first) / 2;
        int32_t left = first;
        int32_t right = last;
        while (left <= right) {
            // Neither cursor can pass the pivot: it compares equal to itself.
            while (s.Compare(left, pivot) < 0) ++left;
            while (s.Compare(pivot, right) < 0) --right;
            if (left <= right) {
                if (left != right) {
                    s.Swap(left, right);
                    // The pivot is compared by index, so its index follows the element.
                    if (pivot == left)
                        pivot = right;
                    else if (pivot == right)
                        pivot = left;
                }
                ++left;
                --right;
            }
        }
        // The two parts are independent, so their order does not change the result. Recursing
        // into the smaller one and looping on the larger keeps the stack at log2(n) frames
        // even for inputs made to defeat the middle pivot.
        if (right - first < last - left) {
            QuickSort(s, first, right);
            first = left;
        } else {
            QuickSort(s, left, last);
            last = right;
        }
    }
}
}  // namespace

void Sort(TKSortClass& sorter, int32_t first, int32_t last) {
    int32_t count = sorter.Count();
    if (last < first) last = count - 1;
    if (first < 0 || last >= count) TKThrow(IndexError);
    if (last <= first) return;
    if (InOrder(sorter, first, last)) return;
    QuickSort(sorter, first, last);
}

void Sort(TKSortClass* sorter, int32_t first, int32_t last) {
    if (!sorter) TKThrow(ArgErr);
    Sort(*sorter, first, last);
}
