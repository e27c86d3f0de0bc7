// Gray targets: for a gray step (0 paper .. 100 solid) the tone the print should reach and the
// colour the neutral should have. The tone is a share of the density range between paper and
// solid; the colour starts at the paper's cast and ends neutral (G7 and the older TR 015 reading)
// or at the solid's own colour (TR 015).
#pragma once

#include <cstdint>

#include "foundation/TKObject.h"
#include "numeric/TKVector.h"

class TKGrayBalanceCurve : public TKObject {
    TK_DECLARE_CLASS(TKGrayBalanceCurve, TKObject)
public:
    // The tone (percent of the density range) wanted at the gray step `value` (percent).
    virtual double MakeTone(double value) const = 0;
    // The density of a luminance (Y 100 the perfect white); Y not above 0 counts as a density of 6.
    virtual double ToDensity(double luminance) const;
    // The density wanted at step `value`, between the paper's and the solid's density.
    virtual double Evaluate(double value, double paperDensity, double solidDensity) const;
    // The "Lab " colour wanted at step `value`, from the paper and the solid (any CIE type).
    virtual TKVector TargetColor(double value, const TKVector& paper, const TKVector& solid) const = 0;
};

// The tone from a table of curve points, the cast of the paper fading to neutral at the solid.
class TKGrayBalanceCurveBase : public TKGrayBalanceCurve {
    TK_DECLARE_CLASS(TKGrayBalanceCurveBase, TKGrayBalanceCurve)
public:
    double MakeTone(double value) const override;
    TKVector TargetColor(double value, const TKVector& paper, const TKVector& solid) const override;

protected:
    // The wanted luminance at `value` from the paper's and solid's "XYZ ".
    double TargetLuminance(double value, const TKVector& paperXYZ, const TKVector& solidXYZ) const;
    // The tone curve over 0..1 (identity by default).
    virtual double ToneCurve(double fraction) const;
};

// The G7 neutral print density target.
class TKG7Curve : public TKGrayBalanceCurveBase {
    TK_DECLARE_CLASS(TKG7Curve, TKGrayBalanceCurveBase)
protected:
    double ToneCurve(double fraction) const override;
};

// The older reading of CGATS TR 015: tone linear in density, paper cast fading out.
class TKTR015LegacyCurve : public TKGrayBalanceCurveBase {
    TK_DECLARE_CLASS(TKTR015LegacyCurve, TKGrayBalanceCurveBase)
};

// CGATS TR 015: the G7 tone, with the chromaticity moving from the paper's (scaled to the
// solid's luminance) to the solid's in the share of the luminance range that is left.
class TKTR015Curve : public TKG7Curve {
    TK_DECLARE_CLASS(TKTR015Curve, TKG7Curve)
public:
    TKVector TargetColor(double value, const TKVector& paper, const TKVector& solid) const override;
};

// 0 G7, 1 the older TR 015, 2 TR 015; null for any other number.
TKRefPtr<TKGrayBalanceCurve> TKNewGrayBalanceCurve(int32_t type);
