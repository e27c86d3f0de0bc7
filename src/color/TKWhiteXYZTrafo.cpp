// Chromatic adaptation between two whites, recomputed lazily when a white or the code changes.
#include "color/TKWhiteXYZTrafo.h"

#include <algorithm>

#include "color/TKCIETools.h"
#include "color/TKColors.h"

TKWhiteXYZTrafo::TKWhiteXYZTrafo(int32_t code) : fCode(code), fCone(GetAdaptationMatrix(code)) {}

TKWhiteXYZTrafo::TKWhiteXYZTrafo(const TKVector& srcWhite, const TKVector& dstWhite, int32_t code)
    : TKWhiteXYZTrafo(code) {
    SetSourceWhite(srcWhite);
    SetDestWhite(dstWhite);
}

void TKWhiteXYZTrafo::SetCode(int32_t code) {
    fCode = code;
    fCone = GetAdaptationMatrix(code);
    MarkStale();
}

void TKWhiteXYZTrafo::SetCustomMatrix(const TKMat3& cone) {
    cone.Inverse();  // refuse a singular matrix now rather than at the first colour
    fCode = kCustomCode;
    fCone = cone;
    MarkStale();
}

void TKWhiteXYZTrafo::SetReverse(bool reverse) {
    fReverse = reverse;
    MarkStale();
}

void TKWhiteXYZTrafo::Update() {
    TKXYZTrafoBase::Update();
    const double src[3] = {fSrcWhite[0], fSrcWhite[1], fSrcWhite[2]};
    const double dst[3] = {fDstWhite[0], fDstWhite[1], fDstWhite[2]};
    fAdaptation = fReverse ? AdaptationTransform(fCone, dst, src) : AdaptationTransform(fCone, src, dst);
}

TKMat3 TKWhiteXYZTrafo::GetAdaptation() const {
    Trafo(TKVector(3, int32_t(TKXYZSpace)));  // brings the matrix up to date
    return fAdaptation;
}

TKVector TKWhiteXYZTrafo::Evaluate(const TKVector& xyz) const {
    double v[3] = {xyz[0], xyz[1], xyz[2]};
    if (fClamp)
        for (double& c : v) c = std::clamp(c, 0.0, 200.0);
    fAdaptation.Apply(v, v);
    if (fClamp)
        for (double& c : v) c = std::clamp(c, 0.0, 200.0);
    return TKVector({v[0], v[1], v[2]}, int32_t(TKXYZSpace));
}
