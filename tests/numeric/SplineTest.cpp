// Splines and function objects: values worked out by hand from the construction rules,
// interpolation of the points, and bad parameters.
#include <cmath>

#include "numeric/TKBSpline.h"
#include "numeric/TKBezierSpline.h"
#include "numeric/TKDoubleFunc.h"
#include "numeric/TKSpline.h"
#include "support/TestSupport.h"

namespace {
// Points as the columns of a matrix: one row per dimension.
TKMatrix Points(std::initializer_list<std::initializer_list<double>> rows) {
    const int32_t height = int32_t(rows.size());
    const int32_t width = int32_t(rows.begin()->size());
    TKMatrix m(height, width);
    int32_t r = 0;
    for (const auto& row : rows) {
        int32_t c = 0;
        for (double v : row) m(r, c++) = v;
        ++r;
    }
    return m;
}

void ExpectVector(const TKVector& actual, std::initializer_list<double> expected, double tolerance) {
    ASSERT_EQ(actual.GetDim(), int32_t(expected.size()));
    int32_t i = 0;
    for (double e : expected) EXPECT_NEAR(actual[i++], e, tolerance) << "element " << i - 1;
}
}  // namespace

// ---- function objects -------------------------------------------------------------------

TEST(SplineFunc, LinearRamp) {
    const TKLinearRampFunc ramp(0.2, 0.6, 10.0, 30.0);
    EXPECT_EQ(ramp.Eval(0.0), 10.0);
    EXPECT_EQ(ramp.Eval(0.2), 10.0);
    EXPECT_DOUBLE_EQ(ramp.Eval(0.5), 25.0);
    EXPECT_EQ(ramp.Eval(0.6), 30.0);
    EXPECT_EQ(ramp.Eval(9.0), 30.0);
    const TKLinearRampFunc step(0.5, 0.5, 0.0, 1.0);
    EXPECT_EQ(step.Eval(0.5), 0.5);  // equal abscissae: the mean of the ordinates
    EXPECT_EQ(step.Eval(0.4), 0.0);
    EXPECT_EQ(step.Eval(0.6), 1.0);
}

TEST(SplineFunc, InterpolateVector) {
    const TKInterpolateVectorFunc path(TKVector({0.0, 10.0}), TKVector({4.0, 2.0}));
    ExpectVector(path.Eval(0.25), {1.0, 8.0}, 1e-15);
    ExpectVector(path.Eval(1.5), {6.0, -2.0}, 1e-15);  // extrapolates
    const TKInterpolateVectorFunc bad(TKVector({0.0}), TKVector({1.0, 2.0}));
    EXPECT_TKERROR(bad.Eval(0.5), DimMismatch);
}

// ---- polygon, square and smooth splines -------------------------------------------------

TEST(SplinePoints, EmptyAndSinglePointSets) {
    EXPECT_EQ(TKSmoothSpline(TKMatrix()).Eval(0.5).GetDim(), 0);
    EXPECT_EQ(TKSquareSpline(TKMatrix()).Eval(0.5).GetDim(), 0);
    EXPECT_EQ(TKLinearSpline(TKMatrix()).Eval(0.5).GetDim(), 0);
    const TKMatrix one = Points({{3.0}, {4.0}});
    ExpectVector(TKSmoothSpline(one).Eval(0.7), {3.0, 4.0}, 0.0);
    ExpectVector(TKSquareSpline(one).Eval(0.7), {3.0, 4.0}, 0.0);
    ExpectVector(TKLinearSpline(one).Eval(0.7), {3.0, 4.0}, 0.0);
}

TEST(SplinePoints, EndsAndNaNGiveTheEndPoints) {
    const TKMatrix p = Points({{0.0, 1.0, 4.0}});
    const TKRefPtr<TKDoubleToVectorFunc> splines[] = {TKMakeRef<TKLinearSpline>(p), TKMakeRef<TKSquareSpline>(p),
                                                       TKMakeRef<TKSmoothSpline>(p)};
    for (const auto& s : splines) {
        EXPECT_EQ(s->Eval(-1.0)[0], 0.0) << s->ClassName();
        EXPECT_EQ(s->Eval(std::nan(""))[0], 0.0) << s->ClassName();
        EXPECT_EQ(s->Eval(1.0)[0], 4.0) << s->ClassName();
        EXPECT_EQ(s->Eval(2.0)[0], 4.0) << s->ClassName();
    }
}

TEST(SplinePoints, LinearSplineIsThePolygon) {
    const TKLinearSpline s(Points({{0.0, 1.0, 4.0}, {0.0, -2.0, 2.0}}));
    ExpectVector(s.Eval(0.25), {0.5, -1.0}, 1e-15);
    ExpectVector(s.Eval(0.75), {2.5, 0.0}, 1e-15);
}

// P = 0, 1, 4, 9 at t = 0.5: segment 1, f = 0.5, w = f^2 - f = -0.25.
// 1 + 0.5 (4 - 1) + w (0 - 1) + w (9 - 4) = 2.5 + 0.25 - 1.25 = 1.5.
TEST(SplinePoints, SquareSplineAddsBothNeighbourTermsWithOneSign) {
    const TKSquareSpline s(Points({{0.0, 1.0, 4.0, 9.0}}));
    EXPECT_DOUBLE_EQ(s.Eval(0.5)[0], 1.5);
    EXPECT_DOUBLE_EQ(s.Eval(1.0 / 3.0)[0], 1.0);  // on a point the terms vanish
}

// P0 (0,0), P1 (1,1), P2 (2,0), P3 (3,1) at f = 0.25 in segment 1: the chord point is
// (1.25, 0.75). P1 lies 1 above the chord P0-P2 (foot (1,0)), weight 0.25 * 0.75^2; P2 lies
// 1 below the chord P3-P1 (foot (2,1)), weight 0.75 * 0.25^2: y = 0.75 + 0.140625 - 0.046875.
TEST(SplinePoints, SmoothSplineBulgesByTheNeighboursChords) {
    const TKSmoothSpline s(Points({{0.0, 1.0, 2.0, 3.0}, {0.0, 1.0, 0.0, 1.0}}));
    ExpectVector(s.Eval(1.25 / 3.0), {1.25, 0.84375}, 1e-14);
    for (int32_t i = 0; i < 4; ++i) ExpectVector(s.Eval(i / 3.0), {double(i), double(i % 2)}, 1e-14);
}

TEST(SplinePoints, SmoothSplineOfCollinearPointsIsStraight) {
    const TKSmoothSpline s(Points({{0.0, 1.0, 3.0, 4.0}, {0.0, 2.0, 6.0, 8.0}}));
    for (double t = 0.0; t <= 1.0; t += 0.05) {
        const TKVector p = s.Eval(t);
        EXPECT_NEAR(p[1], 2.0 * p[0], 1e-13);
    }
    // Repeated points make chords of length 0; their foot is the first point, no NaN.
    const TKSmoothSpline repeated(Points({{1.0, 1.0, 1.0, 2.0}}));
    for (double t = 0.0; t <= 1.0; t += 0.1) EXPECT_TRUE(std::isfinite(repeated.Eval(t)[0]));
}

// ---- Bezier -----------------------------------------------------------------------------

// Points 0, 3, 0: C = 0, 1, 2, 2, 2, 1, 0 by the construction; at t = 0.25 the first
// segment's Bernstein sum is 3 (1)(1/8) + 3 (2)(1/8) + 2 (1/8) = 1.375.
TEST(SplineBezier, PlainBuildingAndEvaluation) {
    const TKBezierSpline s(Points({{0.0, 3.0, 0.0}}));
    EXPECT_EQ(s.GetSegmentCount(), 2);
    const TKMatrix& c = s.GetControlPoints();
    ASSERT_EQ(c.GetWidth(), 7);
    const double expected[] = {0.0, 1.0, 2.0, 2.0, 2.0, 1.0, 0.0};
    for (int32_t k = 0; k < 7; ++k) EXPECT_DOUBLE_EQ(c(0, k), expected[k]) << k;
    EXPECT_DOUBLE_EQ(s.Eval(0.25)[0], 1.375);
    EXPECT_DOUBLE_EQ(s.Eval(0.5)[0], 2.0);  // smoothed: below the middle point
    EXPECT_DOUBLE_EQ(s.Eval(0.0)[0], 0.0);
    EXPECT_DOUBLE_EQ(s.Eval(1.0)[0], 0.0);
}

TEST(SplineBezier, WithALimitItPassesThroughThePoints) {
    const TKMatrix p = Points({{0.0, 0.2, 0.5, 0.9, 1.0}, {0.0, 0.35, 0.7, 0.97, 1.0}});
    const TKBezierSpline s(p, 2e-6);
    for (int32_t i = 0; i < 5; ++i) {
        const TKVector v = s.Eval(i / 4.0);
        EXPECT_LE(std::hypot(v[0] - p(0, i), v[1] - p(1, i)), 2e-6) << i;
    }
}

TEST(SplineBezier, BadParameters) {
    EXPECT_TKERROR((void)TKBezierSpline(Points({{0.0, 1.0}})), ArgErr);  // one segment
    EXPECT_TKERROR((void)TKBezierSpline(Points({{0.0, 1.0, 2.0}}), 1e-7), ArgErr);
    EXPECT_TKERROR((void)TKBezierSpline(Points({{0.0, 1.0, 2.0}}), std::nan("")), ArgErr);
    EXPECT_TKERROR((void)TKBezierSpline(Points({{0.0, std::nan(""), 2.0}}), 1e-5), ArgErr);  // never settles
    const TKBezierSpline s(Points({{0.0, 1.0, 2.0}}));
    EXPECT_TKERROR(s.Eval(1.01), ArgErr);
    EXPECT_TKERROR(s.Eval(-0.01), ArgErr);
    EXPECT_TKERROR(s.Eval(std::nan("")), ArgErr);
}

// ---- B-spline ---------------------------------------------------------------------------

TEST(SplineB, DegreeOneIsThePolygon) {
    const TKBSpline s(Points({{0.0, 1.0, 4.0}}), 1, false);
    EXPECT_NEAR(s.Eval(0.25)[0], 0.5, 1e-15);
    EXPECT_NEAR(s.Eval(0.75)[0], 2.5, 1e-15);
    EXPECT_EQ(s.Eval(1.0)[0], 4.0);
}

// A clamped cubic on four points is the one Bezier segment with those control points.
TEST(SplineB, ClampedCubicOnFourPointsIsTheBezierSegment) {
    const TKBSpline s(Points({{0.0, 3.0, 2.0, 5.0}}), 3, false);
    const double t = 0.3;
    const double bernstein = 3 * t * (1 - t) * (1 - t) * 3.0 + 3 * t * t * (1 - t) * 2.0 + t * t * t * 5.0;
    EXPECT_NEAR(s.Eval(t)[0], bernstein, 1e-14);
    EXPECT_EQ(s.Eval(0.0)[0], 0.0);
    EXPECT_EQ(s.Eval(1.0)[0], 5.0);
}

// A closed uniform quadratic starts at the middle of its first two points and returns there.
TEST(SplineB, ClosedCurveEndsWhereItStarts) {
    const TKBSpline s(Points({{0.0, 1.0, 1.0, 0.0}, {0.0, 0.0, 1.0, 1.0}}), 2, true);
    ExpectVector(s.Eval(0.0), {0.5, 0.0}, 1e-15);
    ExpectVector(s.Eval(1.0), {0.5, 0.0}, 1e-15);
    ExpectVector(s.Eval(0.25), {1.0, 0.5}, 1e-15);
}

TEST(SplineB, BadParameters) {
    EXPECT_TKERROR((void)TKBSpline(Points({{0.0, 1.0}}), 2, false), ArgErr);
    EXPECT_TKERROR((void)TKBSpline(Points({{0.0, 1.0}}), 0, false), ArgErr);
    EXPECT_TKERROR((void)TKBSpline(TKMatrix(), 1, true), ArgErr);
    const TKBSpline s(Points({{0.0, 1.0}}), 1, false);
    EXPECT_TKERROR(s.Eval(std::nan("")), ArgErr);
}
