// Merge links against the plain CMYK link they start with, through the exported match functions:
// a 6-channel job (CMYK + two spots) whose spot planes are empty should cost what the 4-channel
// link costs on the same CMYK content; with full spot planes each spot member adds its table.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <random>
#include <vector>

#include "../tests/link/MergeTestSupport.h"
#include "exported/TintaraMCLink.h"
#include "foundation/TKHandle.h"
#include "link/TKMCMergeInkTest.h"
#include "tintara.h"

namespace {

using namespace merge_test;

constexpr int32_t kWidth = 1024;
constexpr int32_t kHeight = 512;
constexpr int32_t kPixels = kWidth * kHeight;

// kNone: the plain link on 4-channel pixels; kSkipped: the plain link on the 6-channel pixels of
// kEmpty, stepping over their spot samples (the same memory as the merge link reads).
enum class Spots { kNone, kSkipped, kEmpty, kFull };

// The press link (17 points) alone and as member 0 of the merge link, with the spot members at
// 9 points: the same tables serve both, so the difference is the chain alone.
struct Links {
    Links() {
        TKTrafoRef press = NewRef(new PressCMYK, true);
        TKTrafoRef orange = NewRef(new SpotOverCMYK(OrangeRecipe()), true);
        TKTrafoRef green = NewRef(new SpotOverCMYK(GreenRecipe()), true);
        cmyk = TKNewTKLink16Ref();
        TKColorTrafo2Link16(cmyk, press, 4);
        merge = TKNewTKMCLink16Ref();
        TKTrafoRef members[3] = {cmyk, orange, green};
        const int32_t gridBits[3] = {4, 3, 3};
        TKTrafos2MCLink(merge, 3, members, gridBits);
        for (TKTrafoRef ref : {press, orange, green}) TKFreeTKTrafoRef(ref);
    }
    ~Links() {
        TKFreeTKLink16Ref(cmyk);
        TKFreeTKLink16Ref(merge);
    }
    TKLinkRef cmyk, merge;
};
Links& SharedLinks() {
    static Links links;
    return links;
}

// Image-like CMYK: flat runs of 1 to 64 pixels and every fourth row a gradient; spots likewise
// or 0.
template <class Sample>
std::vector<Sample> MakePixels(int32_t channels, Spots spots) {
    std::mt19937 rng(42);
    const uint32_t top = sizeof(Sample) == 1 ? 0xFF : 0xFFFF;
    std::vector<Sample> px(size_t(kPixels) * channels);
    Sample colour[6] = {};
    int32_t run = 0;
    for (int32_t y = 0; y < kHeight; ++y)
        for (int32_t x = 0; x < kWidth; ++x) {
            Sample* p = &px[(size_t(y) * kWidth + x) * channels];
            if (run == 0) {
                run = 1 + int32_t(rng() % 64);
                for (auto& c : colour) c = Sample(rng() & top);
            }
            --run;
            for (int32_t c = 0; c < channels; ++c)
                p[c] = y % 4 == 3 ? Sample((uint32_t(x) * (c + 1) * top / kWidth + y) & top) : colour[c];
            for (int32_t c = 4; c < channels; ++c)
                if (spots == Spots::kEmpty) p[c] = 0;
        }
    return px;
}

// One matching job: its link, pixels and plane views, run once per call.
template <class Sample>
struct Job {
    Job(Spots spots, bool planar) : planar(planar) {
        Links& links = SharedLinks();
        const bool plain = spots == Spots::kNone || spots == Spots::kSkipped;
        const int32_t channels = spots == Spots::kNone ? 4 : 6;
        skip = spots == Spots::kSkipped ? 2 : 0;
        link = plain ? links.cmyk : links.merge;
        in = MakePixels<Sample>(channels, spots == Spots::kSkipped ? Spots::kEmpty : spots);
        out.resize(size_t(kPixels) * 4);
        if (planar) {
            std::vector<Sample> planes(in.size());
            for (int32_t i = 0; i < kPixels; ++i)
                for (int32_t c = 0; c < channels; ++c) planes[size_t(c) * kPixels + i] = in[size_t(i) * channels + c];
            in.swap(planes);
            for (int32_t c = 0; c < channels; ++c) src[c] = &in[size_t(c) * kPixels];
            for (int32_t o = 0; o < 4; ++o) dst[o] = &out[size_t(o) * kPixels];
        }
    }
    int32_t Run() {
        if (planar)
            return sizeof(Sample) == 1 ? TKLink8MatchPlanes(link, kPixels, src, dst, 1, 1, nullptr, nullptr)
                                       : TKLink16MatchPlanes(link, kPixels, src, dst, 1, 1, nullptr, nullptr);
        return sizeof(Sample) == 1 ? TKLink8Match(link, kPixels, in.data(), out.data(), skip, 0, nullptr, nullptr)
                                   : TKLink16Match(link, kPixels, in.data(), out.data(), skip, 0, nullptr, nullptr);
    }
    bool planar;
    int32_t skip = 0;
    TKLinkRef link;
    std::vector<Sample> in, out;
    const void* src[6] = {};
    void* dst[4] = {};
};

template <class Sample>
void Match(benchmark::State& state, Spots spots, bool planar) {
    Job<Sample> job(spots, planar);
    for (auto _ : state) {
        if (job.Run() != 0) state.SkipWithError("match failed");
        benchmark::DoNotOptimize(job.out.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPixels);
}

double ThreadSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// A 6-channel job and the 4-channel job on the same CMYK content, timed in turns (in either
// order) so that a busy machine slows both alike: the counter "over_cmyk" is the median of the
// pairs' time ratios, the one figure of these rows meant to be read on a shared machine.
template <class Sample>
void OverCMYK(benchmark::State& state, Spots spots, bool planar) {
    Job<Sample> cmyk(Spots::kNone, planar), empty(spots, planar);
    std::vector<double> ratios;
    for (auto _ : state) {
        const bool emptyFirst = ratios.size() % 2 == 1;
        const double t0 = ThreadSeconds();
        const int32_t first = emptyFirst ? empty.Run() : cmyk.Run();
        const double t1 = ThreadSeconds();
        const int32_t second = emptyFirst ? cmyk.Run() : empty.Run();
        const double t2 = ThreadSeconds();
        if (first != 0 || second != 0) state.SkipWithError("match failed");
        ratios.push_back(emptyFirst ? (t1 - t0) / (t2 - t1) : (t2 - t1) / (t1 - t0));
    }
    std::nth_element(ratios.begin(), ratios.begin() + ratios.size() / 2, ratios.end());
    if (!ratios.empty()) state.counters["over_cmyk"] = ratios[ratios.size() / 2];
    state.SetItemsProcessed(int64_t(state.iterations()) * 2 * kPixels);
}

#define TK_MC_BENCH(Name, Sample, SpotKind, Planar)                                  \
    void Name(benchmark::State& state) { Match<Sample>(state, SpotKind, Planar); } \
    BENCHMARK(Name)->Unit(benchmark::kMillisecond)

TK_MC_BENCH(BM_MC_CMYK4_8_Interleaved, uint8_t, Spots::kNone, false);
TK_MC_BENCH(BM_MC_CMYK4Skip2_8_Interleaved, uint8_t, Spots::kSkipped, false);
TK_MC_BENCH(BM_MC_EmptySpots6_8_Interleaved, uint8_t, Spots::kEmpty, false);
TK_MC_BENCH(BM_MC_FullSpots6_8_Interleaved, uint8_t, Spots::kFull, false);
TK_MC_BENCH(BM_MC_CMYK4_16_Interleaved, uint16_t, Spots::kNone, false);
TK_MC_BENCH(BM_MC_CMYK4Skip2_16_Interleaved, uint16_t, Spots::kSkipped, false);
TK_MC_BENCH(BM_MC_EmptySpots6_16_Interleaved, uint16_t, Spots::kEmpty, false);
TK_MC_BENCH(BM_MC_FullSpots6_16_Interleaved, uint16_t, Spots::kFull, false);
TK_MC_BENCH(BM_MC_CMYK4_8_Planar, uint8_t, Spots::kNone, true);
TK_MC_BENCH(BM_MC_EmptySpots6_8_Planar, uint8_t, Spots::kEmpty, true);
TK_MC_BENCH(BM_MC_FullSpots6_8_Planar, uint8_t, Spots::kFull, true);
TK_MC_BENCH(BM_MC_CMYK4_16_Planar, uint16_t, Spots::kNone, true);
TK_MC_BENCH(BM_MC_EmptySpots6_16_Planar, uint16_t, Spots::kEmpty, true);
TK_MC_BENCH(BM_MC_FullSpots6_16_Planar, uint16_t, Spots::kFull, true);

#define TK_MC_PAIR_BENCH(Name, Sample, SpotKind, Planar)                                  \
    void Name(benchmark::State& state) { OverCMYK<Sample>(state, SpotKind, Planar); } \
    BENCHMARK(Name)->Unit(benchmark::kMillisecond)

TK_MC_PAIR_BENCH(BM_MC_EmptyOverCMYK4_8_Interleaved, uint8_t, Spots::kEmpty, false);
TK_MC_PAIR_BENCH(BM_MC_EmptyOverCMYK4_16_Interleaved, uint16_t, Spots::kEmpty, false);
TK_MC_PAIR_BENCH(BM_MC_EmptyOverCMYK4_8_Planar, uint8_t, Spots::kEmpty, true);
TK_MC_PAIR_BENCH(BM_MC_EmptyOverCMYK4_16_Planar, uint16_t, Spots::kEmpty, true);
// The wider pixels alone: the plain link stepping over the two spot samples.
TK_MC_PAIR_BENCH(BM_MC_Skip2OverCMYK4_8_Interleaved, uint8_t, Spots::kSkipped, false);
TK_MC_PAIR_BENCH(BM_MC_Skip2OverCMYK4_16_Interleaved, uint16_t, Spots::kSkipped, false);

}  // namespace

namespace {

// The skip test alone on the empty spot planes of the interleaved raster.
template <class Sample>
void InkTest(benchmark::State& state) {
    std::vector<Sample> in = MakePixels<Sample>(6, Spots::kEmpty);
    const Sample* planes[2] = {in.data() + 4, in.data() + 5};
    const int32_t strides[2] = {6, 6};
    for (auto _ : state) benchmark::DoNotOptimize(TKPlanesHaveInk(kPixels, planes, strides, 2));
    state.SetItemsProcessed(int64_t(state.iterations()) * kPixels);
}
void BM_MC_InkTest_8_Interleaved(benchmark::State& state) { InkTest<uint8_t>(state); }
void BM_MC_InkTest_16_Interleaved(benchmark::State& state) { InkTest<uint16_t>(state); }
BENCHMARK(BM_MC_InkTest_8_Interleaved)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MC_InkTest_16_Interleaved)->Unit(benchmark::kMillisecond);

}  // namespace
