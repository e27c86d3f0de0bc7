// Grids: the node store, cells and corners of TKLutTrafo, the fill modes of TKTrafoLutTrafo and
// accumulated training.
#include <atomic>
#include <cmath>
#include <thread>

#include "numeric/TKCLUT.h"
#include "numeric/TKLutTrafo.h"
#include "numeric/TKTrafoLutTrafo.h"
#include "support/TestSupport.h"

namespace {

// An affine map of three channels with known values everywhere: a grid of it must reproduce it
// exactly under every simplex-type rule.
TKVector Affine(const TKVector& x) {
    return TKVector{0.1 + 0.2 * x[0] + 0.3 * x[1] + 0.1 * x[2], 0.9 - 0.5 * x[0] + 0.05 * x[2]};
}

class AffineTrafo : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 2; }
    int32_t GetSrcType() const override { return 0x52474220; }  // "RGB "
    int32_t GetDstType(int32_t) const override { return 0x4C616220; }  // "Lab "
    TKVector Trafo(const TKVector& x) const override {
        calls.fetch_add(1);
        return Affine(x);
    }
    mutable std::atomic<int32_t> calls{0};
};

// A grid filled with Affine at its nodes, 5 x 4 x 3 points.
TKRefPtr<TKTrafoLutTrafo> AffineGrid(int32_t mode, int32_t fill, int32_t sampleSize = TKCLUT::kDouble) {
    TKRefPtr<TKTrafoLutTrafo> lut = TKMakeRef<TKTrafoLutTrafo>(mode);
    lut->Setup(2, 0, 0, {5, 4, 3}, sampleSize, fill);
    lut->SetTrafo(new AffineTrafo, true);
    return lut;
}

}  // namespace

TEST(CLUTStore, LayoutHasTheFirstChannelSlowest) {
    TKCLUT clut;
    clut.Setup({3, 4, 5}, 2, TKCLUT::kWord);
    EXPECT_EQ(clut.GetNodeCount(), 60);
    EXPECT_EQ(clut.GetDataSize(), 60u * 2 * 2);
    const double values[2] = {0.5, 1.0};
    const int32_t node = (2 * 4 + 1) * 5 + 3;  // coordinates (2, 1, 3)
    clut.SetNode(node, values);
    EXPECT_EQ(clut.NodeWords(node)[0], 32768);  // 0.5 * 65535 = 32767.5, rounded half up
    EXPECT_EQ(clut.NodeWords(node)[1], 65535);
    double back[2];
    clut.GetNode(node, back);
    EXPECT_DOUBLE_EQ(back[0], 32768 / 65535.0);
    EXPECT_DOUBLE_EQ(clut.AxisPosition(1, 1), 1.0 / 3.0);
}

TEST(CLUTStore, BytesAndDoublesNormalize) {
    TKCLUT bytes;
    bytes.Setup({2}, 1, TKCLUT::kByte);
    const double v = 0.2;
    bytes.SetNode(1, &v);
    EXPECT_EQ(bytes.NodeBytes(1)[0], 51);
    double back;
    bytes.GetNode(1, &back);
    EXPECT_DOUBLE_EQ(back, 0.2);
    TKCLUT doubles;
    doubles.Setup({2}, 1, TKCLUT::kDouble);
    const double raw = -0.25;  // doubles are stored as they stand, out of range too
    doubles.SetNode(0, &raw);
    EXPECT_EQ(doubles.NodeDoubles(0)[0], -0.25);
    double quantized[1] = {0.2};
    doubles.Quantize(quantized);
    EXPECT_EQ(quantized[0], 0.2);
}

TEST(CLUTStore, BadSetupsIndicesAndTypesAreRefused) {
    TKCLUT clut;
    EXPECT_TKERROR(clut.Setup({3, 0}, 1, 2), ArgErr);
    EXPECT_TKERROR(clut.Setup({3}, 0, 2), ArgErr);
    EXPECT_TKERROR(clut.Setup({3}, 1, 4), ArgErr);
    EXPECT_TKERROR(clut.Setup({}, 1, 2), ArgErr);
    EXPECT_TKERROR(clut.Setup({255, 255, 255, 255, 255}, 15, 2), MemFullErr);
    clut.Setup({3, 3}, 2, TKCLUT::kWord);
    double values[2];
    EXPECT_TKERROR(clut.GetNode(9, values), IndexError);
    EXPECT_TKERROR(clut.GetNode(-1, values), IndexError);
    EXPECT_TKERROR(clut.NodeBytes(0), ArgErr);
    EXPECT_TKERROR(clut.NodeDoubles(0), ArgErr);
}

TEST(LutCells, OneLandsInTheLastCellAtItsFarEdge) {
    TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(0);
    lut->SetupGrid({5}, 1, TKCLUT::kDouble);
    int32_t cell = -1;
    TKVector w = lut->CalcWeights(TKVector{1.0}, cell);
    EXPECT_EQ(cell, 3);
    EXPECT_EQ(w[1], 1.0);
    w = lut->CalcWeights(TKVector{7.0}, cell);  // beyond the grid: clamped
    EXPECT_EQ(cell, 3);
    EXPECT_EQ(w[1], 1.0);
    w = lut->CalcWeights(TKVector{-2.0}, cell);
    EXPECT_EQ(cell, 0);
    EXPECT_EQ(w[0], 1.0);
    w = lut->CalcWeights(TKVector{std::nan("")}, cell);
    EXPECT_EQ(cell, 0);
    EXPECT_EQ(w[0], 1.0);
}

TEST(LutCells, TwoPointsAndOnePointAxes) {
    TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(0);
    lut->SetupGrid({2, 1, 3}, 1, TKCLUT::kDouble);
    int32_t cell = -1;
    const TKVector w = lut->CalcWeights(TKVector{0.5, 0.9, 0.75}, cell);
    // Axis 0: p = 0.5 in cell 0. Axis 1 (one point): no fraction, no step. Axis 2: p = 1.5.
    EXPECT_EQ(cell, 0 * 3 + 1);
    EXPECT_DOUBLE_EQ(w[0], 0.5 * 0.5);           // 000
    EXPECT_DOUBLE_EQ(w[1], 0.5 * 0.5);           // channel 2
    EXPECT_DOUBLE_EQ(w[4], 0.5 * 0.5);           // channel 0
    EXPECT_EQ(w[2] + w[3] + w[6] + w[7], 0.0);   // channel 1 has no far side
    EXPECT_EQ(lut->CornerNode(5, 1), 1 + 3 + 1);  // channel 0 steps a whole row of axis 2
    EXPECT_EQ(lut->CornerNode(2, 1), 1);          // the one-point axis moves nothing
}

TEST(LutCells, SourceRangeScalesPositionsAndNodes) {
    TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(1);
    lut->SetupGrid({3, 3}, 1, TKCLUT::kDouble);
    lut->SetSrcRange(TKVector({0.0, -1.0}, 0x52474220), TKVector{255.0, 1.0});
    const TKVector position = lut->GetNodeSrc(5);  // coordinates (1, 2)
    EXPECT_DOUBLE_EQ(position[0], 127.5);
    EXPECT_DOUBLE_EQ(position[1], 1.0);
    EXPECT_EQ(position.GetType(), 0x52474220);
    int32_t cell = -1;
    const TKVector w = lut->CalcWeights(TKVector{127.5, 1.0}, cell);
    EXPECT_EQ(cell, 1 * 3 + 1);  // node (1, 1), with channel 1 at the far edge of its last cell
    EXPECT_EQ(w[1], 1.0);
    EXPECT_TKERROR(lut->GetNodeSrc(9), IndexError);
    EXPECT_TKERROR(lut->CalcWeights(TKVector{1.0}, cell), DimMismatch);
}

TEST(LutInterpolation, AffineMapsAreReproducedByEveryRule) {
    for (int32_t mode = 0; mode <= 5; ++mode) {
        TKRefPtr<TKTrafoLutTrafo> lut = AffineGrid(mode, TKTrafoLutTrafo::kFillEager);
        for (const TKVector& x : {TKVector{0.13, 0.77, 0.5}, TKVector{1.0, 0.0, 0.99}, TKVector{0.5, 0.5, 0.5}}) {
            const TKVector expected = Affine(x);
            const TKVector got = lut->Trafo(x);
            EXPECT_NEAR(got[0], expected[0], 1e-12) << mode;
            EXPECT_NEAR(got[1], expected[1], 1e-12) << mode;
        }
    }
}

TEST(LutInterpolation, MultilinearReproducesBilinearProducts) {
    TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(0);
    lut->SetupGrid({4, 6}, 1, TKCLUT::kDouble);
    for (int32_t node = 0; node < 24; ++node) {
        const TKVector p = lut->GetNodeSrc(node);
        lut->SetNodeDst(node, TKVector{p[0] * p[1]});
    }
    EXPECT_NEAR(lut->Trafo(TKVector{0.4, 0.7})[0], 0.28, 1e-12);
}

TEST(LutInterpolation, SimplexAgreesWithLittleCMSTetrahedral) {
    // Reference: Little CMS 2.14, a float CLUT stage of grid 5 x 4 x 6 filled with the function
    // below and evaluated with cmsPipelineEvalFloat (tetrahedral interpolation for three inputs).
    // Its table and arithmetic are 32-bit floats, hence the tolerance.
    auto f = [](const TKVector& x) {
        return TKVector{0.5 + 0.4 * std::sin(2.0 * x[0] + x[1] * x[2]), x[0] * x[1] + 0.3 * x[2] * x[2]};
    };
    const double reference[][2][3] = {
        {{0.10, 0.20, 0.30}, {0.6026758, 0.0633333}}, {{0.90, 0.05, 0.77}, {0.8693225, 0.2294000}},
        {{0.50, 0.50, 0.50}, {0.8782558, 0.3280000}}, {{0.33, 0.95, 0.12}, {0.7681615, 0.3247000}},
        {{1.00, 0.60, 0.00}, {0.8637190, 0.6000000}}, {{0.61, 0.61, 0.20}, {0.8765058, 0.3903334}},
    };
    for (int32_t mode : {1, 2}) {  // with three channels mode 2 is the simplex rule
        TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(mode);
        lut->SetupGrid({5, 4, 6}, 2, TKCLUT::kDouble);
        for (int32_t node = 0; node < lut->GetCLUT().GetNodeCount(); ++node)
            lut->SetNodeDst(node, f(lut->GetNodeSrc(node)));
        for (const auto& row : reference) {
            const TKVector got = lut->Trafo(TKVector{row[0][0], row[0][1], row[0][2]});
            EXPECT_NEAR(got[0], row[1][0], 2e-6) << mode;
            EXPECT_NEAR(got[1], row[1][1], 2e-6) << mode;
        }
    }
}

TEST(LutInterpolation, CornerSumsMatchTrafo) {
    TKRefPtr<TKTrafoLutTrafo> lut = AffineGrid(2, TKTrafoLutTrafo::kFillEager);
    std::vector<double> weights;
    std::vector<uint32_t> corners;
    int32_t cell = 0;
    const TKVector x{0.3, 0.6, 0.2};
    lut->CalcCornerWeights(x, weights, corners, cell);
    std::vector<int32_t> nodes;
    for (uint32_t corner : corners) nodes.push_back(lut->CornerNode(corner, cell));
    std::vector<int32_t> listed;
    lut->CalcCornerList(x, listed);
    EXPECT_EQ(listed, nodes);
    const TKVector byDst = lut->TrafoByCornerDst(weights, nodes);
    const TKVector bySrc = lut->TrafoByCornerSrc(weights, nodes);
    EXPECT_NEAR(byDst[0], lut->Trafo(x)[0], 1e-12);
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(bySrc[c], x[c], 1e-12);
}

TEST(TrafoLutFill, LazyComputesEachNodeOnceOnFirstUse) {
    TKRefPtr<TKTrafoLutTrafo> lut = AffineGrid(2, TKTrafoLutTrafo::kFillLazy, TKCLUT::kWord);
    auto* trafo = static_cast<AffineTrafo*>(lut->GetTrafo());
    EXPECT_EQ(trafo->calls.load(), 0);
    EXPECT_EQ(lut->GetSrcType(), 0x52474220);
    EXPECT_EQ(lut->GetDstType(0), 0x4C616220);
    EXPECT_EQ(lut->GetDstDim(0), 2);
    lut->Trafo(TKVector{0.3, 0.3, 0.3});
    const int32_t first = trafo->calls.load();
    EXPECT_GE(first, 1);
    EXPECT_LE(first, 5);  // mode 2 with 3 channels: the n + 1 simplex corners at most
    lut->Trafo(TKVector{0.3, 0.3, 0.3});
    EXPECT_EQ(trafo->calls.load(), first);
    std::vector<int32_t> corners;
    lut->CalcCornerList(TKVector{0.3, 0.3, 0.3}, corners);
    for (int32_t corner : corners) EXPECT_TRUE(lut->IsNodeDone(corner)) << corner;
    EXPECT_FALSE(lut->IsNodeDone(0));
    // Word samples: values come back rounded to 16 bits.
    const TKVector node = lut->GetNodeDst(0);
    EXPECT_NEAR(node[0], 0.1, 1.0 / 65535);
    EXPECT_DOUBLE_EQ(node[0] * 65535, std::round(node[0] * 65535));
}

TEST(TrafoLutFill, EagerFillsAllAndLetsTheTrafoGo) {
    AffineTrafo* trafo = new AffineTrafo;
    trafo->AddRef();  // keep it to count its calls
    TKRefPtr<TKTrafoLutTrafo> lut = TKMakeRef<TKTrafoLutTrafo>(2);
    lut->Setup(2, 0, 0, {5, 4, 3}, TKCLUT::kDouble, TKTrafoLutTrafo::kFillEager);
    lut->SetTrafo(trafo, true);
    EXPECT_EQ(trafo->calls.load(), 60);
    EXPECT_EQ(lut->GetTrafo(), nullptr);
    EXPECT_EQ(trafo->RefCount(), 1);
    lut->Trafo(TKVector{0.5, 0.5, 0.5});
    EXPECT_EQ(trafo->calls.load(), 60);
    trafo->Release();
}

TEST(TrafoLutFill, DirectNeverStores) {
    TKRefPtr<TKTrafoLutTrafo> lut = AffineGrid(1, TKTrafoLutTrafo::kFillDirect);
    auto* trafo = static_cast<AffineTrafo*>(lut->GetTrafo());
    lut->Trafo(TKVector{0.3, 0.6, 0.9});
    lut->Trafo(TKVector{0.3, 0.6, 0.9});
    EXPECT_EQ(trafo->calls.load(), 8);  // 4 simplex corners, twice
    EXPECT_FALSE(lut->IsNodeDone(0));
    EXPECT_EQ(lut->GetCLUT().NodeDoubles(0)[0], 0.0);
}

TEST(TrafoLutFill, UnknownFillModeAndWrittenNodes) {
    TKRefPtr<TKTrafoLutTrafo> lut = TKMakeRef<TKTrafoLutTrafo>(2);
    EXPECT_TKERROR(lut->Setup(2, 0, 0, {3, 3, 3}, TKCLUT::kDouble, 3), ArgErr);
    lut->Setup(2, 0, 0, {3, 3, 3}, TKCLUT::kDouble, TKTrafoLutTrafo::kFillLazy);
    lut->SetTrafo(new AffineTrafo, true);
    lut->SetNodeDst(4, TKVector{0.5, 0.25});
    EXPECT_TRUE(lut->IsNodeDone(4));
    EXPECT_EQ(lut->GetNodeDst(4), (TKVector{0.5, 0.25}));  // not recomputed
}

TEST(TrafoLutFill, GridFollowsTheTrafosDimensions) {
    TKRefPtr<TKTrafoLutTrafo> lut = TKMakeRef<TKTrafoLutTrafo>(2);
    lut->Setup(1, 0, 0, {9}, TKCLUT::kDouble, TKTrafoLutTrafo::kFillLazy);
    lut->SetTrafo(new AffineTrafo, true);
    EXPECT_EQ(lut->GetSrcDim(), 3);
    EXPECT_EQ(lut->GetDstDim(0), 2);
    EXPECT_EQ(lut->GetCLUT().GetGridPoints(2), 9);
    EXPECT_NEAR(lut->Trafo(TKVector{0.2, 0.4, 0.6})[1], Affine(TKVector{0.2, 0.4, 0.6})[1], 1e-12);
}

TEST(TrafoLutFill, ThreadsShareALazyGrid) {
    TKRefPtr<TKTrafoLutTrafo> lazy = AffineGrid(2, TKTrafoLutTrafo::kFillLazy, TKCLUT::kWord);
    TKRefPtr<TKTrafoLutTrafo> eager = AffineGrid(2, TKTrafoLutTrafo::kFillEager, TKCLUT::kWord);
    std::vector<std::thread> threads;
    std::atomic<int32_t> mismatches{0};
    for (int32_t t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int32_t i = 0; i < 500; ++i) {
                const TKVector x{(i % 17) / 16.0, ((i + t) % 13) / 12.0, (i % 7) / 6.0};
                if (lazy->Trafo(x).MaxDistance(eager->Trafo(x)) > 1e-15) mismatches.fetch_add(1);
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(LutTraining, AccumulatedPassAveragesTheUpdates) {
    TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(1);
    lut->SetupGrid({3}, 1, TKCLUT::kDouble);
    // Two pairs on node 1 asking for 1.0 and 3.0: one pass of averaged updates lands on 2.0,
    // where the plain pass would follow the last pair.
    TKMatrix sources(2, 1), targets(2, 1);
    sources(0, 0) = 0.5, sources(1, 0) = 0.5;
    targets(0, 0) = 1.0, targets(1, 0) = 3.0;
    lut->Train(sources, targets, TKLutTrafo::kTrainAccumulate);
    EXPECT_DOUBLE_EQ(lut->GetNodeDst(1)[0], 2.0);
    EXPECT_EQ(lut->GetNodeDst(0)[0], 0.0);
    lut->Train(sources, targets, TKLutTrafo::kTrainAccumulate | TKLutTrafo::kTrainNodeList);
    EXPECT_DOUBLE_EQ(lut->GetNodeDst(1)[0], 2.0);
    lut->Train(sources, targets, 0);
    EXPECT_DOUBLE_EQ(lut->GetNodeDst(1)[0], 3.0);
}

TEST(LutTraining, PassesThroughScatteredPairs) {
    TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(2);
    lut->SetupGrid({5, 5, 5, 5}, 1, TKCLUT::kDouble);
    TKMatrix sources(1, 4), targets(1, 1);
    sources(0, 0) = 0.1, sources(0, 1) = 0.35, sources(0, 2) = 0.8, sources(0, 3) = 0.6;
    targets(0, 0) = 0.42;
    lut->Train(sources, targets, 0);
    EXPECT_NEAR(lut->Trafo(sources.GetRow(0))[0], 0.42, 1e-12);
}
