// Measures the refined inverse (intent bit 0x40) of a CMYK profile against the profile's own
// B2A table and Little CMS 2's B2A on the same targets: Lab targets are made by the relative
// A2B table from random CMYK (so every target is in gamut), each inverse's ink goes back through
// the same A2B table, and CIEDE2000 against the target gives mean, 95th percentile and maximum.
// Then the printer black points: inverse search, the perceptual table's black (the previous
// way) and Little CMS's black point detection, all seen through the relative A2B table.
//
// Build (against the shared library of a build tree):
//   g++ -std=c++17 -O2 -Iinclude tools/inverse_evidence/inverse_evidence.cpp \
//       -Lbuild/<dir> -ltintara -llcms2 -Wl,-rpath,$PWD/build/<dir> -o inverse_evidence
//   ./inverse_evidence FOGRA39L.icc [FOGRA29L.icc ...] [--count N]
#include <lcms2.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tintara.h"

namespace {

struct Stats {
    std::vector<double> values;
    void Print(const char* name, double microseconds) {
        std::sort(values.begin(), values.end());
        double sum = 0.0;
        for (double v : values) sum += v;
        const double p95 = values[size_t(0.95 * double(values.size() - 1))];
        std::printf("  %-28s dE00 mean %7.4f  p95 %7.4f  max %7.4f  %9.1f us/colour\n", name, sum / double(values.size()),
                    p95, values.back(), microseconds);
    }
};

double DeltaE2000(const double* a, const double* b) {
    cmsCIELab l1{a[0], a[1], a[2]}, l2{b[0], b[1], b[2]};
    return cmsCIE2000DeltaE(&l1, &l2, 1.0, 1.0, 1.0);
}

TKTrafoRef ProfileTrafo(TKICCProfile* profile, int toPCS, int intent) {
    TKTrafoRef ref = nullptr;
    if (TKGetICCProfileTrafo(&ref, profile, toPCS, intent) != 0) {
        std::fprintf(stderr, "no trafo for intent %d\n", intent);
        std::exit(1);
    }
    return ref;
}

double Seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void Measure(const char* path, int count) {
    TKFileSpec* spec = TKNewFileSpecRef();
    TKName2FileSpec(spec, path);
    TKICCProfile* profile = TKNewICCProfileRef();
    if (TKReadProfile(profile, spec) != 0) {
        std::fprintf(stderr, "cannot read %s\n", path);
        std::exit(1);
    }
    TKTrafoRef a2b = ProfileTrafo(profile, 1, 1);
    TKTrafoRef b2a = ProfileTrafo(profile, 0, 1);
    TKTrafoRef refined = ProfileTrafo(profile, 0, 1 | 0x40);
    TKTrafoRef perceptualRefined = ProfileTrafo(profile, 0, 0x40);
    TKTrafoRef perceptualB2A = ProfileTrafo(profile, 0, 0);

    cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
    cmsHPROFILE printer = cmsOpenProfileFromFile(path, "r");
    cmsHTRANSFORM lcms =
        cmsCreateTransform(lab, TYPE_Lab_DBL, printer, TYPE_CMYK_DBL, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);

    std::mt19937 random(20261122);
    std::uniform_real_distribution<double> ink(0.0, 100.0);
    std::vector<std::vector<double>> targets;
    for (int i = 0; i < count; ++i) {
        double cmyk[4] = {ink(random), ink(random), ink(random), ink(random)}, target[3];
        TKDoTrafo(a2b, cmyk, target);
        targets.push_back({target[0], target[1], target[2]});
    }

    std::printf("%s, relative colorimetric, %d in-gamut targets from random CMYK\n", path, count);
    auto run = [&](const char* name, auto inverse) {
        Stats stats;
        double spent = 0.0;
        for (const auto& target : targets) {
            double cmyk[4], back[3];
            const double begin = Seconds();
            inverse(target.data(), cmyk);
            spent += Seconds() - begin;
            TKDoTrafo(a2b, cmyk, back);
            stats.values.push_back(DeltaE2000(target.data(), back));
        }
        stats.Print(name, spent / double(targets.size()) * 1e6);
    };
    run("refined inverse (0x41)", [&](const double* lab, double* cmyk) { TKDoTrafo(refined, lab, cmyk); });
    run("profile B2A1 table", [&](const double* lab, double* cmyk) { TKDoTrafo(b2a, lab, cmyk); });
    run("Little CMS 2 B2A1", [&](const double* lab, double* cmyk) { cmsDoTransform(lcms, lab, cmyk, 1); });

    // Printer black points, each seen through the relative A2B table as the black point
    // compensation sees them.
    const double zero[3] = {0.0, 0.0, 0.0};
    double inks[4], seen[3];
    TKDoTrafo(perceptualRefined, zero, inks);
    TKDoTrafo(a2b, inks, seen);
    std::printf("  black point, search, no cap:  L %6.3f a %6.3f b %6.3f  inks %5.1f %5.1f %5.1f %5.1f (sum %5.1f)\n",
                seen[0], seen[1], seen[2], inks[0], inks[1], inks[2], inks[3], inks[0] + inks[1] + inks[2] + inks[3]);
    TKDoTrafo(perceptualB2A, zero, inks);
    TKDoTrafo(a2b, inks, seen);
    std::printf("  black point, perceptual B2A:   L %6.3f a %6.3f b %6.3f  inks %5.1f %5.1f %5.1f %5.1f (sum %5.1f)\n",
                seen[0], seen[1], seen[2], inks[0], inks[1], inks[2], inks[3], inks[0] + inks[1] + inks[2] + inks[3]);
    cmsCIEXYZ blackXYZ;
    cmsDetectBlackPoint(&blackXYZ, printer, INTENT_RELATIVE_COLORIMETRIC, 0);
    cmsCIELab blackLab;
    cmsXYZ2Lab(cmsD50_XYZ(), &blackLab, &blackXYZ);
    std::printf("  black point, Little CMS 2:     L %6.3f a %6.3f b %6.3f\n", blackLab.L, blackLab.a, blackLab.b);

    cmsDeleteTransform(lcms);
    cmsCloseProfile(printer);
    cmsCloseProfile(lab);
    for (TKTrafoRef ref : {a2b, b2a, refined, perceptualRefined, perceptualB2A}) TKFreeTKTrafoRef(ref);
    TKFreeICCProfileRef(profile);
    TKFreeFileSpecRef(spec);
}

}  // namespace

int main(int argc, char** argv) {
    int count = 2000;
    std::vector<const char*> paths;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--count") == 0 && i + 1 < argc)
            count = std::max(1, std::atoi(argv[++i]));
        else
            paths.push_back(argv[i]);
    }
    if (paths.empty()) {
        std::fprintf(stderr, "usage: inverse_evidence PROFILE.icc ... [--count N]\n");
        return 2;
    }
    for (const char* path : paths) Measure(path, count);
    return 0;
}
