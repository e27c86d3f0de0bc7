// Derivative-free minimizers over a small vector of doubles: the Hooke-Jeeves pattern search
// (TKMinimizeHooke), a variant whose exploration also steps to the minimum of the local
// quadratic model of the residuals (TKMinimizeHookeEx), and one with a particle-swarm
// pre-search and a step control that shakes out of narrow valleys (TKMinimizeHookePlus).
#pragma once

#include <cstdint>

#include "foundation/TKObject.h"
#include "numeric/TKErrorFunc.h"
#include "numeric/TKVector.h"

class TKMinimize : public TKObject {
    TK_DECLARE_CLASS(TKMinimize, TKObject)
public:
    // The error function is kept counted when it is a TKObject; otherwise it must outlive the
    // minimizer. An object that is its own error function should make its minimizer for the
    // length of a search, not keep it as a member: the two would hold each other alive.
    explicit TKMinimize(TKErrorFunc* errorFunc);
    ~TKMinimize() noexcept override;

    virtual void SetStartStep(double step);
    virtual void SetMinStep(double step);
    virtual void SetRho(double rho);  // the step's shrink factor
    virtual void SetMinError(double error);
    virtual void SetMaxIterations(int32_t count);
    virtual int32_t GetIterations() const;
    virtual double GetError() const;  // best error of the last search
    // True once the iterations are used up, the error is down to MinError or the step has
    // shrunk below MinStep.
    virtual bool IsFinished() const;
    // Searches from `start`; `result` receives the best point found.
    virtual void Minimize(const TKVector& start, TKVector& result) = 0;
    // The error function at x, its result vector into `out`. Counts evaluations.
    virtual double Evaluate(const TKVector& x, TKVector& out);

    double GetStep() const { return fStep; }
    double GetStartStep() const { return fStartStep; }
    double GetMinStep() const { return fMinStep; }
    double GetRho() const { return fRho; }
    double GetMinError() const { return fMinError; }
    int32_t GetMaxIterations() const { return fMaxIterations; }
    // Calls of the error function during the last search.
    int64_t GetEvaluations() const { return fEvaluations; }

protected:
    // Iterations and evaluations to 0, the step to the start step, the error to "none yet".
    void ResetSearch();

    TKErrorFunc* fErrorFunc;
    TKRefPtr<TKObject> fErrorFuncKeeper;  // the count on fErrorFunc when it is an object
    int32_t fIterations = 0;
    int32_t fMaxIterations = 1000;
    double fStartStep = 1.0;
    double fMinStep = 0.01;
    double fStep = 1.0;
    double fRho = 0.7;
    double fMinError = 0.01;
    double fError;  // the largest finite double until a search has run
    int64_t fEvaluations = 0;
};

class TKMinimizeHooke : public TKMinimize {
    TK_DECLARE_CLASS(TKMinimizeHooke, TKMinimize)
public:
    explicit TKMinimizeHooke(TKErrorFunc* errorFunc) : TKMinimize(errorFunc) {}

    void Minimize(const TKVector& start, TKVector& result) override;
    // Exploratory move from `point`, whose value is the current error: each coordinate in turn
    // is moved by +Step, and if that gains nothing by -Step. Returns the best value; `result`
    // receives the moved point.
    virtual double Explore(TKVector& result, const TKVector& point);

protected:
    // The pattern search from `start` without resetting the counters.
    void PatternSearch(const TKVector& start, TKVector& result);
    // Step control after an exploration without gain.
    virtual void OnExploreFailed();
    // Step control after a pattern search of `rounds` rounds.
    virtual void OnPatternDone(int32_t rounds);

    // The result vector of the point whose value is fError, and that of Explore's result.
    TKVector fResidual;
    TKVector fExploreResidual;
};

class TKMinimizeHookeEx : public TKMinimizeHooke {
    TK_DECLARE_CLASS(TKMinimizeHookeEx, TKMinimizeHooke)
public:
    explicit TKMinimizeHookeEx(TKErrorFunc* errorFunc) : TKMinimizeHooke(errorFunc) {}

    // Tries both directions of every coordinate, each through TryQuadratic.
    double Explore(TKVector& result, const TKVector& point) override;
    // Along the line from `point` (result vector `pointResidual`) to `trial`: evaluates the
    // trial and the minimum t = -(r.g)/(g.g) of the linearised residuals, g being the change
    // of the result vector. Whichever beats `best` becomes the best point, value and residual.
    virtual void TryQuadratic(const TKVector& point, const TKVector& pointResidual, const TKVector& trial,
                              double& best, TKVector& bestPoint, TKVector& bestResidual);
};

class TKMinimizeHookePlus : public TKMinimizeHooke {
    TK_DECLARE_CLASS(TKMinimizeHookePlus, TKMinimizeHooke)
public:
    explicit TKMinimizeHookePlus(TKErrorFunc* errorFunc) : TKMinimizeHooke(errorFunc) {}

    // The swarm pre-search, then the pattern search from the swarm's best point.
    void Minimize(const TKVector& start, TKVector& result) override;
    // Improves `point` with a particle swarm around it; returns the best value found.
    virtual double SwarmSearch(TKVector& point);

    // Particles of the swarm for a search in `dim` dimensions: 2 * dim + 10.
    static int32_t SwarmSize(int32_t dim) { return 2 * dim + 10; }
    // Initial particle speed as a fraction of the start step (default 0.1).
    void SetSwarmFactor(double factor) { fSwarmFactor = factor; }
    double GetSwarmFactor() const { return fSwarmFactor; }
    // Most rounds the swarm flies (default 10); 0 leaves the swarm out.
    void SetSwarmRounds(int32_t rounds) { fSwarmRounds = rounds; }
    int32_t GetSwarmRounds() const { return fSwarmRounds; }

protected:
    void OnExploreFailed() override;
    void OnPatternDone(int32_t rounds) override;

private:
    void ShrinkTwice();

    double fSwarmFactor = 0.1;
    int32_t fSwarmRounds = 10;
    // True: the next failure shrinks the step by Rho^2. False right after such a shrink: the
    // next failure first raises the step once by 1/Rho.
    bool fShrinkNext = true;
};
