// TKLinkGeneric: table layout, baking through the hooks, lazy nodes and copies.
#include <thread>
#include <vector>

#include "foundation/TKProgress.h"
#include "link/LinkReference.h"
#include "link/TKLinkGeneric.h"
#include "numeric/TKSampleConversions.h"
#include "support/TestSupport.h"

namespace {

// A link whose transformation is known in closed form: inverted nodes, a square-law input
// curve and an output curve that halves.
class InvertingLink : public TKLinkGeneric {
public:
    void EvalInput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t c = 0; c < fSrcDim; ++c) out[c] = uint16_t(uint32_t(in[c]) * in[c] / 65535u);
    }
    void EvalNode(const uint16_t* position, uint16_t* out) override {
        ++nodeCalls;
        for (int32_t o = 0; o < fDstDim; ++o) out[o] = uint16_t(0xFFFF - position[o % fSrcDim]);
    }
    void EvalOutput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t o = 0; o < fDstDim; ++o) out[o] = uint16_t(in[o] / 2);
    }
    std::atomic<int32_t> nodeCalls{0};
};

uint16_t Node(const TKLinkGeneric& link, uint32_t node, int32_t o) {
    return link.Nodes()[size_t(node) * link.GetDstDim() + o];
}

class RecordingProgress : public TKProgress {
public:
    void SetProgress(double fraction) override { reports.push_back(fraction); }
    std::vector<double> reports;
};

}  // namespace

TEST(LinkGenericLayout, BadDimensionsGridsAndNodesAreRefused) {
    TKLinkGeneric link;
    EXPECT_TKERROR(link.Finish(false, false, nullptr), PtrInvalid);  // nothing to finish yet
    const int32_t bad[][3] = {{0, 3, 17}, {17, 3, 2}, {3, 0, 17}, {3, 37, 17}, {3, 3, 1}, {3, 3, 66}};
    for (const auto& b : bad) EXPECT_TKERROR(link.Init(b[0], b[1], b[2], 0), ArgErr);
    // 65^16 nodes would wrap a 32-bit count: refused before any allocation.
    EXPECT_TKERROR(link.Init(16, 36, 65, 0), MemFullErr);
    link.Init(16, 36, 2, 0);  // the largest channel counts fit at the smallest grid
    EXPECT_EQ(link.NodeCount(), 65536u);
    link.Init(2, 2, 3, 1);
    const uint16_t values[2] = {0, 0};
    EXPECT_TKERROR(link.CalcNode(9), IndexError);
    EXPECT_TKERROR(link.CopyNode(9, values), IndexError);
    EXPECT_TKERROR(link.CopyNode(0, nullptr), ArgErr);
}

TEST(LinkGenericBaking, DefaultHooksGiveIdentityTables) {
    TKLinkGeneric link;
    link.Init(3, 4, 5, 0);
    link.Finish(true, true, nullptr);
    EXPECT_TRUE(link.HasInputCurves());
    for (int32_t c = 0; c < 3; ++c) {
        EXPECT_EQ(link.InputCurves()[c * 4096 + 0], 0);
        EXPECT_EQ(link.InputCurves()[c * 4096 + 1], 65535 / 4095);
        EXPECT_EQ(link.InputCurves()[c * 4096 + 4095], 65535);
        EXPECT_EQ(link.Input8()[c * 256 + 128], 0x8080);
        EXPECT_EQ(link.Input8()[c * 256 + 255], 0xFFFF);
    }
    for (int32_t o = 0; o < 4; ++o) {
        EXPECT_EQ(link.OutputCurves()[o * 4096 + 2048], 2048u * 65535 / 4095);
        EXPECT_EQ(link.Output8()[o * 4096 + 4095], 255);
        EXPECT_EQ(link.Output8()[o * 4096 + 2048], WordToByte(uint16_t(2048u * 65535 / 4095)));
    }
    // Node (1, 2, 4) of a 5-point grid: positions copied to the first three outputs, 0 after.
    const uint32_t node = (1 * 5 + 2) * 5 + 4;
    EXPECT_EQ(Node(link, node, 0), 0x4000);
    EXPECT_EQ(Node(link, node, 1), 0x8000);
    EXPECT_EQ(Node(link, node, 2), 0xFFFF);
    EXPECT_EQ(Node(link, node, 3), 0);
}

TEST(LinkGenericBaking, HooksShapeCurvesAndNodes) {
    InvertingLink link;
    link.Init(2, 3, 9, 0);
    link.Finish(true, true, nullptr);
    EXPECT_EQ(link.nodeCalls.load(), 81);
    // Input curve at entry 2048: v = 2048 * 65535 / 4095, squared and scaled back.
    const uint32_t v = 2048u * 65535 / 4095;
    EXPECT_EQ(link.InputCurves()[4096 + 2048], v * v / 65535);
    // Input8 goes through the widened byte: 128 -> 0x8080 -> squared.
    EXPECT_EQ(link.Input8()[128], 0x8080u * 0x8080u / 65535);
    EXPECT_EQ(link.OutputCurves()[2 * 4096 + 4095], 65535 / 2);
    EXPECT_EQ(link.Output8()[4095], WordToByte(65535 / 2));
    // Node (3, 8): positions 3 * 8192 and 0xFFFF, inverted; output 2 repeats channel 0.
    EXPECT_EQ(Node(link, 3 * 9 + 8, 0), 0xFFFF - 3 * 8192);
    EXPECT_EQ(Node(link, 3 * 9 + 8, 1), 0);
    EXPECT_EQ(Node(link, 3 * 9 + 8, 2), 0xFFFF - 3 * 8192);
}

TEST(LinkGenericBaking, CurvesStayIdentityWhenTheirStageIsAbsent) {
    InvertingLink link;
    link.Init(1, 1, 3, 0);
    link.Finish(false, false, nullptr);
    EXPECT_FALSE(link.HasInputCurves());
    EXPECT_EQ(link.InputCurves()[4095], 65535);
    EXPECT_EQ(link.Input8()[200], 200 * 257);
    EXPECT_EQ(link.OutputCurves()[4095], 65535);
    EXPECT_EQ(link.Output8()[4095], 255);
}

TEST(LinkGenericBaking, NullHookArgumentsAreArgErr) {
    TKLinkGeneric link;
    link.Init(2, 2, 3, 0);
    uint16_t words[2] = {1, 2};
    uint8_t bytes[2] = {1, 2};
    EXPECT_TKERROR(link.EvalInput16(nullptr, words), ArgErr);
    EXPECT_TKERROR(link.EvalInput8(bytes, nullptr), ArgErr);
    EXPECT_TKERROR(link.EvalNode(nullptr, words), ArgErr);
    EXPECT_TKERROR(link.EvalOutput16(words, nullptr), ArgErr);
    EXPECT_TKERROR(link.EvalOutput8(nullptr, bytes), ArgErr);
    link.EvalOutput8(words, bytes);
    EXPECT_EQ(bytes[0], WordToByte(1));
}

TEST(LinkGenericBaking, ProgressEndsWithCompletionAndCancelUnwinds) {
    TKLinkGeneric link;
    link.Init(3, 3, 9, 0);
    RecordingProgress progress;
    link.Finish(false, false, &progress);
    ASSERT_FALSE(progress.reports.empty());
    EXPECT_EQ(progress.reports.back(), 1.0);

    TKStopProgress stop;
    stop.Stop();
    EXPECT_TKERROR(link.Finish(false, false, &stop), Cancel);
}

TEST(LinkGenericLazy, NodesAreComputedOnFirstUse) {
    InvertingLink link;
    link.Init(3, 3, 5, 1);
    link.Finish(false, false, nullptr);
    EXPECT_FALSE(link.IsComplete());
    EXPECT_NE(link.NodeFlags(), nullptr);
    EXPECT_EQ(link.nodeCalls.load(), 0);

    link.CalcNode(7);
    link.CalcNode(7);
    EXPECT_EQ(link.nodeCalls.load(), 1);
    EXPECT_EQ(link.NodeDoneCount(), 1u);
    EXPECT_EQ(Node(link, 7, 2), 0xFFFF - 0x8000);  // node (0, 1, 2): channel 2 at 0x8000

    const uint16_t given[3] = {1, 2, 3};
    link.CopyNode(8, given);
    EXPECT_EQ(Node(link, 8, 2), 3);
    EXPECT_EQ(link.NodeDoneCount(), 2u);
    link.EnsureNode(8);  // done already: nothing is computed
    EXPECT_EQ(link.nodeCalls.load(), 1);

    link.FillNodes(nullptr);
    EXPECT_TRUE(link.IsComplete());
    EXPECT_EQ(link.NodeFlags(), nullptr);
    EXPECT_EQ(link.nodeCalls.load(), 124);
    EXPECT_EQ(Node(link, 8, 2), 3);  // a copied node is never recomputed
    link.CalcNode(0);                 // complete: nothing happens
    EXPECT_EQ(link.nodeCalls.load(), 124);
    // The last node computed one by one completes a lazy link too.
    InvertingLink small;
    small.Init(1, 1, 3, 1);
    small.Finish(false, false, nullptr);
    for (uint32_t node = 0; node < 3; ++node) small.CalcNode(node);
    EXPECT_TRUE(small.IsComplete());
    EXPECT_EQ(small.NodeFlags(), nullptr);
}

TEST(LinkGenericLazy, ThreadsSharingALazyLinkAgreeWithAFullBake) {
    InvertingLink eager;
    eager.Init(3, 3, 9, 0);
    eager.Finish(true, false, nullptr);
    InvertingLink lazy;
    lazy.Init(3, 3, 9, 1);
    lazy.Finish(true, false, nullptr);

    std::vector<std::thread> threads;
    for (int32_t t = 0; t < 4; ++t)
        threads.emplace_back([&lazy, t] {
            uint32_t src[3], dst[3];
            for (uint32_t i = 0; i < 3000; ++i) {
                src[0] = (i * 97 + t * 13) & 0xFFFF;
                src[1] = (i * 331) & 0xFFFF;
                src[2] = (i * 7919 + t) & 0xFFFF;
                LinkReference::Pixel(lazy, src, 16, dst, 16);
            }
        });
    for (auto& thread : threads) thread.join();
    lazy.FillNodes(nullptr);
    ASSERT_TRUE(lazy.IsComplete());
    EXPECT_EQ(lazy.nodeCalls.load(), int32_t(lazy.NodeCount()));  // each node exactly once
    for (uint32_t i = 0; i < eager.NodeCount() * 3; ++i) ASSERT_EQ(lazy.Nodes()[i], eager.Nodes()[i]);
}

TEST(LinkGenericCopy, CopyDuplicatesEveryTable) {
    InvertingLink source;
    source.Init(3, 2, 5, 0);
    source.Finish(true, true, nullptr);
    TKLinkGeneric copy(source);
    EXPECT_EQ(copy.GetSrcDim(), 3);
    EXPECT_EQ(copy.GetDstDim(), 2);
    EXPECT_EQ(copy.GridPoints(), 5);
    EXPECT_TRUE(copy.HasInputCurves());
    EXPECT_NE(copy.Nodes(), source.Nodes());
    for (uint32_t i = 0; i < source.NodeCount() * 2; ++i) ASSERT_EQ(copy.Nodes()[i], source.Nodes()[i]);
    for (int32_t i = 0; i < 3 * 4096; ++i) ASSERT_EQ(copy.InputCurves()[i], source.InputCurves()[i]);
    for (int32_t i = 0; i < 2 * 4096; ++i) ASSERT_EQ(copy.Output8()[i], source.Output8()[i]);

    TKLinkGeneric empty;
    copy.CopyFrom(empty);
    EXPECT_EQ(copy.GetSrcDim(), 0);
    EXPECT_EQ(copy.Nodes(), nullptr);
}

TEST(LinkGenericCopy, CopyOfALazyLinkKeepsItsFlags) {
    InvertingLink source;
    source.Init(2, 2, 3, 1);
    source.Finish(false, false, nullptr);
    source.CalcNode(4);
    TKLinkGeneric copy;
    copy.CopyFrom(source);
    EXPECT_FALSE(copy.IsComplete());
    EXPECT_EQ(copy.NodeDoneCount(), 1u);
    EXPECT_EQ(copy.NodeFlags()[4].load(), 1);
    EXPECT_EQ(copy.Nodes()[4 * 2], source.Nodes()[4 * 2]);
}

TEST(LinkGenericLazy, LazyPixelComputesOnlyItsSimplexNodes) {
    InvertingLink link;
    link.Init(3, 3, 9, 1);
    link.Finish(false, false, nullptr);
    const uint32_t src[3] = {1000, 30000, 50000};
    uint32_t dst[3];
    LinkReference::Pixel(link, src, 16, dst, 16);
    EXPECT_EQ(link.nodeCalls.load(), 4);  // n + 1 nodes of 512
    // Inverting is linear: the interpolated pixel is the inverted position, up to rounding.
    EXPECT_NEAR(double(dst[1]), double(0xFFFF - 30000), 2.0);
}
