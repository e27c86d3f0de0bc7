// The Hooke-Jeeves pattern search and its two variants.
#include "numeric/TKMinimize.h"

#include <cfloat>
#include <cmath>
#include <vector>

#include "numeric/TKMinimizeSwarm.h"

TKMinimize::TKMinimize(TKErrorFunc* errorFunc) : fErrorFunc(errorFunc), fError(DBL_MAX) {
    // A counted error function is kept alive by the minimizer; a plain one is the caller's.
    if (auto* object = dynamic_cast<TKObject*>(errorFunc)) fErrorFuncKeeper.Reset(object, false);
}

TKMinimize::~TKMinimize() noexcept {}

void TKMinimize::SetStartStep(double step) { fStartStep = step; }
void TKMinimize::SetMinStep(double step) { fMinStep = step; }

void TKMinimize::SetRho(double rho) {
    // Outside (0, 1) the step would never shrink, or would be divided by 0.
    if (!(rho > 0.0 && rho < 1.0)) TKThrowMsg(ArgErr, "rho must lie between 0 and 1");
    fRho = rho;
}

void TKMinimize::SetMinError(double error) { fMinError = error; }
void TKMinimize::SetMaxIterations(int32_t count) { fMaxIterations = count; }
int32_t TKMinimize::GetIterations() const { return fIterations; }
double TKMinimize::GetError() const { return fError; }

bool TKMinimize::IsFinished() const {
    // Written as "not above" so that a NaN error ends the search instead of looping on.
    return fIterations >= fMaxIterations || !(fError > fMinError) || fStep < fMinStep;
}

double TKMinimize::Evaluate(const TKVector& x, TKVector& out) {
    if (!fErrorFunc) TKThrow(PtrInvalid);
    ++fEvaluations;
    return fErrorFunc->Error(x, out);
}

void TKMinimize::ResetSearch() {
    fIterations = 0;
    fEvaluations = 0;
    fStep = fStartStep;
    fError = DBL_MAX;
}

// ---- TKMinimizeHooke --------------------------------------------------------------------

void TKMinimizeHooke::Minimize(const TKVector& start, TKVector& result) {
    ResetSearch();
    PatternSearch(start, result);
}

void TKMinimizeHooke::PatternSearch(const TKVector& start, TKVector& result) {
    TKVector base = start;
    fError = Evaluate(base, fResidual);
    TKVector moved;
    while (fIterations < fMaxIterations) {
        if (IsFinished()) break;
        double value = Explore(moved, base);
        if (!(fError > value)) {
            OnExploreFailed();
        } else {
            // Pattern move: keep going in the direction that just paid off for as long as each
            // step gains more than a hundredth of the accuracy asked for.
            const TKVector direction = moved - base;
            TKVector movedResidual = fExploreResidual;
            int32_t rounds = 0;
            while (rounds < fMaxIterations) {
                base = moved;
                fError = value;
                fResidual = movedResidual;
                moved = moved + direction;
                value = Evaluate(moved, movedResidual);
                ++rounds;
                if (!(fError > value + 0.01 * fMinError) || moved.Distance(base) < 0.5 * fMinStep) break;
            }
            OnPatternDone(rounds);
        }
        ++fIterations;
    }
    result = base;
}

double TKMinimizeHooke::Explore(TKVector& result, const TKVector& point) {
    result = point;
    double best = fError;
    fExploreResidual = fResidual;
    TKVector residual;
    for (int32_t i = 0; i < result.GetDim(); ++i) {
        const double origin = result[i];
        bool gained = false;
        for (double sign : {1.0, -1.0}) {
            result[i] = origin + sign * fStep;
            const double value = Evaluate(result, residual);
            if (value < best) {
                best = value;
                fExploreResidual = residual;
                gained = true;
                break;  // a gain upwards skips the downward try
            }
        }
        if (!gained) result[i] = origin;
    }
    return best;
}

void TKMinimizeHooke::OnExploreFailed() { fStep *= fRho; }

void TKMinimizeHooke::OnPatternDone(int32_t rounds) {
    if (rounds == 0) fStep *= fRho;
}

// ---- TKMinimizeHookeEx ------------------------------------------------------------------

double TKMinimizeHookeEx::Explore(TKVector& result, const TKVector& point) {
    TKVector bestPoint = point;
    TKVector bestResidual = fResidual;
    double best = fError;
    for (int32_t i = 0; i < point.GetDim(); ++i) {
        const TKVector base = bestPoint;
        const TKVector baseResidual = bestResidual;
        for (double sign : {1.0, -1.0}) {
            TKVector trial = base;
            trial[i] += sign * fStep;
            TryQuadratic(base, baseResidual, trial, best, bestPoint, bestResidual);
        }
    }
    result = bestPoint;
    fExploreResidual = bestResidual;
    return best;
}

void TKMinimizeHookeEx::TryQuadratic(const TKVector& point, const TKVector& pointResidual, const TKVector& trial,
                                     double& best, TKVector& bestPoint, TKVector& bestResidual) {
    // Evaluates a candidate, keeps it when it beats the best so far and gives its residual.
    auto tryPoint = [&](const TKVector& candidate) {
        TKVector residual;
        const double value = Evaluate(candidate, residual);
        if (value < best) {
            best = value;
            bestPoint = candidate;
            bestResidual = residual;
        }
        return residual;
    };
    const TKVector trialResidual = tryPoint(trial);
    if (trialResidual.GetDim() != pointResidual.GetDim()) return;
    // Residuals linear along the line, r(t) = r + t*g, have |r(t)|^2 smallest at t below.
    const TKVector g = trialResidual - pointResidual;
    const double gg = g.Dot(g);
    if (gg == 0.0) return;
    const double t = -pointResidual.Dot(g) / gg;
    // t of 0 or 1 is the point or the trial, both known already.
    if (!std::isfinite(t) || t == 0.0 || t == 1.0) return;
    tryPoint(point + (trial - point) * t);
}

// ---- TKMinimizeHookePlus ----------------------------------------------------------------

void TKMinimizeHookePlus::Minimize(const TKVector& start, TKVector& result) {
    ResetSearch();
    fShrinkNext = true;
    TKVector begin = start;
    if (fSwarmRounds > 0) SwarmSearch(begin);
    PatternSearch(begin, result);
}

void TKMinimizeHookePlus::ShrinkTwice() {
    fStep *= fRho * fRho;
    fShrinkNext = false;
}

void TKMinimizeHookePlus::OnExploreFailed() {
    if (fShrinkNext) {
        ShrinkTwice();
    } else {
        fStep /= fRho;
        fShrinkNext = true;
    }
}

void TKMinimizeHookePlus::OnPatternDone(int32_t rounds) {
    if (rounds > 0)
        fShrinkNext = true;
    else if (fShrinkNext)
        ShrinkTwice();
}

namespace {
// Routes the particles' evaluations through the minimizer, so that they are counted.
class TKCountingErrorFunc : public TKErrorFunc {
public:
    explicit TKCountingErrorFunc(TKMinimize& minimizer) : fMinimizer(minimizer) {}
    double Error(const TKVector& x, TKVector& out) override { return fMinimizer.Evaluate(x, out); }

private:
    TKMinimize& fMinimizer;
};

// Rounds without a better swarm best after which the swarm has settled.
constexpr int kStallRounds = 3;
}  // namespace

// The swarm flies in a cube of half-width StartStep around the point, one particle sitting on
// the point itself so that the result is never worse than the start. It ends after
// SwarmRounds rounds, when MinError is reached, or after kStallRounds rounds without gain.
double TKMinimizeHookePlus::SwarmSearch(TKVector& point) {
    TKCountingErrorFunc counted(*this);
    const int32_t n = point.GetDim();
    TKVector residual;
    double bestValue = counted.Error(point, residual);
    if (n == 0 || !(bestValue > fMinError)) return bestValue;

    TKSwarmRandom random;
    const double span = fStartStep;
    const double speed = fSwarmFactor * fStartStep;
    std::vector<TKPSOParticle> swarm(size_t(SwarmSize(n)));
    TKVector bestPosition = point;
    for (size_t k = 0; k < swarm.size(); ++k) {
        TKPSOParticle& particle = swarm[k];
        particle.Position = point;
        particle.Velocity = TKVector(n);
        if (k > 0) {
            for (int32_t i = 0; i < n; ++i) {
                particle.Position[i] += span * (2.0 * random.Next() - 1.0);
                particle.Velocity[i] = speed * (2.0 * random.Next() - 1.0);
            }
            if (particle.Evaluate(&counted) < bestValue) {
                bestValue = particle.Value;
                bestPosition = particle.Position;
            }
        } else {
            particle.Value = particle.BestValue = bestValue;
            particle.PersonalBest = point;
        }
    }
    int stall = 0;
    for (int32_t round = 0; round < fSwarmRounds && stall < kStallRounds && bestValue > fMinError; ++round) {
        const double before = bestValue;
        for (TKPSOParticle& particle : swarm) {
            particle.SwarmBest = bestPosition;
            particle.Step(random, span);
            if (particle.Evaluate(&counted) < bestValue) {
                bestValue = particle.Value;
                bestPosition = particle.Position;
            }
        }
        stall = bestValue < before ? 0 : stall + 1;
    }
    point = bestPosition;
    return bestValue;
}
