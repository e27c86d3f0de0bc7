// TKArray: counts, copy-on-write sharing, index and argument checks.
#include "foundation/TKArray.h"
#include "foundation/TKString.h"
#include "support/TestSupport.h"

TEST(Array, CopyThenWriteLeavesTheOriginal) {
    TKArray<TKString> a;
    a.Add("one");
    a.Add("two");
    TKArray<TKString> b = a;
    EXPECT_EQ(a.ShareCount(), 2);
    const TKArray<TKString>& ca = a;
    const TKArray<TKString>& cb = b;
    EXPECT_EQ(ca.Data(), cb.Data());  // reading does not copy
    b[1] = "zwei";
    b.Add("drei");
    EXPECT_EQ(a.ShareCount(), 1);
    EXPECT_EQ(a.Count(), 2);
    EXPECT_STREQ(a[1].CString(), "two");
    EXPECT_STREQ(b[1].CString(), "zwei");
    EXPECT_EQ(b.Count(), 3);

    TKArray<TKString> c;
    c = a;
    c.Remove(0);
    EXPECT_EQ(a.Count(), 2);
    EXPECT_STREQ(c[0].CString(), "two");
}

TEST(Array, IndexAndArgumentErrors) {
    TKArray<int> a;
    EXPECT_TKERROR(a[0], IndexError);
    a.Add(5);
    EXPECT_TKERROR(a[1], IndexError);  // operator[](count)
    EXPECT_TKERROR(a[-1], IndexError);
    const TKArray<int>& ca = a;
    EXPECT_TKERROR(ca[1], IndexError);
    EXPECT_TKERROR(a.Insert(2, 1), IndexError);
    EXPECT_TKERROR(a.Remove(1), IndexError);
    EXPECT_TKERROR(a.SetCount(3, 2), ArgErr);   // capacity below the count
    EXPECT_TKERROR(a.SetCount(3, -5), ArgErr);  // negative capacity
    EXPECT_TKERROR(a.SetCount(-1), ArgErr);
    EXPECT_EQ(a.Count(), 1);
}

TEST(Array, InsertRemoveFind) {
    TKArray<int> a;
    for (int i = 0; i < 5; ++i) a.Add(i * 10);
    a.Insert(0, -10);
    a.Insert(6, 50);
    a.Insert(3, 15);
    const int expected[] = {-10, 0, 10, 15, 20, 30, 40, 50};
    ASSERT_EQ(a.Count(), 8);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(a[i], expected[i]);
    EXPECT_EQ(a.Find(15), 3);
    EXPECT_EQ(a.Find(99), -1);
    a.Remove(3);
    a.Remove(0);
    EXPECT_EQ(a.Find(15), -1);
    EXPECT_EQ(a[0], 0);
    EXPECT_EQ(a.Count(), 6);
    a.Add(a[0]);  // an element of the array itself
    EXPECT_EQ(a[6], 0);
    a.Clear();
    EXPECT_EQ(a.Count(), 0);
    EXPECT_EQ(a.Capacity(), 0);
}

TEST(Array, SetCountKeepsTheHeadAndResetsTheTail) {
    TKArray<TKString> a;
    a.SetCount(10);
    for (int i = 0; i < 10; ++i) a[i] = TKString::FromInt(i);
    a.SetCount(7);
    a.SetCount(10);  // growth inside the capacity shows default values again
    EXPECT_STREQ(a[6].CString(), "6");
    EXPECT_TRUE(a[7].IsEmpty());
    EXPECT_TRUE(a[9].IsEmpty());
    a.SetCount(2, 2);  // a block of its own
    EXPECT_EQ(a.Capacity(), 2);
    EXPECT_STREQ(a[1].CString(), "1");
    a.SetCount(0);
    EXPECT_EQ(a.Capacity(), 0);
}

TEST(Array, CountedElementsKeepTheirCountsThroughSharingAndDetach) {
    auto* object = new TKObject;
    {
        TKArray<TKRefPtr<TKObject>> a;
        a.Add(TKRefPtr<TKObject>(object, false));
        EXPECT_EQ(object->RefCount(), 2);
        TKArray<TKRefPtr<TKObject>> b = a;  // shares the block: no new count
        EXPECT_EQ(object->RefCount(), 2);
        b.Add(TKRefPtr<TKObject>(object, false));  // detaches: the copied element counts too
        EXPECT_EQ(object->RefCount(), 4);
        b.Remove(0);
        EXPECT_EQ(object->RefCount(), 3);
        a.Clear();
        EXPECT_EQ(object->RefCount(), 2);
    }
    EXPECT_EQ(object->RefCount(), 1);
    object->Release();
}
