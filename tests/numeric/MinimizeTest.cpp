// Minimizers: the counted-steps behaviour of the pattern searches, convergence on standard
// test functions (Rosenbrock, quadratic bowls), Brent and Powell on known minima, the swarm,
// and the error-function family.
#include <cfloat>
#include <cmath>

#include "numeric/TKErrorFunc.h"
#include "numeric/TKMinimize.h"
#include "numeric/TKMinimizeLine.h"
#include "numeric/TKMinimizeSwarm.h"
#include "numeric/TKTrafo.h"
#include "numeric/ToneRampData.h"
#include "numeric/TrafoTestSupport.h"
#include "support/TestSupport.h"

namespace {
// Rosenbrock's valley 100 (y - x^2)^2 + (1 - x)^2 as two residuals; minimum 0 at (1, 1).
class Rosenbrock : public TKErrorFunc {
public:
    double Error(const TKVector& x, TKVector& out) override {
        out = TKVector({10.0 * (x[1] - x[0] * x[0]), 1.0 - x[0]});
        return out.SqrNorm();
    }
};

// offset + (x - 1)^2 + 4 (y - 2)^2 [+ 9 (z + 3)^2 ...], an axis-parallel bowl.
class Bowl : public TKErrorFunc {
public:
    explicit Bowl(double offset = 0.0) : fOffset(offset) {}
    double Error(const TKVector& x, TKVector& out) override {
        out = TKVector(x.GetDim());
        for (int32_t i = 0; i < x.GetDim(); ++i) out[i] = (i + 1) * (x[i] - Center(i));
        return fOffset + out.SqrNorm();
    }
    static double Center(int32_t i) { return i == 0 ? 1.0 : (i == 1 ? 2.0 : -3.0); }

private:
    double fOffset;
};

// A bowl whose axes are turned against the coordinates: (x+y-3)^2 + 10 (x-y+1)^2 + (z-x)^2,
// minimum 0 at (1, 2, 1).
class TurnedBowl : public TKErrorFunc {
public:
    double Error(const TKVector& x, TKVector& out) override {
        out = TKVector({x[0] + x[1] - 3.0, std::sqrt(10.0) * (x[0] - x[1] + 1.0), x[2] - x[0]});
        return out.SqrNorm();
    }
};

// Over-determined linear residuals A x - b with A = (1 1; 1 -1; 2 1), b = (1, 2, 2). By hand
// from the normal equations: A^T A = (6 2; 2 3), A^T b = (7, 1), so x = (19/14, -8/14) and
// the residual (-3/14, -1/14, 2/14) has |r|^2 = 1/14.
class LinearResiduals : public TKErrorFunc {
public:
    double Error(const TKVector& x, TKVector& out) override {
        out = TKVector({x[0] + x[1] - 1.0, x[0] - x[1] - 2.0, 2.0 * x[0] + x[1] - 2.0});
        return out.SqrNorm();
    }
};

class NaNFunction : public TKErrorFunc {
public:
    double Error(const TKVector& x, TKVector& out) override { return std::nan(""); }
};

class Cosine : public TKDoubleFunc {
public:
    double Eval(double x) const override { return std::cos(x); }
};

class Quartic : public TKDoubleFunc {
public:
    double Eval(double x) const override { return std::pow(x - 0.3, 4.0); }
};

class Falling : public TKDoubleFunc {
public:
    double Eval(double x) const override { return -x; }
};

class Shifted : public TKDoubleFunc {
public:
    double Eval(double x) const override { return (x - 2.0) * (x - 2.0) + 1.0; }
};

TKVector V(std::initializer_list<double> v) { return TKVector(v); }
}  // namespace

// ---- counted steps of the pattern search ------------------------------------------------

// A start that already meets the error goal, or a start step below the smallest step, ends the
// search before the first iteration, after the one evaluation of the start.
TEST(MinimizeHooke, NoIterationWhenTheStartIsGoodEnoughOrTheStepTooSmall) {
    for (bool smallStep : {false, true}) {
        Bowl bowl(smallStep ? 1.0 : 0.005);
        TKMinimizeHooke m(&bowl);
        if (smallStep) m.SetStartStep(0.005);
        const TKVector start = smallStep ? V({5.0, 5.0}) : V({1.0, 2.0});
        TKVector result;
        m.Minimize(start, result);
        EXPECT_EQ(m.GetIterations(), 0);
        EXPECT_EQ(m.GetEvaluations(), 1);
        EXPECT_FALSE(result.Differs(start));
    }
}

// At the minimum every exploration fails; 0.7^13 = 0.0097 is the first power below 0.01.
TEST(MinimizeHooke, FailingSearchShrinksTheStep13Times) {
    Bowl bowl(1.0);
    TKMinimizeHooke m(&bowl);
    TKVector result;
    m.Minimize(V({1.0, 2.0}), result);
    EXPECT_EQ(m.GetIterations(), 13);
    EXPECT_EQ(m.GetEvaluations(), 1 + 13 * 4);  // both directions of both coordinates
    EXPECT_NEAR(m.GetStep(), std::pow(0.7, 13), 1e-15);
    EXPECT_FALSE(result.Differs(V({1.0, 2.0})));
}

TEST(MinimizeHooke, IterationLimitIsKept) {
    Rosenbrock f;
    TKMinimizeHooke m(&f);
    m.SetMaxIterations(5);
    m.SetMinStep(1e-9);
    TKVector result;
    m.Minimize(V({-1.2, 1.0}), result);
    EXPECT_EQ(m.GetIterations(), 5);
    EXPECT_LT(m.GetError(), 24.2);  // the value at the start
}

TEST(MinimizeHooke, RosenbrockFromTheClassicStart) {
    Rosenbrock f;
    for (int variant = 0; variant < 3; ++variant) {
        TKRefPtr<TKMinimize> m;
        if (variant == 0) m = TKMakeRef<TKMinimizeHooke>(&f);
        if (variant == 1) m = TKMakeRef<TKMinimizeHookeEx>(&f);
        if (variant == 2) m = TKMakeRef<TKMinimizeHookePlus>(&f);
        m->SetMinStep(1e-9);
        m->SetMinError(1e-12);
        m->SetMaxIterations(20000);
        TKVector result;
        m->Minimize(V({-1.2, 1.0}), result);
        EXPECT_NEAR(result[0], 1.0, 1e-3) << m->ClassName();
        EXPECT_NEAR(result[1], 1.0, 2e-3) << m->ClassName();
        EXPECT_LT(m->GetError(), 1e-6) << m->ClassName();
        EXPECT_LT(m->GetIterations(), 20000) << m->ClassName();
    }
}

TEST(MinimizeHooke, NaNErrorEndsTheSearch) {
    NaNFunction f;
    TKMinimizeHooke m(&f);
    TKVector result;
    m.Minimize(V({1.0}), result);
    EXPECT_EQ(m.GetIterations(), 0);
    EXPECT_EQ(result[0], 1.0);
}

TEST(MinimizeHooke, BadSettingsAndMissingFunction) {
    Bowl bowl;
    TKMinimizeHooke m(&bowl);
    EXPECT_TKERROR(m.SetRho(1.0), ArgErr);
    EXPECT_TKERROR(m.SetRho(0.0), ArgErr);
    EXPECT_TKERROR(m.SetRho(std::nan("")), ArgErr);
    EXPECT_EQ(m.GetRho(), 0.7);
    TKMinimizeHooke none(nullptr);
    TKVector result;
    EXPECT_TKERROR(none.Minimize(V({1.0}), result), PtrInvalid);
}

// ---- the quadratic exploration ----------------------------------------------------------

TEST(MinimizeHookeEx, SolvesLinearLeastSquares) {
    LinearResiduals f;
    TKMinimizeHooke plain(&f);
    TKMinimizeHookeEx quadratic(&f);
    for (TKMinimize* m : {static_cast<TKMinimize*>(&plain), static_cast<TKMinimize*>(&quadratic)}) {
        m->SetMinStep(1e-8);
        m->SetMinError(0.0);
        TKVector result;
        m->Minimize(V({4.0, 4.0}), result);
        EXPECT_NEAR(result[0], 19.0 / 14.0, 1e-6) << m->ClassName();
        EXPECT_NEAR(result[1], -8.0 / 14.0, 1e-6) << m->ClassName();
        EXPECT_NEAR(m->GetError(), 1.0 / 14.0, 1e-10) << m->ClassName();
    }
}

// The quadratic move lands between the grid points of the step: with the default smallest
// step of 0.01 the plain search stops about a step away, the quadratic one far closer.
TEST(MinimizeHookeEx, QuadraticMovesBeatTheStepGrid) {
    LinearResiduals f;
    TKMinimizeHooke plain(&f);
    TKMinimizeHookeEx quadratic(&f);
    TKVector a, b;
    plain.Minimize(V({4.0, 4.0}), a);
    quadratic.Minimize(V({4.0, 4.0}), b);
    const TKVector solution = V({19.0 / 14.0, -8.0 / 14.0});
    EXPECT_LT(b.Distance(solution), 1e-4);
    EXPECT_LT(b.Distance(solution), a.Distance(solution));
    EXPECT_LT(quadratic.GetError() - 1.0 / 14.0, 1e-8);
}

// ---- the swarm and its step control -----------------------------------------------------

// Failures alternate: shrink by rho^2, raise by 1/rho, ... The step reaches 0.7^13 below 0.01
// after 23 failed explorations.
TEST(MinimizeHookePlus, FailedShrinkIsFollowedByOneRaise) {
    Bowl bowl(1.0);
    TKMinimizeHookePlus m(&bowl);
    m.SetSwarmRounds(0);
    TKVector result;
    m.Minimize(V({1.0, 2.0}), result);
    EXPECT_EQ(m.GetIterations(), 23);
    EXPECT_EQ(m.GetEvaluations(), 1 + 23 * 4);
    EXPECT_NEAR(m.GetStep(), std::pow(0.7, 13), 1e-15);
}

TEST(MinimizeHookePlus, SwarmIsReproducibleAndNeverWorseThanTheStart) {
    Rosenbrock f;
    TKVector first, second;
    int64_t evaluations = 0;
    for (TKVector* result : {&first, &second}) {
        TKMinimizeHookePlus m(&f);
        TKVector point = V({-1.2, 1.0});
        const double value = m.SwarmSearch(point);
        TKVector out;
        EXPECT_LE(value, f.Error(V({-1.2, 1.0}), out));
        EXPECT_DOUBLE_EQ(value, f.Error(point, out));
        *result = point;
        if (evaluations) {
            EXPECT_EQ(m.GetEvaluations(), evaluations);
        }
        evaluations = m.GetEvaluations();
    }
    EXPECT_FALSE(first.Differs(second));
    // The start, 13 seeded particles, then at most 10 rounds of 14.
    EXPECT_GE(evaluations, 1 + 13 + 14);
    EXPECT_LE(evaluations, 1 + 13 + 10 * 14);
}

// ---- bracketing and Brent ---------------------------------------------------------------

TEST(MinimizeLine, BracketEnclosesTheMinimum) {
    const TKBracket b = BracketMin(0.0, 1.0, Shifted());
    ASSERT_TRUE(b.valid);
    EXPECT_LT(std::fmin(b.a, b.c), 2.0);
    EXPECT_GT(std::fmax(b.a, b.c), 2.0);
    EXPECT_LE(b.fb, b.fa);
    EXPECT_LE(b.fb, b.fc);
}

TEST(MinimizeLine, BracketOfAnEverFallingFunctionEnds) {
    const TKBracket b = BracketMin(0.0, 1.0, Falling());
    EXPECT_FALSE(b.valid);
    EXPECT_GT(b.c, 1e6);
}

TEST(MinimizeLine, BrentFindsKnownMinima) {
    double x = 0.0;
    EXPECT_NEAR(BrentMin(0.0, 1.0, 5.0, Shifted(), 1e-10, x), 1.0, 1e-15);
    EXPECT_NEAR(x, 2.0, 1e-7);
    // cos has its minimum -1 at pi; near a minimum x is known only to about sqrt(DBL_EPSILON).
    const TKBracket b = BracketMin(2.0, 2.5, Cosine());
    ASSERT_TRUE(b.valid);
    EXPECT_NEAR(BrentMin(b.a, b.b, b.c, Cosine(), 1e-10, x), -1.0, 1e-15);
    EXPECT_NEAR(x, std::acos(-1.0), 1e-7);
    // A flat quartic minimum still converges within the 100 iterations.
    BrentMin(-1.0, 0.0, 2.0, Quartic(), 1e-8, x);
    EXPECT_NEAR(x, 0.3, 1e-3);
}

TEST(MinimizeLine, LineMinStepsToTheLowestPointOfTheLine) {
    Bowl bowl;
    TKVector point = V({0.0, 0.0});
    TKVector direction = V({1.0, 0.0});
    double value = 0.0;
    LineMin(point, direction, value, bowl);
    EXPECT_NEAR(point[0], 1.0, 1e-6);
    EXPECT_EQ(point[1], 0.0);
    EXPECT_NEAR(direction[0], 1.0, 1e-6);
    EXPECT_NEAR(value, 16.0, 1e-10);
}

TEST(MinimizeLine, PowellSolvesRosenbrockAndATurnedBowl) {
    Rosenbrock f;
    TKVector start = V({-1.2, 1.0});
    TKMatrix directions;
    int32_t passes = 0;
    const double value = PowellMin(f, start, directions, 1e-12, 200, &passes);
    EXPECT_NEAR(start[0], 1.0, 1e-4);
    EXPECT_NEAR(start[1], 1.0, 1e-4);
    EXPECT_LT(value, 1e-8);
    EXPECT_LT(passes, 200);
    TurnedBowl bowl;
    TKVector p = V({5.0, -4.0, 0.0});
    TKMatrix none;
    PowellMin(bowl, p, none, 1e-12, 100, &passes);
    EXPECT_NEAR(p[0], 1.0, 1e-5);
    EXPECT_NEAR(p[1], 2.0, 1e-5);
    EXPECT_NEAR(p[2], 1.0, 1e-5);
    EXPECT_LT(passes, 100);
}

TEST(MinimizeLine, PowellChecksTheDirections) {
    Bowl bowl;
    TKVector start = V({0.0, 0.0});
    TKMatrix directions = TKMatrix::Identity(3);
    EXPECT_TKERROR(PowellMin(bowl, start, directions, 1e-8, 10), DimMismatch);
}

// ---- error functions --------------------------------------------------------------------

TEST(MinimizeErrorFunc, TrafoErrorFuncIsKeptAliveByTheMinimizer) {
    auto* func = new TKTrafoErrorFunc(new TKTestSquareTrafo, V({0.25, 0.81}), true);
    TKMinimizeHookeEx m(func);
    func->Release();  // the minimizer holds the last count
    m.SetStartStep(0.1);  // stays on the positive roots of x^2 = 0.25, y^2 = 0.81
    m.SetMinStep(1e-9);
    m.SetMinError(1e-10);
    TKVector result;
    m.Minimize(V({1.0, 1.0}), result);
    EXPECT_NEAR(result[0], 0.5, 1e-6);
    EXPECT_NEAR(result[1], 0.9, 1e-6);
    EXPECT_LE(m.GetError(), 1e-10);
}

TEST(MinimizeErrorFunc, TrafoErrorFuncResiduals) {
    TKTrafoErrorFunc func(new TKTestSquareTrafo, V({1.0, 1.0}), true);
    TKVector out;
    EXPECT_DOUBLE_EQ(func.Error(V({2.0, 1.0}), out), 3.0);
    EXPECT_FALSE(out.Differs(V({3.0, 0.0})));
    EXPECT_TKERROR(func.Error(V({2.0}), out), DimMismatch);
    TKTrafoErrorFunc empty(nullptr, V({1.0}), false);
    EXPECT_TKERROR(empty.Error(V({1.0}), out), PtrInvalid);
}

namespace {
// The tone value of a press modelled as a power of the coverage, x^g.
class PowerModel : public TKMatrixErrorFunc {
public:
    using TKMatrixErrorFunc::TKMatrixErrorFunc;
    TKVector EvalRow(const TKVector& x, const TKVector& row) override { return V({std::pow(row[0], x[0])}); }
};
class PowerAlongG : public TKDoubleFunc {
public:
    explicit PowerAlongG(PowerModel& model) : fModel(model) {}
    double Eval(double g) const override {
        TKVector out;
        return fModel.Error(V({g}), out);
    }

private:
    PowerModel& fModel;
};
}  // namespace

// The best power x^g through FOGRA39L's black tone values, found by the pattern search, by
// Powell and by Brent: three methods must agree on one minimum.
TEST(MinimizeErrorFunc, MatrixErrorFuncFitsAPressCurveByThreeMethods) {
    const ToneRamp k = LoadToneRamp('K');
    TKMatrix source(k.nominal.GetDim(), 1), target(k.nominal.GetDim(), 1);
    source.SetColumn(0, k.nominal);
    target.SetColumn(0, k.tone);
    PowerModel model(source, target);

    TKMinimizeHooke hooke(&model);
    hooke.SetMinStep(1e-9);
    hooke.SetMinError(0.0);
    hooke.SetStartStep(0.1);
    TKVector byHooke;
    hooke.Minimize(V({1.0}), byHooke);

    TKVector byPowell = V({1.0});
    TKMatrix directions;
    PowellMin(model, byPowell, directions, 1e-12, 100);

    double byBrent = 0.0;
    BrentMin(0.2, 0.6, 1.0, PowerAlongG(model), 1e-10, byBrent);

    EXPECT_NEAR(byHooke[0], byBrent, 1e-6);
    EXPECT_NEAR(byPowell[0], byBrent, 1e-6);
    // Tone value increase makes the press curve a power below 1 (0.57 would meet the 50 %
    // patch alone; the whole ramp settles higher).
    EXPECT_GT(byBrent, 0.5);
    EXPECT_LT(byBrent, 0.8);
    TKVector out;
    EXPECT_EQ(out.GetDim(), 0);
    model.Error(V({byBrent}), out);
    EXPECT_EQ(out.GetDim(), k.nominal.GetDim());
}

TEST(MinimizeErrorFunc, MatrixErrorFuncChecksSizes) {
    EXPECT_TKERROR((void)PowerModel(TKMatrix(3, 1), TKMatrix(2, 1)), DimMismatch);
    PowerModel wide(TKMatrix(2, 1), TKMatrix(2, 2));
    TKVector out;
    EXPECT_TKERROR(wide.Error(V({1.0}), out), DimMismatch);
}
