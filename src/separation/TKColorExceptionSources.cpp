// The exception paths by source type: gray, RGB (and CMY, as the light it lets through) and
// CMYK (and any source of four inks or more). Each gathers one weight, the strongest claim of
// any rule on the source colour, and one target, then blends the transform's colour towards it.
#include <algorithm>
#include <cmath>

#include "separation/TKColorException.h"
#include "separation/TKColorExceptionModes.h"
#include "separation/TKDirectColor.h"
#include "separation/TKExceptionColors.h"
#include "separation/TKInkLimitTrafo.h"

namespace {

double Norm(std::initializer_list<double> values) {
    double sum = 0.0;
    for (double v : values) sum += v * v;
    return std::sqrt(sum);
}

// The weight w only grows: every rule that claims the colour more strongly raises it.
void Raise(double& w, double candidate) { w = std::max(w, candidate); }

// The largest fall-off of the source from three corner colours. With `keep` set each corner
// also raises w and pulls the target towards the source's direct colour.
double Corners(const TKVector& s, const TKVector (&corners)[3], double width, bool keep, double& w, TKVector& t,
               const TKVector& direct) {
    double largest = 0.0;
    for (const TKVector& corner : corners) {
        const double wc = TKCalcFalloff(s.Distance(corner), width);
        largest = std::max(largest, wc);
        if (keep) {
            Raise(w, wc);
            t += wc * (direct - t);
        }
    }
    return largest;
}

}  // namespace

TKVector TKColorException::ApplyGraySource(const TKVector& s, const TKVector& d, const TKVector& base) const {
    TKVector r(d), t(base);
    const double tol = 100.0 * fTolerance;
    bool useLimit = r.GetDim() > 3;
    double w = std::max(0.0, CalcRuleWeight(s, useLimit));
    if (fMode & 0x20401u) {
        const double wk = CalcFalloff(100.0 - s[0], tol);
        Raise(w, wk);
        t += wk * (fRefs.dstKBlack - t);
    }
    if (fMode & kTKPureWhite) Raise(w, CalcFalloff(s[0], 0.0));
    bool blend = w > 0.0;
    if (fMode & kTKPureGray) {
        // IgnoreGray wins where both are set: a linear black ramp without the curve.
        double g = s[0] / 100.0;
        if (!(fMode & kTKIgnoreGray)) g = GrayCurve(g);
        t = g * fRefs.dstKBlack + (1.0 - g) * fRefs.dstWhite;
        w = 1.0;
        blend = true;
    }
    if (blend) {
        if (useLimit) t = PassInkLimit(t);
        r = TKBlendColors(r, t, w, 2);
    }
    if (fMode & kTKClipToEdge) {
        r = TKPurifyColor(r, s, kTKClipToEdge, 0);
        if (useLimit) r = PassInkLimit(r);
    }
    return r;
}

TKVector TKColorException::ApplyRGBSource(const TKVector& s, const TKVector& d, const TKVector& base) const {
    const double c = 255.0 - s[0], m = 255.0 - s[1], y = 255.0 - s[2];
    const double lo = std::min({s[0], s[1], s[2]}), hi = std::max({s[0], s[1], s[2]});
    const double width = 255.0 * fTolerance;
    const double grayWidth = std::min({255.0 - hi, 50.0, width});
    const double band = std::min(hi - lo, width);
    TKVector r(d), t(base);
    bool useLimit = r.GetDim() > 3;
    double w = std::max(0.0, CalcRuleWeight(s, useLimit));
    const TKVector direct = TKDirectConvert(s, uint32_t(t.GetType()));
    if (fMode & 0x401u) {
        const double wk = CalcFalloff(s.Distance(fRefs.srcKBlack), width);
        Raise(w, wk);
        t += wk * ((fRefs.dstKBlack.GetDim() <= 3 ? direct : fRefs.dstKBlack) - t);
    }
    if (fMode & kTKPureWhite) Raise(w, CalcFalloff(s.Distance(fRefs.srcWhite), 0.0));
    const double cmyCorner = Corners(s, fRefs.srcCMY, width, (fMode & kTKFullCMY) != 0, w, t, direct);
    const double rgbCorner = Corners(s, fRefs.srcRGB, width, (fMode & kTKFullRGB) != 0, w, t, direct);
    // Light corners weigh less than ink corners: an RGB primary is already a mix of two inks.
    if (fMode & kTKMaxCMY) Raise(w, 0.6 * cmyCorner);
    if (fMode & kTKMaxRGB) Raise(w, rgbCorner);
    if (fMode & kTKDuplex) Raise(w, CalcFalloff(s[0] + s[1] + s[2] - lo - hi, width));
    if (fMode & kTKTriplex) Raise(w, CalcFalloff(lo, width));
    if (fMode & 0x100020u) Raise(w, CalcFalloff(Norm({m, y}), band));
    if (fMode & 0x200020u) Raise(w, CalcFalloff(Norm({c, y}), band));
    if (fMode & 0x400020u) Raise(w, CalcFalloff(Norm({c, m}), band));
    if (fMode & 0x801000u) Raise(w, CalcFalloff(c, band));
    if (fMode & 0x1001000u) Raise(w, CalcFalloff(m, band));
    if (fMode & 0x2001000u) Raise(w, CalcFalloff(y, band));
    const double gray = TKGrayDistance(s) * (s.GetDim() > 3 ? 4.0 : 1.0);
    if (fMode & kTKIgnoreGray) {
        Raise(w, CalcFalloff(gray, grayWidth));
    } else if (fMode & kTKLinearizeGray) {
        const double wg = CalcFalloff(gray, grayWidth);
        Raise(w, wg);
        if (wg > 0.0 && t.GetDim() > 3) t[3] = (1.0 - wg) * t[3] + wg * 100.0 * GrayCurve(1.0 - (hi + lo) / 510.0);
    }
    if (w > 0.0) r = TKBlendColors(r, t, w, 2);
    if (fMode & kTKClipToEdge) {
        r = TKPurifyColor(r, s, kTKClipToEdge, 0);
        if (useLimit) r = PassInkLimit(r);
    }
    return r;
}

TKVector TKColorException::ApplyCMYKSource(const TKVector& s, const TKVector& d, const TKVector& base) const {
    const double c = s[0], m = s[1], y = s[2], k = s[3];
    const double lo = std::min({c, m, y}), hi = std::max({c, m, y});
    const double mid = c + m + y - lo - hi, top = s.Max();
    const double width = 100.0 * fTolerance;
    const double grayWidth = std::min({40.0, top, width});
    const double band = std::min(hi - lo, width);
    const double corner = std::min(top, width);
    TKVector r(d), t(base);
    const int32_t nD = r.GetDim();
    bool useLimit = nD > 3;
    double w = std::max(0.0, CalcRuleWeight(s, useLimit));
    const TKVector direct = TKDirectConvert(s, uint32_t(t.GetType()));
    if ((fMode & kTKBlackOverprint) && k > 99.6 && nD > 3) {
        r[3] = 100.0;
        if (useLimit) r = PassInkLimit(r);
    }
    if (fMode & kTKPreserve100Black) Raise(w, CalcFalloff(100.0 - k, 0.0));
    if (fMode & kTKPureBlack) {
        const double wk = CalcFalloff(s.Distance(fRefs.srcKBlack), width);
        Raise(w, wk);
        t += wk * ((fRefs.dstKBlack.GetDim() < 4 ? fRefs.dstKBlack : direct) - t);
    }
    if (fMode & kTKPureWhite) Raise(w, CalcFalloff(s.Distance(fRefs.srcWhite), 0.0));
    const double cmyCorner = Corners(s, fRefs.srcCMY, width, (fMode & kTKFullCMY) != 0, w, t, direct);
    const double rgbCorner = Corners(s, fRefs.srcRGB, width, (fMode & kTKFullRGB) != 0, w, t, direct);
    if (fMode & kTKMaxCMY) Raise(w, cmyCorner);
    if (fMode & kTKMaxRGB) Raise(w, rgbCorner);
    if (fMode & 0x100020u) Raise(w, CalcFalloff(Norm({y, m, k}), band));
    if (fMode & 0x200020u) Raise(w, CalcFalloff(Norm({y, c, k}), band));
    if (fMode & 0x400020u) Raise(w, CalcFalloff(Norm({m, c, k}), band));
    if (fMode & 0x801000u) Raise(w, CalcFalloff(Norm({k, c}), band));
    if (fMode & 0x1001000u) Raise(w, CalcFalloff(Norm({k, m}), band));
    if (fMode & 0x2001000u) Raise(w, CalcFalloff(Norm({k, y}), band));
    if (fMode & kTKDuplex) Raise(w, CalcFalloff(Norm({mid, lo}), corner));
    if (fMode & kTKTriplex)
        Raise(w, CalcFalloff(lo, corner));
    else if ((fMode & kTKTriplexBelowTAC) && s.Sum() <= fInkLimit->GetTAC())
        Raise(w, CalcFalloff(lo, corner));
    const double gray = Norm({m, c, y});
    if (fMode & kTKIgnoreGray) {
        Raise(w, CalcFalloff(gray, grayWidth));
        if (t.GetDim() > 3) t[3] = k;
    } else if (fMode & kTKLinearizeGray) {
        Raise(w, CalcFalloff(gray, grayWidth));
    }
    if (w > 0.0) {
        if (useLimit) t = PassInkLimit(t);
        r = TKBlendColors(r, t, w, 2);
    }
    return FinishInkResult(s, r, k, useLimit);
}
