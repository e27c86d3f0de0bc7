// The separations by name.
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "separation/TKGCRSeparation.h"

namespace {

const char* const kNames[kTKSeparationNameCount] = {
    "UCR", "GCR2", "GCR", "GCRMax", "UCRSmooth", "GCR2Smooth", "GCRSmooth", "GCRMaxSmooth",
    "LinK", "NoK", "MinK", "MaxK", "MuchK", "FullUCR", "RGB"};

// The curve separations: name, power and whether the dark end is bent smoothly.
struct CurveEntry {
    const char* name;
    double power;
    bool smooth;
};
const CurveEntry kCurves[] = {
    {"UCR", 3.0, false},      {"GCR", 2.0, false},       {"GCR2", 1.5, false},
    {"GCRMax", 1.0, false},   {"UCRSmooth", 3.0, true},  {"GCRSmooth", 2.0, true},
    {"Auto", 2.0, true},      {"GCR2Smooth", 1.5, true}, {"GCRMaxSmooth", 1.0, true},
};

bool Is(const char* name, const char* entry) { return strcasecmp(name, entry) == 0; }

template <class T>
TKRefPtr<TKColorSeparationBase> Made(T* separation) {
    return TKRefPtr<TKColorSeparationBase>(separation, true);
}

TKRefPtr<TKColorSeparationBase> Curve(double power, bool smooth, const TKVector& limits, double p1, double p2,
                                      double tac) {
    if (smooth) return Made(new TKSmoothSeparation(limits, tac, power, p1, p2));
    return Made(new TKGCRSeparation(limits, tac, power, p1, p2));
}

}  // namespace

const char* TKSeparationName(int32_t index) {
    return index >= 0 && index < kTKSeparationNameCount ? kNames[index] : nullptr;
}

TKRefPtr<TKColorSeparationBase> TKNewSeparation(const char* name, const TKVector& limits, double p1, double p2,
                                                double tac) {
    if (!name || !*name || Is(name, "None")) return TKRefPtr<TKColorSeparationBase>();
    for (const CurveEntry& entry : kCurves)
        if (Is(name, entry.name)) return Curve(entry.power, entry.smooth, limits, p1, p2, tac);
    if (Is(name, "LinK")) return Made(new TKLinearKSeparation(limits, tac, p1, p2));
    if (Is(name, "PreferK")) return Made(new TKPreferKSeparation(limits, tac, p1));
    if (Is(name, "InkLimit")) return Made(new TKInkLimitSeparation(limits, tac));
    if (Is(name, "Balance")) return Made(new TKBalanceSeparation(p1 * 0.01));
    if (Is(name, "NoK")) return Made(new TKNoKSeparation());
    if (Is(name, "MinK")) return Made(new TKMinKSeparation(limits, tac));
    if (Is(name, "MaxK")) return Made(new TKMaxKSeparation(limits, tac, p1));
    if (Is(name, "MuchK")) return Made(new TKMuchKSeparation(limits, tac, p1));
    if (Is(name, "FullUCR")) return Made(new TKFullUCRSeparation());
    if (Is(name, "RGB")) return Made(new TKRGBSeparation(limits));
    // Any other name is the power of a curve: positive the plain form, negative the smooth one.
    errno = 0;
    char* end = nullptr;
    const double power = std::strtod(name, &end);
    while (end && (*end == ' ' || *end == '\t')) ++end;
    if (end == name || (end && *end) || errno != 0 || !std::isfinite(power) || power == 0.0)
        TKThrowMsg(ArgErr, "unknown separation name");
    return Curve(std::fabs(power), power < 0.0, limits, p1, p2, tac);
}
