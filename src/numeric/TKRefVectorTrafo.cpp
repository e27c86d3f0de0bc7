// TKUseRefVectorTrafo and TKSetRefVectorTrafo.
#include "numeric/TKRefVectorTrafo.h"

int32_t TKUseRefVectorTrafo::GetDstDim(int32_t) const { return fRefVector.GetDim(); }

int32_t TKUseRefVectorTrafo::GetDstType(int32_t) const { return fRefVector.GetType(); }

TKVector TKUseRefVectorTrafo::Trafo(const TKVector&) const { return fRefVector; }

int32_t TKUseRefVectorTrafo::GetInfo(int32_t index) const {
    return index == kInfoIdentity ? 0 : TKRefTrafo::GetInfo(index);
}

int32_t TKSetRefVectorTrafo::GetSrcDim() const { return fRefTrafo ? fRefTrafo->GetSrcDim() : TKTrafo::GetSrcDim(); }

int32_t TKSetRefVectorTrafo::GetDstDim(int32_t srcDim) const {
    return fRefTrafo ? fRefTrafo->GetSrcDim() : TKTrafo::GetDstDim(srcDim);
}

int32_t TKSetRefVectorTrafo::GetSrcType() const {
    return fRefTrafo ? fRefTrafo->GetSrcType() : TKTrafo::GetSrcType();
}

int32_t TKSetRefVectorTrafo::GetDstType(int32_t srcType) const {
    return fRefTrafo ? fRefTrafo->GetSrcType() : TKTrafo::GetDstType(srcType);
}

TKVector TKSetRefVectorTrafo::Trafo(const TKVector& source) const {
    if (auto* target = TKCast<TKRefTrafo>(fRefTrafo.Get(), "TKRefTrafo")) target->SetRefVector(source);
    return source;
}

int32_t TKSetRefVectorTrafo::GetInfo(int32_t index) const {
    if (index != kInfoIdentity) return TKRefTrafo::GetInfo(index);
    if (!fRefTrafo) {
        StoreInfo(index, 1);
        return 1;
    }
    // "No" while the held trafo is asked, so that a reader meanwhile never sees a stale "yes".
    StoreInfo(index, 0);
    int32_t answer = fRefTrafo->GetInfo(index);
    StoreInfo(index, answer);
    return answer;
}
