// TKCurveLinearization: tables built from measured points (gamma, bulge, linear and spline
// fits), from a trafo's tone along a line, and from the ICC parametric functions.
#include <algorithm>
#include <cmath>
#include <vector>

#include "numeric/TKBezierSpline.h"
#include "numeric/TKCurveLinearization.h"
#include "numeric/TKCurveLinearizationMath.h"
#include "numeric/TKSpline.h"
#include "numeric/TKTrafo.h"

namespace {
// The Bezier of spline type 2 is drawn through the points to this distance.
constexpr double kBezierThroughLimit = 1e-05;
// Samples of a trafo's tone curve when the caller asks for fewer than 2.
constexpr int32_t kDefaultTrafoSamples = 256;
// A measured value of 0 below the maximum has no finite local exponent; it is read as this
// fraction of the maximum, which keeps every exponent finite and the table free of NaN.
constexpr double kSmallestRatio = 1e-10;

double Clip01(double v) { return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0; }  // NaN gives 0

void CheckFinite(const TKVector& v) {
    for (int32_t i = 0; i < v.GetDim(); ++i)
        if (!std::isfinite(v[i])) TKThrowMsg(ArgErr, "curve points must be finite");
}

// The measured points of a fit: x and y of one length, all finite.
void CheckPoints(const TKVector& x, const TKVector& y) {
    if (x.GetDim() != y.GetDim()) TKThrowMsg(DimMismatch, "x and y of a fit differ in length");
    CheckFinite(x);
    CheckFinite(y);
}

// Checked before any buffer of `count` entries is allocated.
void CheckCount(int32_t count) {
    if (count < 2) TKThrowMsg(ArgErr, "a table needs at least 2 samples");
    if (count > TKCurveLinearization::kMaxSamples) TKThrowMsg(ArgErr, "too many curve samples");
}

// Checks the points and table size of a gamma or bulge fit; false when fewer than three points
// leave nothing to fit between the ends, and the caller takes the points as they are.
bool Fittable(const TKVector& x, const TKVector& y, int32_t count) {
    CheckPoints(x, y);
    if (y.GetDim() < 3) return false;
    CheckCount(count);
    return true;
}

// A per-point quantity q(i) on the points strictly inside 0 < x < 1, where x^e and x - x^2
// carry information, extended flat to the ends: i0 is the first x above 0, i1 the last x below 1.
// ArgErr if no point lies inside.
template <class Q>
TKVector InnerProfile(const TKVector& x, Q q) {
    const int32_t n = x.GetDim();
    int32_t i0 = 0;
    while (i0 < n && !(x[i0] > 0.0)) ++i0;
    int32_t i1 = n - 1;
    while (i1 >= 0 && !(x[i1] < 1.0)) --i1;
    if (i1 < i0) TKThrowMsg(ArgErr, "no fit point lies between 0 and 1");
    TKVector e(n);
    for (int32_t i = i0; i <= i1; ++i) e[i] = q(i);
    for (int32_t i = 0; i < i0; ++i) e[i] = e[i0];
    for (int32_t i = i1 + 1; i < n; ++i) e[i] = e[i1];
    return e;
}

// Where on the measured x axis the table position t lies, as a position 0..1 along the points.
double PointPosition(const TKVector& x, double t) { return TKCurveTableInverse(x.Values(), x.GetDim(), t); }

double ReadAt(const TKVector& v, double position) { return TKCurveTableLookup(v.Values(), v.GetDim(), position); }

// Rescales the inner entries of y so that its peak becomes `target`, stretching each side of
// the peak from its end value; the two end entries stay.
void RescalePeak(std::vector<double>& y, double target) {
    const size_t n = y.size();
    if (n <= 2) return;
    const size_t m = size_t(std::max_element(y.begin(), y.end()) - y.begin());
    const double top = y[m];
    if (target == top) return;
    const double first = y.front();
    const double last = y.back();
    for (size_t i = 1; i + 1 < n; ++i) {
        if (i == m)
            y[i] = target;
        else if (i < m && first < top)
            y[i] = first + (target - first) * (y[i] - first) / (top - first);
        else if (i > m && last < top)
            y[i] = last + (target - last) * (y[i] - last) / (top - last);
    }
}

// Samples a two-dimensional curve through the points into X and Y at `count` steps.
template <class Spline>
void SampleSpline(const Spline& spline, int32_t count, std::vector<double>& xs, std::vector<double>& ys) {
    xs.resize(size_t(count));
    ys.resize(size_t(count));
    for (int32_t k = 0; k < count; ++k) {
        TKVector p = spline.Eval(double(k) / double(count - 1));
        xs[size_t(k)] = p[0];
        ys[size_t(k)] = p[1];
    }
}
}  // namespace

void TKCurveLinearization::SetFromValues(const TKVector& y, int32_t count) {
    const int32_t n = y.GetDim();
    if (n < 2) {
        SetSamples(y);
        return;
    }
    TKVector x(n);
    for (int32_t i = 0; i < n; ++i) x[i] = double(i) / double(n - 1);
    SetFromGammaFit(x, y, count);
}

// Each point inside (0, 1) defines the exponent e with x^e = y/ymax; the table interpolates
// these local exponents along x, so a curve that is a pure power is reproduced exactly.
void TKCurveLinearization::SetFromGammaFit(const TKVector& x, const TKVector& y, int32_t count) {
    if (!Fittable(x, y, count)) {
        SetSamples(y);
        return;
    }
    const double ymax = y.Max();
    if (!(ymax > 0.0)) TKThrowMsg(ArgErr, "a gamma fit needs a positive maximum");
    const TKVector e = InnerProfile(x, [&](int32_t i) {
        return std::log(std::max(y[i] / ymax, kSmallestRatio)) / std::log(x[i]);
    });
    FillTable(count, [&](double t) { return std::pow(t, ReadAt(e, PointPosition(x, t))) * ymax; });
}

// The bulge d = (y - x*ymax) / (x - x^2) is the curve's departure from the straight line,
// normalised by the parabola that vanishes at both ends; it is interpolated along x.
void TKCurveLinearization::SetFromBulgeFit(const TKVector& x, const TKVector& y, int32_t count) {
    if (!Fittable(x, y, count)) {
        SetSamples(y);
        return;
    }
    const double ymax = y.Max();
    const TKVector d = InnerProfile(x, [&](int32_t i) { return (y[i] - x[i] * ymax) / (x[i] - x[i] * x[i]); });
    FillTable(count, [&](double t) { return t * ymax + (t - t * t) * ReadAt(d, PointPosition(x, t)); });
    ClipSamples();
}

void TKCurveLinearization::SetFromLinearFit(const TKVector& x, const TKVector& y, int32_t count) {
    CheckPoints(x, y);
    CheckCount(count);
    FillTable(count, [&](double t) { return ReadAt(y, PointPosition(x, t)); });
    ClipSamples();
}

void TKCurveLinearization::SetFromSplineFit(const TKVector& x, const TKVector& y, int32_t splineType, int32_t count) {
    if (splineType < kSplineSmooth || splineType > kSplineSmoothAlt) TKThrowMsg(ArgErr, "unknown spline type");
    CheckPoints(x, y);
    const int32_t n = y.GetDim();
    if (n < 3) {
        SetFromLinearFit(x, y, count);
        return;
    }
    CheckCount(count);
    TKMatrix points(2, n);
    points.SetRow(0, x);
    points.SetRow(1, y);
    std::vector<double> xs, ys;
    if (splineType == kSplineBezier) {
        SampleSpline(TKBezierSpline(points), count, xs, ys);
        RescalePeak(ys, y.Max());
    } else if (splineType == kSplineBezierThrough) {
        SampleSpline(TKBezierSpline(points, kBezierThroughLimit), count, xs, ys);
    } else {
        SampleSpline(TKSmoothSpline(points), count, xs, ys);
    }
    FillTable(count, [&](double t) {
        const double position = TKCurveTableInverse(xs.data(), count, t);
        return TKCurveTableLookup(ys.data(), count, position);
    });
    ClipSamples();
}

// The tone of a trafo between two colours: how far along the path from the image of a to the
// image of b each evenly spaced colour of the straight line lands, d1 / (d1 + d2).
void TKCurveLinearization::SetFromTrafo(TKTrafo* trafo, const TKVector& a, const TKVector& b, int32_t splineType,
                                        int32_t count) {
    if (!trafo) {
        SetIdentity();
        return;
    }
    if (count < 2) count = kDefaultTrafoSamples;
    CheckCount(count);
    const TKVector endA = trafo->Trafo(a);
    const TKVector endB = trafo->Trafo(b);
    TKVector x(count);
    TKVector y(count);
    for (int32_t i = 0; i < count; ++i) {
        const double t = double(i) / double(count - 1);
        x[i] = t;
        const TKVector image = trafo->Trafo(a * (1.0 - t) + b * t);
        const double d1 = image.Distance(endA);
        const double d2 = image.Distance(endB);
        // A trafo that collapses the whole line has no tone to measure; such points stay 0.
        y[i] = d1 + d2 > 0.0 ? d1 / (d2 + d1) : 0.0;
    }
    SetFromSplineFit(x, y, splineType, count);
}

void TKCurveLinearization::SetFromParametric(int32_t functionType, const TKVector& params, int32_t count) {
    const int needed = TKCurveParametricParamCount(functionType);
    if (needed < 0) TKThrowMsg(OutOfRange, "unknown parametric curve type");
    if (params.GetDim() < needed) TKThrowMsg(ArgErr, "too few parametric curve parameters");
    CheckFinite(params);
    CheckCount(count);
    const TKVector p(params);
    FillTable(count, [&](double t) { return Clip01(TKCurveParametric(functionType, p.Values(), t)); });
}
