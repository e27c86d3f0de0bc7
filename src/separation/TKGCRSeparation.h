// The separations with ink limits and a black curve: the neutral pull of TKInkLimitSeparation,
// the UCR/GCR curve of TKGCRSeparation with its power, start and strength, and the curves that
// build on it (smooth, least, most and much black, linear, preferred, imported).
#pragma once

#include "separation/TKColorSeparation.h"
#include "separation/TKInkLimitTrafo.h"

class TKInkLimitSeparation : public TKColorSeparation {
    TK_DECLARE_CLASS(TKInkLimitSeparation, TKColorSeparation)
public:
    // `limits`: the channel limits in percent, channel 3 the black limit (fewer than four
    // entries: black limit 100). ArgErr for limits outside 0..100 or a total that is not a
    // number. The ink limit trafo is made when a limit is below 100 or the total below 400.
    TKInkLimitSeparation(const TKVector& limits, double tac);
    ~TKInkLimitSeparation() noexcept override;

    TKVector CMY2CMYK(const TKVector& cmy) const override;
    TKVector CMYK2CMY(const TKVector& cmyk) const override;
    double CalcBlack(const TKVector& cmy) const override;
    double CalcMaxBlack(const TKVector& cmy) const override;
    double CalcFullBlack(const TKVector& cmy) const override;
    TKVector GetFullInk(double& total) const override;

    // Darkens toward the neutral: colours near the gray axis lose ink in proportion to what
    // they lack of full, by d = min/100 - 0.02 * gray distance; Unpull is its exact inverse.
    TKVector Pull(const TKVector& cmy) const;
    TKVector Unpull(const TKVector& cmy) const;

    const TKVector& GetLimits() const { return fLimits; }
    const TKVector& GetReference() const { return fReference; }
    double GetTAC() const { return fTAC; }
    TKInkLimitTrafo* GetInkLimitTrafo() const { return fInkLimit.Get(); }
    // The black limit in percent.
    double BlackLimit() const { return fLimits.GetDim() >= 4 ? fLimits[3] : 100.0; }

protected:
    double PullShare(const TKVector& cmy) const;

    TKVector fLimits;
    TKVector fReference;
    double fTAC;
    TKRefPtr<TKInkLimitTrafo> fInkLimit;
};

class TKGCRSeparation : public TKInkLimitSeparation {
    TK_DECLARE_CLASS(TKGCRSeparation, TKInkLimitSeparation)
public:
    // ArgErr for a power below 0, a start or strength outside 0..100.
    TKGCRSeparation(const TKVector& limits, double tac, double power, double start, double strength);

    double CalcBlack(const TKVector& cmy) const override;

    void SetPower(double power);
    void SetStart(double start);
    void SetStrength(double strength);
    double GetPower() const { return fPower; }
    double GetStart() const { return fStart; }
    double GetStrength() const { return fStrength; }

protected:
    // The black curve; the smooth form halves the exponent that bends the dark end.
    double CurveBlack(const TKVector& cmy, bool smooth) const;

    double fPower = 2.0;
    double fStart = 0.0;
    double fStrength = 100.0;
};

class TKSmoothSeparation : public TKGCRSeparation {
    TK_DECLARE_CLASS(TKSmoothSeparation, TKGCRSeparation)
public:
    using TKGCRSeparation::TKGCRSeparation;
    double CalcBlack(const TKVector& cmy) const override;

protected:
    // Most black: the smooth curve from a start above 0, else all gray within the black limit.
    double MostBlack(const TKVector& cmy) const;
};

// Least black: the smooth curve with no power, starting late (80 less a fifth of the black limit).
class TKMinKSeparation : public TKSmoothSeparation {
    TK_DECLARE_CLASS(TKMinKSeparation, TKSmoothSeparation)
public:
    TKMinKSeparation(const TKVector& limits, double tac);
};

// Most black: the smooth curve from a start above 0, else all gray to black within its limit.
class TKMaxKSeparation : public TKSmoothSeparation {
    TK_DECLARE_CLASS(TKMaxKSeparation, TKSmoothSeparation)
public:
    TKMaxKSeparation(const TKVector& limits, double tac, double start);
    double CalcBlack(const TKVector& cmy) const override;
};

// As TKMaxKSeparation, with black rising to its limit over the last tenth of the gray axis.
class TKMuchKSeparation : public TKSmoothSeparation {
    TK_DECLARE_CLASS(TKMuchKSeparation, TKSmoothSeparation)
public:
    TKMuchKSeparation(const TKVector& limits, double tac, double start);
    double CalcBlack(const TKVector& cmy) const override;
};

class TKLinearKSeparation : public TKInkLimitSeparation {
    TK_DECLARE_CLASS(TKLinearKSeparation, TKInkLimitSeparation)
public:
    // ArgErr for a start or strength outside 0..100.
    TKLinearKSeparation(const TKVector& limits, double tac, double start, double strength);
    double CalcBlack(const TKVector& cmy) const override;
    double GetStart() const { return fStart; }
    double GetStrength() const { return fStrength; }

private:
    double fStart;
    double fStrength;
};

// A wanted black, kept between the least and the most the colour allows.
class TKPreferKSeparation : public TKInkLimitSeparation {
    TK_DECLARE_CLASS(TKPreferKSeparation, TKInkLimitSeparation)
public:
    TKPreferKSeparation(const TKVector& limits, double tac, double preferred);
    double CalcBlack(const TKVector& cmy) const override;
    // ArgErr outside 0..100.
    void SetPreferred(double preferred);
    double GetPreferred() const { return fPreferred; }

private:
    double fPreferred = 0.0;
};

// Black from a device table: a trafo from CMY to CMYK (its channel 3).
class TKImportSeparation : public TKInkLimitSeparation {
    TK_DECLARE_CLASS(TKImportSeparation, TKInkLimitSeparation)
public:
    // PtrInvalid without a table.
    TKImportSeparation(const TKVector& limits, double tac, TKTrafo* table, bool owned);
    ~TKImportSeparation() noexcept override;
    double CalcBlack(const TKVector& cmy) const override;

private:
    TKRefPtr<TKTrafo> fTable;
};

// The factory's name table: 0 "UCR" to 14 "RGB"; null for any other index.
const char* TKSeparationName(int32_t index);
constexpr int32_t kTKSeparationNameCount = 15;

// A separation by name with the host's two black parameters; null for an empty name or "None".
// Names outside the table are read as a number: above 0 a TKGCRSeparation of that power, below 0
// a TKSmoothSeparation of its magnitude; 0 or text that is no number is ArgErr. Parameters
// outside their ranges are ArgErr.
TKRefPtr<TKColorSeparationBase> TKNewSeparation(const char* name, const TKVector& limits, double p1, double p2,
                                                double tac);
