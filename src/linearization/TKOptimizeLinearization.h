// Calibration curves tuned by a minimizer. The direct calculation inverts the measured wedge
// between its steps; these classes instead move a few free points of one channel's curve until
// the tone the process prints through the curve follows the wanted tone at many check points,
// with a penalty on bends so that noise does not make waves. The process tone comes from a
// measured wedge (TKOptimizeLinearization) or from a forward trafo of the process, such as a
// printer profile or a press model (TKOptimizeLinearizationAndTrafo), where it is exact between
// the steps a chart would have measured.
//
// Positions and tones are shares 0..1 of the way from the paper to the channel's solid.
#pragma once

#include <cstdint>

#include "color/TKColorDifference.h"
#include "foundation/TKObject.h"
#include "linearization/TKColorLinearization.h"
#include "linearization/TKToneFit.h"
#include "numeric/TKErrorFunc.h"
#include "numeric/TKTrafo.h"

class TKOptimizeLinearization : public TKObject, public TKErrorFunc {
    TK_DECLARE_CLASS(TKOptimizeLinearization, TKObject)
public:
    // Free points of the curve, at equal wanted tones between the fixed ends.
    static constexpr int32_t kDefaultPoints = 12;
    static constexpr int32_t kCheckPoints = 101;

    // The process tone of a wedge: positions x and tones y (0..1), made rising and strictly
    // ordered. ArgErr for fewer than three points, sizes that differ, or NaN.
    TKOptimizeLinearization(const TKVector& x, const TKVector& y);
    ~TKOptimizeLinearization() noexcept override;

    // The wanted tone at each input: the tone curve of another process (points 0..1), for a
    // match to a reference; without it the wanted tone is the input itself.
    void SetTarget(const TKVector& x, const TKVector& y);
    // Weight of the bend penalty (default 0.02; 0 none). ArgErr for a negative or NaN weight.
    void SetSmoothing(double weight);
    // Free points, 1..64 (default 12). ArgErr outside.
    void SetPointCount(int32_t count);

    // Tunes channel `channel` of the linearization, starting from its present curve, whose end
    // values stay; the curve is stored as a table. Returns the largest tone difference at the
    // check points afterwards. Null does nothing and returns 0. IndexError for a channel the
    // linearization lacks.
    double Optimize(TKColorLinearization* linearization, int32_t channel);

    // The tone the process prints at `position`.
    virtual double ProcessTone(double position) const;
    // The wanted tone at input u.
    double TargetTone(double u) const;
    // The residuals: tone misses at the check points, then the weighted bends of the points.
    double Error(const TKVector& points, TKVector& out) override;

protected:
    // For subclasses that give the process tone themselves.
    TKOptimizeLinearization() = default;
    // Called before a channel is tuned; `reversed` tells that the channel's values run against
    // the positions (RGB: 255 is the paper).
    virtual void BeginChannel(int32_t channel, bool& reversed);
    // The curve through the fixed ends and the free points, monotonic.
    TKTonePoints CurveThrough(const TKVector& points) const;

    TKTonePoints fProcess;
    TKTonePoints fTarget;
    double fSmoothing = 0.02;
    int32_t fPoints = kDefaultPoints;
    double fStart = 0.0;  // fixed curve ends of the current channel
    double fEnd = 1.0;
};

// The process is a forward trafo from the device type to a CIE type; the tone of a position is
// the share of the way from the paper to the solid that its print lies at, by a colour
// difference (delta E 1976 unless set): d(paper, v) / (d(paper, v) + d(v, solid)).
class TKOptimizeLinearizationAndTrafo : public TKOptimizeLinearization {
    TK_DECLARE_CLASS(TKOptimizeLinearizationAndTrafo, TKOptimizeLinearization)
public:
    // ArgErr for a null trafo or one whose source is not a device type of 1 to 15 channels.
    explicit TKOptimizeLinearizationAndTrafo(TKTrafo* process);
    ~TKOptimizeLinearizationAndTrafo() noexcept override;

    void SetDifferenceMethod(int32_t method) { fDifference.SetMethod(method); }
    // The wanted tone of every channel is that of a reference process, measured the same way.
    // ArgErr for a trafo of another device type; null goes back to the input itself.
    void SetReference(TKTrafo* reference);
    // Tunes every channel; returns the largest remaining tone difference.
    double OptimizeAll(TKColorLinearization* linearization);

protected:
    // Samples the process (and the reference) along the channel's line.
    void BeginChannel(int32_t channel, bool& reversed) override;

private:
    // Tone of `trafo` at `position` on the current channel's line.
    double ToneOf(const TKTrafo& trafo, double position) const;

    TKRefPtr<TKTrafo> fPress;
    TKRefPtr<TKTrafo> fReference;
    TKColorDifference fDifference{kTKDeltaE76};
    uint32_t fType = 0;
    int32_t fChannel = 0;
};
