// Gray balance from a measured chart: the chart (ink wedges, paper and a gray wedge) becomes a
// press model on which the gray steps are solved; the curves map the gray step to each
// channel's device value. TKOptimizeGrayBalance refines curves that exist from a chart printed
// through them: its curves are put in front of the old ones.
#pragma once

#include <cstdint>

#include "linearization/TKCalcColorLinearization.h"
#include "linearization/TKGrayBalanceCurve.h"

class TKGrayBalance : public TKCalcColorLinearization {
public:
    // As the base calculator; the device type must be an ink type of three or more channels.
    TKGrayBalance(const TKMatrix& device, const TKMatrix& measured);

    // The gray target (0 G7, 1 older TR 015, 2 TR 015) and the solving flags (see
    // TKCalcGrayBalanceCurves); defaults 0 and 15.
    void SetCurveType(int32_t type) { fCurveType = type; }
    void SetFlags(int32_t flags) { fFlags = flags; }
    void SetLimits(const TKVector& limits) { fLimits = limits; }

    // Solves the gray steps on the chart's press model and stores the curves. Null does nothing.
    virtual void Calc(TKColorLinearization* linearization);
    // Curve through the points (gray step x to device value y, both 0..1).
    void StoreChannel(int32_t channel, const TKVector& x, const TKVector& y,
                      TKColorLinearization* linearization) override;

protected:
    // Makes the linearization ready to take the new curves; the base starts fresh.
    virtual void PrepareLinearization(TKColorLinearization* linearization);
    // The gray target the steps are solved for; null for an unknown curve type.
    virtual TKRefPtr<TKGrayBalanceCurve> MakeTarget() const;

private:
    int32_t fCurveType = 0;
    int32_t fFlags = 15;
    TKVector fLimits;
};

// Gray balance towards targets given as colours: row i of the table (any CIE type) is the
// neutral wanted at gray step 100 i / (rows - 1); steps between are interpolated in Lab.
class TKCIEGrayBalance : public TKGrayBalance {
public:
    // ArgErr for fewer than two targets, a table that is no CIE colour, or NaN in it.
    TKCIEGrayBalance(const TKMatrix& device, const TKMatrix& measured, const TKMatrix& targets);

protected:
    TKRefPtr<TKGrayBalanceCurve> MakeTarget() const override;

private:
    TKMatrix fTargets;  // "Lab "
};

class TKOptimizeGrayBalance : public TKGrayBalance {
public:
    using TKGrayBalance::TKGrayBalance;
    // The new curve (256 samples through the points) goes in front of the old one:
    // the samples become old(new(i / (n - 1))).
    void StoreChannel(int32_t channel, const TKVector& x, const TKVector& y,
                      TKColorLinearization* linearization) override;

protected:
    // Keeps the curves; a linearization of another type or channel count is ArgErr, an empty
    // one starts as identity.
    void PrepareLinearization(TKColorLinearization* linearization) override;
};
