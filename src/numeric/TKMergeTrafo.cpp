// TKMergeTrafo: weighted sum of two trafos.
#include "numeric/TKMergeTrafo.h"

namespace {
void Hold(TKRefPtr<TKTrafo>& holder, TKTrafo* trafo, bool owned) {
    if (trafo && trafo->RefCount() < 1) TKThrow(PtrInvalid);
    holder.Reset(trafo, owned);
}
}  // namespace

TKMergeTrafo::TKMergeTrafo(TKTrafo* trafo1, TKTrafo* trafo2, bool owned) {
    SetTrafo1(trafo1, owned);
    SetTrafo2(trafo2, owned);
}

TKMergeTrafo::~TKMergeTrafo() noexcept = default;

void TKMergeTrafo::SetTrafo1(TKTrafo* trafo, bool owned) { Hold(fTrafo1, trafo, owned); }

void TKMergeTrafo::SetTrafo2(TKTrafo* trafo, bool owned) { Hold(fTrafo2, trafo, owned); }

const TKTrafo* TKMergeTrafo::Leader() const { return fTrafo1 ? fTrafo1.Get() : fTrafo2.Get(); }

int32_t TKMergeTrafo::GetSrcDim() const { return Leader() ? Leader()->GetSrcDim() : TKTrafo::GetSrcDim(); }

int32_t TKMergeTrafo::GetDstDim(int32_t srcDim) const {
    return Leader() ? Leader()->GetDstDim(srcDim) : TKTrafo::GetDstDim(srcDim);
}

int32_t TKMergeTrafo::GetSrcType() const { return Leader() ? Leader()->GetSrcType() : TKTrafo::GetSrcType(); }

int32_t TKMergeTrafo::GetDstType(int32_t srcType) const {
    return Leader() ? Leader()->GetDstType(srcType) : TKTrafo::GetDstType(srcType);
}

void TKMergeTrafo::GetWeights(const TKVector&, double* w1, double* w2) const {
    *w1 = 0.5;
    *w2 = 0.5;
}

TKVector TKMergeTrafo::Trafo(const TKVector& source) const {
    if (!fTrafo1 && !fTrafo2) return source;
    double w1 = 0.0, w2 = 0.0;
    GetWeights(source, &w1, &w2);
    if (!fTrafo2) return fTrafo1->Trafo(source) * w1;
    if (!fTrafo1) return fTrafo2->Trafo(source) * w2;
    TKVector result = fTrafo1->Trafo(source) * w1;
    result.Add(fTrafo2->Trafo(source) * w2);
    return result;
}
