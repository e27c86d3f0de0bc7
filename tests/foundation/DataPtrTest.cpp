// TKDataPtr, TKRefDataPtr and TKSharedBlock: the share protocol and copy-on-write of plain values.
#include "foundation/TKDataPtr.h"
#include "support/TestSupport.h"

namespace {
// A block type derived the way counted data blocks of the numeric core derive.
struct TestBlock : TKRefDataPtr<double> {
    explicit TestBlock(int32_t n) : TKRefDataPtr<double>(n) {}
    TestBlock(const TestBlock& other) : TKRefDataPtr<double>(other), tag(other.tag) {}
    ~TestBlock() override { ++destroyed; }
    int tag = 0;
    static int destroyed;
};
int TestBlock::destroyed = 0;
}  // namespace

TEST(DataPtr, CopiesShareUntilAWrite) {
    const double values[] = {1, 2, 3};
    TKDataPtr<double> a(values, 3);
    TKDataPtr<double> b = a;
    EXPECT_EQ(a.ShareCount(), 2);
    EXPECT_EQ(a.Data(), b.Data());
    b[1] = 20;
    EXPECT_EQ(a.ShareCount(), 1);
    EXPECT_EQ(b.ShareCount(), 1);
    EXPECT_EQ(a[1], 2);
    EXPECT_EQ(b[1], 20);
    b.Add(4);
    EXPECT_EQ(b.Count(), 4);
    EXPECT_EQ(b[3], 4);
    EXPECT_EQ(a.Count(), 3);
}

TEST(DataPtr, ResizeZeroFillsAndChecksIndices) {
    TKDataPtr<int64_t> p;
    EXPECT_EQ(p.Data(), nullptr);
    EXPECT_TKERROR(p[0], IndexError);
    p.SetCount(4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(p[i], 0);
    p.Set(3, int64_t(1) << 40);
    p.SetCount(2);
    p.SetCount(5);
    EXPECT_EQ(p[3], 0);  // values past a shrink come back as zero
    EXPECT_TKERROR(p[5], IndexError);
    EXPECT_TKERROR(p.SetCount(-1), ArgErr);
    EXPECT_TKERROR(TKDataPtr<int>(nullptr, 2), ArgErr);
    p.Clear();
    EXPECT_EQ(p.Count(), 0);
}

TEST(DataPtr, SharedBlockClonesDerivedBlocksAndFreesOnLastShare) {
    TestBlock::destroyed = 0;
    {
        TKSharedBlock<TestBlock> first(new TestBlock(2));
        first->tag = 7;
        (*first.Get())[0] = 1.5;
        TKSharedBlock<TestBlock> second = first;
        EXPECT_EQ(first->ShareCount(), 2);
        TestBlock* mine = second.MakeUnique();
        EXPECT_NE(mine, first.Get());
        EXPECT_EQ(mine->tag, 7);
        EXPECT_EQ((*mine)[0], 1.5);
        EXPECT_EQ(first->ShareCount(), 1);
        EXPECT_EQ(second.MakeUnique(), mine);  // already private: no clone
        EXPECT_EQ(TestBlock::destroyed, 0);
    }
    EXPECT_EQ(TestBlock::destroyed, 2);
}
