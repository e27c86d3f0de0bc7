// Colour differences: the method table, the published formulas (CIE76, CIE94, CIEDE2000,
// CMC, DIN99, DIN99d) and the engine's own symmetric measures for the other methods.
#include "color/TKColorDifference.h"

#include <cmath>
#include <cstring>
#include <mutex>
#include <strings.h>

#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "color/TKColorDifferenceModules.h"
#include "color/TKColors.h"
#include "color/TKSpectral.h"
#include "foundation/TKError.h"

namespace {

struct MethodRow {
    const char* name;
    const char* shortName;
    uint32_t working;  // 0: the colours' own type
};

const MethodRow kMethods[kTKDifferenceMethodCount] = {
    {"Delta-Auto", "Delta", 0},
    {"Delta-Raw", "Delta", 0},
    {"DeltaE-76", "dE76", TKLabSpace},
    {"Delta-LCh", "dLCh", TKLabSpace},
    {"Delta-Luv", "dLuv", TKLuvSpace},
    {"Delta-JCh", "dJCh", TKJabSpace},
    {"Delta-Jab", "dJab", TKJabSpace},
    {"DeltaE-94", "dE94", TKLabSpace},
    {"DeltaE-2000", "dE00", TKLabSpace},
    {"DeltaE-DIN99", "dE99", TKLabSpace},
    {"DeltaE-DIN99d", "dE99d", TKXYZSpace},
    {"DeltaE-94-Kuehni", "dE94K", TKXYZSpace},
    {"Delta-XYZ", "dXYZ", TKXYZSpace},
    {"Delta-ab", "dab", TKLabSpace},
    {"Delta-LC", "dLC", TKLabSpace},
    {"Delta-Lh", "dLh", TKLabSpace},
    {"Delta-L", "dL", TKLabSpace},
    {"Delta-C", "dC", TKLabSpace},
    {"Delta-H", "dH", TKLabSpace},
    {"Delta-Lcsh", "dLcsh", TKLcsSpace},
    {"Delta-OOGv1", "dOOGv1", TKLcsSpace},
    {"Delta-Perceptual", "dPerc", TKLcsSpace},
    {"Delta-Colorimetric", "dCol", TKLcsSpace},
    {"Delta-Saturation", "dSat", TKLcsSpace},
    {"Delta-Lcs", "dLcs", TKLcsSpace},
    {"Delta-RGB", "dRGB", TKRGBSpace},
    {"Delta-Density", "dDens", TKDensSpace},
    {"Delta-CMC 1:1", "dCMC11", TKLabSpace},
    {"Delta-CMC 2:1", "dCMC21", TKLabSpace},
    {"Delta-Sort", "dSort", TKXYZSpace},
    {"Delta-Test", "dTest", TKLcsSpace},
    {"Metamerism (D65/A)", "dMetam", TKReflSpace},
    {"Delta-Lab-Weighted", "dLabW", TKLabSpace},
    {"Delta-ISO20654", "dISO20654", TKXYZSpace},
    {"Delta-Spot", "dSpot", TKLabSpace},
};

double Chroma(const double v[3]) { return std::sqrt(v[1] * v[1] + v[2] * v[2]); }

// Lightness, chroma and metric hue differences of two rectangular colours (Lab, Jab, Lcs):
// dH is signed, 2 sqrt(C1 C2) sin(dh / 2), so that dL^2 + dC^2 + dH^2 is the squared distance.
struct PolarDelta {
    double dL, dC, dH;
};

PolarDelta Polar(const double a[3], const double b[3]) {
    const double c1 = Chroma(a), c2 = Chroma(b);
    double dh = 0.0;
    if (c1 > 0.0 && c2 > 0.0) {
        dh = std::atan2(a[2], a[1]) - std::atan2(b[2], b[1]);
        if (dh > kTKPi) dh -= 2.0 * kTKPi;
        if (dh < -kTKPi) dh += 2.0 * kTKPi;
    }
    return {a[0] - b[0], c1 - c2, 2.0 * std::sqrt(c1 * c2) * std::sin(dh / 2.0)};
}

double Weighted(const PolarDelta& d, double wL, double wC, double wH) {
    return std::sqrt(wL * wL * d.dL * d.dL + wC * wC * d.dC * d.dC + wH * wH * d.dH * d.dH);
}

double Euclid(const TKVector& a, const TKVector& b) {
    if (a.GetDim() != b.GetDim()) TKThrow(DimMismatch);
    double sum = 0.0;
    for (int32_t i = 0; i < a.GetDim(); ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return std::sqrt(sum);
}

// The CIEDE2000 lightness weight, which Kuehni's revision of CIE94 takes over.
double LightnessWeight(double meanL) {
    const double d = (meanL - 50.0) * (meanL - 50.0);
    return 1.0 + 0.015 * d / std::sqrt(20.0 + d);
}

// CIE94 with a lightness weight and the geometric mean chroma.
double CIE94(const double a[3], const double b[3], double sl) {
    const double c1 = Chroma(a), c2 = Chroma(b);
    const double dL = a[0] - b[0], dC = c1 - c2;
    const double da = a[1] - b[1], db = a[2] - b[2];
    const double dH2 = std::fmax(0.0, da * da + db * db - dC * dC);
    const double c = std::sqrt(c1 * c2);
    const double sc = 1.0 + 0.045 * c, sh = 1.0 + 0.015 * c;
    return std::sqrt((dL / sl) * (dL / sl) + (dC / sc) * (dC / sc) + dH2 / (sh * sh));
}

// Lab under an illuminant of a reflectance, the white being the perfect reflector there.
void LabUnder(const TKVector& reflectance, const TKVector& illuminant, const TKMatrix& observer, double lab[3]) {
    double xyz[3], white[3];
    SpectrumToXYZ(reflectance, illuminant, observer, xyz);
    SpectrumToXYZ(TKVector(kTKSpectralChannels, int32_t(TKReflSpace), 1.0), illuminant, observer, white);
    XYZToLab(xyz, white, lab);
}

// The special metamerism index with additive correction: the Lab difference under A less the
// difference under D65, as a distance. Exactly symmetric, 0 for a pair matching spectrally.
double Metamerism(const TKVector& a, const TKVector& b) {
    static const TKMatrix observer = GetObserverMatrix(2);
    static const TKVector d65 = GetIlluminantSpectrum("D65UV");
    static const TKVector illA = GetIlluminantSpectrum("A");
    double a65[3], b65[3], aA[3], bA[3];
    LabUnder(a, d65, observer, a65);
    LabUnder(b, d65, observer, b65);
    LabUnder(a, illA, observer, aA);
    LabUnder(b, illA, observer, bA);
    double sum = 0.0;
    for (int i = 0; i < 3; ++i) {
        const double d = (aA[i] - bA[i]) - (a65[i] - b65[i]);
        sum += d * d;
    }
    return std::sqrt(sum);
}

// The lightness-like responses of ISO 20654: 116 f(X/Xw) - 16 for each of X, Y, Z.
void ISO20654Values(const double xyz[3], double v[3]) {
    const double gray[3] = {xyz[0] / kTKWhiteD50[0] * 100.0, xyz[1] / kTKWhiteD50[1] * 100.0,
                            xyz[2] / kTKWhiteD50[2] * 100.0};
    for (int i = 0; i < 3; ++i) v[i] = YToL(gray[i]);
}

// Y with the chromaticity scaled to the same order: an ordering measure for sorting colours.
void SortValues(const double xyz[3], double v[3]) {
    double yxy[3];
    XYZToYxy(xyz, yxy);
    v[0] = yxy[0];
    v[1] = 100.0 * yxy[1];
    v[2] = 100.0 * yxy[2];
}

double Distance3(const double a[3], const double b[3]) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

// The Euclidean distance of both colours after `convert` took each to another three-value space.
template <class Convert>
double DistanceIn(const double a[3], const double b[3], Convert convert) {
    double p[3], q[3];
    convert(a, p);
    convert(b, q);
    return Distance3(p, q);
}

}  // namespace

double DeltaE76(const double lab1[3], const double lab2[3]) { return Distance3(lab1, lab2); }

double DeltaE94(const double lab1[3], const double lab2[3]) { return CIE94(lab1, lab2, 1.0); }

double DeltaE2000(const double lab1[3], const double lab2[3], double kL, double kC, double kH) {
    const double c1 = Chroma(lab1), c2 = Chroma(lab2);
    const double cMean = (c1 + c2) / 2.0;
    const double c7 = std::pow(cMean, 7.0);
    const double g = 0.5 * (1.0 - std::sqrt(c7 / (c7 + 6103515625.0)));  // 25^7
    const double a1 = (1.0 + g) * lab1[1], a2 = (1.0 + g) * lab2[1];
    const double cp1 = std::sqrt(a1 * a1 + lab1[2] * lab1[2]);
    const double cp2 = std::sqrt(a2 * a2 + lab2[2] * lab2[2]);
    auto hue = [](double b, double a) {
        if (a == 0.0 && b == 0.0) return 0.0;
        const double h = std::atan2(b, a) / kTKDegree;
        return h < 0.0 ? h + 360.0 : h;
    };
    const double h1 = hue(lab1[2], a1), h2 = hue(lab2[2], a2);
    const double dL = lab2[0] - lab1[0];
    const double dC = cp2 - cp1;
    double dh = 0.0;
    if (cp1 * cp2 != 0.0) {
        dh = h2 - h1;
        if (dh > 180.0) dh -= 360.0;
        else if (dh < -180.0) dh += 360.0;
    }
    const double dH = 2.0 * std::sqrt(cp1 * cp2) * std::sin(dh * kTKDegree / 2.0);
    const double lMean = (lab1[0] + lab2[0]) / 2.0;
    const double cpMean = (cp1 + cp2) / 2.0;
    double hMean = h1 + h2;
    if (cp1 * cp2 != 0.0) {
        if (std::fabs(h1 - h2) <= 180.0) hMean = (h1 + h2) / 2.0;
        else if (h1 + h2 < 360.0) hMean = (h1 + h2 + 360.0) / 2.0;
        else hMean = (h1 + h2 - 360.0) / 2.0;
    }
    const double t = 1.0 - 0.17 * std::cos((hMean - 30.0) * kTKDegree) + 0.24 * std::cos(2.0 * hMean * kTKDegree) +
                     0.32 * std::cos((3.0 * hMean + 6.0) * kTKDegree) - 0.20 * std::cos((4.0 * hMean - 63.0) * kTKDegree);
    const double dTheta = 30.0 * std::exp(-((hMean - 275.0) / 25.0) * ((hMean - 275.0) / 25.0));
    const double cp7 = std::pow(cpMean, 7.0);
    const double rc = 2.0 * std::sqrt(cp7 / (cp7 + 6103515625.0));
    const double sl = LightnessWeight(lMean);
    const double sc = 1.0 + 0.045 * cpMean;
    const double sh = 1.0 + 0.015 * cpMean * t;
    const double rt = -std::sin(2.0 * dTheta * kTKDegree) * rc;
    const double l = dL / (kL * sl), c = dC / (kC * sc), h = dH / (kH * sh);
    return std::sqrt(l * l + c * c + h * h + rt * c * h);
}

double DeltaECMC(const double reference[3], const double sample[3], double l, double c) {
    const double l1 = reference[0];
    const double c1 = Chroma(reference), c2 = Chroma(sample);
    double h1 = std::atan2(reference[2], reference[1]) / kTKDegree;
    if (h1 < 0.0) h1 += 360.0;
    const double dL = reference[0] - sample[0], dC = c1 - c2;
    const double da = reference[1] - sample[1], db = reference[2] - sample[2];
    const double dH2 = std::fmax(0.0, da * da + db * db - dC * dC);
    const double sl = l1 < 16.0 ? 0.511 : 0.040975 * l1 / (1.0 + 0.01765 * l1);
    const double sc = 0.0638 * c1 / (1.0 + 0.0131 * c1) + 0.638;
    const double c14 = c1 * c1 * c1 * c1;
    const double f = std::sqrt(c14 / (c14 + 1900.0));
    const double t = (h1 >= 164.0 && h1 <= 345.0) ? 0.56 + std::fabs(0.2 * std::cos((h1 + 168.0) * kTKDegree))
                                                   : 0.36 + std::fabs(0.4 * std::cos((h1 + 35.0) * kTKDegree));
    const double sh = sc * (f * t + 1.0 - f);
    return std::sqrt((dL / (l * sl)) * (dL / (l * sl)) + (dC / (c * sc)) * (dC / (c * sc)) + dH2 / (sh * sh));
}

// --- The method object ------------------------------------------------------------------------

const char* TKColorDifference::GetMethodName(int32_t method) {
    if (method == kTKDeltaUndefined) return "Undefined";
    return method >= 0 && method < kTKDifferenceMethodCount ? kMethods[method].name
                                                            : RegisteredDifferenceName(method, false);
}

const char* TKColorDifference::GetMethodShortName(int32_t method) {
    return method >= 0 && method < kTKDifferenceMethodCount ? kMethods[method].shortName
                                                            : RegisteredDifferenceName(method, true);
}

int32_t TKColorDifference::GetMethodFromName(const char* name) {
    if (!name) return kTKDeltaUndefined;
    static const struct {
        const char* alias;
        int32_t method;
    } kAliases[] = {{"Auto", kTKDeltaAuto}, {"CIECAM02", kTKDeltaJab}, {"Perceptual", kTKDeltaPerceptual},
                    {"dE2000", kTKDeltaE2000}};
    for (const auto& alias : kAliases)
        if (!strcasecmp(name, alias.alias)) return alias.method;
    for (int32_t i = 0; i < kTKDifferenceMethodCount; ++i)
        if (!strcasecmp(name, kMethods[i].name)) return i;
    // Short names after long ones: "Delta" is shared by two methods and means the first.
    for (int32_t i = 0; i < kTKDifferenceMethodCount; ++i)
        if (!strcasecmp(name, kMethods[i].shortName)) return i;
    return RegisteredDifferenceCode(name);
}

void TKColorDifference::ReserveBuiltInNames() {
    static std::once_flag reserved;
    std::call_once(reserved, [] {
        for (const MethodRow& row : kMethods) {
            TKObjectMgr::Shared().Reserve(kTKModuleColorDifference, row.name);
            TKObjectMgr::Shared().Reserve(kTKModuleColorDifference, row.shortName);
        }
        for (const char* alias : {"Auto", "CIECAM02", "Perceptual", "dE2000", "Undefined", "Unknown"})
            TKObjectMgr::Shared().Reserve(kTKModuleColorDifference, alias);
    });
}

uint32_t TKColorDifference::GetWorkingType(uint32_t given) const {
    if (fMethod >= kTKDifferenceMethodCount) {
        TKRefPtr<TKModuleDifference> registered = RegisteredDifference(fMethod);
        return registered ? registered->WorkingType() : given;
    }
    if (fMethod < 0) return given;
    return kMethods[fMethod].working ? kMethods[fMethod].working : given;
}

namespace {

// Both colours in the method's working type. "Delta-Raw" converts nothing; "Delta-Auto" keeps
// equal types and takes two CIE colours of different types to Lab.
void ToWorking(int32_t method, uint32_t working, const TKVector& a, const TKVector& b, TKVector& wa, TKVector& wb) {
    if (method == kTKDeltaRaw) {
        wa = a;
        wb = b;
        return;
    }
    if (method == kTKDeltaAuto || working == 0) {
        const uint32_t ta = uint32_t(a.GetType()), tb = uint32_t(b.GetType());
        working = (ta == tb || ta == 0 || tb == 0) ? 0u : uint32_t(TKLabSpace);
    }
    wa = working ? ConvertColor(working, a) : a;
    wb = working ? ConvertColor(working, b) : b;
}

}  // namespace

void TKColorDifference::GetDifferenceVector(TKVector& result, const TKVector& a, const TKVector& b) const {
    if (fMethod < 0 || (fMethod >= kTKDifferenceMethodCount && !RegisteredDifference(fMethod))) TKThrow(ArgErr);
    TKVector wa, wb;
    ToWorking(fMethod, GetWorkingType(), a, b, wa, wb);
    result = wa - wb;
}

double TKColorDifference::GetDifference(const TKVector& a, const TKVector& b) const {
    if (fMethod < 0) TKThrow(ArgErr);
    if (fMethod >= kTKDifferenceMethodCount) return GetRegisteredDifference(a, b);
    TKVector wa, wb;
    ToWorking(fMethod, GetWorkingType(), a, b, wa, wb);
    if (fMethod == kTKDeltaAuto || fMethod == kTKDeltaRaw || fMethod == kTKDeltaRGB) return Euclid(wa, wb);
    if (fMethod == kTKDeltaDensity) return Euclid(wa, wb) / std::sqrt(double(kTKSpectralChannels));
    if (fMethod == kTKDeltaMetamerism) return Metamerism(wa, wb);
    const double* x = wa.Values();
    const double* y = wb.Values();
    switch (fMethod) {
        case kTKDeltaE76: case kTKDeltaLCh: case kTKDeltaLuv: case kTKDeltaJCh: case kTKDeltaJab:
        case kTKDeltaXYZ: case kTKDeltaLcsh: case kTKDeltaLcs: return Distance3(x, y);
        case kTKDeltaE94: return DeltaE94(x, y);
        case kTKDeltaE2000: return DeltaE2000(x, y);
        case kTKDeltaCMC11: return DeltaECMC(x, y, 1.0, 1.0);
        case kTKDeltaCMC21: return DeltaECMC(x, y, 2.0, 1.0);
        // Spot inks vary in lightness with film thickness, so lightness counts half.
        case kTKDeltaSpot: return DeltaE2000(x, y, 2.0, 1.0, 1.0);
        case kTKDeltaEDIN99: return DistanceIn(x, y, LabToDIN99);
        case kTKDeltaEDIN99d:
            return DistanceIn(x, y, [](const double* c, double* out) { XYZToDIN99d(c, kTKWhiteD50, out); });
        case kTKDeltaE94Kuehni: {
            double p[3], q[3];
            XYZToLab(x, kTKWhiteD50, p);
            XYZToLab(y, kTKWhiteD50, q);
            return CIE94(p, q, LightnessWeight((p[0] + q[0]) / 2.0));
        }
        case kTKDeltaAB: return std::hypot(x[1] - y[1], x[2] - y[2]);
        case kTKDeltaLC: { const PolarDelta d = Polar(x, y); return std::hypot(d.dL, d.dC); }
        case kTKDeltaLh: { const PolarDelta d = Polar(x, y); return std::hypot(d.dL, d.dH); }
        case kTKDeltaL: return std::fabs(x[0] - y[0]);
        case kTKDeltaC: return std::fabs(Polar(x, y).dC);
        case kTKDeltaH: return std::fabs(Polar(x, y).dH);
        // Weights of lightness, chroma and hue in Lcs for the mapping each intent stands for:
        // out-of-gamut mapping gives chroma away first and hue last.
        case kTKDeltaOOGv1: return Weighted(Polar(x, y), 1.0, 0.25, 2.0);
        case kTKDeltaPerceptual: return Weighted(Polar(x, y), 1.0, 0.5, 1.0);
        case kTKDeltaColorimetric: return Weighted(Polar(x, y), 1.0, 1.0, 1.5);
        case kTKDeltaSaturation: return Weighted(Polar(x, y), 0.5, 1.0, 1.0);
        case kTKDeltaTest: {
            const PolarDelta d = Polar(x, y);
            return std::fmax(std::fabs(d.dL), std::fmax(std::fabs(d.dC), std::fabs(d.dH)));
        }
        case kTKDeltaLabWeighted: {
            const double dL = (x[0] - y[0]) / 2.0;
            return std::sqrt(dL * dL + (x[1] - y[1]) * (x[1] - y[1]) + (x[2] - y[2]) * (x[2] - y[2]));
        }
        case kTKDeltaSort: return DistanceIn(x, y, SortValues);
        case kTKDeltaISO20654: return DistanceIn(x, y, ISO20654Values);
        default: TKThrow(ArgErr);
    }
}

double TKColorDifference::GetRegisteredDifference(const TKVector& a, const TKVector& b) const {
    // Held for the call, so that the plug-in's code stays loaded even if it is unloaded meanwhile.
    TKRefPtr<TKModuleDifference> method = RegisteredDifference(fMethod);
    if (!method) TKThrowMsg(ArgErr, "no colour-difference method has this code");
    TKVector wa, wb;
    ToWorking(fMethod, method->WorkingType(), a, b, wa, wb);
    if (wa.GetDim() != wb.GetDim()) TKThrow(DimMismatch);
    return method->Difference(wa.Values(), wb.Values(), wa.GetDim());
}

void TKColorDifference::GetDifferenceVectors(TKMatrix& result, const TKMatrix& a, const TKMatrix& b) const {
    if (a.GetHeight() != b.GetHeight()) TKThrow(DimMismatch);
    TKMatrix out;
    for (int32_t r = 0; r < a.GetHeight(); ++r) {
        TKVector d;
        GetDifferenceVector(d, a.GetRow(r), b.GetRow(r));
        if (r == 0) out = TKMatrix(a.GetHeight(), d.GetDim(), d.GetType());
        out.SetRow(r, d);
    }
    result = out;
}

void TKColorDifference::GetDifferences(TKVector& result, const TKMatrix& a, const TKMatrix& b) const {
    if (a.GetHeight() != b.GetHeight()) TKThrow(DimMismatch);
    TKVector out(a.GetHeight());
    for (int32_t r = 0; r < a.GetHeight(); ++r) out[r] = GetDifference(a.GetRow(r), b.GetRow(r));
    result = out;
}
