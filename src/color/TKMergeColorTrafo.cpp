// Mixing two colour trafos in a common colour type.
#include "color/TKMergeColorTrafo.h"

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"

namespace {

// The colour in `type`: CIE colours through the shared conversion, others renamed when they
// have the same channel count.
TKVector InType(const TKVector& colour, uint32_t type) {
    const uint32_t from = uint32_t(colour.GetType());
    if (type == 0 || from == type || from == 0) {
        TKVector typed(colour);
        if (type) typed.SetType(int32_t(type));
        return typed;
    }
    if (IsCIESpace(from) && IsCIESpace(type)) return ConvertColor(type, colour);
    if (GetChannelCount(from) == GetChannelCount(type) && colour.GetDim() == GetChannelCount(type)) {
        TKVector renamed(colour);
        renamed.SetType(int32_t(type));
        return renamed;
    }
    TKThrowMsg(WrongDataType, "the merged results have no common colour type");
}

}  // namespace

TKMergeColorTrafo::TKMergeColorTrafo(TKTrafo* trafo1, TKTrafo* trafo2, double weight, bool owned, uint32_t mixType)
    : TKMergeTrafo(trafo1, trafo2, owned), fWeight(weight), fMixType(mixType) {}

void TKMergeColorTrafo::GetWeights(const TKVector&, double* w1, double* w2) const {
    *w1 = 1.0 - fWeight;
    *w2 = fWeight;
}

TKVector TKMergeColorTrafo::Trafo(const TKVector& source) const {
    const TKTrafo* first = GetTrafo1();
    const TKTrafo* second = GetTrafo2();
    if (!first || !second) return TKMergeTrafo::Trafo(source);
    const TKVector r1 = first->Trafo(source);
    const TKVector r2 = second->Trafo(source);
    const uint32_t outType = uint32_t(r1.GetType());
    const uint32_t mixType = fMixType ? fMixType : outType;
    const TKVector m1 = InType(r1, mixType), m2 = InType(r2, mixType);
    if (m1.GetDim() != m2.GetDim()) TKThrow(DimMismatch);
    double w1 = 0, w2 = 0;
    GetWeights(source, &w1, &w2);
    TKVector mix(m1.GetDim(), int32_t(mixType));
    for (int32_t c = 0; c < mix.GetDim(); ++c) mix[c] = w1 * m1[c] + w2 * m2[c];
    return InType(mix, outType);
}
