// The reference evaluator of link pixels against the double-precision grid interpolation it is
// the integer form of: the same cells, the same simplex (channel 3 linear on top), truncated.
#include <algorithm>
#include <cmath>
#include <random>

#include "link/LinkReference.h"
#include "numeric/TKLutTrafo.h"
#include "support/TestSupport.h"

namespace {

// Nodes of a smooth, strongly curved function of the node's grid coordinates.
class CurvedLink : public TKLinkGeneric {
public:
    void EvalNode(const uint16_t* position, uint16_t* out) override {
        double s = 0.0;
        for (int32_t c = 0; c < fSrcDim; ++c) s += (c + 1) * position[c] / 65535.0;
        for (int32_t o = 0; o < fDstDim; ++o)
            out[o] = uint16_t(std::lround(65535.0 * (0.5 + 0.5 * std::sin(s * (o + 1) + o))));
    }
};

// The same nodes in a double grid read by the weight rule of the kernels.
TKRefPtr<TKLutTrafo> DoubleTwin(const TKLinkGeneric& link) {
    TKRefPtr<TKLutTrafo> lut = TKMakeRef<TKLutTrafo>(link.GetSrcDim() >= 4 ? 2 : 1);
    lut->SetupGrid(std::vector<int32_t>(size_t(link.GetSrcDim()), link.GridPoints()), link.GetDstDim(),
                   TKCLUT::kDouble);
    for (uint32_t node = 0; node < link.NodeCount(); ++node) {
        TKVector value(link.GetDstDim());
        for (int32_t o = 0; o < link.GetDstDim(); ++o) value[o] = link.Nodes()[size_t(node) * link.GetDstDim() + o];
        lut->SetNodeDst(int32_t(node), value);
    }
    return lut;
}

// The double position of a 16-bit sample in the kernels' cell scale: Cell units per cell, the
// last cell ending at its far edge for 0xFFFF when cells are shifted.
double GridPosition(const TKLinkGeneric& link, uint32_t v) {
    const uint32_t cell = LinkReference::CellSize(link);
    const uint32_t cells = uint32_t(link.GridPoints() - 1);
    if (LinkReference::UsesShiftedCells(link) && v == 0xFFFF) return 1.0;
    const uint32_t q = v / cell;
    if (q >= cells) return 1.0;  // the kernels' clamp to the last cell's far edge
    return (q + double(v % cell) / cell) / cells;
}

// How far truncating channel 3's share of a weight can move a result: each of the srcDim simplex
// weights may leave one unit of Cell on its near node, worth the node step along channel 3.
double SplitTruncationBound(const TKLinkGeneric& link) {
    if (link.GetSrcDim() < 4) return 0.0;
    double step = 0.0;
    const int32_t outs = link.GetDstDim();
    for (uint32_t node = 0; node + uint32_t(link.Stride(3)) < link.NodeCount(); ++node)
        for (int32_t o = 0; o < outs; ++o)
            step = std::max(step, std::fabs(double(link.Nodes()[size_t(node + link.Stride(3)) * outs + o]) -
                                            link.Nodes()[size_t(node) * outs + o]));
    return link.GetSrcDim() * step / LinkReference::CellSize(link);
}

void CompareWithDoublePath(int32_t srcDim, int32_t dstDim, int32_t grid, double tolerance) {
    CurvedLink link;
    link.Init(srcDim, dstDim, grid, 0);
    link.Finish(false, false, nullptr);
    tolerance += SplitTruncationBound(link);
    TKRefPtr<TKLutTrafo> twin = DoubleTwin(link);
    std::mt19937 random(uint32_t(srcDim * 100 + grid));
    std::uniform_int_distribution<uint32_t> sample(0, 0xFFFF);
    uint32_t src[TKLinkGeneric::kMaxSrcDim], dst[TKLinkGeneric::kMaxDstDim];
    double worst = 0.0;
    for (int32_t i = 0; i < 3000; ++i) {
        TKVector x(srcDim);
        for (int32_t c = 0; c < srcDim; ++c) {
            src[c] = i < 4 ? (i % 2 ? 0xFFFF : 0) : sample(random);
            x[c] = GridPosition(link, src[c]);
        }
        LinkReference::Pixel(link, src, 16, dst, 16);
        const TKVector want = twin->Trafo(x);
        for (int32_t o = 0; o < dstDim; ++o) worst = std::max(worst, std::fabs(dst[o] - want[o]));
    }
    EXPECT_LE(worst, tolerance) << srcDim << " channels, grid " << grid;
}

}  // namespace

// The integer result truncates once: below one unit of 16 bits.
TEST(LinkReferenceVsDoubles, ThreeChannelsShiftedGrid) { CompareWithDoublePath(3, 3, 17, 1.0); }
TEST(LinkReferenceVsDoubles, ThreeChannelsDividedGrid) { CompareWithDoublePath(3, 2, 13, 1.0); }
TEST(LinkReferenceVsDoubles, OneChannel) { CompareWithDoublePath(1, 4, 9, 1.0); }
// Two points: weights sum to 0xFFFF but the sum is shifted by 16, a loss of up to one more unit.
TEST(LinkReferenceVsDoubles, TwoPointGrid) { CompareWithDoublePath(2, 2, 2, 2.0); }
// Channel 3's split truncates each weight's share once more (SplitTruncationBound).
TEST(LinkReferenceVsDoubles, FourChannelsSplitChannelThree) { CompareWithDoublePath(4, 3, 9, 1.0); }
TEST(LinkReferenceVsDoubles, SixChannelsDividedGrid) { CompareWithDoublePath(6, 2, 6, 1.0); }
