// TKTrafo defaults, the Info cache, the guarded evaluation, the table loop, and the two bases
// that hold another trafo.
#include "numeric/TKRefTrafo.h"
#include "numeric/TrafoTestSupport.h"
#include "foundation/TKProgress.h"
#include "io/TKDataBase.h"
#include "numeric/NumericTestSupport.h"
#include "support/TestSupport.h"

namespace {
// Counts Trafo calls.
class CountingTrafo : public TKTrafo {
    TK_DECLARE_CLASS(CountingTrafo, TKTrafo)
public:
    TKVector Trafo(const TKVector& source) const override {
        ++calls;
        TKVector r(source);
        r.Multiply(2.0);
        r.SetType(Sig("Lab "));
        return r;
    }
    mutable int calls = 0;
};

struct CollectingProgress : TKProgress {
    void SetProgress(double fraction) override { reports.push_back(fraction); }
    std::vector<double> reports;
};
}  // namespace

TEST(Trafo, PlainTrafoIsTheIdentityForAnything) {
    auto t = TKMakeRef<TKTrafo>();
    EXPECT_EQ(t->IsTrafo(), 1);
    EXPECT_EQ(t->GetSrcDim(), 0);
    EXPECT_EQ(t->GetDstDim(7), 7);
    EXPECT_EQ(t->GetSrcType(), 0);
    EXPECT_EQ(t->GetDstType(Sig("CMYK")), Sig("CMYK"));
    TKVector v({1.0, 2.0}, Sig("RGB "));
    EXPECT_EQ(t->Trafo(v), v);
    EXPECT_EQ(t->Trafo(v).GetType(), Sig("RGB "));
    EXPECT_FALSE(t->CanTrafo8());
    EXPECT_FALSE(t->CanTrafo16());
    const uint8_t* s[1] = {nullptr};
    uint8_t* d[1] = {nullptr};
    int32_t strides[1] = {1};
    EXPECT_TKERROR(t->TrafoPixels8(1, s, d, strides, strides, nullptr), UndefProc);
    EXPECT_STREQ(t->ClassName(), "TKTrafo");
    EXPECT_NE(t->Cast("TKObject"), nullptr);
}

TEST(Trafo, GuardedEvaluationChecksTheSourceDimension) {
    TKTestAddTrafo add(3, 1.0);
    TKVector v({1.0, 2.0, 3.0});
    add.TrafoInPlace(v);
    EXPECT_EQ(v, TKVector({2.0, 3.0, 4.0}));
    TKVector wrong(2);
    EXPECT_TKERROR(add.TrafoInPlace(wrong), DimMismatch);
    TKTrafo any;
    TKVector nine(9, 0, 1.0);
    any.TrafoInPlace(nine);
    EXPECT_EQ(nine.GetDim(), 9);
}

TEST(Trafo, VectorAndMatrixObjects) {
    TKTestAddTrafo add(2, 10.0);
    TKVector out;
    add.TrafoVectorObject(TKVector({1.0, 2.0}), out);
    EXPECT_EQ(out, TKVector({11.0, 12.0}));
    TKMatrix table(2, 2);
    TKMatrix result;
    add.TrafoMatrixObject(table, result);
    EXPECT_EQ(result.GetRow(1), TKVector({10.0, 10.0}));
}

TEST(Trafo, TableLoopMapsEqualNeighboursOnce) {
    CountingTrafo t;
    TKMatrix table(5, 2, Sig("RGB "));
    table.SetRow(0, TKVector({1.0, 1.0}));
    table.SetRow(1, TKVector({1.0, 1.0}));
    table.SetRow(2, TKVector({3.0, 1.0}));
    table.SetRow(3, TKVector({1.0, 1.0}));
    table.SetRow(4, TKVector({1.0, 1.0}));
    TKMatrix result = t.TrafoMatrix(table);
    EXPECT_EQ(t.calls, 3);
    EXPECT_EQ(result.GetType(), Sig("Lab "));
    EXPECT_EQ(result.GetRow(1), TKVector({2.0, 2.0}));
    EXPECT_EQ(result.GetRow(2), TKVector({6.0, 2.0}));
    EXPECT_EQ(result.GetRow(4), TKVector({2.0, 2.0}));
    TKMatrix empty = t.TrafoMatrix(TKMatrix(0, 3, Sig("RGB ")));
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.GetType(), Sig("RGB "));
}

TEST(Trafo, TableLoopRejectsChangingWidths) {
    // A trafo whose output dimension follows its input: a table whose rows differ in
    // what they produce can't be one matrix.
    class Growing : public TKTrafo {
    public:
        TKVector Trafo(const TKVector& s) const override { return TKVector(s[0] > 0 ? 3 : 2); }
    } g;
    TKMatrix table(2, 1);
    table(1, 0) = 1.0;
    EXPECT_TKERROR(g.TrafoMatrix(table), DimMismatch);
}

TEST(RefTrafo, SetRefTrafoForgetsCachedAnswers) {
    TKRefTrafo ref;
    ref.SetInfo(-1, 1);
    ref.SetRefTrafo(nullptr, false);
    EXPECT_EQ(ref.GetInfo(1), -1);
}

TEST(UseRefTrafo, ForwardsToTheHeldTrafo) {
    TKUseRefTrafo use;
    EXPECT_EQ(use.GetSrcDim(), 0);
    EXPECT_EQ(use.Trafo(TKVector({5.0})), TKVector({5.0}));
    EXPECT_FALSE(use.CanTrafo8());
    auto add = TKMakeRef<TKTestAddTrafo>(2, 3.0, Sig("RGB "), Sig("Lab "));
    add->SetInfo(TKTrafo::kInfoGridPoints, 33);
    use.SetRefTrafo(add.Get(), false);
    EXPECT_EQ(use.GetSrcDim(), 2);
    EXPECT_EQ(use.GetSrcType(), Sig("RGB "));
    EXPECT_EQ(use.GetDstType(Sig("RGB ")), Sig("Lab "));
    EXPECT_EQ(use.Trafo(TKVector({1.0, 2.0})), TKVector({4.0, 5.0}));
    EXPECT_EQ(use.GetInfo(TKTrafo::kInfoGridPoints), 33);  // the held trafo keeps its answers
    use.SetInfo(3, 0);
    EXPECT_EQ(add->GetInfo(3), 0);
    EXPECT_TRUE(use.CanTrafo8());
    EXPECT_TRUE(use.CanTrafo16());
    uint16_t in[2] = {10, 20}, out[2] = {};
    const uint16_t* s[2] = {in, in + 1};
    uint16_t* d[2] = {out, out + 1};
    int32_t strides[2] = {2, 2};
    use.TrafoPixels16(1, s, d, strides, strides, nullptr);
    EXPECT_EQ(out[1], 23);
}
