// Uniform B-spline evaluation by de Boor's algorithm.
#include "numeric/TKBSpline.h"

#include <cmath>
#include <vector>

TKBSpline::TKBSpline(const TKMatrix& points, int32_t degree, bool closed) : fDegree(degree), fClosed(closed) {
    const int32_t n = points.GetWidth();
    if (degree < 1 || n < 1 || (closed ? n < degree : n <= degree) || degree > 64)
        TKThrowMsg(ArgErr, "B-spline degree does not fit the points");
    if (!closed) {
        fControl = points;
        return;
    }
    fControl = TKMatrix(points.GetHeight(), n + degree, points.GetType());
    for (int32_t r = 0; r < points.GetHeight(); ++r)
        for (int32_t c = 0; c < n + degree; ++c) fControl(r, c) = points(r, c % n);
}


namespace {
// Knot u_i of an open curve with `count` control points: degree+1 zeros, evenly spaced inner
// knots, degree+1 ones. A closed curve uses the plain integers i.
double Knot(int32_t i, int32_t count, int32_t degree, bool closed) {
    if (closed) return double(i);
    const int32_t inner = count - degree;  // spans of the parameter range
    if (i <= degree) return 0.0;
    if (i >= count) return 1.0;
    return double(i - degree) / double(inner);
}
}  // namespace

TKVector TKBSpline::Eval(double t) const {
    if (std::isnan(t)) TKThrowMsg(ArgErr, "B-spline parameter is NaN");
    t = t < 0.0 ? 0.0 : (t > 1.0 ? 1.0 : t);
    const int32_t p = fDegree;
    const int32_t count = fControl.GetWidth();
    const int32_t rows = fControl.GetHeight();
    // Map t to the knot range and find the span s with u_s <= x < u_{s+1}, p <= s < count.
    double x;
    int32_t s;
    if (fClosed) {
        x = double(p) + t * double(count - p);
        s = int32_t(std::floor(x));
    } else {
        x = t;
        s = p + int32_t(std::floor(t * double(count - p)));
    }
    if (s > count - 1) s = count - 1;
    if (s < p) s = p;

    TKVector result(rows, fControl.GetType());
    std::vector<double> d(size_t(p) + 1);
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t j = 0; j <= p; ++j) d[j] = fControl(r, j + s - p);
        for (int32_t level = 1; level <= p; ++level) {
            for (int32_t j = p; j >= level; --j) {
                const double lo = Knot(j + s - p, count, p, fClosed);
                const double hi = Knot(j + 1 + s - level, count, p, fClosed);
                const double alpha = hi > lo ? (x - lo) / (hi - lo) : 0.0;
                d[j] = (1.0 - alpha) * d[j - 1] + alpha * d[j];
            }
        }
        result[r] = d[p];
    }
    return result;
}
