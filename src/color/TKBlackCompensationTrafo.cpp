// Black point compensation between neutral blacks, with the optional smooth black blends.
#include "color/TKBlackCompensationTrafo.h"

#include "color/TKColors.h"

namespace {

TKVector NeutralBlack(const TKVector& black, const TKVector& white) {
    TKVector neutral = white;
    neutral.Multiply(white[1] != 0.0 ? black[1] / white[1] : 0.0);
    neutral.SetType(int32_t(TKXYZSpace));
    return neutral;
}

}  // namespace

void TKBlackCompensationTrafo::Update() {
    TKXYZTrafoBase::Update();
    fNeutralSrcBlack = NeutralBlack(fSrcBlack, fSrcWhite);
    fNeutralDstBlack = NeutralBlack(fDstBlack, fDstWhite);
}

TKVector TKBlackCompensationTrafo::GetNeutralSourceBlack() const {
    Trafo(TKVector(3, int32_t(TKXYZSpace)));  // runs a pending Update
    return fNeutralSrcBlack;
}

TKVector TKBlackCompensationTrafo::GetNeutralDestBlack() const {
    Trafo(TKVector(3, int32_t(TKXYZSpace)));
    return fNeutralDstBlack;
}

TKVector TKBlackCompensationTrafo::Evaluate(const TKVector& xyz) const {
    const TKVector& b1 = fNeutralSrcBlack;
    const TKVector& b2 = fNeutralDstBlack;
    const TKVector in = fSmoothBlack ? BlackBlend(xyz, fSrcBlack, fSrcBlack, b1, fSrcWhite) : xyz;
    TKVector out(3, int32_t(TKXYZSpace));
    for (int i = 0; i < 3; ++i) {
        const double span = fSrcWhite[i] - b1[i];
        // A white on its own black leaves no range: the offset is kept unscaled.
        const double scale = span != 0.0 ? (fDstWhite[i] - b2[i]) / span : 1.0;
        out[i] = (in[i] - b1[i]) * scale + b2[i];
    }
    return fSmoothBlack ? BlackBlend(out, b2, b2, fDstBlack, fDstWhite) : out;
}
