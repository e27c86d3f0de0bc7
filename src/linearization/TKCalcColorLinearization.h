// Calculators of linearization curves from a chart: device values and their measurements in
// two matrices of equal height. Each channel's step wedge (the rows on the line from the white
// of the device type to that channel's solid) becomes a pair of vectors: nominal position and
// measured tone, both 0..100. The curve stored per channel maps the wanted tone back to the
// device value that prints it, so a process with the curve in front follows the chosen tone
// measure linearly. The measure is the difference method: density (26), delta E from paper
// relative to the solid (33), plain position (1) or any colour difference (lightness 16,
// chroma 17, delta E 2, 8, ...) as the share of the way from paper to solid.
#pragma once

#include <cstdint>
#include <functional>

#include "color/TKColorDifference.h"
#include "linearization/TKColorLinearization.h"
#include "numeric/TKMatrix.h"

class TKCalcColorLinearization {
public:
    // Samples of each stored curve.
    static constexpr int32_t kCurveSamples = 1024;
    // Device steps closer than this (in percent of the way) count as one step.
    static constexpr double kDefaultMinStep = 0.01;

    // DimMismatch unless both have the same height; ArgErr for device values without a device
    // type of their width (no type: the device type of the width is taken) or measurements
    // without a colour type of their width; IllegalMeasurementData for NaN or infinite values;
    // OutOfRange for device values outside the range of their type.
    TKCalcColorLinearization(const TKMatrix& device, const TKMatrix& measured);
    virtual ~TKCalcColorLinearization();

    void SetDifferenceMethod(int32_t method) { fDifference.SetMethod(method); }
    int32_t GetDifferenceMethod() const { return fDifference.GetMethod(); }
    // Negative: no smoothing spline, only clipping. Not NaN (ArgErr).
    void SetSmoothing(double smoothing);
    double GetSmoothing() const { return fSmoothing; }
    uint32_t GetDeviceType() const { return uint32_t(fDevice.GetType()); }

    // Fresh curves of the device type, then one wedge per channel. Null does nothing.
    virtual void CalcChannelCurves(TKColorLinearization* linearization);
    // One wedge from the type's minimum to its maximum (all channels together); every channel
    // gets the same curve. Null does nothing.
    virtual void CalcSameCurve(TKColorLinearization* linearization);
    // From the wedge's positions x and tones y (0..100) to a stored curve; fewer than three
    // points leave the identity.
    virtual void FitChannel(int32_t channel, TKVector x, TKVector y, TKColorLinearization* linearization);
    // Stores the curve from tone (y, input) to position (x, output), both normalized.
    virtual void StoreChannel(int32_t channel, const TKVector& x, const TKVector& y,
                              TKColorLinearization* linearization);
    // Clips to the first and last entry, then smooths unless smoothing is negative.
    virtual void SmoothVector(TKVector& vector, double smoothing) const;

    // The rows of (device, measured) whose device colour lies on the segment start..end,
    // sorted by position along it.
    static void PickLine(const TKVector& start, const TKVector& end, const TKMatrix& device, const TKMatrix& measured,
                         TKMatrix& lineDevice, TKMatrix& lineMeasured);
    // Positions x and tones y of a wedge (see the class comment); rows that do not advance by
    // more than minStep are dropped. `channel` picks the density filter (-1: all channels).
    void MeasureRamp(int32_t channel, const TKMatrix& device, const TKMatrix& measured, TKVector& x, TKVector& y,
                     double minStep = kDefaultMinStep) const;

    // The wedge of `channel` (from the device type's white to that channel's solid), measured
    // into x and y; false when fewer than three rows lie on it. Sets the current line.
    bool MeasureChannel(int32_t channel, TKVector& x, TKVector& y);

protected:
    // The line of the current wedge; StoreFunction turns positions into channel values with it.
    void SetLine(const TKVector& start, const TKVector& end);
    // Stores the curve that `positionCurve` (position 0..1 on the current line to position)
    // gives in the units of the channel, as a table of kCurveSamples.
    void StoreFunction(int32_t channel, const std::function<double(double)>& positionCurve,
                       TKColorLinearization* linearization) const;
    // Divides by the largest entry (nothing when it is not above 0) and smooths.
    void NormalizeAndSmooth(TKVector& vector) const;

    TKMatrix fDevice;
    TKMatrix fMeasured;
    TKColorDifference fDifference{kTKDeltaE76};
    double fSmoothing = -1.0;
    TKVector fLineStart;
    TKVector fLineEnd;
};
