// Real roots of quadratics (in the cancellation-free form) and cubics (by the trigonometric
// and Cardano forms on the depressed cubic).
#include "numeric/TKPolynomial.h"

#include <algorithm>
#include <cmath>

namespace {

// Relative size below which a leading coefficient counts as 0.
constexpr double kNegligible = 1e-14;

double Scale(double a, double b, double c, double d = 0.0) {
    return std::max({std::fabs(a), std::fabs(b), std::fabs(c), std::fabs(d)});
}

double PolishCubicRoot(double a, double b, double c, double d, double x) {
    for (int i = 0; i < 4; ++i) {
        const double f = ((a * x + b) * x + c) * x + d;
        const double df = (3.0 * a * x + 2.0 * b) * x + c;
        if (df == 0.0) break;
        const double next = x - f / df;
        if (!std::isfinite(next)) break;
        x = next;
    }
    return x;
}

}  // namespace

int32_t TKSolveQuadratic(double a, double b, double c, double roots[2]) {
    const double scale = Scale(a, b, c);
    if (scale == 0.0) return 0;
    if (std::fabs(a) <= kNegligible * scale) {
        if (b == 0.0) return 0;
        roots[0] = -c / b;
        return 1;
    }
    const double discriminant = b * b - 4.0 * a * c;
    if (discriminant < 0.0) return 0;
    if (discriminant == 0.0) {
        roots[0] = -b / (2.0 * a);
        return 1;
    }
    // q has the sign of b, so b + sign(b) * sqrt never cancels.
    const double q = -0.5 * (b + std::copysign(std::sqrt(discriminant), b));
    double r0 = q / a, r1 = q != 0.0 ? c / q : -r0;
    if (r0 > r1) std::swap(r0, r1);
    roots[0] = r0;
    roots[1] = r1;
    return 2;
}

int32_t TKSolveCubic(double a, double b, double c, double d, double roots[3]) {
    const double scale = Scale(a, b, c, d);
    if (scale == 0.0) return 0;
    if (std::fabs(a) <= kNegligible * scale) return TKSolveQuadratic(b, c, d, roots);
    // x = t - b/(3a) gives t^3 + p t + q = 0.
    const double B = b / a, C = c / a, D = d / a;
    const double shift = B / 3.0;
    const double p = C - B * B / 3.0;
    const double q = 2.0 * B * B * B / 27.0 - B * C / 3.0 + D;
    const double disc = q * q / 4.0 + p * p * p / 27.0;
    int32_t count = 0;
    if (std::fabs(p) < 1e-300 && std::fabs(q) < 1e-300) {
        roots[count++] = -shift;
    } else if (disc > 0.0) {
        const double s = std::sqrt(disc);
        roots[count++] = std::cbrt(-q / 2.0 + s) + std::cbrt(-q / 2.0 - s) - shift;
    } else if (p < 0.0) {
        const double m = 2.0 * std::sqrt(-p / 3.0);
        const double cosine = std::clamp(3.0 * q / (p * m), -1.0, 1.0);
        const double theta = std::acos(cosine) / 3.0;
        for (int k = 0; k < 3; ++k) roots[count++] = m * std::cos(theta - 2.0 * M_PI * k / 3.0) - shift;
    } else {
        roots[count++] = -shift;
    }
    for (int32_t i = 0; i < count; ++i) roots[i] = PolishCubicRoot(a, b, c, d, roots[i]);
    std::sort(roots, roots + count);
    // Double roots of the trigonometric form come out as near twins.
    int32_t distinct = 0;
    for (int32_t i = 0; i < count; ++i)
        if (distinct == 0 || std::fabs(roots[i] - roots[distinct - 1]) > 1e-9 * std::max(1.0, std::fabs(roots[i])))
            roots[distinct++] = roots[i];
    return distinct;
}
