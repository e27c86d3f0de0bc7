// TKLinkGenericTrafo: how a trafo is cut into stages, which grid it gets, what the baked tables
// hold, the lazy life cycle and the colour path.
#include <cmath>
#include <thread>
#include <vector>

#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "io/TKGlobalData.h"
#include "link/PerIsaTest.h"
#include "link/ReferenceLinkTrafo.h"
#include "link/TKLinkGridChoice.h"
#include "link/TKLinkStages.h"
#include "numeric/TKTrafoList.h"
#include "support/TestSupport.h"

namespace {

constexpr int32_t kRGB = int32_t(TKRGBSpace);
constexpr int32_t kCMYK = int32_t(TKCMYKSpace);

// Per-channel gamma on RGB: a curve stage.
class RGBGamma : public TKTrafo {
public:
    explicit RGBGamma(double gamma) : fGamma(gamma) {}
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetSrcType() const override { return kRGB; }
    int32_t GetDstType(int32_t) const override { return kRGB; }
    TKVector Trafo(const TKVector& v) const override {
        TKVector r(3, kRGB);
        for (int32_t c = 0; c < 3; ++c) r[c] = 255.0 * std::pow(std::max(0.0, v[c]) / 255.0, fGamma);
        return r;
    }
    double fGamma;
};

// Mixes RGB channels: not separable.
class RGBMix : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetSrcType() const override { return kRGB; }
    int32_t GetDstType(int32_t) const override { return kRGB; }
    TKVector Trafo(const TKVector& v) const override {
        ++calls;
        return TKVector({0.8 * v[0] + 0.2 * v[1], 0.7 * v[1] + 0.3 * v[2], 0.9 * v[2] + 0.1 * v[0]}, kRGB);
    }
    mutable std::atomic<int32_t> calls{0};
};

// RGB to CMYK by complement, black 0: a plain map whose link must reproduce it closely.
class Complement : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 4; }
    int32_t GetSrcType() const override { return kRGB; }
    int32_t GetDstType(int32_t) const override { return kCMYK; }
    TKVector Trafo(const TKVector& v) const override {
        ++calls;
        return TKVector({100.0 - v[0] / 2.55, 100.0 - v[1] / 2.55, 100.0 - v[2] / 2.55, 0.0}, kCMYK);
    }
    mutable std::atomic<int32_t> calls{0};
};

// A separable member that claims to be a table of `points` grid points.
class TableCurve : public RGBGamma {
public:
    explicit TableCurve(int32_t points) : RGBGamma(1.0) { SetInfo(kInfoGridPoints, points); }
};

// Curves on XYZ and on Lab, and a map from one to the other that mixes channels.
class XYZScale : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(TKXYZSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKXYZSpace); }
    TKVector Trafo(const TKVector& v) const override { return v * 0.99; }
};
class LabScale : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(TKLabSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKLabSpace); }
    TKVector Trafo(const TKVector& v) const override { return TKVector({v[0] * 0.98, v[1], v[2]}, int32_t(TKLabSpace)); }
};
class XYZToLabMix : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(TKXYZSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKLabSpace); }
    TKVector Trafo(const TKVector& v) const override {
        return TKVector({v[1], v[0] - v[1], v[1] - v[2]}, int32_t(TKLabSpace));
    }
};
TKRefPtr<TKTrafoList> Chain(std::initializer_list<TKTrafo*> members) {
    TKRefPtr<TKTrafoList> list = TKMakeRef<TKTrafoList>();
    for (TKTrafo* member : members) list->Append(member, true);
    return list;
}

}  // namespace

TEST(LinkSplit, CurvesGoToTheEndsAndTheRestToTheMiddle) {
    auto* mix = new RGBMix;
    TKRefPtr<TKTrafoList> chain = Chain({new RGBGamma(2.2), mix, new RGBGamma(0.5)});
    TKTrafoList front, middle, back;
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 0);
    ASSERT_EQ(front.GetCount(), 1);
    ASSERT_EQ(middle.GetCount(), 1);
    ASSERT_EQ(back.GetCount(), 1);
    EXPECT_EQ(middle.GetTrafo(0), mix);
}

TEST(LinkSplit, AFullySeparableTrafoGetsAConversionAsItsMiddle) {
    TKRefPtr<TKTrafoList> chain = Chain({new RGBGamma(2.2), new RGBGamma(0.7)});
    TKTrafoList front, middle, back;
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 0);
    EXPECT_EQ(front.GetCount(), 2);
    EXPECT_EQ(back.GetCount(), 0);
    ASSERT_EQ(middle.GetCount(), 1);
    EXPECT_NE(middle.GetTrafo(0)->Cast("TKDefaultColorTrafo"), nullptr);
    EXPECT_EQ(middle.GetSrcType(), kRGB);
}

// A change of connection space mixes channels: neither the conversion of any type to Lab behind
// XYZ curves, nor the one from Lab curves into a stage that takes XYZ, may become curves.
TEST(LinkSplit, ConversionsBetweenConnectionSpacesStayInTheGrid) {
    auto* toLab = new TKDefaultColorTrafo(0, TKLabSpace);
    TKRefPtr<TKTrafoList> chain = Chain({new XYZScale, new XYZToLabMix, new LabScale, toLab});
    TKTrafoList front, middle, back;
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 0);
    EXPECT_EQ(back.GetCount(), 2);  // Lab curves, then the conversion from Lab to Lab
    toLab->AddRef();  // a member of the next chain too
    chain = Chain({new XYZScale, new XYZScale, toLab});
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 0);
    EXPECT_EQ(back.GetCount(), 0);
    ASSERT_GE(middle.GetCount(), 1);
    EXPECT_EQ(middle.GetTrafo(middle.GetCount() - 1), toLab);

    class XYZMix : public XYZScale {
        TKVector Trafo(const TKVector& v) const override { return TKVector({v[1], v[0], v[2]}, int32_t(TKXYZSpace)); }
    };
    chain = Chain({new LabScale, new XYZMix});
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 0);
    ASSERT_EQ(front.GetCount(), 1);
    EXPECT_EQ(front.GetDstType(int32_t(TKLabSpace)), int32_t(TKLabSpace));
    ASSERT_EQ(middle.GetCount(), 2);
    EXPECT_EQ(middle.GetSrcType(), int32_t(TKLabSpace));
}

TEST(LinkSplit, TablesThatMissTheGridLinesStayInTheMiddle) {
    TKRefPtr<TKTrafoList> chain = Chain({new TableCurve(5), new RGBMix});
    TKTrafoList front, middle, back;
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 17);  // 16 cells hold 4 of 5 points
    EXPECT_EQ(front.GetCount(), 1);
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 11);  // 10 isn't a multiple of 4
    EXPECT_EQ(front.GetCount(), 0);
    EXPECT_EQ(middle.GetCount(), 2);
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 3);  // a coarser link grid
    EXPECT_EQ(front.GetCount(), 0);
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 2);  // two points hold any table
    EXPECT_EQ(front.GetCount(), 1);
}

TEST(LinkSplit, XYZSourcesAreEncodedForTheGrid) {
    // XYZ curves in front and behind an XYZ to Lab middle: the grid gets encoded XYZ.
    TKRefPtr<TKTrafoList> chain = Chain({new XYZScale, new XYZToLabMix, new LabScale});
    TKTrafoList front, middle, back;
    TKLinkGenericTrafo::SplitTrafo(chain.Get(), front, middle, back, 0);
    ASSERT_EQ(front.GetCount(), 2);
    ASSERT_EQ(middle.GetCount(), 2);
    auto* encode = TKCast<TKLinkChannelCurves>(front.GetTrafo(1), "TKLinkChannelCurves");
    auto* decode = TKCast<TKLinkChannelCurves>(middle.GetTrafo(0), "TKLinkChannelCurves");
    ASSERT_NE(encode, nullptr);
    ASSERT_NE(decode, nullptr);
    // The D50 white lands on 0.875 of each axis (175 of 200) and comes back.
    const TKVector white({96.42, 100.0, 82.49}, int32_t(TKXYZSpace));
    const TKVector encoded = encode->Trafo(white);
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(encoded[c], 175.0, 0.05) << c;
    const TKVector back2 = decode->Trafo(encoded);
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(back2[c], white[c], 1e-6) << c;
}

TEST(LinkGridOfTrafo, TablesInsideSteerTheGrid) {
    EXPECT_EQ(TKLinkGenericTrafo::FindGrid(Chain({new TableCurve(9), new RGBMix}).Get(), 0), 17);
    EXPECT_EQ(TKLinkGenericTrafo::FindGrid(Chain({new TableCurve(33), new RGBMix}).Get(), 0), 33);
    // Quality -1 gives 9 for three channels; a table of 5 keeps 9, one of 6 gives (9 / 5) * 5 + 1.
    EXPECT_EQ(TKLinkGenericTrafo::FindGrid(Chain({new TableCurve(5)}).Get(), -1), 9);
    EXPECT_EQ(TKLinkGenericTrafo::FindGrid(Chain({new TableCurve(6)}).Get(), -1), 6);
    EXPECT_EQ(TKLinkGenericTrafo::FindGrid(Chain({new RGBMix}).Get(), -4), 5);
    EXPECT_TKERROR(TKLinkGenericTrafo::FindGrid(nullptr, 0), ArgErr);
}

TEST(LinkBaking, CurvesCarryTheSeparablePartExactly) {
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    link->CalcFromTrafo(Chain({new RGBGamma(2.2)}).Get(), 17, 0, nullptr);
    EXPECT_TRUE(link->HasInputCurves());
    EXPECT_FALSE(link->HasOutputCurves());
    EXPECT_EQ(link->GetSrcType(), kRGB);
    EXPECT_EQ(link->GetDstType(0), kRGB);
    // Input curve entry 2048 of channel 1 holds the gamma of 2048 / 4095 of the range.
    const double position = (2048.0 * 65535 / 4095) / 65535.0;
    EXPECT_NEAR(link->InputCurves()[4096 + 2048], std::pow(position, 2.2) * 65535.0, 1.0);
    const TKVector x({64.0, 128.0, 200.0}, kRGB);
    const TKVector at = link->Trafo(x);
    // Only the 12-bit curve index and 16-bit samples stand between the link and the gamma.
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(at[c], 255.0 * std::pow(x[c] / 255.0, 2.2), 0.1) << c;
}

TEST(LinkBaking, ALinkMapsCornersAndItsTypes) {
    auto* complement = new Complement;
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    link->CalcFromTrafo(Chain({complement}).Get(), GridFromBits(4), 0, nullptr);
    EXPECT_EQ(link->GridPoints(), 17);
    EXPECT_EQ(link->GetSrcDim(), 3);
    EXPECT_EQ(link->GetDstDim(0), 4);
    EXPECT_EQ(link->GetDstType(0), kCMYK);
    EXPECT_EQ(link->GetInfo(TKTrafo::kInfoGridPoints), 17);
    // The stages are gone once the link is complete.
    EXPECT_EQ(link->GetMainTrafo(), nullptr);
    const TKVector white = link->Trafo(TKVector({255.0, 255.0, 255.0}, kRGB));
    EXPECT_NEAR(white[0], 0.0, 1e-9);
    const TKVector mid = link->Trafo(TKVector({51.0, 102.0, 204.0}, kRGB));
    EXPECT_NEAR(mid[0], 80.0, 0.01);
    EXPECT_NEAR(mid[1], 60.0, 0.01);
    EXPECT_NEAR(mid[2], 20.0, 0.01);
    EXPECT_EQ(mid.GetType(), kCMYK);
    // The node view of the look-up table base reads the same words.
    EXPECT_NEAR(link->GetNodeDst(0)[0], 1.0, 1e-9);  // node (0, 0, 0): black RGB, full cyan
    EXPECT_TKERROR(link->Trafo(TKVector({1.0, 2.0}, kRGB)), DimMismatch);
}

TEST(LinkBaking, EightBitPathsRoundThroughBytes) {
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    link->CalcFromTrafo(Chain({new Complement}).Get(), 17, 0, nullptr);
    link->SetBits(TKLinkGenericTrafo::kBits8);
    const TKVector at8 = link->Trafo(TKVector({51.0, 102.0, 204.0}, kRGB));
    EXPECT_NEAR(at8[0], 80.0, 100.0 / 255.0);
    link->SetBits(TKLinkGenericTrafo::kBits8To16);
    const TKVector at816 = link->Trafo(TKVector({51.0, 102.0, 204.0}, kRGB));
    EXPECT_NEAR(at816[1], 60.0, 0.01);
    EXPECT_EQ(link->GetBits(), 0x330);
}

TEST(LinkBaking, PixelFormsTakeSampleStrides) {
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    link->CalcFromTrafo(Chain({new Complement}).Get(), 17, 0, nullptr);
    // Two interleaved RGB pixels with one pad sample, to CMYK with none.
    const uint8_t src[8] = {255, 255, 255, 9, 0, 0, 0, 9};
    uint16_t dst[8] = {};
    link->TrafoRaster8To16(2, src, dst, 1, 0, nullptr);
    EXPECT_EQ(dst[0], 0);
    EXPECT_EQ(dst[4], 65535);
    EXPECT_EQ(dst[7], 0);
    uint16_t planes[2][3] = {{0xFFFF, 0}, {0xFFFF, 0}};
    uint16_t blue[3] = {0xFFFF, 0xFFFF};
    const uint16_t* in[3] = {planes[0], planes[1], blue};
    uint16_t out[4][2];
    uint16_t* outs[4] = {out[0], out[1], out[2], out[3]};
    const int32_t one[4] = {1, 1, 1, 1};
    link->TrafoPixels16(2, in, outs, one, one, nullptr);
    EXPECT_EQ(out[0][0], 0);
    EXPECT_EQ(out[0][1], 65535);
    EXPECT_EQ(out[2][1], 0);  // blue stays full: no yellow
}

TEST(LinkLazy, NodesComeOnFirstUseAndTheStagesGoWhenDone) {
    auto* complement = new Complement;
    complement->AddRef();
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    link->CalcFromTrafo(Chain({complement}).Get(), 5, 1, nullptr);
    EXPECT_FALSE(link->IsComplete());
    EXPECT_EQ(complement->calls.load(), 0);
    ASSERT_NE(link->GetMainTrafo(), nullptr);
    const TKVector at = link->Trafo(TKVector({51.0, 102.0, 204.0}, kRGB));
    EXPECT_NEAR(at[0], 80.0, 0.01);
    EXPECT_EQ(complement->calls.load(), 4);  // the 4 corners of one simplex
    link->FillNodes(nullptr);
    EXPECT_EQ(complement->calls.load(), 125);
    EXPECT_EQ(complement->RefCount(), 2);  // the link still holds it
    link->Trafo(TKVector({0.0, 0.0, 0.0}, kRGB));
    EXPECT_EQ(link->GetMainTrafo(), nullptr);  // complete: let go after the match
    EXPECT_EQ(complement->RefCount(), 1);
    complement->Release();
}

TEST(LinkCopies, ALinkIsCopiedWithoutEvaluation) {
    auto* complement = new Complement;
    TKRefPtr<TKReferenceLinkTrafo> source = TKMakeRef<TKReferenceLinkTrafo>();
    source->CalcFromTrafo(Chain({complement}).Get(), 9, 0, nullptr);
    TKRefPtr<TKReferenceLinkTrafo> copy = TKMakeRef<TKReferenceLinkTrafo>();
    copy->CalcFromTrafo(source.Get(), 9, 0, nullptr);  // its own grid: a plain copy
    EXPECT_EQ(copy->GridPoints(), 9);
    EXPECT_EQ(copy->GetDstType(0), kCMYK);
    EXPECT_NE(copy->Nodes(), source->Nodes());
    for (uint32_t i = 0; i < source->NodeCount() * 4; ++i) ASSERT_EQ(copy->Nodes()[i], source->Nodes()[i]);
    const TKVector x({10.0, 20.0, 30.0}, kRGB);
    EXPECT_EQ(copy->Trafo(x), source->Trafo(x));

    TKLinkGenericTrafo assigned(*source);
    EXPECT_EQ(assigned.GridPoints(), 9);
    EXPECT_EQ(assigned.GetSrcType(), kRGB);
}

TEST(LinkRanges, StagesAndRangesAreChecked) {
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    EXPECT_TKERROR(link->CalcFromTrafo(nullptr, 17, 0, nullptr), ArgErr);
    EXPECT_TKERROR(link->CalcFromRanges(nullptr, nullptr, nullptr, TKVector(3), TKVector(3), TKVector(4), TKVector(4),
                                        17, 0, nullptr),
                   ArgErr);
    TKRefPtr<TKTrafo> complement(new Complement, true);
    EXPECT_TKERROR(link->CalcFromRanges(nullptr, complement.Get(), nullptr, TKVector(2), TKVector(2), TKVector(4),
                                        TKVector(4), 17, 0, nullptr),
                   DimMismatch);
    EXPECT_TKERROR(link->CalcFromRanges(nullptr, complement.Get(), nullptr, TKVector(3), TKVector(3), TKVector(),
                                        TKVector(), 17, 0, nullptr),
                   DimMismatch);
    // A narrower input range: the grid spreads 0..127.5 of RGB over its axes.
    link->CalcFromRanges(nullptr, complement.Get(), nullptr, TKVector(3, 0, 0.0), TKVector(3, 0, 127.5),
                         TKVector(4, 0, 0.0), TKVector(4, 0, 100.0), 17, 0, nullptr);
    EXPECT_EQ(link->GetSrcType(), kRGB);
    EXPECT_EQ(link->GetDstType(0), kCMYK);
    EXPECT_NEAR(link->Trafo(TKVector({127.5, 0.0, 63.75}, kRGB))[0], 50.0, 0.01);
    EXPECT_NEAR(link->Trafo(TKVector({127.5, 0.0, 63.75}, kRGB))[2], 75.0, 0.01);
}

TEST(LinkResample, ACopyAtAnotherGridFollowsTheOriginal) {
    TKRefPtr<TKLinkGenericTrafo> source = TKMakeRef<TKLinkGenericTrafo>();
    source->CalcFromTrafo(Chain({new Complement}).Get(), 9, 0, nullptr);
    TKRefPtr<TKLinkGenericTrafo> finer = TKMakeRef<TKLinkGenericTrafo>();
    finer->CalcFromTrafo(source.Get(), 17, 0, nullptr);
    EXPECT_EQ(finer->GridPoints(), 17);
    // Every node of the 9-point grid is a node of the 17-point one, copied exactly.
    for (uint32_t i = 0; i < 9; ++i)
        for (uint32_t j = 0; j < 9; ++j)
            for (uint32_t k = 0; k < 9; ++k)
                for (int32_t o = 0; o < 4; ++o)
                    ASSERT_EQ(finer->Nodes()[((2 * i * 17 + 2 * j) * 17 + 2 * k) * 4 + o],
                              source->Nodes()[((i * 9 + j) * 9 + k) * 4 + o]);
    const TKVector x({51.0, 102.0, 204.0}, kRGB);
    EXPECT_NEAR(finer->Trafo(x)[0], source->Trafo(x)[0], 0.01);
    EXPECT_EQ(finer->GetDstType(0), kCMYK);
}

TEST(LinkResample, NodesCanBeFilledThroughAnotherLinksMatch) {
    // The path ResampleFrom takes: each node of a finer grid is a pixel of the coarser link.
    TKRefPtr<TKReferenceLinkTrafo> coarse = TKMakeRef<TKReferenceLinkTrafo>();
    coarse->CalcFromTrafo(Chain({new Complement}).Get(), 5, 0, nullptr);
    TKLinkGeneric finer;
    finer.Init(3, 4, 9, 1);
    finer.Finish(false, false, nullptr);
    finer.FillNodes(nullptr, coarse.Get());
    ASSERT_TRUE(finer.IsComplete());
    // Node (2, 4, 8) of the 9-point grid sits at 16-bit positions 0x4000, 0x8000, 0xFFFF.
    const uint32_t node = (2 * 9 + 4) * 9 + 8;
    const uint32_t src[3] = {0x4000, 0x8000, 0xFFFF};
    uint32_t want[4];
    LinkReference::Pixel(*coarse, src, 16, want, 16);
    for (int32_t o = 0; o < 4; ++o) EXPECT_EQ(finer.Nodes()[node * 4 + o], want[o]) << o;
}

TEST(LinkResample, AnotherLinkMustHaveTheSameChannels) {
    TKRefPtr<TKReferenceLinkTrafo> coarse = TKMakeRef<TKReferenceLinkTrafo>();
    coarse->CalcFromTrafo(Chain({new Complement}).Get(), 5, 0, nullptr);
    TKLinkGeneric other;
    other.Init(3, 3, 9, 1);
    EXPECT_TKERROR(other.CalcNode(0, coarse.Get()), DimMismatch);
    EXPECT_FALSE(other.IsComplete());
}

TEST(LinkLazy, TheGlobalDefaultOptionsStandInForNone) {
    const int32_t before = TKGlobalData::GetInt(TKLinkGenericTrafo::kLinkDefaultOptionsKey, 0);
    TKGlobalData::SetInt(TKLinkGenericTrafo::kLinkDefaultOptionsKey, 1);
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    link->CalcFromTrafo(Chain({new Complement}).Get(), 5, 0, nullptr);
    EXPECT_FALSE(link->IsComplete());
    link->CalcFromTrafo(Chain({new Complement}).Get(), 5, 2, nullptr);  // given options win
    EXPECT_TRUE(link->IsComplete());
    TKGlobalData::SetInt(TKLinkGenericTrafo::kLinkDefaultOptionsKey, before);
}

TEST(LinkKernels, TheDispatchedKernelsAgreeWithTheReference) {
    // Same trafo, same tables: one link matches through the kernels, its twin through the
    // reference evaluator in the family the dispatch picks.
    for (int32_t grid : {17, 11, 2}) {
        TKRefPtr<TKLinkGenericTrafo> real = TKMakeRef<TKLinkGenericTrafo>();
        TKRefPtr<TKReferenceLinkTrafo> twin = TKMakeRef<TKReferenceLinkTrafo>();
        real->CalcFromTrafo(Chain({new RGBGamma(1.8), new Complement}).Get(), grid, 0, nullptr);
        twin->CalcFromTrafo(Chain({new RGBGamma(1.8), new Complement}).Get(), grid, 0, nullptr);
        for (int32_t bits : {TKLinkGenericTrafo::kBits16, TKLinkGenericTrafo::kBits8, TKLinkGenericTrafo::kBits8To16}) {
            real->SetBits(bits);
            twin->SetBits(bits);
            for (int32_t i = 0; i < 200; ++i) {
                const TKVector x({(i * 37) % 256 * 1.0, (i * 91) % 256 * 1.0, i == 0 ? 255.0 : (i * 13) % 256 * 1.0},
                                 kRGB);
                ASSERT_EQ(real->Trafo(x), twin->Trafo(x)) << "grid " << grid << " bits " << bits << " pixel " << i;
            }
        }
    }
}

class LazyLinkThreads : public PerIsaTest {};
TK_INSTANTIATE_PER_ISA(LazyLinkThreads);

// A lazy link fills each node once, under its own rule, whichever kernel meets it first.
TEST_P(LazyLinkThreads, StripsOnSeveralThreadsMatchAnEagerLink) {
    TKRefPtr<TKLinkGenericTrafo> lazy = TKMakeRef<TKLinkGenericTrafo>();
    TKRefPtr<TKLinkGenericTrafo> eager = TKMakeRef<TKLinkGenericTrafo>();
    lazy->CalcFromTrafo(Chain({new RGBGamma(1.8), new RGBMix, new Complement}).Get(), 9, 1, nullptr);
    eager->CalcFromTrafo(Chain({new RGBGamma(1.8), new RGBMix, new Complement}).Get(), 9, 0, nullptr);
    ASSERT_FALSE(lazy->IsComplete());
    // Interleaved 16-bit RGB to CMYK, four strips of 4096 pixels on four threads.
    constexpr int32_t kStrip = 4096, kStrips = 4;
    std::vector<uint16_t> src(size_t(kStrip) * kStrips * 3);
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t((i * 2654435761u) >> 16);
    std::vector<uint16_t> fromLazy(size_t(kStrip) * kStrips * 4), fromEager(fromLazy.size());
    std::vector<std::thread> threads;
    for (int32_t s = 0; s < kStrips; ++s)
        threads.emplace_back([&, s] {
            lazy->TrafoRaster16(kStrip, 1, src.data() + size_t(s) * kStrip * 3, fromLazy.data() + size_t(s) * kStrip * 4,
                                0, 0, nullptr);
        });
    for (auto& thread : threads) thread.join();
    eager->TrafoRaster16(kStrip * kStrips, 1, src.data(), fromEager.data(), 0, 0, nullptr);
    EXPECT_EQ(fromLazy, fromEager);
}
