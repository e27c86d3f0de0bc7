// Real roots of polynomials of degree up to three, for closed-form ink models.
#pragma once

#include <cstdint>

// Roots of a*x^2 + b*x + c = 0 in ascending order; the count of real roots (a double root
// counts once). A vanishing a falls back to the linear equation; all coefficients 0 give 0 roots.
int32_t TKSolveQuadratic(double a, double b, double c, double roots[2]);
// Roots of a*x^3 + b*x^2 + c*x + d = 0 in ascending order, each polished by Newton steps; the
// count of distinct real roots. A vanishing a falls back to the quadratic.
int32_t TKSolveCubic(double a, double b, double c, double d, double roots[3]);
