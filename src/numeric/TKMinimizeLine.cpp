// Bracketing, Brent's method, line minimization and Powell's direction-set method.
#include "numeric/TKMinimizeLine.h"

#include <cmath>
#include <utility>

namespace {
constexpr double kGold = 1.618034;        // growth of the bracket per step: the golden ratio
constexpr double kGrowLimit = 100.0;      // parabolic extrapolation reaches at most this far
constexpr double kTiny = 1e-20;           // floor of the parabola's denominator
constexpr double kGoldenFraction = 0.381966;  // 2 - golden ratio: the golden-section step
constexpr double kAbsoluteGuard = 1e-10;  // keeps the tolerance meaningful near x = 0
constexpr int kBrentIterations = 100;
constexpr double kLineTolerance = 0.0002;
// A function that keeps falling along the line is followed for this many steps; by then the
// interval has grown beyond 1.6^200 times its start.
constexpr int kMaxBracketSteps = 200;

double WithSign(double magnitude, double sign) { return sign >= 0.0 ? std::fabs(magnitude) : -std::fabs(magnitude); }

// The one-element vector a line function is read at.
struct ErrorAt {
    TKErrorFunc& function;
    double operator()(double t) const {
        TKVector x(1);
        x[0] = t;
        TKVector out;
        return function.Error(x, out);
    }
};

struct DoubleAt {
    const TKDoubleFunc& function;
    double operator()(double t) const { return function.Eval(t); }
};

template <class F>
TKBracket Bracket(double a, double b, F f) {
    TKBracket r;
    r.a = a;
    r.b = b;
    r.fa = f(a);
    r.fb = f(b);
    // Walk downhill from a to b.
    if (r.fb > r.fa) {
        std::swap(r.a, r.b);
        std::swap(r.fa, r.fb);
    }
    r.c = r.b + kGold * (r.b - r.a);
    r.fc = f(r.c);
    for (int step = 0; r.fb > r.fc; ++step) {
        if (step >= kMaxBracketSteps) return r;  // still falling: not a bracket
        // The vertex of the parabola through a, b, c.
        const double p = (r.b - r.a) * (r.fb - r.fc);
        const double q = (r.b - r.c) * (r.fb - r.fa);
        const double denominator = std::fabs(q - p) > kTiny ? q - p : WithSign(kTiny, q - p);
        double u = r.b - ((r.b - r.c) * q - (r.b - r.a) * p) / (2.0 * denominator);
        const double uLimit = r.b + kGrowLimit * (r.c - r.b);
        double fu;
        if ((r.b - u) * (u - r.c) > 0.0) {
            // Vertex between b and c.
            fu = f(u);
            if (fu < r.fc) {
                r.a = r.b;
                r.fa = r.fb;
                r.b = u;
                r.fb = fu;
                break;
            }
            if (fu > r.fb) {
                r.c = u;
                r.fc = fu;
                break;
            }
            u = r.c + kGold * (r.c - r.b);
            fu = f(u);
        } else if ((r.c - u) * (u - uLimit) > 0.0) {
            // Vertex beyond c but within the limit.
            fu = f(u);
            if (fu < r.fc) {
                r.b = r.c;
                r.fb = r.fc;
                r.c = u;
                r.fc = fu;
                u = r.c + kGold * (r.c - r.b);
                fu = f(u);
            }
        } else if ((u - uLimit) * (uLimit - r.c) >= 0.0) {
            u = uLimit;
            fu = f(u);
        } else {
            u = r.c + kGold * (r.c - r.b);
            fu = f(u);
        }
        r.a = r.b;
        r.fa = r.fb;
        r.b = r.c;
        r.fb = r.fc;
        r.c = u;
        r.fc = fu;
    }
    r.valid = r.fb <= r.fa && r.fb <= r.fc;
    return r;
}

template <class F>
double Brent(double a, double b, double c, F f, double tol, double& xmin) {
    double lo = a < c ? a : c;
    double hi = a < c ? c : a;
    double x = b, w = b, v = b;
    double fx = f(x);
    double fw = fx, fv = fx;
    double d = 0.0, e = 0.0;
    for (int iteration = 0; iteration < kBrentIterations; ++iteration) {
        const double middle = 0.5 * (lo + hi);
        const double tol1 = tol * std::fabs(x) + kAbsoluteGuard;
        const double tol2 = 2.0 * tol1;
        if (std::fabs(x - middle) <= tol2 - 0.5 * (hi - lo)) break;
        bool golden = true;
        if (std::fabs(e) > tol1) {
            // Parabola through x, w, v; accepted only if it falls inside the interval and moves
            // less than half the step before last.
            const double r = (x - w) * (fx - fv);
            double q = (x - v) * (fx - fw);
            double p = (x - v) * q - (x - w) * r;
            q = 2.0 * (q - r);
            if (q > 0.0) p = -p;
            q = std::fabs(q);
            const double previous = e;
            e = d;
            if (!(std::fabs(p) >= std::fabs(0.5 * q * previous) || p <= q * (lo - x) || p >= q * (hi - x))) {
                d = p / q;
                const double u = x + d;
                if (u - lo < tol2 || hi - u < tol2) d = WithSign(tol1, middle - x);
                golden = false;
            }
        }
        if (golden) {
            e = x >= middle ? lo - x : hi - x;
            d = kGoldenFraction * e;
        }
        const double u = std::fabs(d) >= tol1 ? x + d : x + WithSign(tol1, d);
        const double fu = f(u);
        if (fu <= fx) {
            if (u >= x)
                lo = x;
            else
                hi = x;
            v = w;
            fv = fw;
            w = x;
            fw = fx;
            x = u;
            fx = fu;
        } else {
            if (u < x)
                lo = u;
            else
                hi = u;
            if (fu <= fw || w == x) {
                v = w;
                fv = fw;
                w = u;
                fw = fu;
            } else if (fu <= fv || v == x || v == w) {
                v = u;
                fv = fu;
            }
        }
    }
    xmin = x;
    return fx;
}
}  // namespace

TKBracket BracketMin(double a, double b, TKErrorFunc& function) { return Bracket(a, b, ErrorAt{function}); }

TKBracket BracketMin(double a, double b, const TKDoubleFunc& function) { return Bracket(a, b, DoubleAt{function}); }

double BrentMin(double a, double b, double c, TKErrorFunc& function, double tol, double& xmin) {
    return Brent(a, b, c, ErrorAt{function}, tol, xmin);
}

double BrentMin(double a, double b, double c, const TKDoubleFunc& function, double tol, double& xmin) {
    return Brent(a, b, c, DoubleAt{function}, tol, xmin);
}

void LineMin(TKVector& point, TKVector& direction, double& value, TKErrorFunc& function) {
    TKLinMin1DFunc line(function, point, direction);
    auto along = [&line](double t) { return line.Eval(t); };
    const TKBracket bracket = Bracket(0.0, 1.0, along);
    double t = 0.0;
    value = Brent(bracket.a, bracket.b, bracket.c, along, kLineTolerance, t);
    direction *= t;
    point += direction;
}

double PowellMin(TKErrorFunc& function, TKVector& start, TKMatrix& directions, double tolerance,
                 int32_t maxIterations, int32_t* iterations) {
    const int32_t n = start.GetDim();
    if (directions.IsEmpty()) directions = TKMatrix::Identity(n);
    if (directions.GetWidth() != n) TKThrowMsg(DimMismatch, "directions differ from the start in dimension");
    const int32_t count = directions.GetHeight();
    TKVector out;
    double value = function.Error(start, out);
    TKVector previousStart = start;
    int32_t pass = 0;
    while (pass < maxIterations) {
        ++pass;
        const double passStart = value;
        int32_t biggest = -1;
        double biggestDecrease = 0.0;
        for (int32_t i = 0; i < count; ++i) {
            TKVector direction = directions.GetRow(i);
            const double before = value;
            LineMin(start, direction, value, function);
            if (before - value > biggestDecrease) {
                biggestDecrease = before - value;
                biggest = i;
            }
        }
        if (2.0 * std::fabs(passStart - value) <= tolerance * (std::fabs(passStart) + std::fabs(value))) break;
        // The pass's overall move, and the value one such move further on.
        TKVector passDirection = start - previousStart;
        const TKVector extrapolated = start * 2.0 - previousStart;
        previousStart = start;
        const double extrapolatedValue = function.Error(extrapolated, out);
        if (extrapolatedValue < passStart && biggest >= 0) {
            // Take the new direction only if the function still falls steeply along it and the
            // direction of largest decrease was not the main part of that fall.
            const double a = passStart - value - biggestDecrease;
            const double b = passStart - extrapolatedValue;
            const double test = 2.0 * (passStart - 2.0 * value + extrapolatedValue) * a * a - biggestDecrease * b * b;
            if (test < 0.0) {
                LineMin(start, passDirection, value, function);
                directions.SetRow(biggest, directions.GetRow(count - 1));
                directions.SetRow(count - 1, passDirection);
            }
        }
    }
    if (iterations) *iterations = pass;
    return value;
}
