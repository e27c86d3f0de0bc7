// Measures ink saving by re-separation: the pixels of an 8-bit CMYK TIFF (every `step`-th pixel
// in each direction) go through TKReseparationTrafo from a profile to itself with a chosen black
// generation; printed are the total ink before and after (mean and maximum, percent) and the
// CIEDE2000 between the two renderings through the profile's relative A2B table (mean, p95,
// max), with the time per colour. This program uses the engine's classes, so it is built
// against the static layer libraries of a build tree:
//   g++ -std=c++17 -O2 -Isrc -Iinclude tools/inverse_evidence/reseparation_evidence.cpp \
//       build/libtintara_{separation,icc,link,charts,color,numeric,io,foundation}.a \
//       -ltinyxml2 -ltiff -lpthread -o reseparation_evidence
//   tintara testimage -c none rgb.tif
//   tintara apply -i 0 -p sRGB.icc -p FOGRA39L.icc -c none rgb.tif cmyk.tif
//   ./reseparation_evidence FOGRA39L.icc cmyk.tif MaxK [step] [p1] [p2] [tac]
#include <tiffio.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "separation/TKReseparationTrafo.h"

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: reseparation_evidence PROFILE.icc CMYK.tif BLACK [step] [p1] [p2] [tac]\n");
        return 2;
    }
    const int step = argc > 4 ? std::max(1, std::atoi(argv[4])) : 4;
    const double p1 = argc > 5 ? std::atof(argv[5]) : 0.0, p2 = argc > 6 ? std::atof(argv[6]) : 100.0;
    const double tac = argc > 7 ? std::atof(argv[7]) : 400.0;
    try {
        auto profile = TKMakeRef<TKICCProfile>();
        profile->ReadFile(TKFileSpec(TKString(argv[1])), 2);
        TKICCTrafoBuilder builder(profile.Get());
        TKRefPtr<TKTrafo> a2b = builder.GetA2BTrafo(1), b2a = builder.GetB2ATrafo(1);
        TKReseparationTrafo reseparation(a2b.Get(), a2b.Get(), b2a.Get(), argv[3], p1, p2, tac);

        TIFF* tiff = TIFFOpen(argv[2], "r");
        if (!tiff) return 1;
        uint32_t width = 0, height = 0;
        uint16_t samples = 0, bits = 0;
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
        TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
        if (samples != 4 || bits != 8) {
            std::fprintf(stderr, "needs an 8-bit CMYK TIFF\n");
            return 1;
        }
        std::vector<uint8_t> row(TIFFScanlineSize(tiff));
        std::vector<double> before, after, delta;
        double seconds = 0.0, grayBefore = 0.0, grayAfter = 0.0;
        int grayCount = 0;
        for (uint32_t y = 0; y < height; ++y) {
            if (TIFFReadScanline(tiff, row.data(), y, 0) < 0) return 1;
            if (y % step) continue;
            for (uint32_t x = 0; x < width; x += step) {
                const uint8_t* p = &row[size_t(x) * 4];
                const TKVector source({p[0] / 2.55, p[1] / 2.55, p[2] / 2.55, p[3] / 2.55}, int32_t(TKCMYKSpace));
                const auto begin = std::chrono::steady_clock::now();
                const TKVector result = reseparation.Trafo(source);
                seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
                before.push_back(source.Sum());
                after.push_back(result.Sum());
                if (source.Min(0, 2) >= 20.0) {  // pixels with a gray component to replace
                    grayBefore += source.Sum();
                    grayAfter += result.Sum();
                    ++grayCount;
                }
                const TKVector lab1 = ConvertColor(TKLabSpace, a2b->Trafo(source));
                const TKVector lab2 = ConvertColor(TKLabSpace, a2b->Trafo(result));
                delta.push_back(DeltaE2000(lab1.Values(), lab2.Values()));
            }
        }
        TIFFClose(tiff);
        auto mean = [](const std::vector<double>& v) {
            double s = 0.0;
            for (double x : v) s += x;
            return s / double(v.size());
        };
        const double maxBefore = *std::max_element(before.begin(), before.end());
        const double maxAfter = *std::max_element(after.begin(), after.end());
        std::sort(delta.begin(), delta.end());
        std::printf("%s -> itself, black generation %s (p1 %g, p2 %g, TAC %g), %zu pixels of %s\n", argv[1], argv[3], p1,
                    p2, tac, delta.size(), argv[2]);
        std::printf("  total ink before: mean %.1f %%, max %.1f %%\n", mean(before), maxBefore);
        std::printf("  total ink after:  mean %.1f %%, max %.1f %%  (saving %.1f %% of the ink)\n", mean(after),
                    maxAfter, 100.0 * (1.0 - mean(after) / mean(before)));
        if (grayCount > 0)
            std::printf("  pixels with CMY all >= 20 %% (%d): ink %.1f %% -> %.1f %% (saving %.1f %%)\n", grayCount,
                        grayBefore / grayCount, grayAfter / grayCount, 100.0 * (1.0 - grayAfter / grayBefore));
        std::printf("  dE00 between renderings: mean %.3f, p95 %.3f, max %.3f; %.0f us per colour\n", mean(delta),
                    delta[size_t(0.95 * double(delta.size() - 1))], delta.back(), seconds / double(delta.size()) * 1e6);
    } catch (const TKError& error) {
        std::fprintf(stderr, "error %d\n", int(error.code()));
        return 1;
    }
    return 0;
}
