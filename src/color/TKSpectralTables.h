// Published CIE tables on the engine's spectral grid (380..730 nm, 10 nm): observers,
// daylight components, illuminant spectra and Robertson's isotemperature lines.
// The values live in the generated TKSpectralTables.cpp (tools/gen_cie_tables.py).
#pragma once

#include "color/TKColors.h"

// x-bar, y-bar, z-bar of the CIE 1931 2-degree and the CIE 1964 10-degree observer.
extern const double kTKObserver2[3][kTKSpectralChannels];
extern const double kTKObserver10[3][kTKSpectralChannels];
// S0, S1, S2 of CIE daylight.
extern const double kTKDaylightComponents[3][kTKSpectralChannels];

struct TKIlluminantTable {
    const char* name;  // "A", "C", "E", "F1".."F12"
    double values[kTKSpectralChannels];
};
constexpr int kTKIlluminantTableCount = 15;
extern const TKIlluminantTable kTKIlluminantTables[kTKIlluminantTableCount];

// One isotemperature line: reciprocal temperature in mired, u and v in the CIE 1960 UCS, slope.
struct TKIsotherm {
    double mired, u, v, slope;
};
constexpr int kTKIsothermCount = 31;
extern const TKIsotherm kTKRobertsonIsotherms[kTKIsothermCount];
