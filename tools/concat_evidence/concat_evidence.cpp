// Holds profile concatenations of the library against Little CMS 2 on the same profiles and
// intents: random colours through both engines, both results to Lab through the destination
// profile's relative A2B table (by Little CMS, so that only the chains differ), CIEDE2000 mean,
// 95th percentile and maximum; white, black and a gray ramp printed side by side. With --csv it
// writes the Little CMS results of a small sample as a reference table for the unit tests.
//
// Build (against the shared library of a build tree):
//   g++ -std=c++17 -O2 -Iinclude tools/concat_evidence/concat_evidence.cpp \
//       -Lbuild/<dir> -ltintara -llcms2 -Wl,-rpath,$PWD/build/<dir> -o concat_evidence
//   ./concat_evidence tests/data/concat [count] [--csv out.csv]
#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tintara.h"

namespace {

struct Case {
    const char* src;
    const char* dst;
    int32_t intent;  // this library's code
    int lcmsIntent;
    bool bpc;
};

const Case kCases[] = {
    {"sRGB.icc", "FOGRA39L.icc", 1, INTENT_RELATIVE_COLORIMETRIC, false},
    {"sRGB.icc", "FOGRA39L.icc", 10, INTENT_RELATIVE_COLORIMETRIC, true},
    {"sRGB.icc", "FOGRA39L.icc", 0, INTENT_PERCEPTUAL, false},
    {"sRGB.icc", "FOGRA39L.icc", 9, INTENT_PERCEPTUAL, true},
    {"FOGRA39L.icc", "FOGRA29L.icc", 1, INTENT_RELATIVE_COLORIMETRIC, false},
    {"FOGRA39L.icc", "FOGRA29L.icc", 10, INTENT_RELATIVE_COLORIMETRIC, true},
    {"FOGRA39L.icc", "FOGRA29L.icc", 0, INTENT_PERCEPTUAL, false},
    {"FOGRA39L.icc", "FOGRA29L.icc", 9, INTENT_PERCEPTUAL, true},
};

std::string gFolder;

std::string PathOf(const char* name) { return gFolder + "/" + name; }

bool IsRGB(const char* name) { return std::strncmp(name, "sRGB", 4) == 0; }

struct Stats {
    double mean = 0, p95 = 0, max = 0;
};

Stats Summarize(std::vector<double> d) {
    Stats s;
    if (d.empty()) return s;
    for (double v : d) s.mean += v;
    s.mean /= double(d.size());
    std::sort(d.begin(), d.end());
    s.p95 = d[size_t(0.95 * double(d.size() - 1))];
    s.max = d.back();
    return s;
}

class Chains {
public:
    explicit Chains(const Case& c) : fCase(c) {
        TKFileSpec* specs[2] = {TKNewFileSpecRef(), TKNewFileSpecRef()};
        TKName2FileSpec(specs[0], PathOf(c.src).c_str());
        TKName2FileSpec(specs[1], PathOf(c.dst).c_str());
        const int32_t intents[2] = {c.intent, c.intent};
        fStatus = TKConcatICCProfiles(&fOurs, 2, specs, intents);
        TKFreeFileSpecRef(specs[0]);
        TKFreeFileSpecRef(specs[1]);

        cmsHPROFILE src = cmsOpenProfileFromFile(PathOf(c.src).c_str(), "r");
        cmsHPROFILE dst = cmsOpenProfileFromFile(PathOf(c.dst).c_str(), "r");
        cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
        const cmsUInt32Number flags = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE | (c.bpc ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0);
        fPeer = cmsCreateTransform(src, IsRGB(c.src) ? TYPE_RGB_DBL : TYPE_CMYK_DBL, dst, TYPE_CMYK_DBL, c.lcmsIntent, flags);
        fToLab = cmsCreateTransform(dst, TYPE_CMYK_DBL, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC,
                                    cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
        cmsCloseProfile(src);
        cmsCloseProfile(dst);
        cmsCloseProfile(lab);
    }
    ~Chains() {
        TKFreeTKTrafoRef(fOurs);
        if (fPeer) cmsDeleteTransform(fPeer);
        if (fToLab) cmsDeleteTransform(fToLab);
    }
    bool Ok() const { return fStatus == 0 && fPeer && fToLab; }
    int32_t Status() const { return fStatus; }

    // `in` in this library's units (RGB 0..255, CMYK 0..100).
    void Run(const double* in, double* ours, double* peer) const {
        TKDoTrafo(fOurs, in, ours);
        double scaled[4];
        const bool rgb = IsRGB(fCase.src);
        for (int i = 0; i < (rgb ? 3 : 4); ++i) scaled[i] = rgb ? in[i] / 255.0 : in[i];
        cmsDoTransform(fPeer, scaled, peer, 1);
    }
    double DeltaE(const double* a, const double* b) const {
        cmsCIELab la, lb;
        cmsDoTransform(fToLab, a, &la, 1);
        cmsDoTransform(fToLab, b, &lb, 1);
        return cmsCIE2000DeltaE(&la, &lb, 1, 1, 1);
    }

private:
    const Case& fCase;
    TKTrafoRef fOurs = nullptr;
    int32_t fStatus = -1;
    cmsHTRANSFORM fPeer = nullptr, fToLab = nullptr;
};

void Print(const char* label, const double* in, int n, const double* ours, const double* peer) {
    std::printf("    %-6s in", label);
    for (int i = 0; i < n; ++i) std::printf(" %6.1f", in[i]);
    std::printf("  ours %5.1f %5.1f %5.1f %5.1f  lcms %5.1f %5.1f %5.1f %5.1f\n", ours[0], ours[1], ours[2], ours[3],
                peer[0], peer[1], peer[2], peer[3]);
}

// Little CMS's own precalculated 16-bit transform of the case against its unoptimised chain in
// doubles, on the same kind of random 16-bit inputs: the loss a link of ours should not exceed.
void PrecalculatedPeer(const Case& c, int count) {
    cmsHPROFILE src = cmsOpenProfileFromFile(PathOf(c.src).c_str(), "r");
    cmsHPROFILE dst = cmsOpenProfileFromFile(PathOf(c.dst).c_str(), "r");
    const cmsUInt32Number bpc = c.bpc ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0;
    cmsHTRANSFORM fast = cmsCreateTransform(src, TYPE_CMYK_16, dst, TYPE_CMYK_16, c.lcmsIntent, bpc);
    cmsCloseProfile(src);
    cmsCloseProfile(dst);
    Chains chains(c);
    if (!fast || !chains.Ok()) return;
    std::mt19937 random(99);
    std::uniform_int_distribution<int> word(0, 65535);
    std::vector<double> d;
    for (int i = 0; i < count; ++i) {
        uint16_t in[4], out[4];
        for (auto& w : in) w = uint16_t(word(random));
        cmsDoTransform(fast, in, out, 1);
        double src4[4], ours[4], exact[4], precalculated[4];
        for (int j = 0; j < 4; ++j) {
            src4[j] = in[j] * (100.0 / 65535.0);
            precalculated[j] = out[j] * (100.0 / 65535.0);
        }
        chains.Run(src4, ours, exact);
        d.push_back(chains.DeltaE(precalculated, exact));
    }
    cmsDeleteTransform(fast);
    const Stats s = Summarize(d);
    std::printf("| Little CMS precalculated | %d | - | %d | %.3f | %.3f | %.3f | |\n", c.intent, count, s.mean, s.p95,
                s.max);
}

// Bakes the FOGRA39 -> FOGRA29 chain into 16-bit links and holds their pixels against the
// chain evaluated in doubles: device difference in percent and CIEDE2000 through FOGRA29's A2B.
void LinkAccuracy(int count) {
    std::printf("\n| link of FOGRA39 -> FOGRA29 | intent | grid bits | n | mean dE00 | p95 | max | max ink diff %% |\n"
                "|---|---|---|---|---|---|---|---|\n");
    for (int32_t intent : {1, 10}) {
        const Case c = {"FOGRA39L.icc", "FOGRA29L.icc", intent, INTENT_RELATIVE_COLORIMETRIC, intent == 10};
        Chains chains(c);
        if (!chains.Ok()) continue;
        PrecalculatedPeer(c, count);
        for (int32_t bits : {3, 0, 4, 5}) {
            TKFileSpec* specs[2] = {TKNewFileSpecRef(), TKNewFileSpecRef()};
            TKName2FileSpec(specs[0], PathOf(c.src).c_str());
            TKName2FileSpec(specs[1], PathOf(c.dst).c_str());
            const int32_t intents[2] = {intent, intent};
            TKTrafoRef chain = nullptr;
            TKLinkRef link = TKNewTKLink16Ref();
            const int32_t status = TKConcatICCProfiles(&chain, 2, specs, intents);
            const int32_t baked = status ? status : TKColorTrafo2Link16(link, chain, bits);
            if (baked == 0) {
                std::mt19937 random(99 + unsigned(bits));
                std::uniform_int_distribution<int> word(0, 65535);
                std::vector<uint16_t> in(size_t(count) * 4), out(size_t(count) * 4);
                for (auto& w : in) w = uint16_t(word(random));
                TKLink16Match(link, count, in.data(), out.data(), 0, 0, nullptr, nullptr);
                std::vector<double> d;
                double worstInk = 0.0;
                for (int i = 0; i < count; ++i) {
                    double src[4], exact[4], peer[4], fromLink[4];
                    for (int j = 0; j < 4; ++j) src[j] = in[size_t(i) * 4 + j] * (100.0 / 65535.0);
                    chains.Run(src, exact, peer);
                    for (int j = 0; j < 4; ++j) {
                        fromLink[j] = out[size_t(i) * 4 + j] * (100.0 / 65535.0);
                        worstInk = std::max(worstInk, std::fabs(fromLink[j] - exact[j]));
                    }
                    d.push_back(chains.DeltaE(fromLink, exact));
                }
                const Stats s = Summarize(d);
                std::printf("| | %d | %d | %d | %.3f | %.3f | %.3f | %.2f |\n", intent, bits, count, s.mean, s.p95,
                            s.max, worstInk);
            } else {
                std::printf("| | %d | %d | failed (%d) |\n", intent, bits, baked);
            }
            TKFreeTKLink16Ref(link);
            TKFreeTKTrafoRef(chain);
            TKFreeFileSpecRef(specs[0]);
            TKFreeFileSpecRef(specs[1]);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    gFolder = argc > 1 ? argv[1] : "tests/data/concat";
    const int count = argc > 2 ? std::atoi(argv[2]) : 4000;
    FILE* csv = nullptr;
    if (argc > 4 && std::strcmp(argv[3], "--csv") == 0) csv = std::fopen(argv[4], "w");
    if (csv) std::fprintf(csv, "# case,in0,in1,in2,in3,lcms0,lcms1,lcms2,lcms3 (Little CMS 2, no optimisation)\n");

    std::printf("| chain | intent | Little CMS | n | mean dE00 | p95 | max |\n|---|---|---|---|---|---|---|\n");
    for (size_t k = 0; k < sizeof kCases / sizeof kCases[0]; ++k) {
        const Case& c = kCases[k];
        Chains chains(c);
        if (!chains.Ok()) {
            std::printf("| %s -> %s | %d | failed (%d) |\n", c.src, c.dst, c.intent, chains.Status());
            continue;
        }
        const bool rgb = IsRGB(c.src);
        const int n = rgb ? 3 : 4;
        std::mt19937 random(1234 + unsigned(k));
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        std::vector<double> d;
        for (int i = 0; i < count; ++i) {
            double in[4] = {0, 0, 0, 0}, ours[4], peer[4];
            for (int j = 0; j < n; ++j) in[j] = unit(random) * (rgb ? 255.0 : 100.0);
            // Keep CMYK within a printable total ink, as real separations are.
            if (!rgb && in[0] + in[1] + in[2] + in[3] > 330.0)
                for (double& v : in) v *= 330.0 / (in[0] + in[1] + in[2] + in[3]);
            chains.Run(in, ours, peer);
            d.push_back(chains.DeltaE(ours, peer));
            if (csv && i < 40)
                std::fprintf(csv, "%zu,%.4f,%.4f,%.4f,%.4f,%.5f,%.5f,%.5f,%.5f\n", k, in[0], in[1], in[2], in[3], peer[0],
                             peer[1], peer[2], peer[3]);
        }
        const Stats s = Summarize(d);
        std::printf("| %s -> %s | %d | %s%s | %d | %.2f | %.2f | %.2f |\n", c.src, c.dst, c.intent,
                    c.lcmsIntent == INTENT_PERCEPTUAL ? "perceptual" : "relative", c.bpc ? " + BPC" : "", count, s.mean,
                    s.p95, s.max);
        // White, black and a gray ramp side by side.
        const double rgbPoints[][4] = {{255, 255, 255, 0}, {0, 0, 0, 0}, {191, 191, 191, 0}, {128, 128, 128, 0}, {64, 64, 64, 0}, {16, 16, 16, 0}};
        const double cmykPoints[][4] = {{0, 0, 0, 0}, {100, 100, 100, 100}, {0, 0, 0, 100}, {25, 19, 19, 0}, {50, 40, 40, 10}, {70, 60, 60, 60}};
        const char* labels[] = {"white", "black", "gray1", "gray2", "gray3", "gray4"};
        for (int p = 0; p < 6; ++p) {
            double ours[4], peer[4];
            const double* in = rgb ? rgbPoints[p] : cmykPoints[p];
            chains.Run(in, ours, peer);
            Print(labels[p], in, n, ours, peer);
        }
    }
    if (csv) std::fclose(csv);
    LinkAccuracy(count);
    return 0;
}
