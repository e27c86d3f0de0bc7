// Link matching and baking speed, single-threaded and with two threads on one link, against
// Little CMS 2 interpolating a grid of the same size sampled from the same function.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "color/TKColors.h"
#include "link/TKLinkGenericTrafo.h"
#include "link/TKLinkKernelIsa.h"

#ifdef TINTARA_HAVE_LCMS2
#include <lcms2.h>
#endif

namespace {

// ---- The colour functions, on 0..1 per channel ----

double Clamp01(double v) { return std::min(1.0, std::max(0.0, v)); }

// RGB to CMYK with grey replacement and a little cross-talk.
void RGBToCMYK(const double* in, double* out) {
    const double c = 1.0 - in[0], m = 1.0 - in[1], y = 1.0 - in[2];
    const double k = 0.9 * std::pow(std::min(c, std::min(m, y)), 1.5);
    out[0] = Clamp01(c - 0.8 * k + 0.04 * std::sin(3.0 * m));
    out[1] = Clamp01(m - 0.8 * k + 0.03 * c * y);
    out[2] = Clamp01(y - 0.85 * k);
    out[3] = k;
}

// CMYK to CMYK: a press-to-press conversion with dot gain and grey balance.
void CMYKToCMYK(const double* in, double* out) {
    for (int32_t i = 0; i < 3; ++i)
        out[i] = Clamp01(std::pow(in[i], 1.1) * (1.0 - 0.1 * in[3]) + 0.05 * in[(i + 1) % 3] * in[3]);
    out[3] = Clamp01(std::pow(in[3], 0.9));
}

// CMYK to RGB, as a soft proof of a press on screen: subtractive inks with a little black boost.
void CMYKToRGB(const double* in, double* out) {
    for (int32_t i = 0; i < 3; ++i) out[i] = Clamp01((1.0 - in[i]) * (1.0 - 0.95 * in[3]) * (0.97 + 0.03 * in[(i + 1) % 3]));
}

using ColourFunction = void (*)(const double*, double*);

struct Case {
    int32_t srcDim, dstDim, grid;
    ColourFunction function;
};
const Case kCMYK17{4, 4, 17, CMYKToCMYK};
const Case kRGB33{3, 4, 33, RGBToCMYK};
const Case kProof11{4, 3, 11, CMYKToRGB};

// The grid nodes, first channel slowest, each channel at k / (grid - 1).
std::vector<uint16_t> SampleGrid(const Case& c) {
    uint64_t count = 1;
    for (int32_t i = 0; i < c.srcDim; ++i) count *= uint64_t(c.grid);
    std::vector<uint16_t> nodes(size_t(count) * c.dstDim);
    double in[16], out[36];
    for (uint64_t n = 0; n < count; ++n) {
        uint64_t rest = n;
        for (int32_t i = c.srcDim - 1; i >= 0; --i) {
            in[i] = double(rest % uint64_t(c.grid)) / (c.grid - 1);
            rest /= uint64_t(c.grid);
        }
        c.function(in, out);
        for (int32_t o = 0; o < c.dstDim; ++o) nodes[size_t(n) * c.dstDim + o] = uint16_t(std::lround(out[o] * 65535.0));
    }
    return nodes;
}

// A link whose grid holds the sampled nodes; no curves, so the grid is all that is interpolated.
std::unique_ptr<TKLinkGeneric> MakeLink(const Case& c, const std::vector<uint16_t>& nodes) {
    auto link = std::make_unique<TKLinkGeneric>();
    link->Init(c.srcDim, c.dstDim, c.grid, 0);
    link->Finish(false, false, nullptr);
    for (uint32_t n = 0; n < link->NodeCount(); ++n) link->CopyNode(n, &nodes[size_t(n) * c.dstDim]);
    return link;
}

// ---- Pixels ----

constexpr int32_t kWidth = 1024;
constexpr int32_t kHeight = 512;
constexpr int32_t kPixels = kWidth * kHeight;

// Random samples, or an image-like raster: rows of flat runs (1 to 64 pixels) alternating
// with rows of smooth gradients, as scanned artwork and vector graphics give.
template <class Sample>
std::vector<Sample> MakePixels(int32_t channels, bool image) {
    std::mt19937 rng(42);
    const uint32_t top = sizeof(Sample) == 1 ? 0xFF : 0xFFFF;
    std::vector<Sample> px(size_t(kPixels) * channels);
    if (!image) {
        for (auto& s : px) s = Sample(rng() & top);
        return px;
    }
    for (int32_t y = 0; y < kHeight; ++y) {
        Sample colour[16];
        int32_t run = 0;
        for (int32_t x = 0; x < kWidth; ++x) {
            Sample* p = &px[(size_t(y) * kWidth + x) * channels];
            if (y % 4 == 3) {  // a gradient row
                for (int32_t c = 0; c < channels; ++c) p[c] = Sample((uint32_t(x) * (c + 1) * top / kWidth + y) & top);
                continue;
            }
            if (run == 0) {
                run = 1 + int32_t(rng() % 64);
                for (int32_t c = 0; c < channels; ++c) colour[c] = Sample(rng() & top);
            }
            --run;
            std::copy(colour, colour + channels, p);
        }
    }
    return px;
}

// Interleaved or planar views of a pixel block for the kernels.
template <class Sample>
struct Layout {
    Layout(std::vector<Sample>& data, int32_t channels, bool planar, int32_t first) {
        for (int32_t c = 0; c < channels; ++c) {
            pointers[c] = planar ? &data[size_t(c) * kPixels + first] : &data[size_t(first) * channels + c];
            strides[c] = (planar ? 1 : channels) * int32_t(sizeof(Sample));
        }
    }
    Sample* pointers[36];
    int32_t strides[36];
};

// Planar data: the same pixels regrouped plane by plane.
template <class Sample>
std::vector<Sample> ToPlanes(const std::vector<Sample>& px, int32_t channels) {
    std::vector<Sample> planes(px.size());
    for (int32_t i = 0; i < kPixels; ++i)
        for (int32_t c = 0; c < channels; ++c) planes[size_t(c) * kPixels + i] = px[size_t(i) * channels + c];
    return planes;
}

// ---- Tintara ----

template <class Sample>
void MatchTintara(benchmark::State& state, const Case& c, bool image, bool planar) {
    auto link = MakeLink(c, SampleGrid(c));
    std::vector<Sample> in = MakePixels<Sample>(c.srcDim, image);
    if (planar) in = ToPlanes(in, c.srcDim);
    std::vector<Sample> out(size_t(kPixels) * c.dstDim);
    // Each thread its own strip of the raster.
    const int32_t strip = kPixels / state.threads();
    const int32_t first = strip * state.thread_index();
    Layout<Sample> src(in, c.srcDim, planar, first), dst(out, c.dstDim, planar, first);
    for (auto _ : state) {
        if constexpr (sizeof(Sample) == 1)
            link->Match8(strip, src.pointers, dst.pointers, src.strides, dst.strides, nullptr);
        else
            link->Match16(strip, src.pointers, dst.pointers, src.strides, dst.strides, nullptr);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * strip);
    state.SetLabel(TKLinkIsaName(TKLinkKernelIsa()));
}

// The memory limit beside the kernels: the source buffer copied into one of the same size.
template <class Sample>
void CopyPixels(benchmark::State& state, const Case& c) {
    std::vector<Sample> in = MakePixels<Sample>(c.srcDim, false);
    std::vector<Sample> out(in.size());
    for (auto _ : state) {
        std::memcpy(out.data(), in.data(), in.size() * sizeof(Sample));
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPixels);
}

// ---- Little CMS 2 ----

#ifdef TINTARA_HAVE_LCMS2
// A device link profile whose A2B0 pipeline is one CLUT stage holding the same sampled grid;
// the transform is told to keep that grid size when it optimises, so both engines interpolate
// a table of the same nodes (lcms re-samples its own CLUT at those nodes).
cmsHTRANSFORM MakeLcmsTransform(const Case& c, int32_t bits, bool planar) {
    std::vector<uint16_t> nodes = SampleGrid(c);
    cmsPipeline* pipe = cmsPipelineAlloc(nullptr, cmsUInt32Number(c.srcDim), cmsUInt32Number(c.dstDim));
    cmsStage* clut = cmsStageAllocCLut16bit(nullptr, cmsUInt32Number(c.grid), cmsUInt32Number(c.srcDim),
                                            cmsUInt32Number(c.dstDim), nodes.data());
    cmsPipelineInsertStage(pipe, cmsAT_BEGIN, clut);
    cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 4.3);
    cmsSetDeviceClass(profile, cmsSigLinkClass);
    const cmsColorSpaceSignature srcSpace = c.srcDim == 3 ? cmsSigRgbData : cmsSigCmykData;
    cmsSetColorSpace(profile, srcSpace);
    cmsSetPCS(profile, c.dstDim == 3 ? cmsSigRgbData : cmsSigCmykData);
    cmsWriteTag(profile, cmsSigAToB0Tag, pipe);
    cmsPipelineFree(pipe);
    const cmsUInt32Number bytes = bits == 8 ? 1 : 2;
    const cmsUInt32Number inFormat = COLORSPACE_SH(c.srcDim == 3 ? PT_RGB : PT_CMYK) |
                                     CHANNELS_SH(cmsUInt32Number(c.srcDim)) | BYTES_SH(bytes) | PLANAR_SH(planar);
    const cmsUInt32Number outFormat = COLORSPACE_SH(c.dstDim == 3 ? PT_RGB : PT_CMYK) |
                                      CHANNELS_SH(cmsUInt32Number(c.dstDim)) | BYTES_SH(bytes) | PLANAR_SH(planar);
    cmsHTRANSFORM transform = cmsCreateTransform(profile, inFormat, nullptr, outFormat, INTENT_PERCEPTUAL,
                                                 cmsFLAGS_GRIDPOINTS(cmsUInt32Number(c.grid)));
    cmsCloseProfile(profile);
    return transform;
}

template <class Sample>
void MatchLcms(benchmark::State& state, const Case& c, bool image, bool planar) {
    cmsHTRANSFORM transform = MakeLcmsTransform(c, sizeof(Sample) * 8, planar);
    if (!transform) {
        state.SkipWithError("Little CMS refused the transform");
        return;
    }
    std::vector<Sample> in = MakePixels<Sample>(c.srcDim, image);
    if (planar) in = ToPlanes(in, c.srcDim);
    std::vector<Sample> out(size_t(kPixels) * c.dstDim);
    for (auto _ : state) {
        // Planar buffers: planes follow each other, one line of all pixels.
        cmsDoTransformLineStride(transform, in.data(), out.data(), kPixels, 1,
                                 cmsUInt32Number(kPixels * (planar ? 1 : c.srcDim) * sizeof(Sample)),
                                 cmsUInt32Number(kPixels * (planar ? 1 : c.dstDim) * sizeof(Sample)),
                                 cmsUInt32Number(kPixels * sizeof(Sample)), cmsUInt32Number(kPixels * sizeof(Sample)));
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPixels);
    cmsDeleteTransform(transform);
    // How far the two engines are apart on these pixels, in sample units: they interpolate the
    // same nodes, so only rounding and lcms's re-sampling separate them.
    auto link = MakeLink(c, SampleGrid(c));
    std::vector<Sample> ours(out.size());
    Layout<Sample> src(in, c.srcDim, planar, 0), dst(ours, c.dstDim, planar, 0);
    if constexpr (sizeof(Sample) == 1) link->Match8(kPixels, src.pointers, dst.pointers, src.strides, dst.strides, nullptr);
    else link->Match16(kPixels, src.pointers, dst.pointers, src.strides, dst.strides, nullptr);
    int32_t worst = 0;
    for (size_t i = 0; i < out.size(); ++i) worst = std::max(worst, std::abs(int32_t(out[i]) - int32_t(ours[i])));
    state.counters["max_diff"] = worst;
}
#endif

// ---- Registration: engine x case x depth x pixels x layout ----

template <class Sample>
void Register(const char* caseName, const Case& c) {
    const char* depth = sizeof(Sample) == 1 ? "8" : "16";
    for (bool image : {false, true})
        for (bool planar : {false, true}) {
            const std::string suffix = std::string(caseName) + "/" + depth + "bit/" + (image ? "image" : "random") +
                                       "/" + (planar ? "planar" : "interleaved");
            benchmark::RegisterBenchmark(("Tintara/" + suffix).c_str(), [=](benchmark::State& s) {
                MatchTintara<Sample>(s, c, image, planar);
            })->Unit(benchmark::kMillisecond);
#ifdef TINTARA_HAVE_LCMS2
            benchmark::RegisterBenchmark(("Lcms2/" + suffix).c_str(), [=](benchmark::State& s) {
                MatchLcms<Sample>(s, c, image, planar);
            })->Unit(benchmark::kMillisecond);
#endif
        }
    benchmark::RegisterBenchmark((std::string("Memcpy/") + caseName + "/" + depth + "bit").c_str(),
                                 [=](benchmark::State& s) { CopyPixels<Sample>(s, c); })
        ->Unit(benchmark::kMillisecond);
    // Two threads on one link, each its own half of the raster. Google Benchmark divides the
    // items of all threads by the sum of their times: the wall-clock rate is twice the counter.
    benchmark::RegisterBenchmark((std::string("Tintara/") + caseName + "/" + depth + "bit/random/interleaved/threads")
                                     .c_str(),
                                 [=](benchmark::State& s) { MatchTintara<Sample>(s, c, false, false); })
        ->Threads(2)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

// ---- Baking ----

// The colour functions as trafos on the colour types' ranges (RGB 0..255, CMYK 0..100).
class FunctionTrafo : public TKTrafo {
public:
    explicit FunctionTrafo(const Case& c) : fCase(c) {}
    int32_t GetSrcDim() const override { return fCase.srcDim; }
    int32_t GetDstDim(int32_t) const override { return fCase.dstDim; }
    int32_t GetSrcType() const override { return int32_t(fCase.srcDim == 3 ? TKRGBSpace : TKCMYKSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKCMYKSpace); }
    TKVector Trafo(const TKVector& v) const override {
        const double inScale = fCase.srcDim == 3 ? 255.0 : 100.0;
        double in[16], out[36];
        for (int32_t i = 0; i < fCase.srcDim; ++i) in[i] = v[i] / inScale;
        fCase.function(in, out);
        TKVector r(fCase.dstDim, int32_t(TKCMYKSpace));
        for (int32_t o = 0; o < fCase.dstDim; ++o) r[o] = out[o] * 100.0;
        return r;
    }

private:
    Case fCase;
};

void Bake(benchmark::State& state, const Case& c) {
    TKRefPtr<TKTrafo> trafo(new FunctionTrafo(c), true);
    for (auto _ : state) {
        TKRefPtr<TKLinkGenericTrafo> link = TKMakeRef<TKLinkGenericTrafo>();
        link->CalcFromTrafo(trafo.Get(), c.grid, 0, nullptr);
        benchmark::DoNotOptimize(link->Nodes());
    }
}

const bool kRegistered = [] {
    Register<uint8_t>("CMYK-CMYK-17", kCMYK17);
    Register<uint16_t>("CMYK-CMYK-17", kCMYK17);
    Register<uint8_t>("RGB-CMYK-33", kRGB33);
    Register<uint16_t>("RGB-CMYK-33", kRGB33);
    Register<uint8_t>("CMYK-RGB-11", kProof11);
    benchmark::RegisterBenchmark("Tintara/Bake/CMYK-CMYK-17^4", [](benchmark::State& s) { Bake(s, kCMYK17); })
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Tintara/Bake/RGB-CMYK-33^3", [](benchmark::State& s) { Bake(s, kRGB33); })
        ->Unit(benchmark::kMillisecond);
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
