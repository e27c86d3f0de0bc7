// Reading a 10,000-patch spectral measurement file (SAMPLE_ID, CMYK, 36 reflectance bands and
// Lab: 44 fields, 440,000 values) with the engine's chart reader, beside Little CMS 2's IT8
// reader (cmsIT8LoadFromMem) on the same bytes in the same run, both from memory. Our reader ends
// with every value as a double; Little CMS keeps the texts and converts on each request, so it is
// timed twice: loading alone (argument 0), and loading with every value asked for once as a
// double (argument 1), which is what a caller of either gets to work with.
// Run: tintara_bench --benchmark_filter=ChartRead --benchmark_repetitions=3
#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>

#include "charts/TKColorChart.h"
#include "color/TKColors.h"

#ifdef TINTARA_HAVE_LCMS2
#include <lcms2.h>
#endif

namespace {

constexpr int kPatches = 10000;

const std::string& SpectralFile() {
    static const std::string text = [] {
        std::string out = "CGATS.17\nORIGINATOR \"bench\"\nDESCRIPTOR \"10000 spectral patches\"\nNUMBER_OF_FIELDS 44\nBEGIN_DATA_FORMAT\nSAMPLE_ID CMYK_C CMYK_M CMYK_Y CMYK_K";
        for (int nm = 380; nm <= 730; nm += 10) out += " SPECTRAL_NM_" + std::to_string(nm);
        out += " LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nNUMBER_OF_SETS " + std::to_string(kPatches) + "\nBEGIN_DATA\n";
        std::mt19937 random(7);
        std::uniform_real_distribution<double> ink(0, 100), reflectance(0.02, 0.95), ab(-80, 80);
        char number[32];
        for (int i = 0; i < kPatches; ++i) {
            out += std::to_string(i + 1);
            for (int c = 0; c < 4; ++c) std::snprintf(number, sizeof number, "\t%.2f", ink(random)), out += number;
            for (int b = 0; b < 36; ++b) std::snprintf(number, sizeof number, "\t%.5f", reflectance(random)), out += number;
            std::snprintf(number, sizeof number, "\t%.2f\t%.2f\t%.2f\n", ink(random), ab(random), ab(random));
            out += number;
        }
        out += "END_DATA\n";
        return out;
    }();
    return text;
}

void ChartReadTintara(benchmark::State& state) {
    const TKString text(SpectralFile().c_str(), int32_t(SpectralFile().size()));
    for (auto _ : state) {
        TKColorChart chart;
        chart.ReadText(text, "bench");
        const TKMatrix spectra = chart.Matrix(TKReflSpace);
        double sum = 0;
        for (int r = 0; r < spectra.GetHeight(); ++r) sum += spectra(r, 35);
        benchmark::DoNotOptimize(sum);
        if (chart.Count() != kPatches) state.SkipWithError("wrong count");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(SpectralFile().size()));
}
BENCHMARK(ChartReadTintara)->Unit(benchmark::kMillisecond);

#ifdef TINTARA_HAVE_LCMS2
void ChartReadLittleCMS(benchmark::State& state) {
    const std::string& text = SpectralFile();
    for (auto _ : state) {
        cmsHANDLE it8 = cmsIT8LoadFromMem(nullptr, text.data(), cmsUInt32Number(text.size()));
        if (!it8) {
            state.SkipWithError("Little CMS does not read the file");
            break;
        }
        double sum = 0;
        if (state.range(0))
            for (int r = 0; r < kPatches; ++r)
                for (int f = 1; f < 44; ++f) sum += cmsIT8GetDataRowColDbl(it8, r, f);
        benchmark::DoNotOptimize(sum);
        cmsIT8Free(it8);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(SpectralFile().size()));
}
BENCHMARK(ChartReadLittleCMS)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
