// The price of pure colours: a FOGRA39 -> FOGRA29 link (relative colorimetric) baked with and
// without exception logic (black, primaries, secondaries, paper and the gray axis kept pure), at
// the default grid and at 33 points. Matching runs through the same kernels either way, so it
// should cost the same; building evaluates the exception logic at every node.
//
// The profiles are read from tests/data/concat beside this file, or from $TINTARA_PROFILE_DIR.
// Run: tintara_bench --benchmark_filter=Exception --benchmark_min_time=0.5 --benchmark_repetitions=3
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "tintara.h"

namespace {

constexpr int32_t kPureMode = 1 | 4 | 32 | 128 | 4096;  // PureBlack, LinearizeGray, PurePrimaries, PureWhite, PureSecondaries

std::string ProfileAt(const char* name) {
    if (const char* dir = std::getenv("TINTARA_PROFILE_DIR")) return std::string(dir) + "/" + name;
    const std::string here = __FILE__;
    return here.substr(0, here.find_last_of('/')) + "/../tests/data/concat/" + name;
}

// The chain, and the chain wrapped in exception logic when `pure` is set.
TKTrafoRef MakeTrafo(bool pure) {
    TKFileSpec* specs[2] = {TKName2FileSpec(TKNewFileSpecRef(), ProfileAt("FOGRA39L.icc").c_str()),
                            TKName2FileSpec(TKNewFileSpecRef(), ProfileAt("FOGRA29L.icc").c_str())};
    const int32_t intents[2] = {1, 1};
    TKTrafoRef chain = nullptr;
    const int32_t status = TKConcatICCProfiles(&chain, 2, specs, intents);
    TKFreeFileSpecRef(specs[0]);
    TKFreeFileSpecRef(specs[1]);
    if (status != 0) return nullptr;
    if (!pure) return chain;
    TKTrafoRef wrapped = TKNewExceptionTrafoRef(chain, kPureMode, 1.0, "");
    TKFreeTKTrafoRef(chain);
    return wrapped;
}

void Build(benchmark::State& state, bool pure, int32_t gridBits) {
    TKTrafoRef trafo = MakeTrafo(pure);
    if (!trafo) return state.SkipWithError("profiles not found");
    for (auto _ : state) {
        TKLinkRef link = TKNewTKLink16Ref();
        if (TKColorTrafo2Link16(link, trafo, gridBits) != 0) state.SkipWithError("link failed");
        TKFreeTKLink16Ref(link);
    }
    TKFreeTKTrafoRef(trafo);
}

void Match(benchmark::State& state, bool pure) {
    TKTrafoRef trafo = MakeTrafo(pure);
    if (!trafo) return state.SkipWithError("profiles not found");
    TKLinkRef link = TKNewTKLink16Ref();
    TKColorTrafo2Link16(link, trafo, 0);
    // A photograph-like mix: random pixels, each repeated a little, a megapixel.
    constexpr int32_t kPixels = 1 << 20;
    std::vector<uint8_t> in(size_t(kPixels) * 4), out(in.size());
    std::mt19937 random(11);
    for (size_t i = 0; i < in.size(); i += 4) {
        const uint32_t v = random();
        for (int c = 0; c < 4; ++c) in[i + size_t(c)] = uint8_t(v >> (8 * c));
    }
    for (auto _ : state) {
        TKLink8Match(link, kPixels, in.data(), out.data(), 0, 0, nullptr, nullptr);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * kPixels);
    TKFreeTKLink16Ref(link);
    TKFreeTKTrafoRef(trafo);
}

const bool kRegistered = [] {
    for (bool pure : {false, true}) {
        const std::string kind = pure ? "Pure" : "Ordinary";
        for (int32_t bits : {0, 5})
            benchmark::RegisterBenchmark(("Exception/Build/" + kind + (bits ? "/grid33" : "/default")).c_str(),
                                         [pure, bits](benchmark::State& s) { Build(s, pure, bits); })
                ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Exception/Match8/" + kind).c_str(), [pure](benchmark::State& s) { Match(s, pure); })
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
