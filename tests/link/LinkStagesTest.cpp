// Stage trafos of links: conversions between stage types, channel curves, type ranges and the
// separability probe.
#include <cmath>

#include "color/TKColors.h"
#include "link/TKLinkStages.h"
#include "support/TestSupport.h"

namespace {

class Swap : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 2; }
    TKVector Trafo(const TKVector& v) const override { return TKVector{v[1], v[0]}; }
};

class Squares : public TKTrafo {
public:
    TKVector Trafo(const TKVector& v) const override {
        TKVector r = v;
        for (int32_t c = 0; c < r.GetDim(); ++c) r[c] = v[c] * v[c];
        return r;
    }
};

class Drop : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 2; }
    TKVector Trafo(const TKVector& v) const override { return TKVector{v[0], v[1]}; }
};

// Each output leaks a trace of its neighbour: 1e-4 of a channel's range of 100.
class Leaky : public TKTrafo {
public:
    explicit Leaky(double leak) : fLeak(leak) {}
    int32_t GetSrcDim() const override { return 2; }
    int32_t GetSrcType() const override { return int32_t(GetDeviceType(2)); }
    TKVector Trafo(const TKVector& v) const override { return TKVector{v[0] + fLeak * v[1], v[1]}; }
    double fLeak;
};

}  // namespace

TEST(LinkStageTrafos, XYZEncodingPutsWhiteOnTheShare) {
    const TKVector white({96.42, 100.0, 82.49}, int32_t(TKXYZSpace));
    TKRefPtr<TKLinkChannelCurves> encode = NewXYZEncoding(white, 0.875, false);
    TKRefPtr<TKLinkChannelCurves> decode = NewXYZEncoding(white, 0.875, true);
    const TKVector encoded = encode->Trafo(white);
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(encoded[c], 175.0, 1e-9);
    // gamma = ln 0.875 / ln(100 / 200) = 0.19265 for Y: mid-grey Y 18 sits at 200 * 0.09^0.19265.
    const TKVector grey = encode->Trafo(TKVector({17.36, 18.0, 14.85}, int32_t(TKXYZSpace)));
    EXPECT_NEAR(grey[1], 200.0 * std::pow(0.09, std::log(0.875) / std::log(0.5)), 1e-9);
    const TKVector back = decode->Trafo(grey);
    EXPECT_NEAR(back[1], 18.0, 1e-9);
    EXPECT_TKERROR(encode->Trafo(TKVector{1.0, 2.0}), DimMismatch);
}

TEST(LinkStageTrafos, SeparabilityProbe) {
    EXPECT_TRUE(IsChannelSeparable(Squares(), 3, 0.001));
    EXPECT_FALSE(IsChannelSeparable(Swap(), 2, 0.001));
    EXPECT_FALSE(IsChannelSeparable(Drop(), 3, 0.001));
    EXPECT_TRUE(IsChannelSeparable(TKTrafo(), 4, 0.001));  // the identity of any dimension
    EXPECT_FALSE(IsChannelSeparable(TKTrafo(), 0, 0.001));
    // Within 0.001 of the range a trace of cross talk is tolerated, beyond it not.
    EXPECT_TRUE(IsChannelSeparable(Leaky(0.0005), 2, 0.001));
    EXPECT_FALSE(IsChannelSeparable(Leaky(0.01), 2, 0.001));
}
