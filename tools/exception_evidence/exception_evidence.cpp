// Pure colours through a device link, held against the ordinary transform and against Little
// CMS 2's black-preserving intents on the same print-to-print chain (FOGRA39 to FOGRA29, relative
// colorimetric):
//   1. purity of black text, one-ink ramps, two-ink mixtures and paper through the double trafo
//      and through 8-bit and 16-bit links at the default grid and at 17 and 33 points;
//   2. colour error of the pure results (CIEDE2000, through the destination profile) against the
//      ordinary transform and against the source colour;
//   3. smoothness: the largest CIEDE2000 step between neighbouring 8-bit inputs leaving each pure
//      zone, with and without the exceptions;
//   4. the same purity and error figures for Little CMS's K-only and K-plane intents;
//   5. a 300 % ink limit over a full 8-bit sweep.
// All Lab values come from Little CMS (the destination's relative A2B table), so only the CMYK
// results of the two engines differ.
//
// Build (against the shared library of a build tree):
//   g++ -std=c++17 -O2 -Iinclude tools/exception_evidence/exception_evidence.cpp \
//       -Lbuild -ltintara -llcms2 -Wl,-rpath,$PWD/build -o exception_evidence
//   ./exception_evidence tests/data/concat
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tintara.h"

namespace {

constexpr int32_t kPure = 1 | 32 | 4096 | 128 | 4;  // PureBlack, PurePrimaries, PureSecondaries, PureWhite, LinearizeGray

using CMYK = std::array<double, 4>;
using Engine = std::function<CMYK(const CMYK&)>;  // 0..100 in and out

struct Set {
    std::string name;
    std::vector<CMYK> colours;
    std::vector<int> empty;  // inks that must stay 0
};

std::vector<Set> Sets(int steps) {
    std::vector<Set> sets;
    Set k{"K only", {}, {0, 1, 2}};
    for (int i = 0; i <= steps; ++i) k.colours.push_back({0, 0, 0, 100.0 * i / steps});
    sets.push_back(k);
    const char* inks[3] = {"C only", "M only", "Y only"};
    for (int ink = 0; ink < 3; ++ink) {
        Set s{inks[ink], {}, {}};
        for (int c = 0; c < 4; ++c)
            if (c != ink) s.empty.push_back(c);
        for (int i = 0; i <= steps; ++i) {
            CMYK v{0, 0, 0, 0};
            v[ink] = 100.0 * i / steps;
            s.colours.push_back(v);
        }
        sets.push_back(s);
    }
    const int pairs[3][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}};
    const char* names[3] = {"C+M", "C+Y", "M+Y"};
    for (int p = 0; p < 3; ++p) {
        Set s{names[p], {}, {pairs[p][2], 3}};
        for (int i = 0; i <= 32; ++i)
            for (int j = 0; j <= 32; ++j) {
                CMYK v{0, 0, 0, 0};
                v[pairs[p][0]] = 100.0 * i / 32;
                v[pairs[p][1]] = 100.0 * j / 32;
                s.colours.push_back(v);
            }
        sets.push_back(s);
    }
    sets.push_back(Set{"paper", {{0, 0, 0, 0}}, {0, 1, 2, 3}});
    return sets;
}

struct Lab {
    cmsHTRANSFORM src = nullptr, dst = nullptr;
    cmsCIELab Of(cmsHTRANSFORM t, const CMYK& v) const {
        cmsCIELab lab;
        cmsDoTransform(t, v.data(), &lab, 1);
        return lab;
    }
    double DE(const CMYK& a, const CMYK& b) const {
        const cmsCIELab la = Of(dst, a), lb = Of(dst, b);
        return cmsCIE2000DeltaE(&la, &lb, 1, 1, 1);
    }
    double FromSource(const CMYK& s, const CMYK& d) const {
        const cmsCIELab la = Of(src, s), lb = Of(dst, d);
        return cmsCIE2000DeltaE(&la, &lb, 1, 1, 1);
    }
};

Engine Vectors(TKTrafoRef ref) {
    return [ref](const CMYK& v) {
        CMYK out;
        TKDoTrafo(ref, v.data(), out.data());
        return out;
    };
}

Engine Link8(TKLinkRef link) {
    return [link](const CMYK& v) {
        uint8_t in[4], out[4];
        for (int i = 0; i < 4; ++i) in[i] = uint8_t(std::lround(v[i] * 2.55));
        TKLink8Match(link, 1, in, out, 0, 0, nullptr, nullptr);
        CMYK r;
        for (int i = 0; i < 4; ++i) r[i] = out[i] / 2.55;
        return r;
    };
}

Engine Link16(TKLinkRef link) {
    return [link](const CMYK& v) {
        uint16_t in[4], out[4];
        for (int i = 0; i < 4; ++i) in[i] = uint16_t(std::lround(v[i] * 655.35));
        TKLink16Match(link, 1, in, out, 0, 0, nullptr, nullptr);
        CMYK r;
        for (int i = 0; i < 4; ++i) r[i] = out[i] / 655.35;
        return r;
    };
}

Engine Peer(cmsHTRANSFORM t) {
    return [t](const CMYK& v) {
        CMYK out;
        cmsDoTransform(t, v.data(), out.data(), 1);
        return out;
    };
}

// Purity: how many colours of the set gain an ink they must not have, and the largest such ink.
void PurityRow(const char* engine, const Engine& e, const std::vector<Set>& sets) {
    std::printf("%-26s", engine);
    for (const Set& s : sets) {
        int bad = 0;
        double worst = 0;
        for (const CMYK& c : s.colours) {
            const CMYK r = e(c);
            double m = 0;
            for (int i : s.empty) m = std::max(m, r[i]);
            bad += m > 0;
            worst = std::max(worst, m);
        }
        std::printf(" %5d/%-5zu %6.2f", bad, s.colours.size(), worst);
    }
    std::printf("\n");
}

void ErrorRow(const char* engine, const Engine& e, const Engine& ordinary, const std::vector<Set>& sets, const Lab& lab) {
    std::printf("%-26s", engine);
    for (const Set& s : sets) {
        double sumO = 0, maxO = 0, sumS = 0, maxS = 0;
        for (const CMYK& c : s.colours) {
            const CMYK r = e(c);
            const double dO = lab.DE(r, ordinary(c)), dS = lab.FromSource(c, r);
            sumO += dO, sumS += dS, maxO = std::max(maxO, dO), maxS = std::max(maxS, dS);
        }
        const double n = double(s.colours.size());
        std::printf(" %4.2f/%5.2f %4.2f/%5.2f", sumO / n, maxO, sumS / n, maxS);
    }
    std::printf("\n");
}

// Largest colour step between neighbouring 8-bit inputs along lines that leave the pure zones.
double LargestStep(const Engine& e, const Lab& lab) {
    double largest = 0;
    auto line = [&](CMYK start, int channel) {
        CMYK previous = e(start);
        for (int code = 1; code <= 12; ++code) {
            CMYK v = start;
            v[channel] += code / 2.55;
            const CMYK next = e(v);
            largest = std::max(largest, lab.DE(previous, next));
            previous = next;
        }
    };
    for (int level = 0; level <= 255; level += 15) {
        const double x = level / 2.55;
        for (int ch = 0; ch < 3; ++ch) line({0, 0, 0, x}, ch);  // black text gains a chromatic ink
        line({x, 0, 0, 0}, 1);                                   // cyan gains magenta
        line({x, 0, 0, 0}, 3);                                   // cyan gains black
        line({x, x, 0, 0}, 2);                                   // blue gains yellow
        line({0, x, x, 0}, 3);                                   // red gains black
    }
    return largest;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : "tests/data/concat";
    const std::string f39 = folder + "/FOGRA39L.icc", f29 = folder + "/FOGRA29L.icc";
    TKFileSpec* specs[2] = {TKName2FileSpec(TKNewFileSpecRef(), f39.c_str()), TKName2FileSpec(TKNewFileSpecRef(), f29.c_str())};
    const int32_t intents[2] = {1, 1};
    TKTrafoRef chain = nullptr;
    if (TKConcatICCProfiles(&chain, 2, specs, intents) != 0) {
        std::fprintf(stderr, "cannot read the profiles in %s\n", folder.c_str());
        return 1;
    }
    TKTrafoRef pure = TKNewExceptionTrafoRef(chain, kPure, 1.0, "");
    // With Purify the candidate is the ordinary result reduced to the source's inks: black text
    // keeps the tone the ordinary transform gives it.
    TKTrafoRef purified = TKNewExceptionTrafoRef(chain, kPure | 2048, 1.0, "");
    TKLinkRef links[3], plain = TKNewTKLink16Ref();
    const int32_t bits[3] = {0, 4, 5};
    for (int i = 0; i < 3; ++i) {
        links[i] = TKNewTKLink16Ref();
        TKColorTrafo2Link16(links[i], pure, bits[i]);
    }
    TKColorTrafo2Link16(plain, chain, 0);

    cmsHPROFILE p39 = cmsOpenProfileFromFile(f39.c_str(), "r"), p29 = cmsOpenProfileFromFile(f29.c_str(), "r");
    cmsHPROFILE labProfile = cmsCreateLab4Profile(nullptr);
    Lab lab;
    lab.src = cmsCreateTransform(p39, TYPE_CMYK_DBL, labProfile, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC, 0);
    lab.dst = cmsCreateTransform(p29, TYPE_CMYK_DBL, labProfile, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC, 0);
    const cmsUInt32Number flags = cmsFLAGS_NOCACHE;
    cmsHTRANSFORM relative = cmsCreateTransform(p39, TYPE_CMYK_DBL, p29, TYPE_CMYK_DBL, INTENT_RELATIVE_COLORIMETRIC, flags);
    cmsHTRANSFORM kOnly = cmsCreateTransform(p39, TYPE_CMYK_DBL, p29, TYPE_CMYK_DBL,
                                             INTENT_PRESERVE_K_ONLY_RELATIVE_COLORIMETRIC, flags);
    cmsHTRANSFORM kPlane = cmsCreateTransform(p39, TYPE_CMYK_DBL, p29, TYPE_CMYK_DBL,
                                              INTENT_PRESERVE_K_PLANE_RELATIVE_COLORIMETRIC, flags);

    const std::vector<Set> sets = Sets(255);
    std::printf("Purity: colours that gain an ink they lack / colours, and the largest such ink in %%\n%-26s", "");
    for (const Set& s : sets) std::printf(" %-18s", s.name.c_str());
    std::printf("\n");
    PurityRow("ordinary, vectors", Vectors(chain), sets);
    PurityRow("pure, vectors", Vectors(pure), sets);
    PurityRow("pure + Purify, vectors", Vectors(purified), sets);
    const char* linkNames[3] = {"pure, 8-bit link, default", "pure, 8-bit link, 17", "pure, 8-bit link, 33"};
    const char* link16Names[3] = {"pure, 16-bit link, default", "pure, 16-bit link, 17", "pure, 16-bit link, 33"};
    for (int i = 0; i < 3; ++i) PurityRow(linkNames[i], Link8(links[i]), sets);
    for (int i = 0; i < 3; ++i) PurityRow(link16Names[i], Link16(links[i]), sets);
    PurityRow("Little CMS, K only", Peer(kOnly), sets);
    PurityRow("Little CMS, K plane", Peer(kPlane), sets);

    std::printf("\nCIEDE2000 mean/max against the ordinary transform, then against the source colour\n%-26s", "");
    for (const Set& s : sets) std::printf(" %-22s", s.name.c_str());
    std::printf("\n");
    const Engine ordinary = Vectors(chain);
    ErrorRow("ordinary, vectors", ordinary, ordinary, sets, lab);
    ErrorRow("pure, vectors", Vectors(pure), ordinary, sets, lab);
    ErrorRow("pure + Purify, vectors", Vectors(purified), ordinary, sets, lab);
    ErrorRow("pure, 8-bit link, default", Link8(links[0]), ordinary, sets, lab);
    ErrorRow("Little CMS, relative", Peer(relative), ordinary, sets, lab);
    ErrorRow("Little CMS, K only", Peer(kOnly), ordinary, sets, lab);
    ErrorRow("Little CMS, K plane", Peer(kPlane), ordinary, sets, lab);

    std::printf("\nLargest CIEDE2000 step between neighbouring 8-bit inputs leaving the pure zones\n");
    std::printf("  ordinary vectors %.2f, pure vectors %.2f, pure + Purify vectors %.2f, ordinary 8-bit link %.2f,"
                " pure 8-bit link %.2f, Little CMS K only %.2f, K plane %.2f\n",
                LargestStep(ordinary, lab), LargestStep(Vectors(pure), lab), LargestStep(Vectors(purified), lab),
                LargestStep(Link8(plain), lab),
                LargestStep(Link8(links[0]), lab), LargestStep(Peer(kOnly), lab), LargestStep(Peer(kPlane), lab));

    // Ink limit: every input of a coarse 8-bit lattice and random inputs through an 8-bit link.
    TKTrafoRef limited = TKNewExceptionTrafoRef(chain, kPure, 1.0, "");
    TKSetTrafoOption(limited, "InkLimit", "300");
    TKLinkRef tacLink = TKNewTKLink16Ref();
    TKColorTrafo2Link16(tacLink, limited, 0);
    std::vector<uint8_t> pixels;
    for (int c = 0; c < 256; c += 15)
        for (int m = 0; m < 256; m += 15)
            for (int y = 0; y < 256; y += 15)
                for (int k = 0; k < 256; k += 15) pixels.insert(pixels.end(), {uint8_t(c), uint8_t(m), uint8_t(y), uint8_t(k)});
    std::mt19937 random(300);
    for (int i = 0; i < 4 * 200000; ++i) pixels.push_back(uint8_t(random()));
    std::vector<uint8_t> out(pixels.size());
    TKLink8Match(tacLink, int32_t(pixels.size() / 4), pixels.data(), out.data(), 0, 0, nullptr, nullptr);
    int largest = 0, over = 0;
    for (size_t p = 0; p < out.size(); p += 4) {
        const int sum = out[p] + out[p + 1] + out[p + 2] + out[p + 3];
        largest = std::max(largest, sum);
        over += sum > 765;
    }
    std::printf("\nInk limit 300 %%: %zu pixels, largest sum %d codes (%.2f %%), %d above 765 codes\n", out.size() / 4,
                largest, largest / 2.55, over);
    return 0;
}
