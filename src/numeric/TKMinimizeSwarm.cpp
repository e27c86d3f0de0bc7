// The swarm's random generator and particle moves.
#include "numeric/TKMinimizeSwarm.h"

double TKSwarmRandom::Next() {
    fState ^= fState >> 12;
    fState ^= fState << 25;
    fState ^= fState >> 27;
    const uint64_t mixed = fState * 2685821657736338717ull;
    // The top 53 bits make a double in [0, 1) with every value equally likely.
    return double(mixed >> 11) * (1.0 / 9007199254740992.0);
}

void TKPSOParticle::SetFactors(double inertia, double cognitive, double social) {
    Inertia = inertia == 0.0 ? kDefaultInertia : inertia;
    Cognitive = cognitive == 0.0 ? kDefaultCognitive : cognitive;
    Social = social == 0.0 ? kDefaultSocial : social;
}

void TKPSOParticle::Step(TKSwarmRandom& random, double maxSpeed) {
    const int32_t n = Position.GetDim();
    if (Velocity.GetDim() != n) Velocity = TKVector(n);
    const bool hasPersonal = PersonalBest.GetDim() == n;
    const bool hasSwarm = SwarmBest.GetDim() == n;
    for (int32_t i = 0; i < n; ++i) {
        const double r1 = random.Next();
        const double r2 = random.Next();
        double v = Inertia * Velocity[i];
        if (hasPersonal) v += Cognitive * r1 * (PersonalBest[i] - Position[i]);
        if (hasSwarm) v += Social * r2 * (SwarmBest[i] - Position[i]);
        if (maxSpeed > 0.0) v = v > maxSpeed ? maxSpeed : (v < -maxSpeed ? -maxSpeed : v);
        Velocity[i] = v;
        Position[i] += v;
    }
}

double TKPSOParticle::Evaluate(TKErrorFunc* function) {
    if (!function) TKThrow(PtrInvalid);
    TKVector out;
    Value = function->Error(Position, out);
    if (PersonalBest.GetDim() != Position.GetDim() || Value < BestValue) {
        PersonalBest = Position;
        BestValue = Value;
    }
    return Value;
}
