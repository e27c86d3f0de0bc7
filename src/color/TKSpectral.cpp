// Spectral data on the 380..730 nm grid: observers, illuminants, daylight and black body,
// tristimulus weights, status densities and the decomposition of XYZ into a spectrum.
#include "color/TKSpectral.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "color/TKSpectralTables.h"
#include "foundation/TKError.h"

namespace {

constexpr int kN = kTKSpectralChannels;
constexpr int k560 = (560 - kTKSpectralStartNM) / kTKSpectralStepNM;
constexpr int k400 = (400 - kTKSpectralStartNM) / kTKSpectralStepNM;

TKVector Emission(const double* values) {
    TKVector v(kN, int32_t(TKEmisSpace));
    for (int i = 0; i < kN; ++i) v[i] = values[i];
    return v;
}

void ScaleTo100At560(TKVector& v) {
    const double at560 = v[k560];
    if (at560 != 0.0) v.Multiply(100.0 / at560);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

TKMatrix GetObserverMatrix(int32_t degrees) {
    const double(*table)[kN] = degrees == 2 ? kTKObserver2 : degrees == 10 ? kTKObserver10 : nullptr;
    if (!table) TKThrow(ArgErr);
    TKMatrix m(3, kN);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < kN; ++c) m(r, c) = table[r][c];
    return m;
}

void GetDaylightChromaticity(double kelvin, double& x, double& y) {
    if (!(kelvin >= 4000.0 && kelvin <= 25000.0)) TKThrow(ArgErr);
    const double t = kelvin, t2 = t * t, t3 = t2 * t;
    x = t <= 7000.0 ? -4.6070e9 / t3 + 2.9678e6 / t2 + 0.09911e3 / t + 0.244063
                    : -2.0064e9 / t3 + 1.9018e6 / t2 + 0.24748e3 / t + 0.237040;
    y = -3.0 * x * x + 2.870 * x - 0.275;
}

double GetNominalDaylightKelvin(int32_t hundreds) { return hundreds * 100.0 * 1.4388 / 1.438; }

TKVector GetDaylightSpectrum(double kelvin, bool withUV) {
    double x, y;
    GetDaylightChromaticity(kelvin, x, y);
    const double m = 0.0241 + 0.2562 * x - 0.7341 * y;
    // The CIE rounds the two factors to three decimals before it tabulates daylight; doing
    // the same reproduces the published D50, D55 and D65 tables.
    const double m1 = std::round((-1.3515 - 1.7703 * x + 5.9114 * y) / m * 1000.0) / 1000.0;
    const double m2 = std::round((0.0300 - 31.4424 * x + 30.0717 * y) / m * 1000.0) / 1000.0;
    TKVector v(kN, int32_t(TKEmisSpace));
    for (int i = 0; i < kN; ++i)
        v[i] = kTKDaylightComponents[0][i] + m1 * kTKDaylightComponents[1][i] + m2 * kTKDaylightComponents[2][i];
    if (!withUV)
        for (int i = 0; i < k400; ++i) v[i] = 0.0;
    ScaleTo100At560(v);
    return v;
}

TKVector GetBlackBodySpectrum(double kelvin) {
    if (!(kelvin > 0.0)) TKThrow(ArgErr);
    constexpr double c2 = 1.4388e-2;  // second radiation constant, m K
    TKVector v(kN, int32_t(TKEmisSpace));
    for (int i = 0; i < kN; ++i) {
        const double lambda = (kTKSpectralStartNM + kTKSpectralStepNM * i) * 1e-9;
        // c1 cancels in the scaling to 560 nm.
        v[i] = 1.0 / (std::pow(lambda, 5.0) * std::expm1(c2 / (lambda * kelvin)));
    }
    ScaleTo100At560(v);
    return v;
}

TKVector GetIlluminantSpectrum(const char* name) {
    if (!name) return TKVector();
    if (!std::strcmp(name, "Equal") || !std::strcmp(name, "Uniform")) name = "E";
    for (const TKIlluminantTable& table : kTKIlluminantTables)
        if (!std::strcmp(name, table.name)) return Emission(table.values);
    // "D" and two digits: daylight of that many hundreds of kelvin; "UV" behind the digits
    // keeps the ultraviolet part.
    const size_t length = std::strlen(name);
    if (name[0] == 'D' && length > 2 && IsDigit(name[1]) && IsDigit(name[2])) {
        const bool uv = !std::strcmp(name + 3, "UV");
        if (length == 3 || uv) {
            const int hundreds = (name[1] - '0') * 10 + (name[2] - '0');
            const double kelvin = GetNominalDaylightKelvin(hundreds);
            if (kelvin >= 4000.0 && kelvin <= 25000.0) return GetDaylightSpectrum(kelvin, uv);
        }
    }
    return TKVector();
}

TKMatrix GetTristimulusWeights(const TKVector& illuminant, const TKMatrix& observer) {
    if (illuminant.GetDim() != kN || observer.GetHeight() != 3 || observer.GetWidth() != kN) TKThrow(DimMismatch);
    double ySum = 0.0;
    for (int i = 0; i < kN; ++i) ySum += illuminant[i] * observer(1, i);
    if (!(ySum > 0.0)) TKThrow(ArgErr);
    TKMatrix w(3, kN);
    for (int r = 0; r < 3; ++r)
        for (int i = 0; i < kN; ++i) w(r, i) = 100.0 * illuminant[i] * observer(r, i) / ySum;
    return w;
}

void SpectrumToXYZ(const TKVector& spectrum, const TKVector& illuminant, const TKMatrix& observer, double xyz[3]) {
    if (spectrum.GetDim() != kN || illuminant.GetDim() != kN || observer.GetHeight() != 3 ||
        observer.GetWidth() != kN)
        TKThrow(DimMismatch);
    const uint32_t type = uint32_t(spectrum.GetType());
    double ySum = 0.0;
    for (int i = 0; i < kN; ++i) ySum += illuminant[i] * observer(1, i);
    if (!(ySum > 0.0)) TKThrow(ArgErr);
    xyz[0] = xyz[1] = xyz[2] = 0.0;
    for (int i = 0; i < kN; ++i) {
        // Light of its own is weighed by the observer alone; a sample is seen in the illuminant.
        const double power = type == TKEmisSpace   ? spectrum[i]
                             : type == TKDensSpace ? illuminant[i] * std::pow(10.0, -spectrum[i])
                                                   : illuminant[i] * spectrum[i];
        for (int c = 0; c < 3; ++c) xyz[c] += observer(c, i) * power;
    }
    for (int c = 0; c < 3; ++c) xyz[c] *= 100.0 / ySum;
}

TKMatrix GetDecomposition(const TKMatrix& weights) {
    if (weights.GetWidth() != kN || weights.GetHeight() != 3) TKThrow(DimMismatch);
    // Minimise |D r|^2 + eps |r|^2 subject to W r = t, D the second difference: with
    // Q = D'D + eps I the solution is r = Q^-1 W' (W Q^-1 W')^-1 t. The small eps makes Q
    // invertible (D'D alone is blind to straight lines) without bending the result.
    TKMatrix q(kN, kN);
    for (int k = 1; k + 1 < kN; ++k) {
        const int idx[3] = {k - 1, k, k + 1};
        const double coef[3] = {1.0, -2.0, 1.0};
        for (int a = 0; a < 3; ++a)
            for (int b = 0; b < 3; ++b) q(idx[a], idx[b]) += coef[a] * coef[b];
    }
    for (int i = 0; i < kN; ++i) q(i, i) += 1e-6;
    const TKMatrix qInvWt = q.Inverse() * weights.Transpose();
    return qInvWt * (weights * qInvWt).Inverse();
}

TKVector XYZToSpectrum(const double xyz[3], const TKMatrix& decomposition, uint32_t type) {
    if (decomposition.GetHeight() != kN || decomposition.GetWidth() != 3) TKThrow(DimMismatch);
    TKVector r(kN, int32_t(type));
    for (int i = 0; i < kN; ++i)
        r[i] = decomposition(i, 0) * xyz[0] + decomposition(i, 1) * xyz[1] + decomposition(i, 2) * xyz[2];
    if (type == TKDensSpace) {
        // A density needs a positive reflectance; 4 density units is the floor a densitometer reads.
        for (int i = 0; i < kN; ++i) r[i] = -std::log10(r[i] > 1e-4 ? r[i] : 1e-4);
    }
    return r;
}

double GetStatusDensity(const TKVector& spectrum, const char* status) {
    if (!status || (std::strcmp(status, "Visual") && std::strcmp(status, "V"))) TKThrow(NotFound);
    if (spectrum.GetDim() != kN) TKThrow(DimMismatch);
    const TKVector a = GetIlluminantSpectrum("A");
    const bool density = uint32_t(spectrum.GetType()) == TKDensSpace;
    double sum = 0.0, weighted = 0.0;
    for (int i = 0; i < kN; ++i) {
        const double w = a[i] * kTKObserver2[1][i];
        const double r = density ? std::pow(10.0, -spectrum[i]) : spectrum[i];
        sum += w;
        weighted += w * r;
    }
    return -std::log10(weighted > 1e-10 * sum ? weighted / sum : 1e-10);
}
