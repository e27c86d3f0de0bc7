// Particle swarm pieces of the pre-search of TKMinimizeHookePlus: a reproducible uniform
// random generator and TKPSOParticle.
#pragma once

#include <cstdint>

#include "numeric/TKErrorFunc.h"
#include "numeric/TKVector.h"

// xorshift64* generator: the same numbers on every platform and every run for one seed.
class TKSwarmRandom {
public:
    static constexpr uint64_t kDefaultSeed = 123456789;
    explicit TKSwarmRandom(uint64_t seed = kDefaultSeed) : fState(seed ? seed : kDefaultSeed) {}
    // Uniform in [0, 1).
    double Next();

private:
    uint64_t fState;
};

class TKPSOParticle {
public:
    static constexpr double kDefaultInertia = 0.8;
    static constexpr double kDefaultCognitive = 2.0;
    static constexpr double kDefaultSocial = 2.0;

    TKPSOParticle() = default;
    TKPSOParticle(const TKVector& position, const TKVector& velocity) : Position(position), Velocity(velocity) {}

    // A factor of 0 stands for its default.
    void SetFactors(double inertia, double cognitive, double social);
    // v = Inertia*v + Cognitive*r1*(personal best - x) + Social*r2*(swarm best - x), each
    // coordinate limited to +-maxSpeed when maxSpeed is above 0; then x += v.
    void Step(TKSwarmRandom& random, double maxSpeed = 0.0);
    // Value = error at x; a first or better value makes x the personal best. PtrInvalid
    // without a function.
    double Evaluate(TKErrorFunc* function);

    TKVector Position;
    TKVector Velocity;
    TKVector PersonalBest;
    TKVector SwarmBest;
    double Inertia = kDefaultInertia;
    double Cognitive = kDefaultCognitive;
    double Social = kDefaultSocial;
    double Value = 0.0;
    double BestValue = 0.0;
};
