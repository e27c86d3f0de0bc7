// The filter path of the exception logic, used on request and for sources of more than four
// inks. Unlike the chained paths, every exception makes a candidate of its own, blended from the
// unchanged colour, and the candidates are merged channel by channel: the channel that moved
// farthest wins, so one exception never undoes another.
#include <algorithm>
#include <cmath>

#include "color/TKColors.h"
#include "separation/TKColorException.h"
#include "separation/TKColorExceptionModes.h"
#include "separation/TKDirectColor.h"
#include "separation/TKExceptionColors.h"
#include "separation/TKInkLimitTrafo.h"

namespace {

// The colour with its largest channel (black aside when `skipBlack`) set to 0; `index`
// receives the channel.
TKVector ZeroLargest(const TKVector& v, bool skipBlack, int32_t* index = nullptr) {
    TKVector r(v);
    int32_t best = -1;
    for (int32_t i = 0; i < r.GetDim(); ++i)
        if (!(skipBlack && i == 3) && (best < 0 || r[i] > r[best])) best = i;
    if (best >= 0) r[best] = 0.0;
    if (index) *index = best;
    return r;
}

TKVector Zeroed(TKVector v, std::initializer_list<int32_t> channels) {
    for (int32_t c : channels)
        if (c < v.GetDim()) v[c] = 0.0;
    return v;
}

TKVector NonNegative(TKVector v) {
    for (int32_t i = 0; i < v.GetDim(); ++i) v[i] = std::max(v[i], 0.0);
    return v;
}

// The candidate of one exception, blended from the unchanged colour g, merged into r.
void Merge(TKVector& r, const TKVector& g, const TKVector& target, double weight) {
    if (weight <= 0.0) return;
    r = TKKeepFarthest(g, r, TKBlendColors(g, target, weight, 2));
}

}  // namespace

TKVector TKColorException::ApplyFilteredSource(const TKVector& s, const TKVector& d, const TKVector& base) const {
    const bool fromRGB = uint32_t(s.GetType()) == TKRGBSpace;
    const TKVector z = fromRGB ? TKDirectConvert(s, TKCMYSpace) : s;
    const uint32_t zType = uint32_t(z.GetType());
    const uint32_t dstType = uint32_t(d.GetType());
    // The source references are needed in the type the path measures in.
    if (fromRGB) Refresh(zType, dstType);
    const int32_t nZ = z.GetDim(), nD = d.GetDim();
    const bool ext = (fExtendedMode & 1) != 0;
    const double k = nZ >= 4 ? z[3] : nZ == 1 ? z[0] : 0.0;
    const double cornerWidth = TKChannelScale(zType) * fTolerance;
    const double width = 100.0 * fTolerance;
    TKVector r(d), t(base);
    bool useLimit = nD > 3;

    // 1. Widths: how far the colour is from having one ink (A) or two inks (B) less.
    const TKVector zA = ZeroLargest(z, false);
    const double wdA = std::min(zA.Max(), width);
    const double wdB = std::min(ZeroLargest(zA, false).Max(), width);
    double grayWidth, duplexWidth, triplexWidth;
    if (nZ < 4) {
        grayWidth = std::min({40.0, z.Max() - z.Min(), width});
        duplexWidth = std::min(100.0 - z.Max(), width);
        triplexWidth = std::min(100.0 - zA.Max(), width);
    } else {
        const TKVector chroma = Zeroed(z, {3});
        const TKVector chromaA = ZeroLargest(chroma, false);
        grayWidth = std::min({40.0, chroma.Max(), width});
        duplexWidth = std::min(chromaA.Max(), width);
        triplexWidth = std::min(ZeroLargest(chromaA, false).Max(), width);
    }

    // 2. Solid black overprints.
    if (nZ > 3 && (fMode & 0x20002u) && k > 99.6 && nD > 3) {
        r[3] = 100.0;
        t[3] = 100.0;
        if (useLimit) {
            r = PassInkLimit(r);
            t = PassInkLimit(t);
        }
    }

    // 3. The weights, each on its own.
    const double rule = std::max(0.0, CalcRuleWeight(z, useLimit));
    double gray = 0.0;
    if (fMode & kTKPureGray) {
        if (nZ < 3)
            gray = 1.0;
        else if (nZ == 3)
            gray = CalcFalloff(TKGrayDistance(z), grayWidth);
        else
            gray = CalcFalloff(Zeroed(z, {3}).Norm(), grayWidth);
    }
    const double kOnly = (fMode & kTKPureBlack) ? CalcFalloff(z.Distance(fRefs.srcKBlack), width) : 0.0;
    const double white = (fMode & kTKPureWhite) ? CalcFalloff(z.Distance(fRefs.srcWhite), 0.0) : 0.0;
    double cmyW[3] = {0, 0, 0}, rgbW[3] = {0, 0, 0};
    if (nZ > 2) {
        const double lightShare = fromRGB ? 0.6 : 1.0;
        for (int32_t i = 0; i < 3; ++i) {
            const double nearCMY = CalcFalloff(1.3 * z.Distance(fRefs.srcCMY[i]), cornerWidth);
            const double nearRGB = CalcFalloff(1.3 * z.Distance(fRefs.srcRGB[i]), cornerWidth);
            if (fMode & kTKMaxCMY) cmyW[i] = nearCMY * lightShare;
            if (fMode & kTKFullCMY) cmyW[i] = std::max(cmyW[i], nearCMY);
            if (fMode & kTKMaxRGB) rgbW[i] = nearRGB * lightShare;
            if (fMode & kTKFullRGB) rgbW[i] = std::max(rgbW[i], nearRGB);
        }
    }
    double oneInk = 0.0, twoInk = 0.0;
    const uint32_t oneFlags[3] = {0x100020u, 0x200020u, 0x400020u};
    for (int32_t i = 0; i < 3; ++i)
        if (fMode & oneFlags[i]) oneInk = std::max(oneInk, CalcFalloff(Zeroed(z, {i}).Norm(), wdA));
    if (fMode & 0x801000u) twoInk = std::max(twoInk, CalcFalloff(Zeroed(z, {1, 2}).Norm(), wdB));
    if (fMode & 0x1001000u) twoInk = std::max(twoInk, CalcFalloff(Zeroed(z, {0, 2}).Norm(), wdB));
    if (fMode & 0x2001000u) twoInk = std::max(twoInk, CalcFalloff(Zeroed(z, {0, 1}).Norm(), wdB));
    if (nZ > 4 && ext) {
        // Inks beyond the fourth count as inks in their own right.
        const TKVector e1 = ZeroLargest(z, true);
        if (fMode & kTKPurePrimaries) oneInk = std::max(oneInk, CalcFalloff(e1.Norm(), wdA));
        if (fMode & kTKPureSecondaries) twoInk = std::max(twoInk, CalcFalloff(ZeroLargest(e1, true).Norm(), wdB));
    }
    double duplex = 0.0, triplex = 0.0;
    if (nZ > 3 && (fMode & 0x8300u)) {
        int32_t first = -1, second = -1;
        const TKVector zd = ZeroLargest(Zeroed(z, {3}), true, &first);
        if ((fMode & kTKDuplex) && (first < 3 || ext)) duplex = CalcFalloff(zd.Norm(), duplexWidth);
        const bool triplexWanted =
            (fMode & kTKTriplex) || ((fMode & kTKTriplexBelowTAC) && z.Sum() <= fInkLimit->GetTAC());
        if (triplexWanted) {
            const TKVector zt = ZeroLargest(zd, true, &second);
            if ((first < 3 && second < 3) || ext) triplex = CalcFalloff(zt.Norm(), triplexWidth);
        }
        // A colour of one ink with black is no duplex of two inks; the closer it is to one ink,
        // the more the two-ink rule takes over.
        double u = CalcFalloff(ZeroLargest(z, true).Norm(), std::min(wdA, 10.0));
        duplex *= 1.0 - u;
        u = std::max({u, rgbW[0], rgbW[1], rgbW[2]});
        triplex *= 1.0 - u;
        twoInk = std::max(twoInk, u);
    } else if (nZ == 3 && (fMode & 0x300u)) {
        // Without black the gray component stands in for it: measured on the complement.
        TKVector light(z);
        for (int32_t i = 0; i < 3; ++i) light[i] = 100.0 - z[i];
        const TKVector ld = ZeroLargest(light, false);
        if (fMode & kTKDuplex) duplex = CalcFalloff(ld.Norm(), duplexWidth);
        if (fMode & (kTKTriplex | kTKTriplexBelowTAC)) triplex = CalcFalloff(ZeroLargest(ld, false).Norm(), triplexWidth);
    }

    // 4. Gray first, straight on the colour.
    const TKVector g(r);
    if (gray > 0.0) {
        TKVector target;
        if (fMode & kTKIgnoreGray) {
            const double share = 0.01 * (nZ < 4 ? z.Mean() : k);
            target = fRefs.dstWhite + (fRefs.dstKBlack - fRefs.dstWhite) * share;
        } else if (nZ >= 4 && nD >= 4) {
            target = NonNegative(g);
        } else if (nD < 4) {
            target = TKVector(g.GetDim(), g.GetType(), g.Mean());
        } else {
            target = t;
        }
        r = TKBlendColors(r, target, gray, 2);
    }

    // 5. Every other exception makes its candidate from the unchanged colour.
    const uint32_t gType = uint32_t(g.GetType());
    Merge(r, g, fRefs.dstKBlack, kOnly);
    Merge(r, g, fRefs.dstWhite, white);
    const TKVector purified = (fMode & (kTKMaxRGB | kTKMaxCMY | kTKFullRGB | kTKFullCMY))
                                  ? TKPurifyColor(g, z, 0x4005000u, 0) : TKVector();
    for (int32_t i = 0; i < 3; ++i)
        Merge(r, g, (fMode & kTKFullRGB) ? TKDirectConvert(fRefs.srcRGB[i], gType) : purified, rgbW[i]);
    for (int32_t i = 0; i < 3; ++i)
        Merge(r, g, (fMode & kTKFullCMY) ? TKDirectConvert(fRefs.srcCMY[i], gType) : purified, cmyW[i]);
    if (oneInk > 0.0) Merge(r, g, TKPurifyColor(g, z, 0x4020u, fExtendedMode & 1), oneInk);
    if (twoInk > 0.0) Merge(r, g, TKPurifyColor(g, z, 0x5000u, fExtendedMode & 1), twoInk);
    for (double weight : {duplex, triplex}) {
        if (weight <= 0.0) continue;
        if (fMode & kTKPurify)
            Merge(r, g, NonNegative(g), weight);
        else
            r = TKBlendColors(r, t, weight, 2);
    }
    Merge(r, g, t, rule);

    r = FinishInkResult(z, r, k, useLimit);
    if (fromRGB) Refresh(uint32_t(s.GetType()), dstType);
    return r;
}
