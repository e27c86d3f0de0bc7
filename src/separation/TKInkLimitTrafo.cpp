// Ink limiting by reduction of the colours over a limit.
#include "separation/TKInkLimitTrafo.h"

#include <algorithm>

#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "separation/TKDirectColor.h"

namespace {

// Limit vectors are kept as inks: an RGB vector becomes its CMY complement.
TKVector AsInkLimits(const TKVector& limits) {
    return uint32_t(limits.GetType()) == TKRGBSpace ? TKDirectConvert(limits, TKCMYSpace) : limits;
}

// The limits for n channels of `type`: entries beyond the given ones repeat the largest given
// entry, so a CMYK limit of 90 % extends to the spot inks of a six-colour type.
TKVector ExtendLimits(const TKVector& given, int32_t n, uint32_t type) {
    TKVector limits(n, int32_t(type), given.IsEmpty() ? 100.0 : given.Max());
    for (int32_t i = 0; i < std::min(n, given.GetDim()); ++i) limits[i] = given[i];
    return limits;
}

// The gray balance of a press needs more cyan than magenta and yellow, so a reduction that
// scaled all three alike would tint neutrals. Hue keeping holds back a share of the gray
// component before scaling and gives it back afterwards: e = m - m^2/100 is largest in the
// middle tones and zero at paper and solid.
void ShiftGrayBalance(TKVector& v, double sign) {
    const double m = std::min({v[0], v[1], v[2]});
    const double e = sign * (m - 0.01 * m * m);
    v[0] -= 0.25 * e;
    v[1] += 0.125 * e;
    v[2] += 0.125 * e;
}

}  // namespace

TKInkLimitTrafo::TKInkLimitTrafo(double tac, const TKVector& channelLimits)
    : TKColorTrafo(0, 0), fGivenChannelLimits(4, int32_t(TKCMYKSpace), 100.0), fGivenBlackLimits(4, 0, 100.0) {
    SetTAC(tac);
    if (!channelLimits.IsEmpty()) fGivenChannelLimits = AsInkLimits(channelLimits);
    fChannelLimits = fGivenChannelLimits;
    fBlackLimits = fGivenBlackLimits;
    // Ready for colours of the limits' own type; an untyped vector stands for the device type
    // of its channel count.
    uint32_t type = uint32_t(fGivenChannelLimits.GetType());
    if (type == 0) type = GetDeviceType(fGivenChannelLimits.GetDim());
    if (IsInkSpace(type)) PrepareLimits(type);
}

uint32_t TKInkLimitTrafo::LimitedType(uint32_t type) { return type == TKRGBSpace ? TKCMYSpace : type; }

void TKInkLimitTrafo::SetColorType(uint32_t type) { PrepareLimits(type); }

void TKInkLimitTrafo::PrepareLimits(uint32_t type) {
    const uint32_t inkType = LimitedType(type);
    if (!IsInkSpace(inkType))
        TKThrowMsg(WrongDataType, TKString::Format("ink limits need an ink type, not %s", GetTypeName(type).CString())
                                      .CString());
    SetTypes(type, type);
    if (inkType == fColorType) return;
    const int32_t n = GetChannelCount(inkType);
    fChannelLimits = ExtendLimits(fGivenChannelLimits, n, inkType);
    fActive = fChannelLimits.Min() < 100.0;
    // The black limits become a limited full black: the reference towards which dark colours
    // are reduced.
    fBlackLimits = ExtendLimits(fGivenBlackLimits, n, inkType);
    fBlackLimits = LimitTotal(fBlackLimits);
    if (!fActive) fActive = fBlackLimits.Min() < 100.0;
    fColorType = inkType;
}

void TKInkLimitTrafo::Reprepare() {
    const uint32_t type = fColorType;
    fColorType = 0;
    fChannelLimits = fGivenChannelLimits;
    fBlackLimits = fGivenBlackLimits;
    fActive = false;
    if (type != 0) SetColorType(type);
}

void TKInkLimitTrafo::SetChannelLimits(const TKVector& limits) {
    fGivenChannelLimits = AsInkLimits(limits);
    fGivenChannelLimits.SetType(0);
    Reprepare();
}

void TKInkLimitTrafo::SetBlackLimits(const TKVector& limits) {
    fGivenBlackLimits = AsInkLimits(limits);
    fGivenBlackLimits.SetType(0);
    Reprepare();
}

void TKInkLimitTrafo::SetMode(uint32_t mode) {
    fMode = mode;
    Reprepare();
}

void TKInkLimitTrafo::SetTAC(double tac) {
    fTAC = tac <= 0.0 ? 200.0 : tac <= 100.0 ? 100.0 : tac;
    if (fColorType != 0) Reprepare();
}

void TKInkLimitTrafo::CheckType(const TKVector& inks) const {
    const uint32_t type = uint32_t(inks.GetType());
    const bool matches = fColorType != 0 && (type == fColorType || (type == 0 && inks.GetDim() == fChannelLimits.GetDim()));
    if (!matches)
        TKThrowMsg(WrongDataType, TKString::Format("ink limits prepared for %s, not for %s",
                                                   GetTypeName(fColorType).CString(), GetTypeName(type).CString())
                                      .CString());
}

TKVector TKInkLimitTrafo::Trafo(const TKVector& source) const { return DoLimit(source); }

TKVector TKInkLimitTrafo::DoLimit(const TKVector& colour) const {
    const uint32_t type = uint32_t(colour.GetType());
    TKVector r = type == TKRGBSpace ? TKDirectConvert(colour, TKCMYSpace) : colour;
    CheckType(r);
    if (!fActive) return colour;
    r = LimitChannels(LimitTotal(LimitBlack(r)));
    if (type == TKRGBSpace) r = TKDirectConvert(r, TKRGBSpace);
    r.SetType(int32_t(type));
    return r;
}

TKVector TKInkLimitTrafo::LimitChannels(const TKVector& colour) const {
    TKVector r(colour);
    for (int32_t i = 0; i < std::min(r.GetDim(), fChannelLimits.GetDim()); ++i) r[i] = std::min(r[i], fChannelLimits[i]);
    return r;
}

TKVector TKInkLimitTrafo::LimitBlack(const TKVector& colour) const {
    if (colour.GetDim() < 4 || fBlackLimits.GetDim() < 4 || colour[3] <= fBlackLimits[3]) return colour;
    // Light grays keep their black; from the limited black's CMY on, black is limited fully,
    // and in between the limit falls linearly.
    const double g = std::min({colour[0], colour[1], colour[2]});
    const double full = std::min({fBlackLimits[0], fBlackLimits[1], fBlackLimits[2]});
    const double start = std::min(20.0, 0.75 * full);
    double limit = 100.0;
    if (g >= full)
        limit = fBlackLimits[3];
    else if (g >= start)
        limit = 100.0 - ((g - start) / (full - start)) * (100.0 - fBlackLimits[3]);
    TKVector r(colour);
    r[3] = std::min(r[3], limit);
    return r;
}

TKVector TKInkLimitTrafo::LimitTotal(const TKVector& colour) const {
    const int32_t n = colour.GetDim();
    const double sum = colour.Sum();
    double limit = fTAC;
    if (n >= 4 && sum + 0.1 < fTAC) {
        const double k = colour[3];
        const double q = 0.01 * k;
        const double gray = std::min({colour[0], colour[1], colour[2]});
        const double shadow = (1.0 - (1.0 - q) * (1.0 - 0.01 * gray)) * q;
        double w = shadow;
        if (fMode & kDarkWeightShadow)
            w = 0.2 * shadow / ((1.0 - shadow) + 0.2 * shadow);
        else if (fMode & kDarkWeightMax)
            w = 0.02 * std::max(k, gray);
        limit = fTAC - (fTAC - sum) * std::clamp(w, 0.0, 1.0);
    }
    return ReduceTo(colour, limit, (fMode & kKeepHue) != 0, fBlackLimits);
}

TKVector TKInkLimitTrafo::ReduceTo(const TKVector& colour, double limit, bool keepHue, const TKVector& reference) {
    const uint32_t type = uint32_t(colour.GetType());
    TKVector v = type == TKRGBSpace ? TKDirectConvert(colour, TKCMYSpace) : colour;
    const int32_t n = v.GetDim();
    double sum = v.Sum();
    if (sum <= limit) return colour;
    const bool hue = keepHue && n > 2;
    if (hue) ShiftGrayBalance(v, 1.0);
    if (n < 4) {
        v *= limit / sum;
    } else {
        // Dark colours move first towards the balance of the limited full black.
        if (reference.GetDim() == n && v[3] > 0.0) {
            TKVector x(v);
            for (int32_t i = 0; i < n; ++i) x[i] = v[i] * reference[i] * 0.01;
            const double sumX = x.Sum();
            if (sumX < sum) {
                v += ((sum - limit) / (sum - sumX)) * (x - v);
                sum = v.Sum();
            }
        }
        // Black is kept; the other inks carry what is left of the reduction.
        const double k = v[3];
        if (sum - k > 0.0) {
            v *= (limit - k) / (sum - k);
            v[3] = k;
        }
    }
    if (hue) ShiftGrayBalance(v, -1.0);
    for (int32_t i = 0; i < n; ++i) v[i] = std::max(v[i], 0.0);
    if (type == TKRGBSpace) v = TKDirectConvert(v, TKRGBSpace);
    v.SetType(int32_t(type));
    return v;
}

// --- The scaled cube -------------------------------------------------------------------------

TKScaledInkLimitTrafo::TKScaledInkLimitTrafo(double tac, const TKVector& channelLimits)
    : TKInkLimitTrafo(tac, channelLimits) {
    if (GetColorType() != 0) SetColorType(GetColorType());
}

void TKScaledInkLimitTrafo::SetColorType(uint32_t type) {
    const uint32_t inkType = LimitedType(type);
    if (IsInkSpace(inkType) && GetChannelCount(inkType) > kMaxChannels)
        TKThrowMsg(DimMismatch, "the scaled ink limit takes at most 16 channels");
    const bool same = inkType == GetColorType();
    PrepareLimits(type);
    if (same && !fCornerTable.IsEmpty()) return;
    const TKVector limits = GetChannelLimits();
    const int32_t n = limits.GetDim();
    TKMatrix corners(1 << n, n, int32_t(inkType));
    for (int32_t c = 0; c < (1 << n); ++c) {
        TKVector corner(n, int32_t(inkType));
        for (int32_t i = 0; i < n; ++i)
            if (c & (1 << (n - 1 - i))) corner[i] = limits[i];
        if (corner.Sum() > GetTAC()) {
            corner = LimitTotal(LimitBlack(corner));
            fActive = true;
        }
        corners.SetRow(c, corner);
    }
    fCornerTable = corners;
}

TKVector TKScaledInkLimitTrafo::DoLimit(const TKVector& colour) const {
    const uint32_t type = uint32_t(colour.GetType());
    TKVector v = type == TKRGBSpace ? TKDirectConvert(colour, TKCMYSpace) : colour;
    CheckType(v);
    if (!fActive) return colour;
    const int32_t n = v.GetDim();
    // Each corner weighs the product of t or 1 - t over the channels, t the channel's share of
    // full ink; the first channel is the most significant bit of the corner index.
    TKVector r(n, 0);
    for (int32_t c = 0; c < fCornerTable.GetHeight(); ++c) {
        double weight = 1.0;
        for (int32_t i = 0; i < n && weight > 0.0; ++i) {
            const double t = std::clamp(v[i] * 0.01, 0.0, 1.0);
            weight *= (c & (1 << (n - 1 - i))) ? t : 1.0 - t;
        }
        if (weight <= 0.0) continue;
        const double* row = fCornerTable.Row(c);
        for (int32_t i = 0; i < n; ++i) r[i] += weight * row[i];
    }
    // Near the full-ink corner the mix is pulled towards that corner by the share of the black
    // limit, so the darkest colours keep the limited black of the table.
    const TKVector black = GetBlackLimits();
    if (black.GetDim() == n) {
        TKVector full(n, 0, 100.0);
        const double t = 1.0 - 0.01 * v.Distance(full);
        if (t > 0.0) r += (t * t * 0.01 * black[n - 1]) * (fCornerTable.GetRow(fCornerTable.GetHeight() - 1) - r);
    }
    if (type != TKRGBSpace) {
        r.SetType(int32_t(type));
        return r;
    }
    r.SetType(int32_t(TKCMYSpace));
    return TKDirectConvert(r, TKRGBSpace);
}
