// TKBlockArray: elements stay in place while the array grows; counts, resets and copies.
#include <vector>

#include "foundation/TKBlockArray.h"
#include "foundation/TKString.h"
#include "support/TestSupport.h"

TEST(BlockArray, ElementsDoNotMoveOnGrowth) {
    TKBlockArray<int64_t> a(4);  // 16 elements per block
    std::vector<const int64_t*> addresses;
    for (int i = 0; i < 1000; ++i) addresses.push_back(&a.Add(i * 3));
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(&a[i], addresses[size_t(i)]);
        ASSERT_EQ(a[i], i * 3);
    }
    EXPECT_EQ(a.Count(), 1000);
    EXPECT_EQ(a.BlockSize(), 16);
}

TEST(BlockArray, ShrinkResetsAndCopiesAreDeep) {
    TKBlockArray<TKString> a(2);
    for (int i = 0; i < 10; ++i) a.Add(TKString::FromInt(i));
    a.SetCount(5);
    a.SetCount(7);
    EXPECT_STREQ(a[4].CString(), "4");
    EXPECT_TRUE(a[5].IsEmpty());
    EXPECT_TRUE(a[6].IsEmpty());
    TKBlockArray<TKString> b = a;
    b[0] = "changed";
    EXPECT_STREQ(a[0].CString(), "0");
    EXPECT_NE(&a[0], &b[0]);
    EXPECT_TKERROR(a[7], IndexError);
    EXPECT_TKERROR(a[-1], IndexError);
    EXPECT_TKERROR(a.SetCount(-2), ArgErr);
    EXPECT_TKERROR(TKBlockArray<int>(40), ArgErr);
    a.Clear();
    EXPECT_EQ(a.Count(), 0);
}
