// The thirteen pixel kernels and their dispatch against a slow reference evaluator, bit for bit,
// on every instruction set the processor runs: every kernel that can run on a link, 1 to 8 input
// channels, grids 2 to 65, with and without curves, 8, 16 and 8-to-16 bits, interleaved and
// planar pixels, lazy and complete links, runs of equal pixels, long interleaved calls through the
// dispatch and odd layouts; plus the hand-checked edge values of the cell arithmetic and the
// exactness of the divided cells' reciprocal. (Threads on a lazy link: LinkGenericTrafoTest.)
#include <atomic>
#include <random>
#include <vector>

#include "foundation/TKProgress.h"
#include "link/LinkReference.h"
#include "link/PerIsaTest.h"
#include "link/TKLinkKernelIsa.h"
#include "link/TKLinkKernelMath.h"
#include "link/TKLinkKernels.h"
#include "support/TestSupport.h"

namespace {

class KernelMatch : public PerIsaTest {};
TK_INSTANTIATE_PER_ISA(KernelMatch);

// Node values from a hash of the node's position: every index error shows. Some nodes are
// pinned at 0 and 0xFFFF so that full-scale sums are exercised. Curves are non-linear.
class HashLink : public TKLinkGeneric {
public:
    explicit HashLink(uint32_t seed) : fSeed(seed) {}
    void EvalInput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t c = 0; c < fSrcDim; ++c) out[c] = uint16_t(uint32_t(in[c]) * in[c] / 65535u);
    }
    void EvalNode(const uint16_t* position, uint16_t* out) override {
        uint32_t h = fSeed;
        for (int32_t c = 0; c < fSrcDim; ++c) h = (h ^ position[c]) * 0x9E3779B1u;
        for (int32_t o = 0; o < fDstDim; ++o) {
            h = (h ^ (h >> 15)) * 0x85EBCA77u;
            const uint32_t pick = h >> 28;
            out[o] = pick == 0 ? 0 : pick == 1 ? 0xFFFF : uint16_t(h >> 8);
        }
    }
    void EvalOutput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t o = 0; o < fDstDim; ++o) out[o] = uint16_t(65535u - uint32_t(in[o]) * in[o] / 65535u);
    }

private:
    uint32_t fSeed;
};

// Interleaved with a pad sample after each pixel (left alone by the kernels), interleaved without
// (the wide kernels' whole-vector loads and stores), or in planes.
enum class Layout { kPadded, kPacked, kPlanar };
const char* Describe(Layout layout) {
    return layout == Layout::kPadded ? " padded" : layout == Layout::kPacked ? " packed" : " planar";
}

// Pixels of one depth in one of the layouts.
template <class Sample>
struct Pixels {
    Pixels(int32_t channels, int32_t count, Layout layout) : channels(channels), count(count) {
        const bool planar = layout == Layout::kPlanar;
        const int32_t perPixel = planar ? 1 : channels + (layout == Layout::kPadded);
        data.assign(size_t(count) * (planar ? channels : perPixel), Sample(0xA5));
        for (int32_t c = 0; c < channels; ++c) {
            pointers.push_back(planar ? data.data() + size_t(c) * count : data.data() + c);
            strides.push_back(perPixel * int32_t(sizeof(Sample)));
        }
    }
    Sample Pad(int32_t pixel) const { return data[size_t(pixel) * (channels + 1) + channels]; }  // padded
    Sample& At(int32_t pixel, int32_t c) {
        return *reinterpret_cast<Sample*>(reinterpret_cast<uint8_t*>(pointers[c]) + size_t(pixel) * strides[c]);
    }
    int32_t channels, count;
    std::vector<Sample> data;
    std::vector<Sample*> pointers;
    std::vector<int32_t> strides;
};

// Random samples with runs of equal pixels and the edge values 0, full scale and half scale.
template <class Sample>
void FillSamples(Pixels<Sample>& px, std::mt19937& rng) {
    const uint32_t top = sizeof(Sample) == 1 ? 0xFF : 0xFFFF;
    const uint32_t edges[] = {0, top, top / 2 + 1, top - 1, 1};
    for (int32_t i = 0; i < px.count; ++i) {
        const uint32_t kind = rng() % 8;
        if (i < 256 && px.count >= 1000) {  // long calls: every 8-bit value in every channel first
            for (int32_t c = 0; c < px.channels; ++c)
                px.At(i, c) = Sample(uint8_t(i * (2 * c + 1) + c) * (sizeof(Sample) == 1 ? 1 : 257));
            continue;
        }
        for (int32_t c = 0; c < px.channels; ++c) {
            uint32_t v = rng() & top;
            if (kind == 0) v = edges[rng() % 5];
            if (kind == 1 && i > 0) v = px.At(i - 1, c);  // runs of equal pixels
            if (kind == 2 && i > 0) v = c == 0 ? v : px.At(i - 1, c);  // equal but for channel 0
            px.At(i, c) = Sample(v);
        }
    }
}

struct LinkCase {
    int32_t srcDim, dstDim, grid;
    bool curves, lazy;
};

std::string Describe(const LinkCase& lc) {
    return std::to_string(lc.srcDim) + "->" + std::to_string(lc.dstDim) + " grid " + std::to_string(lc.grid) +
           (lc.curves ? " curves" : "") + (lc.lazy ? " lazy" : "");
}

std::unique_ptr<HashLink> MakeLink(const LinkCase& lc, bool lazy) {
    auto link = std::make_unique<HashLink>(uint32_t(lc.srcDim * 131 + lc.dstDim * 7 + lc.grid));
    link->Init(lc.srcDim, lc.dstDim, lc.grid, lazy ? 1 : 0);
    link->Finish(lc.curves, lc.curves, nullptr);
    return link;
}

// The reference's answer for a kernel of the given cell family.
void Reference(TKLinkGeneric& twin, const uint32_t* src, int32_t srcBits, uint32_t* dst, int32_t dstBits,
               bool dividedCells, bool split) {
    LinkReference::Pixel(twin, src, srcBits, dst, dstBits, split,
                         dividedCells ? LinkReference::Cells::kDivided : LinkReference::Cells::kShifted);
}

// Runs `kernel` on pixels of (srcBits, dstBits) through `link` and compares each pixel with the
// reference on the complete twin. Returns the number of mismatching pixels (reports the first).
template <class S, class D>
int32_t CheckKernel(TKLinkGeneric& link, TKLinkGeneric& twin, const TKLinkKernelRow& row, int32_t srcBits,
                    int32_t dstBits, Pixels<S>& in, Layout layout, const std::string& what) {
    Pixels<D> out(link.GetDstDim(), in.count, layout);
    TKLinkRunKernel(link, row.kernel, srcBits, dstBits, in.count, reinterpret_cast<const void* const*>(in.pointers.data()),
                    reinterpret_cast<void* const*>(out.pointers.data()), in.strides.data(), out.strides.data(), nullptr);
    const bool split = row.kernel != TKLinkKernel::Match4Simplex;
    int32_t bad = 0;
    for (int32_t i = 0; i < in.count; ++i) {
        uint32_t src[16], expected[36];
        for (int32_t c = 0; c < in.channels; ++c) src[c] = in.At(i, c);
        Reference(twin, src, srcBits, expected, dstBits, row.anyGrid, split);
        for (int32_t o = 0; o < link.GetDstDim(); ++o)
            if (out.At(i, o) != expected[o] && bad++ == 0)
                ADD_FAILURE() << row.name << " " << what << " bits " << srcBits << "/" << dstBits << " pixel " << i
                              << " output " << o << ": " << out.At(i, o) << " != " << expected[o];
    }
    // The pad samples of interleaved output stay untouched.
    for (int32_t i = 0; layout == Layout::kPadded && i < in.count; ++i) EXPECT_EQ(out.Pad(i), D(0xA5));
    return bad;
}

// Runs every kernel that fits the link at every depth it takes, in every layout.
void CheckAllKernels(const LinkCase& lc, int32_t pixels, uint32_t seed) {
    auto link = MakeLink(lc, lc.lazy);
    auto twin = MakeLink(lc, false);
    const bool shifted = TKLinkHasShiftedCells(link->GridPoints(), link->GridShift());
    std::mt19937 rng(seed);
    const int32_t depths[][2] = {{16, 16}, {8, 8}, {8, 16}, {16, 8}};
    for (const TKLinkKernelRow& row : kLinkKernelRows)
        for (const auto& d : depths) {
            if (!TKLinkKernelFits(row, d[0], d[1], shifted, lc.srcDim, lc.dstDim)) continue;
            for (Layout layout : {Layout::kPadded, Layout::kPacked, Layout::kPlanar}) {
                const std::string what = Describe(lc) + Describe(layout);
                if (d[0] == 8) {
                    Pixels<uint8_t> in(lc.srcDim, pixels, layout);
                    FillSamples(in, rng);
                    if (d[1] == 8) CheckKernel<uint8_t, uint8_t>(*link, *twin, row, 8, 8, in, layout, what);
                    else CheckKernel<uint8_t, uint16_t>(*link, *twin, row, 8, 16, in, layout, what);
                } else {
                    Pixels<uint16_t> in(lc.srcDim, pixels, layout);
                    FillSamples(in, rng);
                    if (d[1] == 8) CheckKernel<uint16_t, uint8_t>(*link, *twin, row, 16, 8, in, layout, what);
                    else CheckKernel<uint16_t, uint16_t>(*link, *twin, row, 16, 16, in, layout, what);
                }
            }
        }
}

TEST_P(KernelMatch, EveryKernelMatchesTheReferenceOnRandomPixels) {
    const int32_t grids[] = {2, 3, 5, 9, 13, 17, 33, 65};
    const int32_t outputs[] = {3, 4, 1, 8, 9, 5};
    int32_t cases = 0;
    for (int32_t n = 1; n <= 8; ++n)
        for (int32_t grid : grids) {
            // Keep the grid table below 4M entries: 65^4 or 17^6 is test time without new paths.
            uint64_t nodes = 1;
            for (int32_t c = 0; c < n; ++c) nodes *= uint64_t(grid);
            if (nodes > 600000) continue;
            const int32_t dst = outputs[(n + grid) % 6];
            for (bool curves : {false, true})
                for (bool lazy : {false, true}) {
                    CheckAllKernels({n, dst, grid, curves, lazy}, 300, uint32_t(n * 1000 + grid));
                    ++cases;
                }
        }
    EXPECT_GT(cases, 150);
}

// Every 8-bit input of one and two channels, and every 16-bit input of one channel.
TEST_P(KernelMatch, ExhaustiveSmallInputs) {
    for (int32_t grid : {2, 5, 13, 17}) {
        for (bool curves : {false, true}) {
            for (int32_t n : {1, 2}) {
                const LinkCase lc{n, 3, grid, curves, false};
                auto link = MakeLink(lc, false);
                const bool shifted = TKLinkHasShiftedCells(grid, link->GridShift());
                Pixels<uint8_t> in8(n, n == 1 ? 256 : 65536, Layout::kPadded);
                for (int32_t i = 0; i < in8.count; ++i)
                    for (int32_t c = 0; c < n; ++c) in8.At(i, c) = uint8_t(c == 0 ? i & 0xFF : i >> 8);
                for (const TKLinkKernelRow& row : kLinkKernelRows) {
                    if (TKLinkKernelFits(row, 8, 8, shifted, n, 3))
                        CheckKernel<uint8_t, uint8_t>(*link, *link, row, 8, 8, in8, Layout::kPadded, Describe(lc));
                    if (TKLinkKernelFits(row, 8, 16, shifted, n, 3))
                        CheckKernel<uint8_t, uint16_t>(*link, *link, row, 8, 16, in8, Layout::kPadded, Describe(lc));
                }
            }
            const LinkCase lc{1, 4, grid, curves, false};
            auto link = MakeLink(lc, false);
            Pixels<uint16_t> in16(1, 65536, Layout::kPlanar);
            for (int32_t i = 0; i < 65536; ++i) in16.At(i, 0) = uint16_t(i);
            for (const TKLinkKernelRow& row : kLinkKernelRows)
                if (TKLinkKernelFits(row, 16, 16, TKLinkHasShiftedCells(grid, link->GridShift()), 1, 4))
                    CheckKernel<uint16_t, uint16_t>(*link, *link, row, 16, 16, in16, Layout::kPlanar, Describe(lc));
        }
    }
}

// The dispatch follows the kernel rules: divided cells on other grids, the unrolled forms for 3
// and 4 channels with up to 8 outputs, the loops otherwise, divided cells for 8-to-16 bits where
// no shifted kernel exists.
TEST(KernelRules, DispatchPicksTheKernelOfTheRules) {
    auto pick = [](int32_t sb, int32_t db, int32_t grid, int32_t n, int32_t outs) {
        return TKLinkPickKernel(sb, db, grid, TKLinkGeneric::GridShiftOf(grid), n, outs)->kernel;
    };
    EXPECT_EQ(pick(16, 16, 13, 3, 4), TKLinkKernel::MatchGrid16);
    EXPECT_EQ(pick(8, 8, 13, 2, 4), TKLinkKernel::MatchGrid8);
    EXPECT_EQ(pick(8, 16, 6, 5, 4), TKLinkKernel::MatchGridN8To16);
    EXPECT_EQ(pick(16, 16, 13, 4, 4), TKLinkKernel::MatchGridN16);
    EXPECT_EQ(pick(16, 16, 17, 3, 4), TKLinkKernel::Match3);
    EXPECT_EQ(pick(8, 16, 2, 3, 8), TKLinkKernel::Match3);
    EXPECT_EQ(pick(8, 8, 33, 4, 8), TKLinkKernel::Match4);
    EXPECT_EQ(pick(16, 16, 17, 3, 9), TKLinkKernel::MatchShift16);  // 9 outputs: not Match3
    EXPECT_EQ(pick(8, 8, 9, 2, 3), TKLinkKernel::MatchShift8);
    EXPECT_EQ(pick(8, 16, 9, 2, 3), TKLinkKernel::MatchGrid8To16);
    EXPECT_EQ(pick(8, 16, 9, 3, 9), TKLinkKernel::MatchGrid8To16);
    EXPECT_EQ(pick(16, 16, 5, 6, 2), TKLinkKernel::MatchShiftN16);
    EXPECT_EQ(pick(8, 8, 17, 4, 9), TKLinkKernel::MatchShiftN8);
    EXPECT_EQ(pick(8, 16, 17, 5, 4), TKLinkKernel::MatchGridN8To16);
    for (int32_t n = 1; n <= 16; ++n)
        for (int32_t grid : {2, 3, 4, 13, 65})
            EXPECT_NE(TKLinkPickKernel(16, 16, grid, TKLinkGeneric::GridShiftOf(grid), n, 36)->kernel,
                      TKLinkKernel::Match4Simplex);
}

// Match16, Match8 and Match8To16 give the reference's answer for the kernel the rules pick, over
// long interleaved calls (the unrolled 8-bit kernels fill a cell table once per call, the 16-bit
// ones walk whole words, the wide ones load whole vectors when pixels are packed) with pad samples
// left alone.
TEST_P(KernelMatch, DispatchedMatchEqualsReference) {
    std::vector<LinkCase> cases = {{4, 9, 9, false, false}, {3, 9, 33, true, false}, {5, 3, 6, true, false},
                                   {2, 3, 2, false, false}};
    for (int32_t n : {3, 4})
        for (int32_t outs : {3, 4, 5})
            for (int32_t grid : {2, 3, 5, 9, 11, 13, 17, 21, 33})
                for (bool curves : {false, true})
                    for (bool lazy : {false, true}) cases.push_back({n, outs, grid, curves, lazy});
    std::mt19937 rng(7);
    constexpr int32_t kCount = 1500;
    for (const LinkCase& lc : cases)
        for (Layout layout : {Layout::kPadded, Layout::kPacked}) {
            auto link = MakeLink(lc, lc.lazy);
            auto twin = MakeLink(lc, false);
            Pixels<uint16_t> in16(lc.srcDim, kCount, layout);
            Pixels<uint8_t> in8(lc.srcDim, kCount, layout);
            FillSamples(in16, rng);
            FillSamples(in8, rng);
            Pixels<uint16_t> out16(lc.dstDim, kCount, layout), out8to16(lc.dstDim, kCount, layout);
            Pixels<uint8_t> out8(lc.dstDim, kCount, layout);
            link->Match16(kCount, in16.pointers.data(), out16.pointers.data(), in16.strides.data(),
                          out16.strides.data(), nullptr);
            link->Match8(kCount, in8.pointers.data(), out8.pointers.data(), in8.strides.data(), out8.strides.data(),
                         nullptr);
            link->Match8To16(kCount, in8.pointers.data(), out8to16.pointers.data(), in8.strides.data(),
                             out8to16.strides.data(), nullptr);
            const int32_t bits[][2] = {{16, 16}, {8, 8}, {8, 16}};
            for (const auto& b : bits) {
                const TKLinkKernelRow* row =
                    TKLinkPickKernel(b[0], b[1], lc.grid, link->GridShift(), lc.srcDim, lc.dstDim);
                for (int32_t i = 0; i < kCount; ++i) {
                    uint32_t src[16], expected[36];
                    for (int32_t c = 0; c < lc.srcDim; ++c) src[c] = b[0] == 8 ? in8.At(i, c) : in16.At(i, c);
                    Reference(*twin, src, b[0], expected, b[1], row->anyGrid, true);
                    for (int32_t o = 0; o < lc.dstDim; ++o) {
                        const uint32_t got =
                            b[1] == 8 ? out8.At(i, o) : b[0] == 8 ? out8to16.At(i, o) : out16.At(i, o);
                        ASSERT_EQ(got, expected[o])
                            << Describe(lc) << Describe(layout) << " " << row->name << " pixel " << i << " output " << o;
                    }
                    if (layout == Layout::kPadded) {
                        ASSERT_EQ(b[1] == 8 ? out8.Pad(i) : b[0] == 8 ? out8to16.Pad(i) : out16.Pad(i), 0xA5u) << i;
                    }
                }
            }
        }
}

// Hand-checked values of the cell arithmetic.
TEST_P(KernelMatch, EdgeValuesOfTheCellArithmetic) {
    // Grid 17, all samples full scale: cell index 15, fraction 4096, the last node exactly.
    auto link = MakeLink({3, 4, 17, false, false}, false);
    const uint16_t full[3] = {0xFFFF, 0xFFFF, 0xFFFF}, zero[3] = {0, 0, 0};
    uint16_t out[4];
    const uint16_t* src[3] = {full, full + 1, full + 2};
    uint16_t* dst[4] = {out, out + 1, out + 2, out + 3};
    const int32_t two[4] = {2, 2, 2, 2};
    link->Match16(1, src, dst, two, two, nullptr);
    const uint16_t* last = link->Nodes() + size_t(link->NodeCount() - 1) * 4;
    for (int32_t o = 0; o < 4; ++o) EXPECT_EQ(out[o], last[o]);
    // All zero: the first node.
    const uint16_t* zsrc[3] = {zero, zero + 1, zero + 2};
    link->Match16(1, zsrc, dst, two, two, nullptr);
    for (int32_t o = 0; o < 4; ++o) EXPECT_EQ(out[o], link->Nodes()[o]);

    // 8-bit 255 widens to 0xFFFF and reaches the last node too.
    const uint8_t full8[3] = {255, 255, 255};
    const uint8_t* src8[3] = {full8, full8 + 1, full8 + 2};
    uint8_t out8[4];
    uint8_t* dst8[4] = {out8, out8 + 1, out8 + 2, out8 + 3};
    const int32_t one[4] = {1, 1, 1, 1};
    link->Match8(1, src8, dst8, one, one, nullptr);
    for (int32_t o = 0; o < 4; ++o) EXPECT_EQ(out8[o], last[o] >> 8);

    // Two nodes per axis: the cell is 0xFFFF and the result a shift by 16, so a full-scale node
    // comes out one below full scale.
    class FullLink : public TKLinkGeneric {
        void EvalNode(const uint16_t*, uint16_t* o) override { o[0] = o[1] = o[2] = 0xFFFF; }
    } two2;
    two2.Init(3, 3, 2, 0);
    two2.Finish(false, false, nullptr);
    uint16_t o3[3];
    uint16_t* d3[3] = {o3, o3 + 1, o3 + 2};
    two2.Match16(1, src, d3, two, two, nullptr);
    EXPECT_EQ(o3[0], 0xFFFE);
    two2.Match16(1, zsrc, d3, two, two, nullptr);
    EXPECT_EQ(o3[1], 0xFFFE);

    // Grid 13: cell 5462; 65535 lies in cell 11 at 5453, a fraction below a full cell.
    constexpr TKLinkCellMath m = TKLinkCellMath::For(13, 0);
    static_assert(m.cell == 5462);
    uint32_t f = 0;
    EXPECT_EQ(m.Locate<false>(65535, f), 11u);
    EXPECT_EQ(f, 5453u);
    constexpr TKLinkCellMath m17 = TKLinkCellMath::For(17, 4);
    static_assert(m17.cell == 4096 && m17.mask == 4095);
    EXPECT_EQ(m17.Locate<true>(0xFFFF, f), 15u);
    EXPECT_EQ(f, 4096u);
    // Divided cells on the same grid stop a fraction short of the last node.
    EXPECT_EQ(TKLinkCellMath::For(17, 0).Locate<false>(0xFFFF, f), 15u);
    EXPECT_EQ(f, 4095u);
}

// A run of equal pixels computes one pixel: on a lazy link only the nodes of that pixel appear.
TEST_P(KernelMatch, RunOfEqualPixelsComputesOnePixel) {
    auto link = MakeLink({4, 4, 17, false, false}, true);
    const int32_t count = 1000000;
    std::vector<uint16_t> in(size_t(count) * 4), out(size_t(count) * 4);
    for (int32_t i = 0; i < count; ++i) {
        in[size_t(i) * 4] = 1234;
        in[size_t(i) * 4 + 1] = 40000;
        in[size_t(i) * 4 + 2] = 777;
        in[size_t(i) * 4 + 3] = 30001;
    }
    const uint16_t* src[4] = {&in[0], &in[1], &in[2], &in[3]};
    uint16_t* dst[4] = {&out[0], &out[1], &out[2], &out[3]};
    const int32_t strides[4] = {8, 8, 8, 8};
    link->Match16(count, src, dst, strides, strides, nullptr);
    EXPECT_LE(link->NodeDoneCount(), 8u);  // 2n node reads for n = 4 with channel 3 split
    EXPECT_GT(link->NodeDoneCount(), 0u);
    for (int32_t i = 1; i < count; ++i)
        for (int32_t o = 0; o < 4; ++o) ASSERT_EQ(out[size_t(i) * 4 + o], out[o]);
}

class Recording : public TKProgress {
public:
    void SetProgress(double fraction) override {
        reports.push_back(fraction);
        if (cancelAt && reports.size() == cancelAt) TKThrow(Cancel);
    }
    std::vector<double> reports;
    size_t cancelAt = 0;
};

TEST_P(KernelMatch, ProgressEvery65536PixelsAndCancel) {
    auto link = MakeLink({3, 3, 17, true, false}, false);
    const int32_t count = 200000;
    std::vector<uint8_t> in(size_t(count) * 3, 9), out(size_t(count) * 3);
    for (size_t i = 0; i < in.size(); ++i) in[i] = uint8_t(i * 7);
    const uint8_t* src[3] = {&in[0], &in[1], &in[2]};
    uint8_t* dst[3] = {&out[0], &out[1], &out[2]};
    const int32_t strides[3] = {3, 3, 3};
    Recording progress;
    link->Match8(count, src, dst, strides, strides, &progress);
    ASSERT_EQ(progress.reports.size(), 3u);
    EXPECT_DOUBLE_EQ(progress.reports[0], 65535.0 / (count - 1));
    EXPECT_DOUBLE_EQ(progress.reports[2], 196607.0 / (count - 1));

    Recording cancel;
    cancel.cancelAt = 1;
    std::fill(out.begin(), out.end(), 0);
    EXPECT_TKERROR(link->Match8(count, src, dst, strides, strides, &cancel), Cancel);
    EXPECT_EQ(out[size_t(count - 1) * 3], 0);  // stopped before the end
}

TEST_P(KernelMatch, KernelsRefuseLinksOfAnotherShape) {
    auto four = MakeLink({4, 4, 17, false, false}, false);
    auto grid13 = MakeLink({3, 3, 13, false, false}, false);
    auto wide = MakeLink({3, 9, 17, false, false}, false);
    uint16_t px[16] = {};
    const void* src[4] = {px, px, px, px};
    void* dst[9] = {px, px, px, px, px, px, px, px, px};
    const int32_t strides[9] = {};
    EXPECT_TKERROR(four->Match3(1, src, dst, strides, strides, 16, 16, nullptr), DimMismatch);
    EXPECT_TKERROR(wide->Match3(1, src, dst, strides, strides, 16, 16, nullptr), DimMismatch);
    EXPECT_TKERROR(grid13->Match3(1, src, dst, strides, strides, 16, 16, nullptr), ArgErr);
    EXPECT_TKERROR(four->Match4(1, src, dst, strides, strides, 12, 16, nullptr), ArgErr);
    EXPECT_TKERROR(four->MatchShift16(1, reinterpret_cast<const uint16_t* const*>(src),
                                      reinterpret_cast<uint16_t* const*>(dst), strides, strides, nullptr),
                   DimMismatch);
    // Nothing to do: no pixel, or an empty link.
    four->Match4(0, src, dst, strides, strides, 16, 16, nullptr);
    TKLinkGeneric empty;
    empty.Match16(5, reinterpret_cast<const uint16_t* const*>(src), reinterpret_cast<uint16_t* const*>(dst), strides,
                  strides, nullptr);
}

// The divided cells divide by a multiply with a per-grid reciprocal: the quotient must equal the
// true one for every dividend the kernels form (positions, weight products, sums below 2^32),
// tried at each side of every multiple of the cell and at random, for every grid size.
TEST(KernelRules, CellDivisionByReciprocalIsExact) {
    std::mt19937 rng(11);
    for (int32_t grid = 2; grid <= TKLinkGeneric::kMaxGridPoints; ++grid) {
        int32_t shift = 0;
        while (shift < 16 && (1 << shift) + 1 < grid) ++shift;
        for (int32_t k : {0, (1 << shift) + 1 == grid ? shift : 0}) {
            const TKLinkCellMath m = TKLinkCellMath::For(grid, k);
            int32_t bad = 0;
            auto check = [&](uint32_t x) {
                if (m.Divide(x) != x / m.cell && bad++ == 0)
                    ADD_FAILURE() << "grid " << grid << " cell " << m.cell << ": " << x;
            };
            for (uint64_t q = 0; q * m.cell <= 0xFFFFFFFFull; q += 1 + q / 64) {
                const uint32_t x = uint32_t(q * m.cell);
                check(x);
                if (x) check(x - 1);
            }
            check(0xFFFFFFFFu);
            for (int32_t i = 0; i < 2000; ++i) check(uint32_t(rng()));
            EXPECT_EQ(bad, 0);
        }
    }
}

}  // namespace

namespace {

// A layout of interleaved 8-bit pixels in one shared arena: where source and destination start,
// their byte steps, and the pixel count.
struct OddLayout {
    const char* what;
    int32_t srcAt, srcStep, dstAt, dstStep, count;
};

// Runs Match8 on a copy of `arena` with the kernels on `isa`; returns the arena afterwards.
std::vector<uint8_t> MatchInArena(TKLinkGeneric& link, std::vector<uint8_t> arena, const OddLayout& l, TKLinkIsa isa) {
    TKLinkForceKernelIsa(isa);
    const uint8_t* src[16];
    uint8_t* dst[36];
    int32_t srcSteps[16], dstSteps[36];
    for (int32_t c = 0; c < link.GetSrcDim(); ++c) src[c] = arena.data() + l.srcAt + c, srcSteps[c] = l.srcStep;
    for (int32_t o = 0; o < link.GetDstDim(); ++o) dst[o] = arena.data() + l.dstAt + o, dstSteps[o] = l.dstStep;
    link.Match8(l.count, src, dst, srcSteps, dstSteps, nullptr);
    return arena;
}

}  // namespace

// Layouts a careful host doesn't make, but may: the same bytes on every instruction set as
// pixel by pixel, and no read or write past the arena (the ASan build checks that).
TEST_P(KernelMatch, OddLayoutsGiveTheBytesOfTheScalarKernels) {
    const OddLayout layouts[] = {
        {"unaligned packed", 1, 4, 4003, 4, 999},
        {"in place", 0, 4, 0, 4, 1000},
        {"destination one pixel after the source", 0, 4, 4, 4, 999},
        {"destination one pixel before the source", 4, 4, 0, 4, 999},
        {"destination step smaller than a pixel", 0, 4, 5000, 2, 999},
        {"destination step 0", 0, 4, 5000, 0, 333},
        {"source step 0", 7, 0, 5000, 4, 333},
        {"source step smaller than a pixel", 1, 1, 5000, 4, 777},
        {"steps backwards", 3996, -4, 8996, -4, 1000},
        {"no pixels", 0, 4, 5000, 4, 0},
        {"negative count", 0, 4, 5000, 4, -8},
    };
    std::mt19937 rng(3);
    std::vector<uint8_t> arena(9000);
    for (auto& byte : arena) byte = uint8_t(rng());
    for (const LinkCase& lc : {LinkCase{4, 4, 17, false, false}, LinkCase{3, 3, 11, true, false}}) {
        auto link = MakeLink(lc, false);
        for (const OddLayout& l : layouts)
            EXPECT_EQ(MatchInArena(*link, arena, l, GetParam()), MatchInArena(*link, arena, l, TKLinkIsa::kScalar))
                << Describe(lc) << " " << l.what;
    }
}
