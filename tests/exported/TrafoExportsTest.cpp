// The trafo exports seen from a C++ host that can hand real trafo objects to
// TKConcatenateTrafos: handles, counts, queries, evaluation and every failure code.
#include "foundation/TKHandle.h"
#include "numeric/TKFactorTrafo.h"
#include "numeric/TKMatrixTrafo.h"
#include "numeric/TKSetDimTypeTrafo.h"
#include "numeric/TKTrafoList.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {
constexpr uint32_t Sig(const char (&s)[5]) {
    return uint32_t(uint8_t(s[0])) << 24 | uint32_t(uint8_t(s[1])) << 16 | uint32_t(uint8_t(s[2])) << 8 |
           uint32_t(uint8_t(s[3]));
}

// Returns its argument; a trafo with a dimension of its own whose answer has another.
class LiarTrafo : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 2; }
    int32_t GetDstDim(int32_t) const override { return 3; }
};

class FailingTrafo : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 1; }
    TKVector Trafo(const TKVector&) const override { TKThrow(MathErr); }
};
}  // namespace

// The plain C host checks fresh handles, null handles and the empty concatenation; here what it
// cannot see: the objects behind the handles and the error records.
TEST(TrafoExports, HandlesHoldTheirObjects) {
    TKTrafoRef ref = TKNewTKTrafoRef();
    EXPECT_STREQ(static_cast<TKObject*>(RefObject(ref, nullptr))->ClassName(), "TKTrafo");
    TKFreeTKTrafoRef(ref);
    ref = TKConcatenateTrafos(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_NE(RefObject(ref, "TKTrafoList"), nullptr);
    TKFreeTKTrafoRef(ref);
    TKHandleTrafo empty;  // a handle without object
    EXPECT_EQ(TKGetTrafoSrcDim(&empty), 0);
}

TEST(TrafoExports, ConcatenationEvaluatesInOrderAndKeepsTheCallersCounts) {
    TKMatrix toXYZ(3, 3, int32_t(Sig("XYZ ")));
    toXYZ.SetRow(0, TKVector({0.0, 0.0, 1.0}));
    toXYZ.SetRow(1, TKVector({0.0, 1.0, 0.0}));
    toXYZ.SetRow(2, TKVector({1.0, 0.0, 0.0}));
    auto* swap = new TKMatrixTrafo(toXYZ);
    auto* scale = new TKFactorTrafo(TKVector({2.0, 3.0, 4.0}));
    auto* retype = new TKSetDimTypeTrafo(4, int32_t(Sig("CMYK")));
    TKTrafoRef ref = TKConcatenateTrafos(reinterpret_cast<::TKTrafo*>(swap), nullptr,
                                         reinterpret_cast<::TKTrafo*>(scale), reinterpret_cast<::TKTrafo*>(retype),
                                         nullptr, nullptr);
    ASSERT_NE(ref, nullptr);
    EXPECT_EQ(swap->RefCount(), 2);
    swap->Release();  // the host may drop its own counts right away
    scale->Release();
    retype->Release();
    EXPECT_EQ(TKGetTrafoSrcDim(ref), 3);
    EXPECT_EQ(TKGetTrafoDstDim(ref), 4);
    EXPECT_EQ(TKGetTrafoDstType(ref), Sig("CMYK"));
    double src[3] = {1.0, 2.0, 3.0}, dst[4] = {9, 9, 9, 9};
    ASSERT_EQ(TKDoTrafo(ref, src, dst), 0);
    EXPECT_EQ(dst[0], 6.0);
    EXPECT_EQ(dst[1], 6.0);
    EXPECT_EQ(dst[2], 4.0);
    EXPECT_EQ(dst[3], 0.0);
    TKFreeTKTrafoRef(ref);
}

TEST(TrafoExports, PassThroughDimensions) {
    // A scale with a fixed source of 2 channels that passes the count through: the getter,
    // asked for "any source", answers 0, and evaluation writes as many channels as went in.
    class Scale2 : public TKFactorTrafo {
    public:
        Scale2() : TKFactorTrafo(TKVector({10.0, 100.0})) {}
        int32_t GetSrcDim() const override { return 2; }
    };
    auto* scale = new Scale2;
    TKTrafoRef ref = TKConcatenateTrafos(reinterpret_cast<::TKTrafo*>(scale), nullptr, nullptr, nullptr, nullptr,
                                         nullptr);
    scale->Release();
    EXPECT_EQ(TKGetTrafoSrcDim(ref), 2);
    EXPECT_EQ(TKGetTrafoDstDim(ref), 0);
    double src[2] = {1.0, 2.0}, dst[3] = {0.0, 0.0, -1.0};
    EXPECT_EQ(TKDoTrafo(ref, src, dst), 0);
    EXPECT_EQ(dst[0], 10.0);
    EXPECT_EQ(dst[1], 200.0);
    EXPECT_EQ(dst[2], -1.0);
    TKFreeTKTrafoRef(ref);
}

TEST(TrafoExports, BadCallsGiveTheirCodes) {
    TKTrafoRef ref = TKNewTKTrafoRef();
    double v[4] = {};
    EXPECT_EQ(TKDoTrafo(nullptr, v, v), ArgErr);
    EXPECT_EQ(TKError::LastError().code(), ArgErr);  // logged through a record
    EXPECT_EQ(TKDoTrafo(ref, nullptr, v), ArgErr);
    EXPECT_EQ(TKDoTrafo(ref, v, nullptr), ArgErr);
    TKFreeTKTrafoRef(ref);

    LiarTrafo liar;  // on the stack: its own count of 1 keeps the list from deleting it
    TKTrafoRef lying = TKConcatenateTrafos(reinterpret_cast<::TKTrafo*>(&liar), nullptr, nullptr, nullptr, nullptr,
                                           nullptr);
    EXPECT_EQ(TKDoTrafo(lying, v, v), DimMismatch);
    TKFreeTKTrafoRef(lying);

    auto* failing = new FailingTrafo;
    TKTrafoRef fails = TKConcatenateTrafos(reinterpret_cast<::TKTrafo*>(failing), nullptr, nullptr, nullptr,
                                           nullptr, nullptr);
    failing->Release();
    EXPECT_EQ(TKDoTrafo(fails, v, v), MathErr);
    TKFreeTKTrafoRef(fails);
}

TEST(TrafoExports, HandleOfANonTrafoObject) {
    TKTrafoRef ref = NewRef(new TKObject, true);
    double v[1] = {};
    EXPECT_EQ(TKGetTrafoSrcDim(ref), 0);
    EXPECT_EQ(TKDoTrafo(ref, v, v), ArgErr);
    TKFreeTKTrafoRef(ref);
}
