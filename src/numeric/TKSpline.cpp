// Evaluation of the polygon, square and smooth splines.
#include "numeric/TKSpline.h"

#include <cmath>

void TKSplinePoints::Locate(double t, int32_t& segment, double& fraction) const {
    const double p = t * double(Count() - 1);
    double whole = std::floor(p);
    // Rounding of t*(n-1) just below 1 can reach the last point; stay in the last segment.
    if (whole > double(Count() - 2)) whole = double(Count() - 2);
    if (whole < 0.0) whole = 0.0;
    segment = int32_t(whole);
    fraction = p - whole;
}

namespace {
// The end points and degenerate point sets that every spline answers alike: no points give an
// empty vector, one point or t not above 0 the first, t not below 1 the last. NaN counts as
// "not above 0". Returns false when the caller has to interpolate.
bool EndValue(const TKSplinePoints& points, double t, TKVector& result) {
    const int32_t n = points.Count();
    if (n == 0 || points.Dim() == 0) {
        result = TKVector();
        return true;
    }
    if (n == 1 || !(t > 0.0)) {
        result = points.Point(0);
        return true;
    }
    if (!(t < 1.0)) {
        result = points.Point(n - 1);
        return true;
    }
    return false;
}

// The foot of the perpendicular from p on the line through a and b; a for a line of length 0.
TKVector Foot(const TKVector& p, const TKVector& a, const TKVector& b) {
    TKVector ab = b - a;
    const double length2 = ab.SqrNorm();
    if (length2 == 0.0) return a;
    return a + ab * ((p - a).Dot(ab) / length2);
}

// Answers the end cases alike for every spline; otherwise hands the segment i around t, the
// fraction f of t inside it and the segment's two end points to `inner`.
template <class Inner>
TKVector Interpolate(const TKSplinePoints& points, double t, Inner inner) {
    TKVector result;
    if (EndValue(points, t, result)) return result;
    int32_t i;
    double f;
    points.Locate(t, i, f);
    return inner(i, f, points.Point(i), points.Point(i + 1));
}
}  // namespace

TKVector TKLinearSpline::Eval(double t) const {
    return Interpolate(fPoints, t, [](int32_t, double f, const TKVector& pi, const TKVector& pj) {
        return pi * (1.0 - f) + pj * f;
    });
}

TKVector TKSquareSpline::Eval(double t) const {
    return Interpolate(fPoints, t, [this](int32_t i, double f, const TKVector& pi, const TKVector& pj) {
        TKVector result = pi + (pj - pi) * f;
        // Both neighbour terms carry the same weight f^2 - f (not mirrored for the far side).
        const double w = f * f - f;
        if (i > 0) result += (fPoints.Point(i - 1) - pi) * w;
        if (i + 2 < fPoints.Count()) result += (fPoints.Point(i + 2) - pj) * w;
        return result;
    });
}

TKVector TKSmoothSpline::Eval(double t) const {
    return Interpolate(fPoints, t, [this](int32_t i, double f, const TKVector& pi, const TKVector& pj) {
        TKVector result = pi + (pj - pi) * f;
        if (i > 0) {
            const TKVector q = Foot(pi, fPoints.Point(i - 1), pj);
            result += (pi - q) * (f * (1.0 - f) * (1.0 - f));
        }
        if (i + 2 < fPoints.Count()) {
            const double g = 1.0 - f;
            const TKVector q = Foot(pj, fPoints.Point(i + 2), pi);
            result += (pj - q) * (g * (1.0 - g) * (1.0 - g));
        }
        return result;
    });
}
