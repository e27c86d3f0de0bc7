// Separations: CMY into CMYK and back on a closed, analytic ink model. A separation decides how
// much black a colour gets and how much CMY then remains so that the colour stays the same. All
// channels are percent (0 to 100). The base models gray as a share of CMY; TKColorSeparation
// models it as the product of the three inks, which needs a cubic to separate.
#pragma once

#include <cstdint>

#include "color/TKColorTrafo.h"

class TKColorSeparationBase : public TKColorTrafo {
    TK_DECLARE_CLASS(TKColorSeparationBase, TKColorTrafo)
public:
    // Factor from the global "gSeparationDefaultFactor" (0.9 when it lies outside (0, 1)).
    TKColorSeparationBase();

    // CMY2CMYK for a colour of three channels, CMYK2CMY for one of four or more, chosen by the
    // colour's type, or by its size for untyped colours.
    TKVector Trafo(const TKVector& source) const override;

    // Virtual operations, in table order.
    virtual TKVector CMY2CMYK(const TKVector& cmy) const;
    virtual TKVector CMYK2CMY(const TKVector& cmyk) const;
    // "CMY " through CMYK2CMY; four or more channels to CMYK and then CMYKOfBlack.
    virtual TKVector ConvertTo(const TKVector& colour, uint32_t wantedType) const;
    virtual double CalcBlack(const TKVector& cmy) const;
    // The least black that keeps the separated CMY within range.
    virtual double CalcMaxBlack(const TKVector& cmy) const;
    // The most black the colour can take: all of its gray.
    virtual double CalcFullBlack(const TKVector& cmy) const;
    virtual TKVector SeparateWithBlack(const TKVector& cmy, double k) const;
    // The CMY that prints like the CMYK colour.
    virtual TKVector CMYKOfBlack(const TKVector& cmyk) const;
    // The channel limits (channel 3 the black limit) and the total; no limits: 4 x 100 and 400.
    virtual TKVector GetFullInk(double& total) const;

    double GetFactor() const { return fFactor; }
    // ArgErr outside (0, 1).
    void SetFactor(double factor);

protected:
    static TKVector Cmyk(double c, double m, double y, double k);
    static TKVector Cmy(double c, double m, double y);
    // The first three channels of a colour, clipped to 0..100 and typed "CMY ".
    static TKVector CmyOf(const TKVector& colour);
    static double Clip(double value) { return value < 0.0 ? 0.0 : value > 100.0 ? 100.0 : value; }

    double fFactor;
};

// Gray as the product of the three inks.
class TKColorSeparation : public TKColorSeparationBase {
    TK_DECLARE_CLASS(TKColorSeparation, TKColorSeparationBase)
public:
    double CalcMaxBlack(const TKVector& cmy) const override;
    TKVector SeparateWithBlack(const TKVector& cmy, double k) const override;
    TKVector CMYKOfBlack(const TKVector& cmyk) const override;
};

// No black at all: CMY passes, K is 0; back, K is added to each ink.
class TKNoKSeparation : public TKColorSeparationBase {
    TK_DECLARE_CLASS(TKNoKSeparation, TKColorSeparationBase)
public:
    double CalcMaxBlack(const TKVector& cmy) const override;
    double CalcFullBlack(const TKVector& cmy) const override;
    TKVector SeparateWithBlack(const TKVector& cmy, double k) const override;
    TKVector CMYKOfBlack(const TKVector& cmyk) const override;
};

// All gray into black, inks combined through a half-tone bend of their coverage.
class TKFullUCRSeparation : public TKColorSeparationBase {
    TK_DECLARE_CLASS(TKFullUCRSeparation, TKColorSeparationBase)
public:
    double CalcMaxBlack(const TKVector& cmy) const override;
    double CalcFullBlack(const TKVector& cmy) const override;
    TKVector SeparateWithBlack(const TKVector& cmy, double k) const override;
    TKVector CMYKOfBlack(const TKVector& cmyk) const override;

    // Into the bent domain and back out: b(x) = 0.5x / (1 - 0.005x), u(x) = 2x / (0.01x + 1).
    static double BendIn(double x) { return 0.5 * x / (1.0 - 0.005 * x); }
    static double BendOut(double x) { return 2.0 * x / (0.01 * x + 1.0); }
};

// The plain conversion of the complement of RGB: K is the smallest ink, which every other ink
// gives up, and the channel limits cap the result.
class TKRGBSeparation : public TKColorSeparationBase {
    TK_DECLARE_CLASS(TKRGBSeparation, TKColorSeparationBase)
public:
    // Limits as for TKInkLimitSeparation (ArgErr outside 0..100); empty for none.
    explicit TKRGBSeparation(const TKVector& limits);
    double CalcBlack(const TKVector& cmy) const override;
    double CalcMaxBlack(const TKVector& cmy) const override;
    double CalcFullBlack(const TKVector& cmy) const override;
    TKVector SeparateWithBlack(const TKVector& cmy, double k) const override;
    TKVector CMYKOfBlack(const TKVector& cmyk) const override;
    TKVector GetFullInk(double& total) const override;

private:
    TKVector fLimits;
};

// Gray split between CMY and black by a balance: share beta goes to black. Ink and black mix by
// the coverage rule mix(a, b) = a + b - ab/100.
class TKBalanceSeparation : public TKColorSeparationBase {
    TK_DECLARE_CLASS(TKBalanceSeparation, TKColorSeparationBase)
public:
    // ArgErr for a balance outside 0..1.
    explicit TKBalanceSeparation(double balance);
    double CalcBlack(const TKVector& cmy) const override;
    double CalcMaxBlack(const TKVector& cmy) const override;
    double CalcFullBlack(const TKVector& cmy) const override;
    TKVector SeparateWithBlack(const TKVector& cmy, double k) const override;
    TKVector CMYKOfBlack(const TKVector& cmyk) const override;
    // The weights from the shares of gray and black of a CMYK colour (1 and 1 without either).
    void SetBalanceFrom(const TKVector& cmyk);
    double GetCMYBalance() const { return fCMYBalance; }
    double GetKBalance() const { return fKBalance; }

    static double Mix(double a, double b) { return a + b - a * b / 100.0; }
    // The a with Mix(a, b) = mixed; 0 when b covers everything.
    static double Unmix(double mixed, double b) { return b >= 100.0 ? 0.0 : (mixed - b) / (1.0 - b / 100.0); }

private:
    double Scale(double cmyMin, double k) const;
    // SeparateWithBlack before the inks are clipped to their range.
    TKVector Unclipped(const TKVector& cmy, double k) const;
    double fCMYBalance;
    double fKBalance;
};

// Black from the host: a trafo from CMY to the black (its first channel, percent).
class TKCustomSeparation : public TKColorSeparationBase {
    TK_DECLARE_CLASS(TKCustomSeparation, TKColorSeparationBase)
public:
    // PtrInvalid without a trafo.
    TKCustomSeparation(TKTrafo* black, bool owned);
    ~TKCustomSeparation() noexcept override;
    double CalcBlack(const TKVector& cmy) const override;

private:
    TKRefPtr<TKTrafo> fBlack;
};
