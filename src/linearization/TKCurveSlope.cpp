// Slope limiting of tone curves by clamping the segment rises and handing the excess back to
// the segments that still have room.
#include "linearization/TKCurveSlope.h"

#include <algorithm>
#include <cmath>
#include <vector>

void TKCheckSlopeLimits(double minSlope, double maxSlope) {
    if (!(minSlope >= 0.0) || !(maxSlope > 0.0) || !(minSlope <= maxSlope) || std::isnan(maxSlope))
        TKThrowMsg(ArgErr, "slope limits need 0 <= minimum <= maximum and a maximum above 0");
}

namespace {
constexpr int32_t kDefaultTableSize = 256;

bool WithinLimits(const std::vector<double>& rise, double lo, double hi) {
    for (double d : rise)
        if (d < lo || d > hi) return false;
    return true;
}

// Clamps every rise to lo..hi, then spreads the difference to `total` over the rises in
// proportion to their room towards the bound they move to. One pass is exact because the
// total lies within (n lo .. n hi), so the room always suffices.
void ClampAndRedistribute(std::vector<double>& rise, double lo, double hi, double total) {
    double sum = 0.0;
    for (double& d : rise) {
        d = std::clamp(d, lo, hi);
        sum += d;
    }
    const double excess = sum - total;
    double room = 0.0;
    for (double d : rise) room += excess > 0.0 ? d - lo : hi - d;
    if (room <= 0.0 || excess == 0.0) return;
    for (double& d : rise) d -= excess * (excess > 0.0 ? d - lo : hi - d) / room;
}
}  // namespace

void TKLimitCurveSlope(TKCurveLinearization& curve, double minSlope, double maxSlope) {
    TKCheckSlopeLimits(minSlope, maxSlope);
    TKCurveLinearization table(curve);
    if (table.GetLength() < 2) table.Resample(kDefaultTableSize);
    const TKVector samples = table.GetSamples();
    const int32_t n = samples.GetDim();
    const double step = 1.0 / double(n - 1);
    // Falling curves are limited on their mirror image, so the rises below are all meant upward.
    const double sign = samples[n - 1] < samples[0] ? -1.0 : 1.0;
    const double total = sign * (samples[n - 1] - samples[0]);
    const double meanSlope = total;  // the input range is 0..1
    const double lo = std::min(minSlope, meanSlope) * step;
    const double hi = std::max(maxSlope, meanSlope) * step;

    std::vector<double> rise(size_t(n - 1));
    for (int32_t i = 0; i + 1 < n; ++i) rise[size_t(i)] = sign * (samples[i + 1] - samples[i]);
    if (WithinLimits(rise, lo, hi)) return;
    ClampAndRedistribute(rise, lo, hi, total);

    TKVector limited(n);
    limited[0] = samples[0];
    for (int32_t i = 0; i + 1 < n; ++i) limited[i + 1] = limited[i] + sign * rise[size_t(i)];
    limited[n - 1] = samples[n - 1];  // exact end despite rounding in the sum
    curve.SetSamples(limited);
}
