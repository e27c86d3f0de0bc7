// Ink-limited separations and their black curves.
#include "separation/TKGCRSeparation.h"

#include <algorithm>
#include <cmath>

#include "color/TKColors.h"
#include "separation/TKExceptionColors.h"

namespace {

void CheckPercent(double value, const char* what) {
    if (!(value >= 0.0 && value <= 100.0)) TKThrowMsg(ArgErr, what);
}

TKVector CheckedLimits(const TKVector& limits) {
    for (int32_t i = 0; i < limits.GetDim(); ++i) CheckPercent(limits[i], "ink limit outside 0..100");
    return limits;
}

// The shared steps 2 to 9 of the black curves: fractions of the colour.
struct Fractions {
    double lo, mid, hi, a0;
    explicit Fractions(const TKVector& v)
        : lo(0.01 * v.Min(0, 2)), hi(0.01 * v.Max(0, 2)), a0(0.01 * std::min(v[0], v[1])) {
        mid = 0.01 * v.Sum(0, 2) - hi - lo;
    }
    // Lower strength takes black out of coloured areas.
    double StrengthFactor(double strength) const {
        if (strength >= 100.0) return 1.0;
        const double w = hi - a0;
        return std::max(0.0, 1.0 - (2.0 - 0.02 * strength) * w * w);
    }
};

}  // namespace

// ---- TKInkLimitSeparation --------------------------------------------------------------------

TKInkLimitSeparation::TKInkLimitSeparation(const TKVector& limits, double tac)
    : fLimits(CheckedLimits(limits)), fTAC(tac) {
    if (!std::isfinite(tac)) TKThrowMsg(ArgErr, "total ink is not a number");
    fLimits.SetType(0);
    TKVector channels(4, int32_t(TKCMYKSpace), 100.0);
    for (int32_t i = 0; i < std::min<int32_t>(4, fLimits.GetDim()); ++i) channels[i] = fLimits[i];
    TKRefPtr<TKInkLimitTrafo> limit(new TKInkLimitTrafo(tac, channels), true);
    limit->SetColorType(TKCMYKSpace);
    fTAC = limit->GetTAC();
    if (limit->IsActive()) fInkLimit = limit;
    // The neutral reference: the mean CMY of full ink with black at its limit, once limited.
    const TKVector full({channels[0], channels[1], channels[2], BlackLimit()}, int32_t(TKCMYKSpace));
    const TKVector limited = fInkLimit ? fInkLimit->Trafo(full) : full;
    const double r = limited.Mean(0, 2);
    fReference = TKVector({r, r, r}, int32_t(TKCMYSpace));
}

TKInkLimitSeparation::~TKInkLimitSeparation() noexcept {}

double TKInkLimitSeparation::PullShare(const TKVector& cmy) const {
    const double s = TKGrayDistance(CmyOf(cmy) - fReference);
    return 0.01 * cmy.Min(0, 2) - 0.02 * s;
}

TKVector TKInkLimitSeparation::Pull(const TKVector& cmy) const {
    TKVector v = CmyOf(cmy);
    const double d = PullShare(v);
    if (d > 0.0)
        for (int32_t i = 0; i < 3; ++i) v[i] -= (100.0 - v[i]) * d;
    return v;
}

TKVector TKInkLimitSeparation::Unpull(const TKVector& cmy) const {
    // With w = v(1 + d) - 100d the minimum and the gray distance of w follow those of v, and
    // d(1 + d) = min(w)/100 + d - 0.02 s(w) leaves d^2 = min(w)/100 - 0.02 s(w).
    TKVector w = CmyOf(cmy);
    const double square = PullShare(w);
    if (square <= 0.0) return w;
    const double d = std::sqrt(square);
    for (int32_t i = 0; i < 3; ++i) w[i] = (w[i] + 100.0 * d) / (1.0 + d);
    return w;
}

TKVector TKInkLimitSeparation::CMY2CMYK(const TKVector& cmy) const {
    const TKVector v = CmyOf(cmy);
    TKVector cmyk = SeparateWithBlack(Pull(v), CalcBlack(v));
    if (fInkLimit) cmyk = fInkLimit->Trafo(cmyk);
    return cmyk;
}

TKVector TKInkLimitSeparation::CMYK2CMY(const TKVector& cmyk) const {
    TKVector v = Unpull(CMYKOfBlack(cmyk));
    v.LimitScalar(0.0, 100.0);
    return v;
}

double TKInkLimitSeparation::CalcFullBlack(const TKVector& cmy) const { return Clip(Pull(cmy).Min(0, 2) / fFactor); }

double TKInkLimitSeparation::CalcBlack(const TKVector& cmy) const { return BlackLimit() * 0.01 * CalcFullBlack(cmy); }

double TKInkLimitSeparation::CalcMaxBlack(const TKVector& cmy) const {
    return std::min(TKColorSeparation::CalcMaxBlack(cmy), CalcFullBlack(cmy));
}

TKVector TKInkLimitSeparation::GetFullInk(double& total) const {
    TKVector full = TKColorSeparation::GetFullInk(total);
    for (int32_t i = 0; i < std::min<int32_t>(4, fLimits.GetDim()); ++i) full[i] = fLimits[i];
    total = fTAC;
    return full;
}

// ---- TKGCRSeparation -------------------------------------------------------------------------

TKGCRSeparation::TKGCRSeparation(const TKVector& limits, double tac, double power, double start, double strength)
    : TKInkLimitSeparation(limits, tac) {
    SetPower(power);
    SetStart(start);
    SetStrength(strength);
}

void TKGCRSeparation::SetPower(double power) {
    if (!(power >= 0.0) || !std::isfinite(power)) TKThrowMsg(ArgErr, "black power below 0");
    fPower = power;
}
void TKGCRSeparation::SetStart(double start) {
    CheckPercent(start, "black start outside 0..100");
    fStart = start;
}
void TKGCRSeparation::SetStrength(double strength) {
    CheckPercent(strength, "black strength outside 0..100");
    fStrength = strength;
}

double TKGCRSeparation::CurveBlack(const TKVector& cmy, bool smooth) const {
    if (fStart >= 100.0) return 0.0;
    const Fractions v(CmyOf(cmy));
    double lo = v.lo;
    const double s = 0.01 * fStart, power = fPower, f = fFactor;
    const double full = CalcFullBlack(cmy);
    double threshold = v.mid > s ? s * (1.0 - v.mid) / (1.0 - s) : s;
    // A high power holds black back in the light and colourful part of the gray axis.
    const double p = (4.0 - power) * s + power;
    if (p > 1.0) {
        const double e = smooth ? 0.5 * (p - 1.0) : p - 1.0;
        threshold *= std::pow(std::fabs(s * v.hi), e);
        lo *= std::pow(std::fabs(v.mid * v.hi), e);
    }
    if (lo <= threshold || threshold >= 1.0) return 0.0;
    double t = (lo - threshold) / (1.0 - threshold);
    if (s > 0.0 && s < v.hi) {
        const double u = (v.hi - s) / (1.0 - s);
        t *= 10.0 * u / (9.0 * u + 1.0);
    }
    // The share of gray as a share of black under the factor model.
    double r = (t / f) / ((1.0 - t) + t / f);
    r *= v.StrengthFactor(fStrength);
    return std::min(BlackLimit() * r, full);
}

double TKGCRSeparation::CalcBlack(const TKVector& cmy) const { return CurveBlack(cmy, false); }

double TKSmoothSeparation::CalcBlack(const TKVector& cmy) const { return CurveBlack(cmy, true); }

double TKSmoothSeparation::MostBlack(const TKVector& cmy) const {
    return fStart > 0.0 ? CurveBlack(cmy, true) : 0.01 * BlackLimit() * CalcFullBlack(cmy);
}

// ---- Least, most and much black --------------------------------------------------------------

namespace {
double MinKStart(const TKVector& limits) { return limits.GetDim() >= 4 ? 80.0 - 0.2 * limits[3] : 80.0; }
}  // namespace

TKMinKSeparation::TKMinKSeparation(const TKVector& limits, double tac)
    : TKSmoothSeparation(limits, tac, 0.0, MinKStart(CheckedLimits(limits)), 0.0) {}

TKMaxKSeparation::TKMaxKSeparation(const TKVector& limits, double tac, double start)
    : TKSmoothSeparation(limits, tac, 0.0, start, 100.0) {}

double TKMaxKSeparation::CalcBlack(const TKVector& cmy) const { return MostBlack(cmy); }

TKMuchKSeparation::TKMuchKSeparation(const TKVector& limits, double tac, double start)
    : TKSmoothSeparation(limits, tac, 0.0, start, 100.0) {}

double TKMuchKSeparation::CalcBlack(const TKVector& cmy) const {
    const double m = 0.01 * cmy.Min(0, 2);
    if (m <= 0.9) return MostBlack(cmy);
    // Black ramps from the most-black value to full over the last tenth of the gray axis.
    TKVector scaled = CmyOf(cmy);
    scaled *= 0.9 / m;
    const double k = 0.01 * MostBlack(scaled);
    return std::min(100.0 * (k + (m - 0.9) * (1.0 - k) / 0.1), BlackLimit());
}

// ---- Linear and preferred black --------------------------------------------------------------

TKLinearKSeparation::TKLinearKSeparation(const TKVector& limits, double tac, double start, double strength)
    : TKInkLimitSeparation(limits, tac), fStart(start), fStrength(strength) {
    CheckPercent(start, "black start outside 0..100");
    CheckPercent(strength, "black strength outside 0..100");
}

double TKLinearKSeparation::CalcBlack(const TKVector& cmy) const {
    const Fractions v(CmyOf(cmy));
    const double s = 0.01 * fStart;
    if (s >= 1.0) return 0.0;  // black starts beyond full gray
    const double x = 0.45 * (v.hi * v.mid) * (v.hi * v.mid) + 0.55 * v.lo;
    double y = (0.45 * s * s * s + 0.55) * s;
    if (v.mid > s) y *= (1.0 - v.mid) / (1.0 - s);
    double t = 0.0;
    if (y < x && y < 1.0) {
        t = (x - y) / (1.0 - y);
        if (t > 0.0) t *= v.StrengthFactor(fStrength);
    }
    return std::clamp(BlackLimit() * t, 0.0, CalcFullBlack(cmy));
}

TKPreferKSeparation::TKPreferKSeparation(const TKVector& limits, double tac, double preferred)
    : TKInkLimitSeparation(limits, tac) {
    SetPreferred(preferred);
}

void TKPreferKSeparation::SetPreferred(double preferred) {
    CheckPercent(preferred, "preferred black outside 0..100");
    fPreferred = preferred;
}

double TKPreferKSeparation::CalcBlack(const TKVector& cmy) const {
    const double least = CalcMaxBlack(cmy), most = CalcFullBlack(cmy);
    const double k = std::clamp(fPreferred, std::min(least, most), std::max(least, most));
    return std::min(k, BlackLimit());
}

// ---- Imported black --------------------------------------------------------------------------

TKImportSeparation::TKImportSeparation(const TKVector& limits, double tac, TKTrafo* table, bool owned)
    : TKInkLimitSeparation(limits, tac), fTable(table, owned) {
    if (!fTable) TKThrowMsg(PtrInvalid, "imported separation without a table");
}

TKImportSeparation::~TKImportSeparation() noexcept {}

double TKImportSeparation::CalcBlack(const TKVector& cmy) const {
    const TKVector cmyk = fTable->Trafo(CmyOf(cmy));
    if (cmyk.GetDim() < 4) TKThrowMsg(DimMismatch, "the black table gives no black channel");
    return std::min({Clip(cmyk[3]), BlackLimit(), CalcFullBlack(cmy)});
}
