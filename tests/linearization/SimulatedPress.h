// A simulated press for the linearization tests: the FOGRA29L profile (CMYK to Lab) with each
// channel passed through a power curve first, as a press with dot gain would print, and the
// step-wedge charts "printed" on it.
#pragma once

#include <cstdint>

#include "foundation/TKObject.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKTrafo.h"

class SimulatedPress : public TKTrafo {
public:
    // gamma 1: the undistorted press.
    explicit SimulatedPress(double gamma);
    ~SimulatedPress() noexcept override;
    int32_t GetSrcDim() const override { return 4; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t) const override;
    // CMYK percent to "Lab ".
    TKVector Trafo(const TKVector& cmyk) const override;

private:
    double fGamma;
    TKRefPtr<TKTrafo> fProfile;
};

// A chart of the paper, the C, M, Y and K wedges and the gray wedge (C = M = Y, no K), each of
// `steps` equal steps from 0 to 100, printed through `press` (optionally behind `curves`).
struct WedgeChart {
    TKMatrix device;    // "CMYK", percent
    TKMatrix measured;  // "Lab "
};
WedgeChart PrintWedgeChart(const TKTrafo& press, int32_t steps, const TKTrafo* curves = nullptr);

// The reference linearization of `press` towards `reference` from both presses' wedges of
// `steps` steps.
class TKColorLinearization;
TKRefPtr<TKColorLinearization> ReferenceCurves(const TKTrafo& press, const TKTrafo& reference, int32_t steps);

// The device colour of a wedge: channel 0..3 alone, or 4 for the gray (C = M = Y).
TKVector WedgeColour(int32_t wedge, double percent);
