// TKVectorTmpl: integer sample vectors for exact pixel keys.
#include <set>

#include "numeric/TKVectorTmpl.h"
#include "support/TestSupport.h"

TEST(VectorTmpl, StorageAndConversion) {
    TKVector16 a(10, 3, 7);
    TKVector16 b(a);
    EXPECT_TRUE(a.IsShared());
    b[9] = 8;
    EXPECT_EQ(a[9], 7);
    EXPECT_EQ(b.GetType(), 3);
    TKVector8 bytes(TKVector({-3.0, 12.5, 254.6, 1e9, std::nan("")}));
    EXPECT_EQ(bytes.ToString(','), "0,13,255,255,0");
    TKVector32 ints;
    ints = TKVector({-2.5, 2.4});
    EXPECT_EQ(ints[0], -2);  // halves round up
    EXPECT_EQ(ints.ToVector(), TKVector({-2.0, 2.0}));
    EXPECT_TKERROR(ints.GetElement(2), IndexError);
}

TEST(VectorTmpl, ValuesAndText) {
    TKVector32 v;
    v.SetValues(3, 5, -1, 3);
    EXPECT_EQ(v.Sum(), 7);
    EXPECT_EQ(v.Min(), -1);
    EXPECT_EQ(v.MaxIndex(), 0);
    v.Sort();
    EXPECT_EQ(v.ToString(), "-1 3 5");
    v.InsertAt(3, 9);
    v.RemoveAt(0);
    EXPECT_EQ(v.ToString(';'), "3;5;9");
    TKVector8 parsed;
    parsed.FromString("1, 2;3 255");
    EXPECT_EQ(parsed.GetDim(), 4);
    EXPECT_TKERROR(parsed.FromString("256"), FormatErr);
    EXPECT_TKERROR(parsed.FromString("1 x"), FormatErr);
    EXPECT_TKERROR(TKVector8().Max(), DimMismatch);
}

TEST(VectorTmpl, KeysCompareExactly) {
    TKVector16 a, b, c;
    a.SetValues(2, 100, 200);
    b.SetValues(2, 100, 200);
    c.SetValues(3, 100, 200, 0);
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.Hash(), b.Hash());
    EXPECT_NE(a, c);
    EXPECT_NE(a.Hash(), c.Hash());
    std::set<TKVector16> keys{a, b, c};
    EXPECT_EQ(keys.size(), 2u);
}
