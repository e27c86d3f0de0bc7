// The analytic ink models of the separations: gray as a share, as a product, not at all, bent
// through half-tone coverage, and balanced between CMY and black.
#include "separation/TKColorSeparation.h"

#include <algorithm>
#include <cmath>

#include "color/TKColors.h"
#include "io/TKGlobalData.h"
#include "numeric/TKPolynomial.h"

// ---- TKColorSeparationBase -------------------------------------------------------------------

TKColorSeparationBase::TKColorSeparationBase() : TKColorTrafo(TKCMYSpace, TKCMYKSpace) {
    const double factor = TKGlobalData::GetDouble(kTKGlobalSeparationDefaultFactor, 0.9);
    fFactor = factor > 0.0 && factor < 1.0 ? factor : 0.9;
}

void TKColorSeparationBase::SetFactor(double factor) {
    if (!(factor > 0.0 && factor < 1.0)) TKThrowMsg(ArgErr, "separation factor outside (0, 1)");
    fFactor = factor;
}

TKVector TKColorSeparationBase::Cmyk(double c, double m, double y, double k) {
    return TKVector({Clip(c), Clip(m), Clip(y), Clip(k)}, int32_t(TKCMYKSpace));
}

TKVector TKColorSeparationBase::Cmy(double c, double m, double y) {
    return TKVector({Clip(c), Clip(m), Clip(y)}, int32_t(TKCMYSpace));
}

TKVector TKColorSeparationBase::CmyOf(const TKVector& colour) {
    if (colour.GetDim() < 3) TKThrowMsg(DimMismatch, "a separation needs at least three inks");
    return TKVector({Clip(colour[0]), Clip(colour[1]), Clip(colour[2])}, int32_t(TKCMYSpace));
}

TKVector TKColorSeparationBase::Trafo(const TKVector& source) const {
    const uint32_t type = uint32_t(source.GetType());
    const bool toCMY = type != 0 ? GetChannelCount(type) >= 4 : source.GetDim() >= 4;
    if (toCMY) {
        if (source.GetDim() < 4) TKThrowMsg(DimMismatch, "CMYK colour with fewer than four channels");
        return CMYK2CMY(source);
    }
    if (source.GetDim() != 3) TKThrowMsg(DimMismatch, "CMY colour needs three channels");
    return CMY2CMYK(source);
}

TKVector TKColorSeparationBase::CMY2CMYK(const TKVector& cmy) const {
    const TKVector v = CmyOf(cmy);
    return SeparateWithBlack(v, CalcBlack(v));
}

TKVector TKColorSeparationBase::CMYK2CMY(const TKVector& cmyk) const { return CMYKOfBlack(cmyk); }

TKVector TKColorSeparationBase::ConvertTo(const TKVector& colour, uint32_t wantedType) const {
    if (wantedType == TKCMYSpace) return colour.GetDim() >= 4 ? CMYK2CMY(colour) : CmyOf(colour);
    if (GetChannelCount(wantedType) >= 4) {
        const TKVector cmyk = colour.GetDim() >= 4 ? colour : CMY2CMYK(colour);
        return CMYKOfBlack(cmyk);
    }
    return TKColorTrafo::ConvertTo(colour, wantedType);
}

double TKColorSeparationBase::CalcBlack(const TKVector& cmy) const { return CalcFullBlack(cmy); }

double TKColorSeparationBase::CalcFullBlack(const TKVector& cmy) const { return Clip(cmy.Min(0, 2) / fFactor); }

double TKColorSeparationBase::CalcMaxBlack(const TKVector& cmy) const {
    // The least black for which the largest separated ink stays at or below 100: with G the
    // gray that SeparateWithBlack keeps, that ink is at most 100 where
    // (1 - f)(m - kf)(1 - k/100) <= (100 - M)(k/100 + f - 0.02fk), a quadratic in k that opens
    // upwards, so its smaller root is where the range is reached.
    const double f = fFactor, m = cmy.Min(0, 2), M = cmy.Max(0, 2);
    if (m <= 0.0 || M / 100.0 <= f) return 0.0;
    const double a = (1.0 - f) * 0.01 * f;
    const double b = -(1.0 - f) * (0.01 * m + f) - (100.0 - M) * (0.01 - 0.02 * f);
    const double c = (1.0 - f) * m - (100.0 - M) * f;
    double roots[2];
    const int32_t count = TKSolveQuadratic(a, b, c, roots);
    const double k = count == 0 ? 0.0 : roots[0];
    return Clip(std::min(k, m / f));
}

TKVector TKColorSeparationBase::SeparateWithBlack(const TKVector& cmy, double k) const {
    const double f = fFactor;
    k = Clip(k);
    const double m = cmy.Min(0, 2);
    const double g = (m - k * f) / (0.01 * k + f - 0.02 * f * k);
    const double c0 = k * f - (1.0 - f) * (g - 0.01 * g * k);
    const double d = 1.0 - 0.01 * k * f;
    return Cmyk((cmy[0] - c0) / d, (cmy[1] - c0) / d, (cmy[2] - c0) / d, k);
}

TKVector TKColorSeparationBase::CMYKOfBlack(const TKVector& cmyk) const {
    const double f = fFactor, m = cmyk.Min(0, 2), k = cmyk[3];
    const double c0 = f * k - (1.0 - f) * (m - 0.01 * m * k);
    const double d = 1.0 - 0.01 * f * k;
    return Cmy(cmyk[0] * d + c0, cmyk[1] * d + c0, cmyk[2] * d + c0);
}

TKVector TKColorSeparationBase::GetFullInk(double& total) const {
    total = 400.0;
    return TKVector(4, int32_t(TKCMYKSpace), 100.0);
}

// ---- TKColorSeparation -----------------------------------------------------------------------

double TKColorSeparation::CalcMaxBlack(const TKVector& cmy) const {
    double v[3] = {0.01 * cmy[0], 0.01 * cmy[1], 0.01 * cmy[2]};
    std::sort(v, v + 3);
    const double lo = v[0], mid = v[1], hi = v[2], f = fFactor;
    if (lo <= 0.0 || hi <= f) return 0.0;
    const double n = 1.0 / f, q = 2.0 - n - f;
    const double L = mid + lo - 2.0 * hi;
    const double M = hi * hi - mid * hi - hi * lo + mid * lo;
    double roots[3];
    const int32_t count =
        TKSolveCubic(1.0 - n, L + 1.0 - hi - q - L / f, M - L * q - M / f, -M * q, roots);
    double k = 0.0;
    if (count > 0) k = (100.0 / f) * (1.0 - roots[count - 1]);  // one root, or the largest
    return Clip(std::min(k, 100.0 * lo / f));
}

TKVector TKColorSeparation::SeparateWithBlack(const TKVector& cmy, double k) const {
    // The gray x that leaves inks whose product, printed under black k, gives back the colour.
    const double f = fFactor;
    const double a = 0.01 * cmy[0], b = 0.01 * cmy[1], c = 0.01 * cmy[2];
    const double kf = Clip(k) / 100.0;
    const double s = 1.0 - f * kf, q = 1.0 - kf, s3 = s * s * s;
    double roots[3];
    const int32_t count = TKSolveCubic(q, -(a + b + c) * q, (a * b + a * c + b * c) * q - s3 / (1.0 - f),
                                       f * kf * s3 / (1.0 - f) - a * b * c * q, roots);
    const double lo = std::min({a, b, c});
    double x = lo;
    if (count > 0) {
        x = roots[0];
        for (int32_t i = 1; i < count; ++i)
            if (std::fabs(roots[i] - lo) < std::fabs(x - lo)) x = roots[i];
        x = std::min(x, lo);
    }
    return Cmyk(100.0 * (a - x) / s, 100.0 * (b - x) / s, 100.0 * (c - x) / s, 100.0 * kf);
}

TKVector TKColorSeparation::CMYKOfBlack(const TKVector& cmyk) const {
    const double f = fFactor, k = cmyk[3];
    const double g = cmyk[0] * cmyk[1] * cmyk[2] * 0.0001;
    const double c0 = f * k - (1.0 - f) * (g - 0.01 * g * k);
    const double d = 1.0 - 0.01 * f * k;
    return Cmy(cmyk[0] * d + c0, cmyk[1] * d + c0, cmyk[2] * d + c0);
}

// ---- TKNoKSeparation -------------------------------------------------------------------------

double TKNoKSeparation::CalcMaxBlack(const TKVector&) const { return 0.0; }
double TKNoKSeparation::CalcFullBlack(const TKVector&) const { return 0.0; }

TKVector TKNoKSeparation::SeparateWithBlack(const TKVector& cmy, double) const {
    return Cmyk(cmy[0], cmy[1], cmy[2], 0.0);
}

TKVector TKNoKSeparation::CMYKOfBlack(const TKVector& cmyk) const {
    return Cmy(cmyk[0] + cmyk[3], cmyk[1] + cmyk[3], cmyk[2] + cmyk[3]);
}

// ---- TKFullUCRSeparation ---------------------------------------------------------------------

double TKFullUCRSeparation::CalcMaxBlack(const TKVector& cmy) const { return Clip(cmy.Min(0, 2)); }
double TKFullUCRSeparation::CalcFullBlack(const TKVector& cmy) const { return Clip(cmy.Min(0, 2)); }

TKVector TKFullUCRSeparation::SeparateWithBlack(const TKVector& cmy, double k) const {
    k = Clip(k);
    const double black = BendIn(k);
    auto ink = [&](double v) { return BendOut(BendIn(Clip(v)) - black); };
    return Cmyk(ink(cmy[0]), ink(cmy[1]), ink(cmy[2]), k);
}

TKVector TKFullUCRSeparation::CMYKOfBlack(const TKVector& cmyk) const {
    const double black = BendIn(Clip(cmyk[3]));
    auto ink = [&](double v) { return BendOut(BendIn(Clip(v)) + black); };
    return Cmy(ink(cmyk[0]), ink(cmyk[1]), ink(cmyk[2]));
}

// ---- TKRGBSeparation -------------------------------------------------------------------------

namespace {

TKVector CheckedLimits(const TKVector& limits) {
    for (int32_t i = 0; i < limits.GetDim(); ++i)
        if (!(limits[i] >= 0.0 && limits[i] <= 100.0)) TKThrowMsg(ArgErr, "ink limit outside 0..100");
    return limits;
}

}  // namespace

TKRGBSeparation::TKRGBSeparation(const TKVector& limits) : fLimits(CheckedLimits(limits)) {}

double TKRGBSeparation::CalcFullBlack(const TKVector& cmy) const { return Clip(cmy.Min(0, 2)); }
double TKRGBSeparation::CalcMaxBlack(const TKVector& cmy) const { return Clip(cmy.Min(0, 2)); }

double TKRGBSeparation::CalcBlack(const TKVector& cmy) const {
    const double k = CalcFullBlack(cmy);
    return fLimits.GetDim() >= 4 ? std::min(k, fLimits[3]) : k;
}

TKVector TKRGBSeparation::SeparateWithBlack(const TKVector& cmy, double k) const {
    k = Clip(k);
    TKVector out = Cmyk(cmy[0] - k, cmy[1] - k, cmy[2] - k, k);
    for (int32_t i = 0; i < std::min<int32_t>(4, fLimits.GetDim()); ++i) out[i] = std::min(out[i], fLimits[i]);
    return out;
}

TKVector TKRGBSeparation::CMYKOfBlack(const TKVector& cmyk) const {
    return Cmy(cmyk[0] + cmyk[3], cmyk[1] + cmyk[3], cmyk[2] + cmyk[3]);
}

TKVector TKRGBSeparation::GetFullInk(double& total) const {
    TKVector full = TKColorSeparationBase::GetFullInk(total);
    for (int32_t i = 0; i < std::min<int32_t>(4, fLimits.GetDim()); ++i) full[i] = fLimits[i];
    return full;
}

// ---- TKBalanceSeparation ---------------------------------------------------------------------

TKBalanceSeparation::TKBalanceSeparation(double balance) {
    if (!(balance >= 0.0 && balance <= 1.0)) TKThrowMsg(ArgErr, "balance outside 0..1");
    fCMYBalance = 1.0 - balance;
    fKBalance = balance;
}

void TKBalanceSeparation::SetBalanceFrom(const TKVector& cmyk) {
    const double gray = cmyk.Min(0, 2), black = cmyk[3];
    const double least = std::min(gray, black);
    if (least <= 0.0) {
        fCMYBalance = fKBalance = 1.0;
        return;
    }
    fCMYBalance = gray / least;
    fKBalance = black / least;
}

double TKBalanceSeparation::Scale(double cmyMin, double k) const {
    // More gray than black thins the inks by the CMY weight, more black by the black weight.
    const double e = 0.01 * (cmyMin - k);
    return e > 0.0 ? 1.0 - (1.0 - fCMYBalance) * e : 1.0 + (1.0 - fKBalance) * e;
}

double TKBalanceSeparation::CalcFullBlack(const TKVector& cmy) const { return Clip(cmy.Min(0, 2)); }
double TKBalanceSeparation::CalcMaxBlack(const TKVector& cmy) const {
    // The inks grow as black shrinks: bisect for the least black whose inks stay within 100.
    double low = 0.0, high = CalcFullBlack(cmy);
    if (Unclipped(cmy, low).Max(0, 2) <= 100.0) return 0.0;
    for (int i = 0; i < 40; ++i) {
        const double k = 0.5 * (low + high);
        (Unclipped(cmy, k).Max(0, 2) <= 100.0 ? high : low) = k;
    }
    return high;
}

double TKBalanceSeparation::CalcBlack(const TKVector& cmy) const {
    const double sum = fCMYBalance + fKBalance;
    return sum > 0.0 ? Clip(cmy.Min(0, 2) * fKBalance / sum) : 0.0;
}

TKVector TKBalanceSeparation::CMYKOfBlack(const TKVector& cmyk) const {
    const double scale = Scale(cmyk.Min(0, 2), cmyk[3]);
    const double k = Clip(cmyk[3] * scale);
    return Cmy(Mix(Clip(cmyk[0] * scale), k), Mix(Clip(cmyk[1] * scale), k), Mix(Clip(cmyk[2] * scale), k));
}

TKVector TKBalanceSeparation::Unclipped(const TKVector& cmy, double k) const {
    // The scale depends on the inks it produces: a few rounds of substitution settle it, since
    // it moves by at most a hundredth of the change of the inks.
    k = Clip(k);
    TKVector out({cmy[0], cmy[1], cmy[2], k}, int32_t(TKCMYKSpace));
    for (int round = 0; round < 60; ++round) {
        const double scale = Scale(Clip(out.Min(0, 2)), k);
        if (!(scale > 0.0)) break;
        const double black = Clip(k * scale);
        const TKVector next({Unmix(cmy[0], black) / scale, Unmix(cmy[1], black) / scale, Unmix(cmy[2], black) / scale, k},
                            int32_t(TKCMYKSpace));
        const double moved = next.MaxDistance(out);
        out = next;
        if (moved < 1e-12) break;
    }
    return out;
}

TKVector TKBalanceSeparation::SeparateWithBlack(const TKVector& cmy, double k) const {
    const TKVector out = Unclipped(cmy, k);
    return Cmyk(out[0], out[1], out[2], out[3]);
}

// ---- TKCustomSeparation ----------------------------------------------------------------------

TKCustomSeparation::TKCustomSeparation(TKTrafo* black, bool owned) : fBlack(black, owned) {
    if (!fBlack) TKThrowMsg(PtrInvalid, "custom separation without a black trafo");
}

TKCustomSeparation::~TKCustomSeparation() noexcept {}

double TKCustomSeparation::CalcBlack(const TKVector& cmy) const {
    const TKVector k = fBlack->Trafo(cmy);
    if (k.GetDim() < 1) TKThrowMsg(DimMismatch, "black trafo without a result");
    return std::min(Clip(k[0]), CalcFullBlack(cmy));
}
