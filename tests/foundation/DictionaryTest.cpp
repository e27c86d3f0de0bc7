// TKDictionary: ordered keys, replace on set, look-up failures, shared copies.
#include "foundation/TKDictionary.h"
#include "support/TestSupport.h"

TEST(Dictionary, KeepsKeysInOrderAndReplacesValues) {
    TKDictionary d;
    d.Set("GridSize", "33");
    d.Set("Spot", "Orange");
    d.Set("Range", "0 100");
    d.Set("GridSize", "17");
    ASSERT_EQ(d.Count(), 3);
    EXPECT_STREQ(d.KeyAt(0).CString(), "GridSize");
    EXPECT_STREQ(d.KeyAt(1).CString(), "Range");
    EXPECT_STREQ(d.KeyAt(2).CString(), "Spot");
    EXPECT_STREQ(d.Get("GridSize").CString(), "17");
    EXPECT_STREQ(d.Get("gridsize", "none").CString(), "none");  // keys are case-sensitive
    EXPECT_EQ(d.Find("Spot"), 2);
    EXPECT_EQ(d.Find("Zzz"), -1);
    EXPECT_TKERROR(d.At("TAC"), NotFound);
    EXPECT_TKERROR(d.KeyAt(3), IndexError);
}

TEST(Dictionary, RemoveAndSharedCopies) {
    TKDictionaryOf<int, double> d;
    for (int k : {5, 1, 9, 3}) d.Set(k, k * 0.5);
    TKDictionaryOf<int, double> copy = d;
    EXPECT_TRUE(d.Remove(1));
    EXPECT_FALSE(d.Remove(1));
    EXPECT_EQ(d.Count(), 3);
    EXPECT_EQ(copy.Count(), 4);
    EXPECT_DOUBLE_EQ(copy.At(1), 0.5);
    EXPECT_EQ(d.KeyAt(0), 3);
    d.SetValueAt(0, -1.0);
    EXPECT_DOUBLE_EQ(d.Get(3), -1.0);
    EXPECT_DOUBLE_EQ(copy.Get(3), 1.5);
    d.Clear();
    EXPECT_TRUE(d.IsEmpty());
    EXPECT_FALSE(d.Contains(9));
}
