// Line and direction-set minimization for smooth functions: bracketing a minimum along a line,
// Brent's method inside the bracket, a line minimization through a vector space, and Powell's
// direction-set method built on it.
#pragma once

#include <cstdint>

#include "numeric/TKDoubleFunc.h"
#include "numeric/TKErrorFunc.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

// Three abscissae a, b, c with b between a and c and f(b) not above f(a) and f(c), with their
// values. `valid` is false when no such triple was found within the search limit (a function
// that keeps falling along the line); then c is the lowest point seen.
struct TKBracket {
    double a = 0.0, b = 0.0, c = 0.0;
    double fa = 0.0, fb = 0.0, fc = 0.0;
    bool valid = false;
};

// Grows the interval from a and b downhill by the golden ratio, with parabolic extrapolation
// limited to 100 times the interval. `function` is read at one-element vectors.
TKBracket BracketMin(double a, double b, TKErrorFunc& function);
TKBracket BracketMin(double a, double b, const TKDoubleFunc& function);

// Brent's method in the bracket (a, b, c): golden sections and parabolic steps until the
// minimum is known to within tol * |x| + 1e-10, at most 100 iterations. Returns the smallest
// value; `xmin` receives its abscissa.
double BrentMin(double a, double b, double c, TKErrorFunc& function, double tol, double& xmin);
double BrentMin(double a, double b, double c, const TKDoubleFunc& function, double tol, double& xmin);

// Minimizes `function` along `direction` from `point`, bracketing from t = 0 and t = 1 and
// refining with BrentMin to tolerance 0.0002. Afterwards `direction` is the step taken and
// `point` the minimum; `value` receives the function there.
void LineMin(TKVector& point, TKVector& direction, double& value, TKErrorFunc& function);

// Powell's direction-set method from `start`, which receives the minimum. The rows of
// `directions` are the initial directions (an empty matrix means the coordinate axes) and are
// updated in place. Stops when a pass changes the value by a relative `tolerance`
// (2|fp - f| <= tolerance (|fp| + |f|)) or after `maxIterations` passes. Returns the minimum
// value; `iterations` receives the passes made. DimMismatch for directions of another width.
double PowellMin(TKErrorFunc& function, TKVector& start, TKMatrix& directions, double tolerance,
                 int32_t maxIterations, int32_t* iterations = nullptr);
