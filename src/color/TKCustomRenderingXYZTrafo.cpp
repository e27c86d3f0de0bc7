// Custom intents: a white adaptation whose target white comes from the global settings.
#include "color/TKCustomRenderingXYZTrafo.h"

#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "io/TKGlobalData.h"

TKCustomRenderingXYZTrafo::TKCustomRenderingXYZTrafo(int32_t code, bool smoothBlack)
    : TKXYZTrafoBase(smoothBlack), fCode(code), fWhite(TKMakeRef<TKWhiteXYZTrafo>(0)) {
    if (code < kFirstCode) TKThrowMsg(ArgErr, "custom intents start at 21");
}

TKCustomRenderingXYZTrafo::TKCustomRenderingXYZTrafo(const TKCustomRenderingXYZTrafo& other)
    : TKXYZTrafoBase(other), fCode(other.fCode), fWhite(TKMakeRef<TKWhiteXYZTrafo>(0)) {}

TKString TKCustomRenderingXYZTrafo::ModeKey() const {
    return TKString::Format("CustomIntent%d/mode", int(fCode - kFirstCode));
}

TKString TKCustomRenderingXYZTrafo::FactorKey() const {
    return TKString::Format("CustomIntent%d/factor", int(fCode - kFirstCode));
}

void TKCustomRenderingXYZTrafo::Update() {
    TKXYZTrafoBase::Update();
    const int32_t mode = TKGlobalData::GetInt(ModeKey().CString(), kMergeAbsoluteRelative);
    TKVector target(3, int32_t(TKXYZSpace));
    if (mode == kMergeAbsoluteRelative) {
        const double factor = TKGlobalData::GetDouble(FactorKey().CString(), 0.5);
        for (int i = 0; i < 3; ++i) target[i] = fSrcWhite[i] + factor * (fDstWhite[i] - fSrcWhite[i]);
    } else if (mode == kScaleLuminance) {
        const double factor = TKGlobalData::GetDouble(FactorKey().CString(), 1.0);
        for (int i = 0; i < 3; ++i) target[i] = factor * fSrcWhite[i];
    } else {
        TKThrowMsg(ArgErr, TKString::Format("custom rendering mode %d is not 0 or 1", int(mode)).CString());
    }
    const TKVector zero(3, int32_t(TKXYZSpace));
    fWhite->SetPoints(zero, fSrcWhite, zero, target);
}

TKVector TKCustomRenderingXYZTrafo::Evaluate(const TKVector& xyz) const { return fWhite->Trafo(xyz); }
