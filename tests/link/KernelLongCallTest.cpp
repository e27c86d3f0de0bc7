// Long calls of the unrolled 3- and 4-channel kernels on interleaved pixels (8-bit ones look up
// each sample's cell in a table filled once per call, 16-bit ones walk whole words) against the
// slow reference evaluator bit for bit: every 8-bit value in every channel, runs of equal pixels,
// curves, lazy links, grids of shifted cells (2 and 2^k + 1 points) and of divided cells (11, 13,
// 21), 8- and 16-bit samples in and out, pad samples between pixels left alone.
#include <random>
#include <vector>

#include "link/KernelReference.h"
#include "link/TKLinkGeneric.h"
#include "link/TKLinkKernelMath.h"
#include "support/TestSupport.h"

namespace {

// Nodes from a hash of their position, with some pinned at 0 and full scale; bent curves.
class ScrambledLink : public TKLinkGeneric {
public:
    explicit ScrambledLink(uint32_t seed) : fSeed(seed) {}
    void EvalInput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t c = 0; c < fSrcDim; ++c) out[c] = uint16_t(65535u - (65535u - in[c]) * (65535u - in[c]) / 65535u);
    }
    void EvalNode(const uint16_t* position, uint16_t* out) override {
        uint32_t h = fSeed;
        for (int32_t c = 0; c < fSrcDim; ++c) h = (h + position[c]) * 0x2C1B3C6Du;
        for (int32_t o = 0; o < fDstDim; ++o) {
            h ^= h >> 13;
            h *= 0x297A2D39u;
            const uint32_t pick = h >> 29;
            out[o] = pick == 0 ? 0 : pick == 1 ? 0xFFFF : uint16_t(h >> 12);
        }
    }
    void EvalOutput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t o = 0; o < fDstDim; ++o) out[o] = uint16_t(uint32_t(in[o]) * in[o] / 65535u);
    }

private:
    uint32_t fSeed;
};

struct LongCase {
    int32_t srcDim, dstDim, grid;
    bool curves, lazy;
};

std::unique_ptr<ScrambledLink> MakeLink(const LongCase& lc, bool lazy) {
    auto link = std::make_unique<ScrambledLink>(uint32_t(lc.srcDim * 977 + lc.dstDim * 31 + lc.grid));
    link->Init(lc.srcDim, lc.dstDim, lc.grid, lazy ? 1 : 0);
    link->Finish(lc.curves, lc.curves, nullptr);
    return link;
}

// Interleaved pixels with one pad sample after each: the first 256 pixels hold every 8-bit value
// (scaled to 16 bits for 16-bit samples) in every channel, then random colours in runs of 1 to 40.
template <class S>
std::vector<S> MakeSource(int32_t channels, int32_t count, std::mt19937& rng) {
    std::vector<S> px(size_t(count) * (channels + 1), S(0x5A));
    S colour[4] = {};
    int32_t run = 0;
    for (int32_t i = 0; i < count; ++i) {
        S* p = &px[size_t(i) * (channels + 1)];
        if (i < 256) {
            for (int32_t c = 0; c < channels; ++c) p[c] = S(uint8_t(i * (2 * c + 1) + c) * (sizeof(S) == 1 ? 1 : 257));
            continue;
        }
        if (run-- <= 0) {
            run = int32_t(rng() % 40);
            for (int32_t c = 0; c < channels; ++c) colour[c] = S(rng());
        }
        for (int32_t c = 0; c < channels; ++c) p[c] = colour[c];
    }
    return px;
}

// One call over all pixels through the dispatch, then each pixel against the reference.
template <class S, class D>
int32_t CheckLongCall(const LongCase& lc, uint32_t seed) {
    auto link = MakeLink(lc, lc.lazy);
    auto twin = MakeLink(lc, false);
    std::mt19937 rng(seed);
    constexpr int32_t kCount = 1500;
    const std::vector<S> in = MakeSource<S>(lc.srcDim, kCount, rng);
    std::vector<D> out(size_t(kCount) * (lc.dstDim + 1), D(0xA5));
    const S* src[4];
    D* dst[8];
    int32_t srcStrides[4], dstStrides[8];
    for (int32_t c = 0; c < lc.srcDim; ++c) src[c] = in.data() + c, srcStrides[c] = (lc.srcDim + 1) * int32_t(sizeof(S));
    for (int32_t o = 0; o < lc.dstDim; ++o)
        dst[o] = out.data() + o, dstStrides[o] = (lc.dstDim + 1) * int32_t(sizeof(D));
    if constexpr (sizeof(S) == 2) link->Match16(kCount, src, dst, srcStrides, dstStrides, nullptr);
    else if constexpr (sizeof(D) == 1) link->Match8(kCount, src, dst, srcStrides, dstStrides, nullptr);
    else link->Match8To16(kCount, src, dst, srcStrides, dstStrides, nullptr);

    int32_t bad = 0;
    for (int32_t i = 0; i < kCount; ++i) {
        uint32_t samples[4], expected[36];
        for (int32_t c = 0; c < lc.srcDim; ++c) samples[c] = in[size_t(i) * (lc.srcDim + 1) + c];
        // Grids of 2 or 2^k + 1 points read shifted cells (the unrolled kernels take 8-to-16-bit
        // pixels too), other grids divided cells. Channel 3 is split.
        const bool shifted = lc.grid == 2 || ((lc.grid - 1) & (lc.grid - 2)) == 0;
        KernelReference::Pixel(*twin, samples, int32_t(sizeof(S)) * 8, expected, int32_t(sizeof(D)) * 8, {shifted},
                               true);
        const D* got = &out[size_t(i) * (lc.dstDim + 1)];
        for (int32_t o = 0; o < lc.dstDim; ++o)
            if (got[o] != expected[o] && bad++ == 0)
                ADD_FAILURE() << lc.srcDim << "->" << lc.dstDim << " grid " << lc.grid << " pixel " << i
                              << " output " << o << ": " << got[o] << " != " << expected[o];
        if (got[lc.dstDim] != D(0xA5) && bad++ == 0) ADD_FAILURE() << "pad sample of pixel " << i << " written";
    }
    return bad;
}

TEST(KernelLongCall, InterleavedCallsMatchTheReference) {
    uint32_t seed = 7;
    for (int32_t n : {3, 4})
        for (int32_t outs : {3, 4, 5})
            for (int32_t grid : {2, 3, 5, 9, 11, 13, 17, 21, 33})
                for (bool curves : {false, true})
                    for (bool lazy : {false, true}) {
                        const LongCase lc{n, outs, grid, curves, lazy};
                        EXPECT_EQ((CheckLongCall<uint8_t, uint8_t>(lc, ++seed)), 0);
                        EXPECT_EQ((CheckLongCall<uint8_t, uint16_t>(lc, ++seed)), 0);
                        EXPECT_EQ((CheckLongCall<uint16_t, uint16_t>(lc, ++seed)), 0);
                    }
}

// The divided cells divide by a multiply with a per-grid reciprocal: the quotient must equal the
// true one for every dividend the kernels form (positions, weight products, sums below 2^32),
// tried at each side of every multiple of the cell and at random, for every grid size.
TEST(KernelLongCall, CellDivisionByReciprocalIsExact) {
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
