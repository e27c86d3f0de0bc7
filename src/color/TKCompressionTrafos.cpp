// Gamut compression stages: perceptual compression in cone space, and the luminance knees.
#include "color/TKCompressionTrafos.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIETools.h"
#include "color/TKColors.h"

namespace {

TKVector XYZ(const double v[3]) { return TKVector({v[0], v[1], v[2]}, int32_t(TKXYZSpace)); }

double Sum(const double v[3]) { return v[0] + v[1] + v[2]; }

// The piecewise linear luminance map shared by the knee stages. Knees are fractions of the
// destination range; 0 switches an end off.
struct LuminanceKnees {
    double srcBlack, srcWhite, dstBlack, dstWhite;
    double lowKnee, highKnee;

    double operator()(double y) const {
        const double range = dstWhite - dstBlack;
        if (lowKnee > 0 && srcBlack < dstBlack && range > 0) {
            const double knee = dstBlack + lowKnee * range;
            if (y < knee && knee > srcBlack)
                return std::max(0.0, dstBlack + (y - srcBlack) * (knee - dstBlack) / (knee - srcBlack));
        }
        if (highKnee > 0 && srcWhite > dstWhite && range > 0) {
            const double knee = dstWhite - highKnee * range;
            if (y > knee) return knee + (y - knee) * (dstWhite - knee) / (srcWhite - knee);
        }
        return y;
    }
};

// Applies a new luminance: darker by scaling, lighter by adding light of the white's colour.
TKVector ApplyLuminance(const TKVector& xyz, double newY, const TKVector& white) {
    double v[3] = {xyz[0], xyz[1], xyz[2]};
    const double y = xyz[1];
    if (newY <= y) {
        const double f = y > 0 ? newY / y : 0.0;
        for (double& c : v) c *= f;
    } else if (white[1] > 0) {
        for (int i = 0; i < 3; ++i) v[i] += (newY - y) * white[i] / white[1];
    }
    return XYZ(v);
}

// The black blends around a mapping, as the base stage has them. `map` takes the colour and the
// working source and destination blacks.
template <class Map>
TKVector WithBlackBlends(bool smooth, const TKVector& xyz, const TKVector& srcBlack, const TKVector& srcBlackScaled,
                         const TKVector& srcWhite, const TKVector& dstBlack, const TKVector& dstBlackScaled,
                         const TKVector& dstWhite, Map map) {
    if (!smooth) return map(xyz, srcBlack, dstBlack);
    const TKVector in = BlackBlend(xyz, srcBlack, srcBlack, srcBlackScaled, srcWhite);
    const TKVector out = map(in, srcBlackScaled, dstBlackScaled);
    return BlackBlend(out, dstBlackScaled, dstBlackScaled, dstBlack, dstWhite);
}

// Exponent of one side of the perceptual curve.
double SideExponent(double knee, double reference) {
    double k = knee / reference;
    if (k >= 1.0) return 1.0;
    k = std::max(k, 0.01);  // a side with hardly any range still gets a finite exponent
    return std::log(0.75) / std::log(0.75 * k);
}

TKMat3 Cat02Inverse() {
    static const TKMat3 inverse = kTKCAT02.Inverse();
    return inverse;
}

// The cone responses of the D50 white, the levels the perceptual curve measures against.
struct D50ConeValues {
    double c[3];
    D50ConeValues() { kTKCAT02.Apply(kTKWhiteD50, c); }
};

const double* D50Cone() {
    static const D50ConeValues values;
    return values.c;
}

}  // namespace

// --- Perceptual --------------------------------------------------------------------------------

void TKPercCompressionTrafo::Update() {
    TKXYZTrafoBase::Update();
    const TKVector& sb = fSmoothBlack ? fSrcBlackScaled : fSrcBlack;
    const TKVector& db = fSmoothBlack ? fDstBlackScaled : fDstBlack;
    double csb[3] = {sb[0], sb[1], sb[2]}, csw[3] = {fSrcWhite[0], fSrcWhite[1], fSrcWhite[2]};
    double cdb[3] = {db[0], db[1], db[2]}, cdw[3] = {fDstWhite[0], fDstWhite[1], fDstWhite[2]};
    for (double* p : {csb, csw, cdb, cdw}) kTKCAT02.Apply(p, p);
    const double s = Sum(D50Cone());
    const double gSrc = SideExponent(0.75 * s + 0.25 * Sum(csw) - Sum(csb), s);
    const double gDst = SideExponent(0.75 * s + 0.25 * Sum(cdw) - Sum(cdb), s);
    fExponent = gDst / gSrc - 1.0;
}

double TKPercCompressionTrafo::GetExponent() const {
    Trafo(TKVector(3, int32_t(TKXYZSpace)));  // brings the points up to date
    return fExponent + 1.0;
}

double TKPercCompressionTrafo::Curve(double u) const {
    Trafo(TKVector(3, int32_t(TKXYZSpace)));
    return std::pow((std::max(u, 0.0) + 0.3) / 1.3, fExponent);
}

TKVector TKPercCompressionTrafo::Evaluate(const TKVector& xyz) const {
    const double* d50 = D50Cone();
    const double s = Sum(d50);
    double c[3] = {xyz[0], xyz[1], xyz[2]};
    kTKCAT02.Apply(c, c);
    auto curve = [this](double u) { return std::pow((std::max(u, 0.0) + 0.3) / 1.3, fExponent); };
    const double total = curve(Sum(c) / s);
    for (int i = 0; i < 3; ++i) c[i] *= (curve(c[i] / d50[i]) + total) * 0.5;
    Cat02Inverse().Apply(c, c);
    for (double& v : c) v = std::max(v, 0.0);
    return XYZ(c);
}

// --- Luminance knees ---------------------------------------------------------------------------

TKVector TKAbsCompressionTrafo::Evaluate(const TKVector& xyz) const {
    return WithBlackBlends(fSmoothBlack, xyz, fSrcBlack, fSrcBlackScaled, fSrcWhite, fDstBlack, fDstBlackScaled,
                           fDstWhite, [this](const TKVector& in, const TKVector& sb, const TKVector& db) {
                               const LuminanceKnees map{sb[1], fSrcWhite[1], db[1], fDstWhite[1], 0.2, 0.2};
                               return ApplyLuminance(in, map(in[1]), fDstWhite);
                           });
}

void TKRelCompressionTrafo::Update() {
    TKXYZTrafoBase::Update();
    const double src[3] = {fSrcWhite[0], fSrcWhite[1], fSrcWhite[2]};
    const double dst[3] = {fDstWhite[0], fDstWhite[1], fDstWhite[2]};
    fAdaptation = AdaptationTransform(GetAdaptationMatrix(2), src, dst);
    double b[3] = {fSrcBlack[0], fSrcBlack[1], fSrcBlack[2]};
    double bs[3] = {fSrcBlackScaled[0], fSrcBlackScaled[1], fSrcBlackScaled[2]};
    fAdaptation.Apply(b, b);
    fAdaptation.Apply(bs, bs);
    fAdaptedBlack = XYZ(b);
    fAdaptedBlackScaled = XYZ(bs);
}

TKVector TKRelCompressionTrafo::Evaluate(const TKVector& xyz) const {
    double v[3] = {xyz[0], xyz[1], xyz[2]};
    fAdaptation.Apply(v, v);
    // After the adaptation the source lives under the destination white.
    return WithBlackBlends(fSmoothBlack, XYZ(v), fAdaptedBlack, fAdaptedBlackScaled, fDstWhite, fDstBlack,
                           fDstBlackScaled, fDstWhite,
                           [this](const TKVector& in, const TKVector& sb, const TKVector& db) {
                               const LuminanceKnees map{sb[1], fDstWhite[1], db[1], fDstWhite[1], 0.5, 0.0};
                               return ApplyLuminance(in, map(in[1]), fDstWhite);
                           });
}

TKVector TKMinCompressionTrafo::Evaluate(const TKVector& xyz) const {
    return WithBlackBlends(fSmoothBlack, xyz, fSrcBlack, fSrcBlackScaled, fSrcWhite, fDstBlack, fDstBlackScaled,
                           fDstWhite, [this](const TKVector& in, const TKVector& sb, const TKVector& db) {
                               const LuminanceKnees map{sb[1],          fSrcWhite[1],
                                                        db[1],          fDstWhite[1],
                                                        fDoBlack ? 0.05 : 0.0, fDoWhite ? 0.05 : 0.0};
                               return ApplyLuminance(in, map(in[1]), fDstWhite);
                           });
}

TKVector TKTestCompressionTrafo::Evaluate(const TKVector& xyz) const {
    return WithBlackBlends(
        fSmoothBlack, xyz, fSrcBlack, fSrcBlackScaled, fSrcWhite, fDstBlack, fDstBlackScaled, fDstWhite,
        [this](const TKVector& in, const TKVector& sb, const TKVector& db) {
            const double lsb = YToL(sb[1]), lsw = YToL(fSrcWhite[1]);
            const double ldb = YToL(db[1]), ldw = YToL(fDstWhite[1]);
            double v[3] = {in[0], in[1], in[2]}, lab[3];
            XYZToLab(v, kTKWhiteD50, lab);
            if (lsw != lsb) lab[0] = ldb + (lab[0] - lsb) * (ldw - ldb) / (lsw - lsb);
            LabToXYZ(lab, kTKWhiteD50, v);
            return XYZ(v);
        });
}
