// Real profile chains end to end: FOGRA39 -> FOGRA29 and sRGB -> FOGRA39 concatenated through the
// public exports and baked into links at the default grid and at Little CMS's. Measures the links' accuracy against the
// chain evaluated in doubles, and the speed of matching pixels and of building the conversion
// against Little CMS 2 converting with the same two profiles and intent in the same run.
//
// FOGRA39L and FOGRA29L point their perceptual and colorimetric tags at the same tables and sRGB
// is a matrix profile, so the perceptual chains only repeat the relative ones: they are checked
// for accuracy, and timed once, as relative colorimetric.
//
// The profiles are read from tests/data/concat beside this file, or from $TINTARA_PROFILE_DIR.
// Run: tintara_bench --benchmark_filter=Chain --benchmark_min_time=0.5 --benchmark_repetitions=3
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "color/TKColorDifference.h"
#include "tintara.h"

#ifdef TINTARA_HAVE_LCMS2
#include <lcms2.h>
#endif

namespace {

// ---- The chains ----

struct Chain {
    const char* name;
    const char* src;
    const char* dst;
    int32_t srcChannels;  // 3 for RGB (units 0..255), 4 for CMYK (units 0..100)
    int32_t intent;       // 0 perceptual, 1 relative colorimetric: the same codes in both engines
    bool timed;           // also measure speed (not where the tables are the relative ones again)
};

const Chain kChains[] = {
    {"FOGRA39-FOGRA29/relative", "FOGRA39L.icc", "FOGRA29L.icc", 4, 1, true},
    {"FOGRA39-FOGRA29/perceptual", "FOGRA39L.icc", "FOGRA29L.icc", 4, 0, false},
    {"sRGB-FOGRA39/relative", "sRGB.icc", "FOGRA39L.icc", 3, 1, true},
    {"sRGB-FOGRA39/perceptual", "sRGB.icc", "FOGRA39L.icc", 3, 0, false},
};

constexpr int32_t kDstChannels = 4;  // both destinations are CMYK

std::string ProfilePath(const char* name) {
    if (const char* dir = std::getenv("TINTARA_PROFILE_DIR")) return std::string(dir) + "/" + name;
    const std::string here = __FILE__;
    return here.substr(0, here.find_last_of('/')) + "/../tests/data/concat/" + name;
}

double SrcRange(const Chain& c) { return c.srcChannels == 3 ? 255.0 : 100.0; }

template <class Sample>
constexpr double Top() {
    return sizeof(Sample) == 1 ? 255.0 : 65535.0;
}

// ---- Owners of the public handles ----

class Trafo {
public:
    Trafo() = default;
    Trafo(const Trafo&) = delete;
    Trafo& operator=(const Trafo&) = delete;
    ~Trafo() {
        if (fRef) TKFreeTKTrafoRef(fRef);
    }
    TKTrafoRef* Out() { return &fRef; }
    TKTrafoRef Get() const { return fRef; }

private:
    TKTrafoRef fRef = nullptr;
};

template <class Sample>
class Link {
public:
    static constexpr bool k8 = sizeof(Sample) == 1;
    Link() : fRef(k8 ? TKNewTKLink8Ref() : TKNewTKLink16Ref()) {}
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link() { k8 ? TKFreeTKLink8Ref(fRef) : TKFreeTKLink16Ref(fRef); }
    // gridBits 0: the link's default grid; b > 0: 2^b + 1 points.
    int32_t Bake(TKTrafoRef trafo, int32_t gridBits = 0) {
        return k8 ? TKColorTrafo2Link8(fRef, trafo, gridBits) : TKColorTrafo2Link16(fRef, trafo, gridBits);
    }
    int32_t Match(int32_t count, const Sample* in, Sample* out) const {
        return k8 ? TKLink8Match(fRef, count, in, out, 0, 0, nullptr, nullptr)
                  : TKLink16Match(fRef, count, in, out, 0, 0, nullptr, nullptr);
    }
    // The grid points per axis, from the saved link: a little-endian 32-bit word after the
    // eight magic bytes. 0 if the link could not be saved.
    int32_t GridPoints() const {
        std::vector<uint8_t> buffer(size_t(32) << 20);
        uint32_t length = 0;
        const int32_t status = k8 ? TKSaveLink8ToMemory(fRef, buffer.data(), uint32_t(buffer.size()), &length)
                                  : TKSaveLink16ToMemory(fRef, buffer.data(), uint32_t(buffer.size()), &length);
        if (status != 0 || length < 12) return 0;
        return int32_t(buffer[8] | buffer[9] << 8 | buffer[10] << 16 | uint32_t(buffer[11]) << 24);
    }

private:
    TKLinkRef fRef;
};

class Spec {
public:
    explicit Spec(const std::string& path) : fSpec(TKNewFileSpecRef()) { TKName2FileSpec(fSpec, path.c_str()); }
    Spec(const Spec&) = delete;
    Spec& operator=(const Spec&) = delete;
    ~Spec() { TKFreeFileSpecRef(fSpec); }
    TKFileSpec* Get() const { return fSpec; }

private:
    TKFileSpec* fSpec;
};

int32_t Concat(const Chain& c, Trafo& out) {
    Spec src(ProfilePath(c.src)), dst(ProfilePath(c.dst));
    TKFileSpec* specs[2] = {src.Get(), dst.Get()};
    const int32_t intents[2] = {c.intent, c.intent};
    return TKConcatICCProfiles(out.Out(), 2, specs, intents);
}

// The chain baked into a link; a non-zero code says which step failed.
template <class Sample>
int32_t BuildLink(const Chain& c, Link<Sample>& link, int32_t gridBits = 0) {
    Trafo chain;
    const int32_t status = Concat(c, chain);
    return status ? status : link.Bake(chain.Get(), gridBits);
}

// The grid Little CMS precalculates by default: 17 points for four input channels, 33 for three.
int32_t PeerGridBits(const Chain& c) { return c.srcChannels == 4 ? 4 : 5; }

// ---- Pixels ----

constexpr int32_t kWidth = 1024;
constexpr int32_t kHeight = 512;
constexpr int32_t kPixels = kWidth * kHeight;

// Random samples over the whole range, or an image-like raster in 64x64 tiles: a third of the
// tiles one flat colour (artwork), the rest smooth two-dimensional gradients with one or two
// units of grain (photographs), so neighbours are similar but rarely identical.
template <class Sample>
std::vector<Sample> MakePixels(int32_t channels, bool image, int32_t count = kPixels) {
    std::mt19937 random(7);
    std::vector<Sample> px(size_t(count) * size_t(channels));
    if (!image) {
        std::uniform_int_distribution<int32_t> any(0, int32_t(Top<Sample>()));
        for (auto& s : px) s = Sample(any(random));
        return px;
    }
    constexpr int32_t kTile = 64;
    const int32_t tilesPerRow = kWidth / kTile;
    std::vector<double> flat;  // per tile: flag, then the colour or the gradient's parameters
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_int_distribution<int32_t> grain(-2, 2);
    const int32_t rows = (count + kWidth - 1) / kWidth;
    const int32_t tiles = tilesPerRow * ((rows + kTile - 1) / kTile);
    constexpr int32_t kParams = 1 + 3 * 16;
    for (int32_t t = 0; t < tiles; ++t) {
        flat.push_back(unit(random) < 1.0 / 3.0 ? 1.0 : 0.0);
        for (int32_t k = 1; k < kParams; ++k) flat.push_back(unit(random));
    }
    for (int32_t i = 0; i < count; ++i) {
        const int32_t x = i % kWidth, y = i / kWidth;
        const double* p = &flat[size_t((y / kTile) * tilesPerRow + x / kTile) * kParams];
        const double u = double(x % kTile) / kTile, v = double(y % kTile) / kTile;
        for (int32_t ch = 0; ch < channels; ++ch) {
            const double* q = p + 1 + 3 * ch;  // base, slope along x, slope along y
            double value = q[0];
            if (p[0] == 0.0) value = std::clamp(q[0] * 0.5 + 0.5 * (q[1] * u + q[2] * v), 0.0, 1.0);
            int32_t s = int32_t(std::lround(value * Top<Sample>()));
            if (p[0] == 0.0) s += grain(random) * (sizeof(Sample) == 1 ? 1 : 64);
            px[size_t(i) * channels + ch] = Sample(std::clamp(s, 0, int32_t(Top<Sample>())));
        }
    }
    return px;
}

// ---- Statistics ----

struct Summary {
    double mean = 0.0, p95 = 0.0, max = 0.0;
};

Summary Summarize(std::vector<double> values) {
    Summary s;
    if (values.empty()) return s;
    for (double v : values) s.mean += v;
    s.mean /= double(values.size());
    std::sort(values.begin(), values.end());
    s.p95 = values[size_t(std::ceil(0.95 * double(values.size()))) - 1];
    s.max = values.back();
    return s;
}

void Report(benchmark::State& state, const char* prefix, const Summary& s) {
    const std::string p(prefix);
    state.counters[p + "_mean"] = s.mean;
    state.counters[p + "_p95"] = s.p95;
    state.counters[p + "_max"] = s.max;
}

// ---- Little CMS 2 on the same profiles ----

#ifdef TINTARA_HAVE_LCMS2
template <class Sample>
cmsUInt32Number LcmsFormat(int32_t channels) {
    if constexpr (std::is_same_v<Sample, double>) return channels == 3 ? TYPE_RGB_DBL : TYPE_CMYK_DBL;
    if (channels == 3) return sizeof(Sample) == 1 ? TYPE_RGB_8 : TYPE_RGB_16;
    return sizeof(Sample) == 1 ? TYPE_CMYK_8 : TYPE_CMYK_16;
}

// What a host gets from Little CMS by default (flags 0): both profiles read from their files,
// one transform in the pixel format, its own optimisation into a precalculated table.
template <class Sample>
cmsHTRANSFORM MakeLcmsTransform(const Chain& c, cmsUInt32Number flags = 0) {
    cmsHPROFILE src = cmsOpenProfileFromFile(ProfilePath(c.src).c_str(), "r");
    cmsHPROFILE dst = cmsOpenProfileFromFile(ProfilePath(c.dst).c_str(), "r");
    cmsHTRANSFORM transform = nullptr;
    if (src && dst)
        transform = cmsCreateTransform(src, LcmsFormat<Sample>(c.srcChannels), dst, LcmsFormat<Sample>(kDstChannels),
                                       cmsUInt32Number(c.intent), flags);
    if (src) cmsCloseProfile(src);
    if (dst) cmsCloseProfile(dst);
    return transform;
}
#endif

// ---- (a) Accuracy of the baked link against the chain in doubles ----

constexpr int32_t kAccuracyCount = 10000;

// CMYK of the destination to Lab by the destination profile's relative colorimetric A2B table,
// through the public profile functions.
class DestinationLab {
public:
    explicit DestinationLab(const char* name) {
        fProfile = TKNewICCProfileRef();
        Spec spec(ProfilePath(name));
        fStatus = TKReadProfile(fProfile, spec.Get());
        if (fStatus == 0) fStatus = TKGetICCProfileTrafo(fToLab.Out(), fProfile, 1, 1);
        if (fStatus == 0 && TKGetTrafoDstType(fToLab.Get()) != 0x4C616220u) fStatus = -1;  // 'Lab '
    }
    DestinationLab(const DestinationLab&) = delete;
    DestinationLab& operator=(const DestinationLab&) = delete;
    ~DestinationLab() { TKFreeICCProfileRef(fProfile); }
    int32_t Status() const { return fStatus; }
    void Lab(const double* cmyk, double* lab) const { TKDoTrafo(fToLab.Get(), cmyk, lab); }

private:
    TKICCProfile* fProfile = nullptr;
    Trafo fToLab;
    int32_t fStatus = -1;
};

// Per pixel, the largest ink difference (% ink) and the CIEDE2000 between an exact and a baked
// result, both 0..100 CMYK taken to Lab by `lab(cmyk, lab)`.
template <class Sample, class Exact, class ToLab>
void Compare(const Chain& c, const std::vector<Sample>& in, const std::vector<Sample>& baked, Exact exact,
             ToLab lab, std::vector<double>& ink, std::vector<double>& de) {
    ink.clear();
    de.clear();
    for (int32_t i = 0; i < kAccuracyCount; ++i) {
        double src[4], want[4], got[4], labWant[3], labGot[3];
        for (int32_t ch = 0; ch < c.srcChannels; ++ch) src[ch] = in[size_t(i) * c.srcChannels + ch] / Top<Sample>();
        exact(src, want);
        double worst = 0.0;
        for (int32_t ch = 0; ch < kDstChannels; ++ch) {
            got[ch] = baked[size_t(i) * kDstChannels + ch] / Top<Sample>() * 100.0;
            worst = std::max(worst, std::fabs(got[ch] - want[ch]));
        }
        ink.push_back(worst);
        lab(want, labWant);
        lab(got, labGot);
        de.push_back(DeltaE2000(labWant, labGot));
    }
}

// The baked link against the chain in doubles, at the default grid and at Little CMS's, so
// that interpolation errors compare like for like. Little CMS's own precalculated transform
// against its unoptimised chain gives the scale; its reading of the destination's A2B table
// checks the Lab side of this library.
template <class Sample>
void Accuracy(benchmark::State& state, const Chain& c, int32_t gridBits) {
    Trafo chain;
    Link<Sample> link;
    int32_t status = Concat(c, chain);
    if (status == 0) status = link.Bake(chain.Get(), gridBits);
    DestinationLab toLab(c.dst);
    if (status != 0 || toLab.Status() != 0) {
        state.SkipWithError(("chain, link or A2B refused, code " + std::to_string(status ? status : toLab.Status())).c_str());
        return;
    }
    const auto ourLab = [&toLab](const double* cmyk, double* lab) { toLab.Lab(cmyk, lab); };
    const auto ourChain = [&chain, &c](const double* unit, double* cmyk) {
        double src[4];
        for (int32_t ch = 0; ch < c.srcChannels; ++ch) src[ch] = unit[ch] * SrcRange(c);
        TKDoTrafo(chain.Get(), src, cmyk);
    };
    const std::vector<Sample> in = MakePixels<Sample>(c.srcChannels, false, kAccuracyCount);
    std::vector<Sample> out(size_t(kAccuracyCount) * kDstChannels);
    std::vector<double> ink, de;
    for (auto _ : state) {
        link.Match(kAccuracyCount, in.data(), out.data());
        Compare(c, in, out, ourChain, ourLab, ink, de);
    }
    Report(state, "ink%", Summarize(ink));
    Report(state, "dE00", Summarize(de));
    state.counters["grid"] = link.GridPoints();
#ifdef TINTARA_HAVE_LCMS2
    cmsHPROFILE dst = cmsOpenProfileFromFile(ProfilePath(c.dst).c_str(), "r");
    cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
    cmsHTRANSFORM peerLab = dst && lab ? cmsCreateTransform(dst, TYPE_CMYK_DBL, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC,
                                                            cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE)
                                       : nullptr;
    if (dst) cmsCloseProfile(dst);
    if (lab) cmsCloseProfile(lab);
    cmsHTRANSFORM peerBaked = MakeLcmsTransform<Sample>(c);
    cmsHTRANSFORM peerExact = MakeLcmsTransform<double>(c, cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
    if (peerLab) {
        const auto peerDE = [peerLab](const double* cmyk, double* lab) {
            cmsCIELab l;
            cmsDoTransform(peerLab, cmyk, &l, 1);
            lab[0] = l.L, lab[1] = l.a, lab[2] = l.b;
        };
        Compare(c, in, out, ourChain, peerDE, ink, de);
        Report(state, "dE00_lcmsA2B", Summarize(de));
    }
    if (peerBaked && peerExact) {
        std::vector<Sample> peerOut(out.size());
        cmsDoTransform(peerBaked, in.data(), peerOut.data(), cmsUInt32Number(kAccuracyCount));
        // Little CMS takes RGB in 0..1 and CMYK in 0..100 in doubles.
        const auto peerChain = [peerExact, &c](const double* unit, double* cmyk) {
            double src[4];
            for (int32_t ch = 0; ch < c.srcChannels; ++ch) src[ch] = unit[ch] * (c.srcChannels == 3 ? 1.0 : 100.0);
            cmsDoTransform(peerExact, src, cmyk, 1);
        };
        Compare(c, in, peerOut, peerChain, ourLab, ink, de);
        Report(state, "lcms_ink%", Summarize(ink));
        Report(state, "lcms_dE00", Summarize(de));
    }
    if (peerLab) cmsDeleteTransform(peerLab);
    if (peerBaked) cmsDeleteTransform(peerBaked);
    if (peerExact) cmsDeleteTransform(peerExact);
#endif
}

// ---- (b) Matching speed ----

template <class Sample>
void MatchTintara(benchmark::State& state, const Chain& c, bool image, int32_t gridBits) {
    Link<Sample> link;
    if (const int32_t status = BuildLink(c, link, gridBits)) {
        state.SkipWithError(("chain or link refused, code " + std::to_string(status)).c_str());
        return;
    }
    const std::vector<Sample> in = MakePixels<Sample>(c.srcChannels, image);
    std::vector<Sample> out(size_t(kPixels) * kDstChannels);
    for (auto _ : state) {
        link.Match(kPixels, in.data(), out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPixels);
}

#ifdef TINTARA_HAVE_LCMS2
template <class Sample>
void MatchLcms(benchmark::State& state, const Chain& c, bool image) {
    cmsHTRANSFORM transform = MakeLcmsTransform<Sample>(c);
    if (!transform) {
        state.SkipWithError("Little CMS refused the transform");
        return;
    }
    const std::vector<Sample> in = MakePixels<Sample>(c.srcChannels, image);
    std::vector<Sample> out(size_t(kPixels) * kDstChannels);
    for (auto _ : state) {
        cmsDoTransform(transform, in.data(), out.data(), cmsUInt32Number(kPixels));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPixels);
    cmsDeleteTransform(transform);
    // How far apart the two engines' pixels are, in % ink over all samples: the chains differ
    // (black points, perceptual tables, interpolation), so this is agreement, not error.
    Link<Sample> link;
    if (BuildLink(c, link) != 0) return;
    std::vector<Sample> ours(out.size());
    link.Match(kPixels, in.data(), ours.data());
    double sum = 0.0, worst = 0.0;
    for (size_t i = 0; i < out.size(); ++i) {
        const double d = std::fabs(double(out[i]) - double(ours[i])) / Top<Sample>() * 100.0;
        sum += d;
        worst = std::max(worst, d);
    }
    state.counters["vsTintara_ink%_mean"] = sum / double(out.size());
    state.counters["vsTintara_ink%_max"] = worst;
}
#endif

// ---- (b) Building the conversion: profiles read, chain, link baked ----

template <class Sample>
void BuildTintara(benchmark::State& state, const Chain& c, int32_t gridBits) {
    for (auto _ : state) {
        Link<Sample> link;
        if (const int32_t status = BuildLink(c, link, gridBits)) {
            state.SkipWithError(("chain or link refused, code " + std::to_string(status)).c_str());
            return;
        }
        benchmark::DoNotOptimize(&link);
    }
}

#ifdef TINTARA_HAVE_LCMS2
template <class Sample>
void BuildLcms(benchmark::State& state, const Chain& c) {
    for (auto _ : state) {
        cmsHTRANSFORM transform = MakeLcmsTransform<Sample>(c);
        if (!transform) {
            state.SkipWithError("Little CMS refused the transform");
            return;
        }
        cmsDeleteTransform(transform);
    }
}
#endif

// ---- Registration: Chain/<engine>/<what>/<chain>/<intent>/<depth>[/<pixels>][/<grid>] ----

// This library at its default grid and, with a "/gridN" suffix, at Little CMS's grid.
std::string GridSuffix(int32_t bits) { return bits ? "/grid" + std::to_string((1 << bits) + 1) : ""; }

template <class Sample>
void Register(const Chain& c) {
    const std::string tail = std::string(c.name) + (sizeof(Sample) == 1 ? "/8bit" : "/16bit");
    const int32_t grids[2] = {0, PeerGridBits(c)};
    for (int32_t bits : grids)
        benchmark::RegisterBenchmark(("Chain/Tintara/Accuracy/" + tail + (bits ? GridSuffix(bits) : "/default")).c_str(),
                                     [&c, bits](benchmark::State& s) { Accuracy<Sample>(s, c, bits); })
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    if (!c.timed) return;
    for (bool image : {false, true}) {
        const std::string pixels = tail + (image ? "/image" : "/random");
        for (int32_t bits : grids)
            benchmark::RegisterBenchmark(("Chain/Tintara/Match/" + pixels + GridSuffix(bits)).c_str(),
                                         [&c, image, bits](benchmark::State& s) { MatchTintara<Sample>(s, c, image, bits); })
                ->Unit(benchmark::kMillisecond);
#ifdef TINTARA_HAVE_LCMS2
        benchmark::RegisterBenchmark(("Chain/Lcms2/Match/" + pixels).c_str(),
                                     [&c, image](benchmark::State& s) { MatchLcms<Sample>(s, c, image); })
            ->Unit(benchmark::kMillisecond);
#endif
    }
    for (int32_t bits : grids)
        benchmark::RegisterBenchmark(("Chain/Tintara/Build/" + tail + GridSuffix(bits)).c_str(),
                                     [&c, bits](benchmark::State& s) { BuildTintara<Sample>(s, c, bits); })
            ->Unit(benchmark::kMillisecond);
#ifdef TINTARA_HAVE_LCMS2
    benchmark::RegisterBenchmark(("Chain/Lcms2/Build/" + tail).c_str(),
                                 [&c](benchmark::State& s) { BuildLcms<Sample>(s, c); })
        ->Unit(benchmark::kMillisecond);
#endif
}

const bool kRegistered = [] {
    for (const Chain& c : kChains) {
        Register<uint16_t>(c);
        Register<uint8_t>(c);
    }
    return true;
}();

}  // namespace
