// TKSortClass and Sort: pre-scan, index quicksort with the pivot followed through swaps,
// range arguments, and sorting of arrays.
#include <algorithm>
#include <random>
#include <vector>

#include "foundation/TKSort.h"
#include "foundation/TKString.h"
#include "support/TestSupport.h"

namespace {
// Sorts a vector and counts the calls, checking every index it is given.
class CountingSorter : public TKSortClass {
public:
    explicit CountingSorter(std::vector<int> v) : values(std::move(v)) {}
    int32_t Count() override { return int32_t(values.size()); }
    int Compare(int32_t i, int32_t j) override {
        Check(i);
        Check(j);
        ++compares;
        return values[size_t(i)] < values[size_t(j)] ? -1 : values[size_t(i)] > values[size_t(j)];
    }
    void Swap(int32_t i, int32_t j) override {
        Check(i);
        Check(j);
        ++swaps;
        std::swap(values[size_t(i)], values[size_t(j)]);
    }
    void Check(int32_t i) const {
        if (i < 0 || i >= int32_t(values.size())) ADD_FAILURE() << "index " << i << " outside";
    }
    std::vector<int> values;
    int compares = 0;
    int swaps = 0;
};

std::vector<int> Sorted(std::vector<int> v) {
    std::sort(v.begin(), v.end());
    return v;
}
}  // namespace

TEST(Sort, SortedInputMakesNoSwapAndOnlyTheScan) {
    CountingSorter s({1, 2, 2, 3, 5, 8});
    Sort(s);
    EXPECT_EQ(s.swaps, 0);
    EXPECT_EQ(s.compares, 5);  // one per neighbour pair
}

TEST(Sort, SortsShapesThatTroubleQuicksorts) {
    std::mt19937 random(12345);
    std::vector<std::vector<int>> inputs = {
        {2, 1}, {3, 1, 2}, {5, 4, 3, 2, 1}, {1, 1, 1, 0, 1, 1}, {7, 7, 7, 7}, {}, {42},
    };
    std::vector<int> reversed(1000), organ(1001), fewValues(2000), randomValues(5000);
    for (int i = 0; i < 1000; ++i) reversed[size_t(i)] = 1000 - i;
    for (int i = 0; i <= 1000; ++i) organ[size_t(i)] = i < 500 ? i : 1000 - i;
    for (auto& v : fewValues) v = int(random() % 3);
    for (auto& v : randomValues) v = int(random() % 100000) - 50000;
    inputs.insert(inputs.end(), {reversed, organ, fewValues, randomValues});
    for (const auto& input : inputs) {
        CountingSorter s(input);
        Sort(&s, 0, -1);
        EXPECT_EQ(s.values, Sorted(input)) << "input of " << input.size();
    }
}

TEST(Sort, SubRangesAndRangeErrors) {
    CountingSorter s({9, 8, 7, 6, 5, 4});
    Sort(s, 1, 4);
    EXPECT_EQ(s.values, (std::vector<int>{9, 5, 6, 7, 8, 4}));
    Sort(s, 2, 0);  // last below first: to the end
    EXPECT_EQ(s.values, (std::vector<int>{9, 5, 4, 6, 7, 8}));
    EXPECT_TKERROR(Sort(s, 0, 6), IndexError);
    EXPECT_TKERROR(Sort(s, -1, 3), IndexError);
    EXPECT_TKERROR(Sort(static_cast<TKSortClass*>(nullptr)), ArgErr);
}

TEST(Sort, ArraysByOperatorOrComparison) {
    TKArray<TKString> names;
    for (const char* n : {"Lab ", "CMYK", "RGB ", "GRAY", "XYZ "}) names.Add(n);
    TKArray<TKString> before = names;
    TKSortArray(names);
    const char* expected[] = {"CMYK", "GRAY", "Lab ", "RGB ", "XYZ "};
    for (int i = 0; i < 5; ++i) EXPECT_STREQ(names[i].CString(), expected[i]);
    EXPECT_STREQ(before[0].CString(), "Lab ");  // the shared copy keeps its order

    TKArray<int> numbers;
    for (int v : {3, -1, 4, -1, 5}) numbers.Add(v);
    TKSortArray<int>(numbers, [](const int& a, const int& b) { return b - a; });  // descending
    EXPECT_EQ(numbers[0], 5);
    EXPECT_EQ(numbers[4], -1);
}
