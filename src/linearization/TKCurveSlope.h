// Slope limiting of tone curves: a calibration curve that is too steep amplifies noise and
// banding, one that is too flat merges tones. Slopes are taken on the normalized curve (1 is
// the identity's slope); a falling curve is limited by the size of its slope.
#pragma once

#include "numeric/TKCurveLinearization.h"

// ArgErr unless 0 <= minSlope <= maxSlope and maxSlope > 0 (NaN fails; an infinite maxSlope
// means no upper limit).
void TKCheckSlopeLimits(double minSlope, double maxSlope);

// Makes the curve a table (256 samples unless it is one already) whose every segment has a slope
// within the limits, keeping both end values. Where the ends themselves need a steeper or
// flatter mean slope than the limits allow, the limit gives way to that mean slope, so the
// curve becomes the straight line between its ends rather than moving an end. A lower limit of
// 0 or more makes every curve monotonic. Curves already within the limits stay untouched.
void TKLimitCurveSlope(TKCurveLinearization& curve, double minSlope, double maxSlope);
