// Building and evaluating the piecewise cubic Bezier curve.
#include "numeric/TKBezierSpline.h"

#include <cmath>

namespace {
// Sweeps of the interpolating adjustment. Each sweep is a Gauss-Seidel step on a diagonally
// dominant system (neighbour weights 1/4), so ordinary data settles in a few dozen sweeps.
constexpr int kMaxSweeps = 10000;
}  // namespace

TKBezierSpline::TKBezierSpline(const TKMatrix& points) { Build(points); }

TKBezierSpline::TKBezierSpline(const TKMatrix& points, double limit) {
    if (!(limit >= kMinLimit)) TKThrowMsg(ArgErr, "Bezier limit too small");
    Build(points);
    DrawThrough(points, limit);
}


void TKBezierSpline::Build(const TKMatrix& points) {
    const int32_t m = points.GetWidth() - 1;
    if (m < 2) TKThrowMsg(ArgErr, "a Bezier spline needs at least two segments");
    const int32_t rows = points.GetHeight();
    fSegments = m;
    fControl = TKMatrix(rows, 3 * m + 1, points.GetType());
    for (int32_t r = 0; r < rows; ++r) {
        const double* p = points.Row(r);
        double* c = fControl.MutableValues() + int64_t(r) * fControl.GetWidth();
        // The Bezier form of the uniform cubic B-spline whose control polygon is the points:
        // segment handles at the thirds of each side, knots at (P[j-1] + 4P[j] + P[j+1]) / 6.
        for (int32_t j = 0; j < m; ++j) {
            c[3 * j + 1] = (2.0 * p[j] + p[j + 1]) / 3.0;
            c[3 * j + 2] = (p[j] + 2.0 * p[j + 1]) / 3.0;
        }
        for (int32_t j = 1; j < m; ++j) c[3 * j] = (p[j - 1] + 4.0 * p[j] + p[j + 1]) / 6.0;
        c[0] = p[0];
        c[3 * m] = p[m];
    }
}

void TKBezierSpline::DrawThrough(const TKMatrix& points, double limit) {
    const int32_t m = fSegments;
    const int32_t rows = points.GetHeight();
    const int32_t width = fControl.GetWidth();
    const double limit2 = limit * limit;
    for (int sweep = 0; sweep < kMaxSweeps; ++sweep) {
        double* control = fControl.MutableValues();
        for (int32_t r = 0; r < rows; ++r) {
            const double* p = points.Row(r);
            double* c = control + int64_t(r) * width;
            for (int32_t k = 3; k <= 3 * m - 3; k += 3) {
                // Move the knot onto its point and carry its neighbourhood along, fading out.
                const double e = p[k / 3] - c[k];
                if (k != 3) c[k - 3] += e / 4.0;
                c[k - 2] += e / 2.0;
                c[k - 1] += e;
                c[k] += e;
                c[k + 1] += e;
                c[k + 2] += e / 2.0;
                if (k != 3 * m - 3) c[k + 3] += e / 4.0;
            }
        }
        bool settled = true;
        for (int32_t k = 3; k <= 3 * m - 3 && settled; k += 3) {
            double distance2 = 0.0;
            for (int32_t r = 0; r < rows; ++r) {
                const double d = points(r, k / 3) - fControl(r, k);
                distance2 += d * d;
            }
            settled = distance2 <= limit2;
        }
        if (settled) return;
    }
    TKThrowMsg(ArgErr, "Bezier points do not settle");
}

TKVector TKBezierSpline::Eval(double t) const {
    if (fSegments < 2 || !(t >= 0.0 && t <= 1.0)) TKThrowMsg(ArgErr, "Bezier parameter outside 0..1");
    const int32_t m = fSegments;
    int32_t k = 3 * int32_t(std::floor(t * m));
    if (k >= 3 * m) k -= 3;
    const double u = t * m - double(k / 3);
    const double v = 1.0 - u;
    const int32_t rows = fControl.GetHeight();
    TKVector result(rows, fControl.GetType());
    for (int32_t r = 0; r < rows; ++r) {
        const double* c = fControl.Row(r);
        result[r] = (c[k + 2] * 3.0 * v + c[k + 3] * u) * u * u + (c[k + 1] * 3.0 * u + c[k] * v) * v * v;
    }
    return result;
}
