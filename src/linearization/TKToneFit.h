// Numerical helpers of tone-curve fitting: measured tone values are noisy and may fold back,
// while a calibration curve must be a smooth monotonic function. These helpers make points
// monotonic, smooth them and sample a monotonic curve through them.
#pragma once

#include <cstdint>
#include <vector>

#include "numeric/TKVector.h"

// The closest non-decreasing sequence in the least-squares sense (pool adjacent violators):
// runs that fold back are replaced by their mean, so no value is dropped or invented.
std::vector<double> TKMakeNonDecreasing(const std::vector<double>& values);

// A penalized smoothing of equally weighted samples: minimizes weight * sum (z - v)^2 +
// smoothing * sum (second difference of z)^2. A larger smoothing gives a straighter result.
std::vector<double> TKSmoothValues(const std::vector<double>& values, double smoothing, double weight);

// Points of a rising tone function. PrepareForFit sorts nothing but makes x strictly rising
// (equal x pooled to the mean y) and y non-decreasing; the result has at least the first point.
struct TKTonePoints {
    std::vector<double> x;
    std::vector<double> y;
    void PrepareForFit();
    // The monotonic cubic (Fritsch-Carlson) through the points at u; beyond the ends the end
    // values. Needs at least one point.
    double Eval(double u) const;
    // `count` equally spaced samples of Eval over 0..1.
    TKVector Sample(int32_t count) const;
};
