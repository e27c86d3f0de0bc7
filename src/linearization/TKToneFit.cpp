// Monotonic regression, penalized smoothing and monotonic cubic interpolation of tone points.
#include "linearization/TKToneFit.h"

#include <algorithm>
#include <cmath>

#include "foundation/TKError.h"

std::vector<double> TKMakeNonDecreasing(const std::vector<double>& values) {
    // Blocks of pooled values: their mean and size. A new value that falls below the last
    // block's mean merges with it until the means rise again.
    std::vector<double> mean;
    std::vector<size_t> size;
    for (double v : values) {
        mean.push_back(v);
        size.push_back(1);
        while (mean.size() > 1 && mean[mean.size() - 2] > mean.back()) {
            const size_t a = size[size.size() - 2], b = size.back();
            const double merged = (mean[mean.size() - 2] * double(a) + mean.back() * double(b)) / double(a + b);
            mean.pop_back();
            size.pop_back();
            mean.back() = merged;
            size.back() = a + b;
        }
    }
    std::vector<double> result;
    result.reserve(values.size());
    for (size_t i = 0; i < mean.size(); ++i) result.insert(result.end(), size[i], mean[i]);
    return result;
}

std::vector<double> TKSmoothValues(const std::vector<double>& values, double smoothing, double weight) {
    const size_t n = values.size();
    if (n < 3 || smoothing <= 0.0) return values;
    // The normal equations (weight I + smoothing D'D) z = weight v are symmetric with two bands
    // beside the diagonal; D'D of second differences has the rows 1 -2 1 folded onto themselves.
    std::vector<double> d0(n, weight), d1(n, 0.0), d2(n, 0.0);
    for (size_t k = 0; k + 2 < n; ++k) {
        const double c[3] = {1.0, -2.0, 1.0};
        for (int a = 0; a < 3; ++a) {
            d0[k + a] += smoothing * c[a] * c[a];
            if (a < 2) d1[k + a] += smoothing * c[a] * c[a + 1];
        }
        d2[k] += smoothing * c[0] * c[2];
    }
    // Banded LDL' factorization: L has two sub-diagonals l1, l2; D is diag.
    std::vector<double> diag(n), l1(n, 0.0), l2(n, 0.0);
    for (size_t i = 0; i < n; ++i) {
        if (i >= 2) l2[i] = d2[i - 2] / diag[i - 2];
        if (i >= 1) l1[i] = (d1[i - 1] - (i >= 2 ? l2[i] * l1[i - 1] * diag[i - 2] : 0.0)) / diag[i - 1];
        diag[i] = d0[i] - (i >= 1 ? l1[i] * l1[i] * diag[i - 1] : 0.0) - (i >= 2 ? l2[i] * l2[i] * diag[i - 2] : 0.0);
    }
    std::vector<double> z(n);
    for (size_t i = 0; i < n; ++i)
        z[i] = weight * values[i] - (i >= 1 ? l1[i] * z[i - 1] : 0.0) - (i >= 2 ? l2[i] * z[i - 2] : 0.0);
    for (size_t i = 0; i < n; ++i) z[i] /= diag[i];
    for (size_t i = n; i-- > 0;)
        z[i] -= (i + 1 < n ? l1[i + 1] * z[i + 1] : 0.0) + (i + 2 < n ? l2[i + 2] * z[i + 2] : 0.0);
    return z;
}

void TKTonePoints::PrepareForFit() {
    if (x.size() != y.size()) TKThrow(DimMismatch);
    std::vector<double> px, py;
    for (size_t i = 0; i < x.size();) {
        size_t j = i;
        double sum = 0.0;
        while (j < x.size() && x[j] == x[i]) sum += y[j++];
        px.push_back(x[i]);
        py.push_back(sum / double(j - i));
        i = j;
    }
    x = std::move(px);
    y = TKMakeNonDecreasing(py);
}

double TKTonePoints::Eval(double u) const {
    const size_t n = x.size();
    if (n == 0) TKThrow(ArgErr);
    if (n == 1 || !(u > x.front())) return y.front();
    if (u >= x.back()) return y.back();
    const size_t k = size_t(std::upper_bound(x.begin(), x.end(), u) - x.begin()) - 1;
    // Secant slopes of the neighbouring intervals give the tangents; the Fritsch-Carlson rule
    // (harmonic mean, zero at a flat or turning interval) keeps the cubic monotonic.
    auto secant = [&](size_t i) { return (y[i + 1] - y[i]) / (x[i + 1] - x[i]); };
    // At the ends, the three-point formula, kept from changing sign and below three secants:
    // a tone curve that starts flat (or steep) keeps that shape in its first step.
    auto endTangent = [&](size_t near, size_t far, double h0, double h1) {
        const double a = secant(near), b = secant(far);
        if (n < 3) return a;
        const double d = ((2.0 * h0 + h1) * a - h0 * b) / (h0 + h1);
        if (d * a <= 0.0) return 0.0;
        if (a * b <= 0.0 && std::fabs(d) > 3.0 * std::fabs(a)) return 3.0 * a;
        return d;
    };
    auto tangent = [&](size_t i) {
        if (i == 0) return endTangent(0, 1, x[1] - x[0], n > 2 ? x[2] - x[1] : 0.0);
        if (i == n - 1) return endTangent(n - 2, n - 3, x[n - 1] - x[n - 2], n > 2 ? x[n - 2] - x[n - 3] : 0.0);
        const double a = secant(i - 1), b = secant(i);
        if (a <= 0.0 || b <= 0.0) return 0.0;
        const double wa = 2.0 * (x[i + 1] - x[i]) + (x[i] - x[i - 1]);
        const double wb = (x[i + 1] - x[i]) + 2.0 * (x[i] - x[i - 1]);
        return (wa + wb) / (wa / a + wb / b);
    };
    const double h = x[k + 1] - x[k];
    const double s = secant(k);
    // End tangents are capped at three times the secant, the monotonicity bound of the cubic.
    const double m0 = std::min(tangent(k), 3.0 * s), m1 = std::min(tangent(k + 1), 3.0 * s);
    const double t = (u - x[k]) / h, t2 = t * t, t3 = t2 * t;
    return (2 * t3 - 3 * t2 + 1) * y[k] + (t3 - 2 * t2 + t) * h * m0 + (-2 * t3 + 3 * t2) * y[k + 1] +
           (t3 - t2) * h * m1;
}

TKVector TKTonePoints::Sample(int32_t count) const {
    if (count < 2) TKThrow(ArgErr);
    TKVector result(count);
    for (int32_t k = 0; k < count; ++k) result[k] = Eval(double(k) / double(count - 1));
    return result;
}
