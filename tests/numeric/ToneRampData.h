// Single-ink ramps of the FOGRA39L characterisation (tests/data/curves/fogra39_ramps.csv) and
// their Murray-Davies tone values, the real tone curves that the curve tests fit and invert.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "numeric/TKVector.h"
#include "support/TestSupport.h"

struct ToneRamp {
    TKVector nominal;  // ink coverage 0..1
    TKVector tone;     // Murray-Davies tone value 0..1
};

// ink: 'C', 'M', 'Y' or 'K'. The tone value a = (Rp - R) / (Rp - Rs) from reflectances R of
// paper, patch and solid; the tristimulus value closest to each ink's filter is used: X for
// cyan, Y for magenta and black, Z for yellow.
inline ToneRamp LoadToneRamp(char ink) {
    std::FILE* file = std::fopen(TestDataPath("curves/fogra39_ramps.csv").c_str(), "r");
    ToneRamp ramp;
    if (!file) {
        ADD_FAILURE() << "missing curves/fogra39_ramps.csv";
        return ramp;
    }
    std::vector<double> nominal, reflectance;
    char line[256];
    std::fgets(line, sizeof line, file);  // header
    while (std::fgets(line, sizeof line, file)) {
        char name = 0;
        double percent, x, y, z;
        if (std::sscanf(line, "%c,%lf,%lf,%lf,%lf", &name, &percent, &x, &y, &z) != 5 || name != ink) continue;
        nominal.push_back(percent / 100.0);
        reflectance.push_back(ink == 'C' ? x : ink == 'Y' ? z : y);
    }
    std::fclose(file);
    const size_t n = nominal.size();
    ramp.nominal = TKVector(int32_t(n));
    ramp.tone = TKVector(int32_t(n));
    for (size_t i = 0; i < n; ++i) {
        ramp.nominal[int32_t(i)] = nominal[i];
        ramp.tone[int32_t(i)] = (reflectance.front() - reflectance[i]) / (reflectance.front() - reflectance.back());
    }
    return ramp;
}
