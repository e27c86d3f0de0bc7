// Shepard interpolation with least-squares gradients.
#include "numeric/TKScatteredInterpolation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/TKError.h"

TKScatteredInterpolation::TKScatteredInterpolation(const TKMatrix& points, const TKMatrix& values, double exponent)
    : fPoints(points), fValues(values), fExponent(exponent) {
    if (points.GetHeight() < 1 || points.GetHeight() != values.GetHeight() || points.GetWidth() < 1)
        TKThrowMsg(DimMismatch, "points and values differ in rows");
    if (!(exponent > 0.0) || !std::isfinite(exponent)) TKThrowMsg(ArgErr, "exponent must be above 0");
    FitGradients();
}

void TKScatteredInterpolation::FitGradients() {
    const int32_t n = fPoints.GetHeight(), d = fPoints.GetWidth(), m = fValues.GetWidth();
    // Enough neighbours to fix a gradient with some room to spare.
    const int32_t wanted = std::min(n - 1, 2 * d + 2);
    fGradients.assign(size_t(n), TKMatrix(m, d));
    if (wanted < d) return;  // too few points: flat nodal functions
    std::vector<std::pair<double, int32_t>> near(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = 0; j < n; ++j) {
            double s = 0.0;
            for (int32_t c = 0; c < d; ++c) s += (fPoints(j, c) - fPoints(i, c)) * (fPoints(j, c) - fPoints(i, c));
            near[size_t(j)] = {j == i ? HUGE_VAL : s, j};
        }
        std::partial_sort(near.begin(), near.begin() + wanted, near.end());
        // Weighted normal equations: nearer neighbours count more.
        TKMatrix normal(d, d), right(d, m);
        for (int32_t k = 0; k < wanted; ++k) {
            const int32_t j = near[size_t(k)].second;
            const double w = 1.0 / std::max(near[size_t(k)].first, 1e-300);
            for (int32_t r = 0; r < d; ++r) {
                const double dr = fPoints(j, r) - fPoints(i, r);
                for (int32_t c = 0; c < d; ++c) normal(r, c) += w * dr * (fPoints(j, c) - fPoints(i, c));
                for (int32_t c = 0; c < m; ++c) right(r, c) += w * dr * (fValues(j, c) - fValues(i, c));
            }
        }
        double scale = 0.0;
        for (int32_t r = 0; r < d; ++r) scale = std::max(scale, std::fabs(normal(r, r)));
        if (!(scale > 0.0) || std::fabs(normal.Determinant()) < 1e-12 * std::pow(scale, d)) continue;
        const TKMatrix inverse = normal.Inverse();
        TKMatrix& gradient = fGradients[size_t(i)];
        for (int32_t v = 0; v < m; ++v)
            for (int32_t c = 0; c < d; ++c) {
                double g = 0.0;
                for (int32_t r = 0; r < d; ++r) g += inverse(c, r) * right(r, v);
                gradient(v, c) = g;
            }
    }
}

TKVector TKScatteredInterpolation::Evaluate(const TKVector& x) const {
    const int32_t n = fPoints.GetHeight(), d = fPoints.GetWidth(), m = fValues.GetWidth();
    if (x.GetDim() != d) TKThrowMsg(DimMismatch, "location of another dimension");
    std::vector<double> distance(static_cast<size_t>(n));
    double nearest = HUGE_VAL;
    for (int32_t i = 0; i < n; ++i) {
        double s = 0.0;
        for (int32_t c = 0; c < d; ++c) s += (x[c] - fPoints(i, c)) * (x[c] - fPoints(i, c));
        distance[size_t(i)] = std::sqrt(s);
        nearest = std::min(nearest, distance[size_t(i)]);
    }
    TKVector result(m);
    double total = 0.0;
    for (int32_t i = 0; i < n; ++i) {
        // Weights relative to the nearest point, so that a high exponent cannot overflow.
        const double w = nearest == 0.0 ? (distance[size_t(i)] == 0.0 ? 1.0 : 0.0)
                                        : std::pow(nearest / distance[size_t(i)], fExponent);
        if (w < 1e-300) continue;
        total += w;
        for (int32_t v = 0; v < m; ++v) {
            double forecast = fValues(i, v);
            for (int32_t c = 0; c < d; ++c) forecast += fGradients[size_t(i)](v, c) * (x[c] - fPoints(i, c));
            result[v] += w * forecast;
        }
    }
    result.Multiply(1.0 / total);
    return result;
}
