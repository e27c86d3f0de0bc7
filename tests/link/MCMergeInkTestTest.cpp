// The skip test of merge links on every layout a host gives: planes of their own, interleaved
// pixels with pads, other strides, one inked sample anywhere, and ink only outside the tested
// samples, against the obvious sample-by-sample answer, on every instruction set.
#include <vector>

#include "link/PerIsaTest.h"
#include "link/TKMCMergeInkTest.h"
#include "support/TestSupport.h"

namespace {

struct Layout {
    const char* name;
    int32_t samplesPerPixel;  // interleaved: samples of one pixel; planar: 0
    std::vector<int32_t> tested;  // channels whose planes are tested
    int32_t stride;           // samples from pixel to pixel
};

template <class Sample>
void CheckLayout(const Layout& layout) {
    constexpr int32_t kCount = 1001;  // not a multiple of any word or mask period
    const int32_t channels = 8;
    const bool planar = layout.samplesPerPixel == 0;
    const size_t size = planar ? size_t(channels) * kCount * layout.stride
                               : size_t(kCount) * layout.stride;
    std::vector<Sample> block(size + 8, Sample(0));
    auto at = [&](int32_t channel, int32_t pixel) -> Sample& {
        return planar ? block[size_t(channel) * kCount * layout.stride + size_t(pixel) * layout.stride]
                      : block[size_t(pixel) * layout.stride + size_t(channel)];
    };
    std::vector<const Sample*> planes;
    std::vector<int32_t> strides;
    for (int32_t c : layout.tested) planes.push_back(&at(c, 0)), strides.push_back(layout.stride);
    const int32_t n = int32_t(planes.size());
    auto test = [&] { return TKPlanesHaveInk(kCount, planes.data(), strides.data(), n); };

    // Ink everywhere but in the tested samples, including the bytes right after the run.
    std::fill(block.begin(), block.end(), Sample(0xFF));
    for (int32_t c : layout.tested)
        for (int32_t i = 0; i < kCount; ++i) at(c, i) = 0;
    EXPECT_FALSE(test()) << layout.name;
    for (int32_t c : layout.tested)
        for (int32_t pixel : {0, 1, 7, 500, kCount - 1}) {
            at(c, pixel) = 1;
            EXPECT_TRUE(test()) << layout.name << " channel " << c << " pixel " << pixel;
            at(c, pixel) = 0;
        }
    EXPECT_FALSE(TKPlanesHaveInk(0, planes.data(), strides.data(), n));
}

const Layout kLayouts[] = {
    {"CMYK + 2 spots, interleaved", 6, {4, 5}, 6},
    {"CMYK + 2 spots + alpha", 7, {4, 5}, 7},
    {"one spot in the middle", 6, {2}, 6},
    {"spots apart in the pixel", 8, {1, 6}, 8},
    {"wide pixels", 8, {7}, 40},  // past the masked scan: sample by sample
    {"planar", 0, {4, 5}, 1},
    {"planar with a step", 0, {4, 5, 6}, 3},
};

class MCMergeInkTest : public PerIsaTest {};
TK_INSTANTIATE_PER_ISA(MCMergeInkTest);

}  // namespace

TEST_P(MCMergeInkTest, EveryLayoutFindsEveryInkedSampleAndNothingElse) {
    for (const Layout& layout : kLayouts) {
        CheckLayout<uint8_t>(layout);
        CheckLayout<uint16_t>(layout);
    }
}
