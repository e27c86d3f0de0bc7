// Scalar building blocks of the one-dimensional curves.
#include "numeric/TKCurveLinearizationMath.h"

#include <cmath>

#include "foundation/TKError.h"

double TKCurveTwoPointRule(double a0, double b0, double a1, double b1, double x) {
    if (!(std::fabs(a1 - a0) > 1e-08)) return (b0 + b1) * 0.5;
    return (x - a0) / (a1 - a0) * (b1 - b0) + b0;
}

double TKCurveTableLookup(const double* s, int64_t n, double x) {
    if (n < 1) return x;
    if (n == 1) return s[0];
    // Written as "not above" / "not below" so that NaN lands on an end and never on an index.
    if (!(x > 0.0)) return s[0];
    if (!(x < 1.0)) return s[n - 1];
    double p = x * double(n - 1);
    double whole = std::floor(p);
    int64_t i = int64_t(whole);
    // Unreachable for x in (0, 1) unless rounding of x*(n-1) reaches the end; never read past it.
    if (i < 0 || i + 1 >= n) TKThrow(IndexError);
    double f = p - whole;
    return (1.0 - f) * s[i] + f * s[i + 1];
}

double TKCurveTableInverse(const double* s, int64_t n, double y) {
    if (n < 1) return y;
    if (n == 1) return s[0];
    const int64_t last = n - 1;
    const bool rising = s[last] > s[0];
    if (rising) {
        if (!(y > s[0])) return 0.0;
        if (!(y < s[last])) return 1.0;
    } else {
        if (!(y < s[0])) return 0.0;
        if (!(y > s[last])) return 1.0;
    }
    int64_t lo = 0;
    int64_t hi = last;
    while (lo + 1 < hi) {
        int64_t mid = (lo + hi) / 2;
        bool goesLow = rising ? (y < s[mid]) : !(s[mid] > y);
        if (goesLow)
            hi = mid;
        else
            lo = mid;
    }
    const double scale = double(last);
    return TKCurveTwoPointRule(s[lo], double(lo) / scale, s[hi], double(hi) / scale, y);
}

// CIE 1976: t = (L+16)/116 with the linear toe below t = 6/29 (0.2068...), whose slope
// 3*(6/29)^2 = 0.128418... and offset 16/116 = 0.137931... join the cube continuously.
double TKCurveLStarToY(double l) {
    const double t = (l * 100.0 + 16.0) / 116.0;
    double y;
    if (t > 0.20689655172413793)
        y = t * t * t * 100.0;
    else
        y = (t - 0.13793103448275862) * 0.12841854934601665 * 100.0;
    return y * 0.01;
}

double TKCurveYToLStar(double y) {
    // (6/29)^3 = 0.008856...; below it the slope 841/108 = 7.787... continues the cube root.
    double l;
    if (y > 0.008856451679)
        l = std::cbrt(y) * 116.0 - 16.0;
    else
        l = (y * 7.787037037037037 + 0.13793103448275862) * 116.0 - 16.0;
    return l * 0.01;
}

double TKCurveSRGBDecode(double v) {
    if (v >= 0.03928) return std::pow((v + 0.055) / 1.055, 2.4);
    return v / 12.92;
}

double TKCurveSRGBEncode(double v) {
    if (v >= 0.00304) return 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
    return v * 12.92;
}

double TKCurveGamma(double g, double x) {
    if (g == 1.0) return x;
    if (g == 2.0) return std::fabs(x) * x;
    if (x >= 0.0) return std::pow(x, g);
    return -std::pow(-x, g);
}

double TKCurveGammaInverse(double g, double y) {
    if (g == 1.0) return y;
    double magnitude = g == 2.0 ? std::sqrt(std::fabs(y)) : std::pow(std::fabs(y), 1.0 / g);
    return y < 0.0 ? -magnitude : magnitude;
}

int TKCurveParametricParamCount(int functionType) {
    static const int kCounts[] = {1, 3, 4, 5, 7};
    if (functionType < 0 || functionType > 4) return -1;
    return kCounts[functionType];
}

namespace {
// pow on a base that ICC parameters keep non-negative in the curve's branch; a negative base
// can only come from inconsistent parameters and is read as 0.
double ParametricPower(double base, double g) { return base > 0.0 ? std::pow(base, g) : std::pow(0.0, g); }
}  // namespace

double TKCurveParametric(int functionType, const double* p, double x) {
    const double g = p[0];
    switch (functionType) {
        case 0:
            return ParametricPower(x, g);
        case 1: {  // Y = (aX+b)^g for X >= -b/a, else 0 (a > 0: the same as aX+b >= 0)
            const double base = p[1] * x + p[2];
            return base >= 0.0 ? ParametricPower(base, g) : 0.0;
        }
        case 2: {  // Y = (aX+b)^g + c for X >= -b/a, else c
            const double base = p[1] * x + p[2];
            return base >= 0.0 ? ParametricPower(base, g) + p[3] : p[3];
        }
        case 3:  // Y = (aX+b)^g for X >= d, else cX
            return x >= p[4] ? ParametricPower(p[1] * x + p[2], g) : p[3] * x;
        case 4:  // Y = (aX+b)^g + e for X >= d, else cX + f
            return x >= p[4] ? ParametricPower(p[1] * x + p[2], g) + p[5] : p[3] * x + p[6];
        default:
            TKThrow(OutOfRange);
    }
}
