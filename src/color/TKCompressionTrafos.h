// The gamut compression stages of the rendering intents, all on XYZ between the source and the
// destination black and white of TKXYZTrafoBase. Each stage says in its comment what it does.
#pragma once

#include "color/TKMat3.h"
#include "color/TKXYZTrafoBase.h"

// Perceptual compression ("Perceptual", "GamutCompression", "PerceptualCompression") in the
// CAT02 cone space. Both sides' tone ranges are measured against the sum s of the D50 cone
// responses: a side's knee is 0.75 s + 0.25 (its white's sum) - (its black's sum), the level
// a light reference tone keeps once the side's black and white are accounted for. A side whose
// knee k = knee / s lies below 1 gets the exponent g = ln 0.75 / ln(0.75 k) (below 1; a full
// range gives 1). With p = g_dst / g_src the curve is the gain
//     curve(u) = ((u + 0.3) / 1.3)^(p - 1),
// 1 at the D50 level u = 1, bounded at u = 0 thanks to the 0.3, lifting the shadows when the
// destination's range is the smaller one (p < 1) and holding highlights above white back.
// Evaluate multiplies each cone channel c by the mean of the gain at the channel's own level
// (c over D50's cone value) and at the colour's total level: (curve(c) + curve(total)) x 0.5 x c;
// the result goes back to XYZ, negative values limited to 0. With smoothBlack the scaled
// (neutral) blacks are the working points.
class TKPercCompressionTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKPercCompressionTrafo, TKXYZTrafoBase)
public:
    explicit TKPercCompressionTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

    void Update() override;
    // The exponent ratio p of the current points (brings them up to date).
    double GetExponent() const;
    // The gain at a normalized level u, for the current points.
    double Curve(double u) const;

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    double fExponent = 1.0;  // p - 1 of the curve
};

// The luminance compressions below share one shape: Y is mapped piecewise linearly, the
// identity in the middle of the destination range, with a knee near each end where the source
// range reaches beyond the destination's (source black below destination black, source white
// above destination white); a side where the source lies inside is left alone, nothing is
// expanded. Darkening is done by scaling XYZ (chromaticity kept), lifting by adding light of
// the destination white's chromaticity (as a raised paper black looks), so Y = 0 is defined.
// With smoothBlack the black blends of TKXYZTrafoBase bracket the mapping.

// Absolute compression ("Saturation", "AbsoluteCompression"): no white adaptation; colours keep
// their absolute values inside the destination range, and the outer 20 per cent of the range
// at each end take up what lies beyond it.
class TKAbsCompressionTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKAbsCompressionTrafo, TKXYZTrafoBase)
public:
    explicit TKAbsCompressionTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

protected:
    TKVector Evaluate(const TKVector& xyz) const override;
};

// Relative compression ("RelativeCompression"): the source white is adapted onto the destination
// white by Bradford, then the adapted source black is compressed onto the destination black in
// the lower half of the destination range; the upper half keeps relative colorimetry.
class TKRelCompressionTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKRelCompressionTrafo, TKXYZTrafoBase)
public:
    explicit TKRelCompressionTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}
    void Update() override;

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    TKMat3 fAdaptation = TKMat3::Identity();
    TKVector fAdaptedBlack, fAdaptedBlackScaled;
};

// Minimum compression ("MinimumBlackCompression", "MinimumWhiteCompression",
// "MinimumCompression"): absolute values are kept wherever the destination can show them, and
// only the outer 5 per cent of its range at the chosen ends take up what lies beyond.
class TKMinCompressionTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKMinCompressionTrafo, TKXYZTrafoBase)
public:
    TKMinCompressionTrafo(bool smoothBlack, bool doBlack, bool doWhite)
        : TKXYZTrafoBase(smoothBlack), fDoBlack(doBlack), fDoWhite(doWhite) {}
    bool GetDoBlack() const { return fDoBlack; }
    bool GetDoWhite() const { return fDoWhite; }

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    bool fDoBlack, fDoWhite;
};

// Test compression ("TKTestCompression"): CIELAB lightness (D50) of the source black and white
// is mapped linearly onto that of the destination, a* and b* stay: a lightness-only rendering
// with constant chroma and hue, to compare the luminance forms against.
class TKTestCompressionTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKTestCompressionTrafo, TKXYZTrafoBase)
public:
    explicit TKTestCompressionTrafo(bool smoothBlack = false) : TKXYZTrafoBase(smoothBlack) {}

protected:
    TKVector Evaluate(const TKVector& xyz) const override;
};
