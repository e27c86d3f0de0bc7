// Makes inverse colour trafos from a forward colour trafo: chooses a search form or the
// nearest-colour look-up, puts a conversion to Lab in front so that any CIE colour may come in,
// and checks every form on targets it can reach.
#pragma once

#include <vector>

#include "numeric/TKTrafoList.h"
#include "separation/TKColorSeparation.h"
#include "separation/TKFindNextColorTrafo.h"
#include "separation/TKParametricInvColorTrafo.h"

class TKInvColorTrafoBuilder {
public:
    enum Kind : int32_t {
        kKeepSeparation0, kKeepSeparation1, kBlackAmount, kPreferBlack, kOptimizeBlack, kOptimizeCMY,
        kOptimizeCMYK, kBalanceColorants, kSeparation, kNoBlack, kPlain, kFindNext
    };
    // The forms the self-test checks, in its order.
    static constexpr int32_t kTestedKinds = 8;
    static constexpr const char* kLogLevelKey = "InvColorTrafoTestLogLevel";

    // `forward`: device values to a CIE colour; `start` (may be null): an approximate inverse;
    // `separation` (may be null): the black generation of the forms that need one. Counts are
    // added, never taken over.
    TKInvColorTrafoBuilder(TKTrafo* forward, TKTrafo* start, TKColorSeparationBase* separation);

    // The search form of a kind (not kFindNext); ArgErr for an unknown kind.
    TKRefPtr<TKInvColorTrafo> MakeInverse(Kind kind) const;
    // A trafo from any CIE colour to device values: a conversion to Lab, then the form of the
    // kind (kFindNext: the nearest colour of a grid of `gridPoints` per channel through the
    // forward trafo), ready for the link generator.
    TKRefPtr<TKTrafoList> MakeTrafo(Kind kind, int32_t gridPoints = 9) const;

    static const char* KindName(Kind kind);

    struct TestResult {
        const char* name;
        int32_t count = 0;
        int32_t errCount = 0;  // targets missed by more than the tolerance
        double deltaSum = 0.0;
        double deltaMax = 0.0;
    };
    // Each tested form on `count` targets made from random parameters of that form, so that
    // every target is reachable; a target missed by more than `tolerance` (dE76) counts as an
    // error. Logged on the test channel when "InvColorTrafoTestLogLevel" is above 0.
    std::vector<TestResult> SelfTest(int32_t count, double tolerance) const;

private:
    TKRefPtr<TKTrafo> fForward;
    TKRefPtr<TKTrafo> fStart;
    TKRefPtr<TKColorSeparationBase> fSeparation;
};
