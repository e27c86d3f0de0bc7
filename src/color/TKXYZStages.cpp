// The simple XYZ stages of the rendering intents.
#include "color/TKXYZStages.h"

#include <algorithm>

#include "color/TKColors.h"
#include "foundation/TKError.h"

namespace {

TKVector XYZ(double x, double y, double z) { return TKVector({x, y, z}, int32_t(TKXYZSpace)); }

double Ratio(double num, double den) { return den != 0.0 ? num / den : 1.0; }

}  // namespace

TKVector TKDummyXYZTrafo::Evaluate(const TKVector& xyz) const { return xyz; }

TKVector TKWhiteYTrafo::Evaluate(const TKVector& xyz) const {
    const double f = Ratio(fDstWhite[1], fSrcWhite[1]);
    return XYZ(xyz[0] * f, xyz[1] * f, xyz[2] * f);
}

TKVector TKPaperXYZTrafo::Evaluate(const TKVector& xyz) const {
    return XYZ(xyz[0] * Ratio(fDstWhite[0], fSrcWhite[0]), xyz[1] * Ratio(fDstWhite[1], fSrcWhite[1]),
               xyz[2] * Ratio(fDstWhite[2], fSrcWhite[2]));
}

TKVector TKScaleCIETrafo::Evaluate(const TKVector& xyz) const {
    return XYZ(xyz[0] * fFactor, xyz[1] * fFactor, xyz[2] * fFactor);
}

TKXYZLinearBlackWhiteTrafo::TKXYZLinearBlackWhiteTrafo(const TKVector& srcBlack, const TKVector& srcWhite,
                                                       const TKVector& dstBlack, const TKVector& dstWhite)
    : TKXYZTrafoBase(false) {
    SetPoints(srcBlack, srcWhite, dstBlack, dstWhite);
}

TKVector TKBlackOffsetTrafo::Evaluate(const TKVector& xyz) const {
    const double span = fSrcWhite[1] - fSrcBlack[1];
    const double t = span > 0.0 ? std::clamp((xyz[1] - fSrcBlack[1]) / span, 0.0, 1.0) : 1.0;
    const double w = 1.0 - t;
    return XYZ(xyz[0] + w * (fDstBlack[0] - fSrcBlack[0]), xyz[1] + w * (fDstBlack[1] - fSrcBlack[1]),
               xyz[2] + w * (fDstBlack[2] - fSrcBlack[2]));
}

TKMergeXYZTrafo::TKMergeXYZTrafo(TKXYZTrafoBase* stage1, TKXYZTrafoBase* stage2, double weight, bool owned)
    : fStage1(stage1, owned), fStage2(stage2, owned), fWeight(weight) {
    if (!stage1 || !stage2) TKThrowMsg(ArgErr, "a merge needs two stages");
}

void TKMergeXYZTrafo::SetSourceBlack(const TKVector& black) {
    TKXYZTrafoBase::SetSourceBlack(black);
    fStage1->SetSourceBlack(black);
    fStage2->SetSourceBlack(black);
}

void TKMergeXYZTrafo::SetSourceWhite(const TKVector& white) {
    TKXYZTrafoBase::SetSourceWhite(white);
    fStage1->SetSourceWhite(white);
    fStage2->SetSourceWhite(white);
}

void TKMergeXYZTrafo::SetDestBlack(const TKVector& black) {
    TKXYZTrafoBase::SetDestBlack(black);
    fStage1->SetDestBlack(black);
    fStage2->SetDestBlack(black);
}

void TKMergeXYZTrafo::SetDestWhite(const TKVector& white) {
    TKXYZTrafoBase::SetDestWhite(white);
    fStage1->SetDestWhite(white);
    fStage2->SetDestWhite(white);
}

TKVector TKMergeXYZTrafo::Evaluate(const TKVector& xyz) const {
    const TKVector a = fStage1->Trafo(xyz), b = fStage2->Trafo(xyz);
    return XYZ((1 - fWeight) * a[0] + fWeight * b[0], (1 - fWeight) * a[1] + fWeight * b[1],
               (1 - fWeight) * a[2] + fWeight * b[2]);
}
