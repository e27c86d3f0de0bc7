// Scalar building blocks of the one-dimensional curves: table look-up and inverse, the
// two-point rule, the named curves (L*, sRGB) and the ICC parametric functions.
#pragma once

#include <cstdint>

// The straight line through (a0, b0) and (a1, b1) at x. Abscissae closer than 1e-8 carry no
// slope worth trusting, so the mean of the ordinates stands in for the line.
double TKCurveTwoPointRule(double a0, double b0, double a1, double b1, double x);

// Equally spaced samples s[0..n-1] over the inputs 0 to 1, read linearly. Inputs not above 0
// (NaN included) give the first sample, inputs not below 1 the last. n below 1 returns x.
double TKCurveTableLookup(const double* s, int64_t n, double x);

// The position 0 to 1 at which a monotonic table reaches y. A table whose last sample is above
// its first counts as rising, every other one as falling. Outside the table's range the
// nearer end position is returned; NaN gives 0.
double TKCurveTableInverse(const double* s, int64_t n, double y);

// CIE lightness and luminance, both scaled to 0..1 (L*/100 and Y/100).
double TKCurveLStarToY(double l);
double TKCurveYToLStar(double y);

// The sRGB transfer functions on 0..1.
double TKCurveSRGBDecode(double v);
double TKCurveSRGBEncode(double v);

// A power curve that keeps the sign of negative input; g must be above 0.
double TKCurveGamma(double g, double x);
double TKCurveGammaInverse(double g, double y);

// Number of parameters the ICC parametric function type 0..4 needs (g, a, b, c, d, e, f);
// -1 for an unknown type.
int TKCurveParametricParamCount(int functionType);

// The ICC parametric function of the given type at x, unclipped. The caller checks the type
// and the parameter count. A negative power base (only possible with odd parameters) counts
// as 0 so that a fractional exponent never produces NaN.
double TKCurveParametric(int functionType, const double* p, double x);
