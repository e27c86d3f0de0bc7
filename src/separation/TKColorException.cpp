// The exception object: set-up, reference colours, the dispatcher and the base colours.
#include "separation/TKColorException.h"

#include <algorithm>
#include <cmath>

#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "separation/TKColorExceptionModes.h"
#include "separation/TKDirectColor.h"
#include "separation/TKExceptionColors.h"
#include "separation/TKInkLimitTrafo.h"

namespace {

double MaxFrom(const TKVector& v, int32_t first) {
    double m = 0.0;
    for (int32_t i = first; i < v.GetDim(); ++i) m = std::max(m, v[i]);
    return m;
}

// Black with only the black ink: K full where there is a fourth channel, else every ink full;
// RGB black is (0, 0, 0).
TKVector KOnlyBlack(uint32_t type) {
    const int32_t n = GetChannelCount(type);
    if (type == TKRGBSpace || n < 4) return GetBlack(type);
    TKVector black(n, int32_t(type));
    black[3] = GetChannelMax(type, 3);
    return black;
}

bool Applies(const TKTrafo* side, const TKVector& colour) {
    return side && (side->GetSrcType() == 0 || side->GetSrcType() == colour.GetType());
}

}  // namespace

TKColorException::TKColorException(uint32_t inType, uint32_t outType)
    : fInType(inType), fOutType(outType), fInkLimit(std::make_unique<TKInkLimitTrafo>(400.0, TKVector())) {}

TKColorException::TKColorException(const TKColorException& other)
    : TKRefTrafo(other),
      fMode(other.fMode),
      fExtendedMode(other.fExtendedMode),
      fTolerance(other.fTolerance),
      fInType(other.fInType),
      fOutType(other.fOutType),
      fInkLimit(std::make_unique<TKInkLimitTrafo>(*other.fInkLimit)),
      fPre(other.fPre),
      fPost(other.fPost),
      fGrayCurve(other.fGrayCurve),
      fRules(other.fRules),
      fTACMin(other.fTACMin),
      fTACMax(other.fTACMax),
      fGridSize(other.fGridSize) {}

TKColorException::~TKColorException() = default;

int32_t TKColorException::GetSrcDim() const { return GetChannelCount(fInType); }
int32_t TKColorException::GetDstDim(int32_t srcDim) const {
    // Standing behind a trafo, the colour that comes in is already the destination colour.
    if (fOutType != 0) return GetChannelCount(fOutType);
    return srcDim;
}
int32_t TKColorException::GetSrcType() const { return int32_t(fInType); }
int32_t TKColorException::GetDstType(int32_t srcType) const { return fOutType ? int32_t(fOutType) : srcType; }
int32_t TKColorException::GetInfo(int32_t index) const { return index == kInfoIdentity ? 0 : TKRefTrafo::GetInfo(index); }

TKVector TKColorException::Trafo(const TKVector& source) const {
    if (!fRefVector.IsEmpty()) return ApplyExceptions(fRefVector, source);
    if (fRefTrafo) return ApplyExceptions(source, fRefTrafo->Trafo(source));
    return ApplyExceptions(source, source);
}

void TKColorException::SetSideTrafos(TKTrafo* pre, TKTrafo* post, TKTrafo* grayCurve, bool release) {
    fPre.Reset(pre, release);
    fPost.Reset(post, release);
    fGrayCurve.Reset(grayCurve, release);
}

void TKColorException::SetMode(uint32_t mode) { fMode = mode; }
uint32_t TKColorException::GetMode() const { return fMode; }
void TKColorException::SetExtendedMode(int32_t mode) { fExtendedMode = mode; }
int32_t TKColorException::GetExtendedMode() const { return fExtendedMode; }
void TKColorException::SetTolerance(double tolerance) { fTolerance = tolerance; }
double TKColorException::GetTolerance() const { return fTolerance; }

void TKColorException::SetInkLimit(const TKVector& limits, double total) {
    TKVector channels(limits);
    if (channels.GetDim() > 3) channels[3] = 100.0;
    auto limit = std::make_unique<TKInkLimitTrafo>(total, channels);
    limit->SetMode(3);
    fInkLimit = std::move(limit);
    fRefs = References();  // the limit is prepared for the destination type on the next refresh
}

double TKColorException::CalcFalloff(double distance, double width) const { return TKCalcFalloff(distance, width); }

TKVector TKColorException::KeepFarthest(const TKVector& reference, const TKVector& a, const TKVector& b) const {
    return TKKeepFarthest(reference, a, b);
}

uint32_t TKColorException::TypeOf(const TKVector& colour, uint32_t fallback) const {
    if (colour.GetType() != 0) return uint32_t(colour.GetType());
    if (fallback != 0 && GetChannelCount(fallback) == colour.GetDim()) return fallback;
    return GetDeviceType(colour.GetDim());
}

void TKColorException::Refresh(uint32_t srcType, uint32_t dstType) const {
    if (fRefs.srcType == srcType && fRefs.dstType == dstType) return;
    References r;
    r.srcType = srcType;
    r.dstType = dstType;
    r.srcWhite = GetWhite(srcType);
    r.srcKBlack = KOnlyBlack(srcType);
    r.srcFullBlack = GetBlack(srcType);
    const double corners[6][3] = {{0, 255, 255}, {255, 0, 255}, {255, 255, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
    for (int32_t i = 0; i < 3; ++i) {
        r.srcCMY[i] = TKDirectConvert(TKVector({corners[i][0], corners[i][1], corners[i][2]}, int32_t(TKRGBSpace)), srcType);
        r.srcRGB[i] =
            TKDirectConvert(TKVector({corners[i + 3][0], corners[i + 3][1], corners[i + 3][2]}, int32_t(TKRGBSpace)), srcType);
    }
    r.dstWhite = GetWhite(dstType);
    r.dstKBlack = KOnlyBlack(dstType);
    r.dstFullBlack = GetBlack(dstType);
    if (IsInkSpace(dstType) || dstType == TKRGBSpace) fInkLimit->SetColorType(dstType);
    fRefs = r;
}

TKVector TKColorException::PassInkLimit(const TKVector& colour) const {
    const uint32_t type = uint32_t(colour.GetType());
    if (!fInkLimit->IsActive()) return colour;
    const uint32_t prepared = fInkLimit->GetColorType();
    if (prepared == 0 || (type != prepared && !(type == TKRGBSpace && prepared == TKCMYSpace))) return colour;
    return fInkLimit->DoLimit(colour);
}

double TKColorException::GrayCurve(double g) const {
    if (!fGrayCurve) return g;
    return fGrayCurve->Trafo(TKVector({g}))[0];
}

bool TKColorException::HasRules() const { return !fRules.empty() || (fTACMax > 0.0 && fTACMin < fTACMax); }

double TKColorException::CalcRuleWeight(const TKVector& source, bool& useInkLimit) const {
    double w = 0.0;
    const uint32_t type = TypeOf(source, fInType);
    if (fTACMax > 0.0 && fTACMin < fTACMax && IsInkSpace(type)) {
        const double total = source.Sum();
        if (total < fTACMin)
            w = std::max(0.0, CalcFalloff(fTACMin - total, 100.0 * fTolerance));
        else if (total > fTACMax)
            w = std::max(0.0, CalcFalloff(total - fTACMax, 100.0 * fTolerance));
        else
            w = 1.0;
    }
    for (const TKSpotRule& rule : fRules) {
        if (w >= 1.0) break;
        if (rule.lo.GetDim() != source.GetDim()) continue;
        double squared = 0.0;
        for (int32_t i = 0; i < source.GetDim(); ++i) {
            const double outside = std::max({rule.lo[i] - source[i], source[i] - rule.hi[i], 0.0});
            squared += outside * outside;
        }
        // Inside the radius the rule holds fully; the fall-off starts at its edge.
        const double beyond = std::sqrt(squared) - rule.radius;
        w = std::max(w, CalcFalloff(std::max(beyond, 0.0), rule.border));
        if (beyond <= 0.0) useInkLimit = rule.useInkLimit;
    }
    return w;
}

TKVector TKColorException::CalcBaseColor(const TKVector& source, const TKVector& destination) const {
    const uint32_t dstType = TypeOf(destination, fOutType);
    TKVector x(source);
    if (x.GetType() == 0) x.SetType(int32_t(TypeOf(source, fInType)));
    if (Applies(fPre.Get(), x)) x = fPre->Trafo(x);
    const int32_t nX = x.GetDim(), nD = GetChannelCount(dstType);
    TKVector r;
    if (nX < 4 && nD > 3) {
        // Under-colour removal: the gray the colour holds becomes black.
        const TKVector cmy = TKDirectConvert(x, TKCMYSpace);
        r = TKDirectConvert(x, dstType);
        const double gray = std::min({r[0], r[1], r[2]});
        r[3] = cmy.Min();
        for (int32_t i = 0; i < 3; ++i) r[i] -= gray;
    } else if (nX > 3 && nD == 1) {
        r = GetWhite(dstType);
        r[0] = x[3];
    } else {
        r = TKDirectConvert(x, dstType);
    }
    if (Applies(fPost.Get(), r)) r = fPost->Trafo(r);
    TKClipToRange(r);
    return r;
}

TKVector TKColorException::CalcPurifiedColor(const TKVector& source, const TKVector& destination) const {
    const uint32_t srcType = TypeOf(source, fInType), dstType = TypeOf(destination, fOutType);
    Refresh(srcType, dstType);
    TKVector r(destination);
    r.SetType(int32_t(dstType));
    TKVector typedSource(source);
    typedSource.SetType(int32_t(srcType));
    TKVector x = TKDirectConvert(typedSource, dstType);
    const int32_t nD = r.GetDim();
    if (nD >= 4) {
        double m = std::min({x[0], x[1], x[2]});
        if (srcType == TKRGBSpace && m >= 99.9) {
            if (fMode & kTKPureBlack)
                x = fRefs.dstKBlack;
            else if (fMode & kTKFullBlack)
                x = fRefs.dstFullBlack;
        } else if (srcType == TKRGBSpace && (fMode & kTKPureGray)) {
            TKFoldIntoBlack(x, m);
        }
        m = std::min({x[0], x[1], x[2]});
        if (m <= 0.0 && x[3] > 0.0) {
            // The source is black alone: the gray of the result goes into black. 110 instead
            // of 100 keeps the divisor away from zero at full black.
            const double gray = std::min({r[0], r[1], r[2]}), k = r[3];
            const double k2 = 100.0 - (100.0 - gray) * (100.0 - k) * 0.01;
            for (int32_t i = 0; i < 3; ++i) r[i] = 100.0 - (100.0 - r[i]) * (110.0 - k) / (110.0 - k2);
            r[3] = k2;
        }
        if (m > 0.0 && x[3] <= 0.0) {
            // The source has no black: black goes into the chromatic inks.
            for (int32_t i = 0; i < 3; ++i) r[i] = 100.0 - (100.0 - r[3]) * (100.0 - r[i]) * 0.01;
            r[3] = 0.0;
        }
    }
    // A channel the direct colour leaves empty stays empty and grows slowly with its own amount.
    for (int32_t i = 0; i < std::min(nD, x.GetDim()); ++i) {
        if (dstType == TKRGBSpace)
            r[i] = std::max(r[i], x[i] - (255.0 - x[i]) * (255.0 - x[i]) * 0.016);
        else
            r[i] = std::min(r[i], x[i] + 0.04 * x[i] * x[i] + (nD > 3 ? 0.04 * x[i] * x[3] : 0.0));
    }
    if (fMode & kTKPureWhite) {
        const double w = CalcFalloff(typedSource.Distance(fRefs.srcWhite), 0.0);
        if (w > 0.0) r += w * (fRefs.dstWhite - r);
    }
    const double scale = TKChannelScale(srcType);
    if (fMode & kTKPureBlack) {
        const double w = CalcFalloff(typedSource.Distance(fRefs.srcKBlack), 0.05 * scale);
        if (w > 0.0) r += w * (fRefs.dstKBlack - r);
    }
    if (fMode & 0xC000050u) {
        const double width = scale * std::max(fTolerance, 0.3);
        double w = 0.0;
        if (fMode & 0x4000010u)
            for (const TKVector& corner : fRefs.srcCMY) w = std::max(w, CalcFalloff(typedSource.Distance(corner), width));
        if (fMode & 0x8000040u)
            for (const TKVector& corner : fRefs.srcRGB) w = std::max(w, CalcFalloff(typedSource.Distance(corner), width));
        if (w > 0.0) {
            const TKVector target = (fMode & 0x50u) ? x : TKPurifyColor(r, typedSource, 0x4005000u, 0);
            r += w * (TKDirectConvert(target, dstType) - r);
        }
    }
    r.SetType(int32_t(dstType));
    TKClipToRange(r);
    return r;
}

TKVector TKColorException::ApplyExceptions(const TKVector& source, const TKVector& destination) const {
    if (!HasRules() && (fMode & ~kTKInertModes) == 0 && (fExtendedMode & ~1) == 0) return destination;
    const uint32_t srcType = TypeOf(source, fInType), dstType = TypeOf(destination, fOutType);
    TKVector s(source), r(destination);
    s.SetType(int32_t(srcType));
    r.SetType(int32_t(dstType));
    const int32_t nS = s.GetDim(), nD = r.GetDim();
    if (GetChannelCount(srcType) != nS || GetChannelCount(dstType) != nD) TKThrow(DimMismatch);
    Refresh(srcType, dstType);
    if (nS > 4 && nS == nD && (fMode & kTKFilterExceptions)) return ApplyFilteredSource(s, r, CalcBaseColor(s, r));
    if (fMode & kTKFilterExceptions) {
        const TKVector base = CalcBaseColor(s, r);
        if (nS < 5 || MaxFrom(s, 4) <= 0.0) r = ApplyFilteredSource(s, r, base);
    } else {
        const TKVector base = (fMode & kTKPurify) ? CalcPurifiedColor(s, r) : CalcBaseColor(s, r);
        if (srcType == TKGraySpace) {
            r = ApplyGraySource(s, r, base);
        } else if (srcType == TKCMYSpace || srcType == TKRGBSpace) {
            // CMY is measured as the light it lets through.
            const TKVector rgb = TKDirectConvert(s, TKRGBSpace);
            Refresh(TKRGBSpace, dstType);
            r = ApplyRGBSource(rgb, r, base);
            Refresh(srcType, dstType);
        } else if (srcType == TKCMYKSpace || nS >= 4) {
            r = ApplyCMYKSource(s, r, base);
        }
    }
    // Colours with inks beyond the fourth: one- and two-ink sources keep their inks pure, in
    // proportion to how much extra ink is involved.
    if ((nS > 2 && nD > 4) || (nS > 4 && nD > 3)) {
        const uint32_t classes = fMode ? TKClassifyColor(s, 1e-8) : 0;
        TKVector p(r);
        if ((fMode & kTKOneInkModes) && (classes & kTKClassCMYPrimary)) p = TKPurifyColor(p, s, fMode & kTKOneInkModes, 0);
        if ((fMode & kTKTwoInkModes) && (classes & kTKClassSecondary) && (classes & kTKClassCMYonly))
            p = TKPurifyColor(p, s, fMode & kTKTwoInkModes, 0);
        const double extra = std::max(MaxFrom(s, 4), MaxFrom(p, 4));
        if (extra > 0.0) r += std::min(0.1 * extra, 1.0) * (p - r);
        if (fMode & kTKMaxRGB) {
            double w = 0.0;
            for (const TKVector& corner : fRefs.srcRGB)
                w = std::max(w, CalcFalloff(s.Distance(corner), TKChannelScale(srcType) * fTolerance));
            if (w > 0.0) r = TKBlendColors(r, TKPurifyColor(r, s, 0x4005000u, 0), w, 2);
        }
    }
    return r;
}

void TKColorException::ApplyExceptionsToMatrix(const TKMatrix& sources, TKMatrix& destinations) const {
    const int32_t rows = std::min(sources.GetHeight(), destinations.GetHeight());
    for (int32_t i = 0; i < rows; ++i) {
        TKVector d = ApplyExceptions(sources.GetRow(i), destinations.GetRow(i));
        if (d.GetDim() != destinations.GetWidth()) TKThrow(DimMismatch);
        destinations.SetRow(i, d);
    }
}

TKMatrix TKColorException::SelectAffectedColors(const TKMatrix& colours, bool wantAffected) {
    const uint32_t savedMode = fMode;
    const uint32_t srcType = TypeOf(colours.GetHeight() ? colours.GetRow(0) : TKVector(), fInType);
    if (uint32_t(colours.GetType()) == TKGraySpace) fMode &= ~(kTKFilterExceptions | kTKPurify);
    const uint32_t dstType = fOutType ? fOutType : srcType;
    // A destination that no real transform would give but that every rule must move: the colour
    // pulled towards a middle tone, plus a share of its own strength.
    TKMatrix synthetic(colours.GetHeight(), GetChannelCount(dstType), int32_t(dstType));
    for (int32_t i = 0; i < colours.GetHeight(); ++i) {
        TKVector source = colours.GetRow(i);
        source.SetType(int32_t(TypeOf(source, srcType)));
        TKVector d = TKDirectConvert(source, dstType);
        const double slope = 0.02 * d.Norm();
        for (int32_t c = 0; c < d.GetDim(); ++c) d[c] = d[c] * 0.9 + 3.0 + slope;
        synthetic.SetRow(i, d);
    }
    TKMatrix results(synthetic);
    try {
        ApplyExceptionsToMatrix(colours, results);
    } catch (...) {
        fMode = savedMode;
        throw;
    }
    fMode = savedMode;
    std::vector<int32_t> picked;
    for (int32_t i = 0; i < colours.GetHeight(); ++i) {
        const bool affected = results.GetRow(i).MaxDistance(synthetic.GetRow(i)) > 0.01;
        if (affected == wantAffected) picked.push_back(i);
    }
    TKMatrix selected(int32_t(picked.size()), colours.GetWidth(), colours.GetType());
    for (size_t i = 0; i < picked.size(); ++i) selected.SetRow(int32_t(i), colours.GetRow(picked[i]));
    return selected;
}

TKVector TKColorException::FinishInkResult(const TKVector& source, TKVector r, double k, bool useLimit) const {
    const int32_t nD = r.GetDim();
    if ((fMode & kTKLimitPrimaries) && nD > 3 && source.GetDim() >= 3) {
        for (int32_t i = 0; i < 3; ++i) r[i] = std::min(r[i], source[i]);
        if (std::min({source[0], source[1], source[2]}) <= 0.0) r[3] = std::min(r[3], k);
    }
    if (fMode & kTKClipToEdge) {
        r = TKPurifyColor(r, source, kTKClipToEdge, 0);
        if (useLimit) r = PassInkLimit(r);
    }
    if ((fMode & kTKPreserveZeroBlack) && nD > 3) {
        // Black the source lacks goes back into the chromatic inks.
        const double excess = r[3] - 4.0 * k;
        if (excess > 0.0) {
            for (int32_t i = 0; i < 3; ++i) r[i] = 100.0 - (100.0 - r[i]) * 0.01 * (100.0 - excess);
            r[3] -= excess;
        }
    }
    if (source.Distance(fRefs.srcFullBlack) < 0.1) {
        if (fMode & kTKFullBlackToBlack) r = fRefs.dstKBlack;
        if (fMode & kTKFullBlack) r = fRefs.dstFullBlack;
    }
    return r;
}
