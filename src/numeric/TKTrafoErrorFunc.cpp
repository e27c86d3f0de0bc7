// TKTrafoErrorFunc: the distance of a trafo's result from a target.
#include "numeric/TKErrorFunc.h"
#include "numeric/TKTrafo.h"

TKTrafoErrorFunc::TKTrafoErrorFunc(TKTrafo* trafo, const TKVector& target, bool owned)
    : fTrafo(trafo, owned), fTarget(target) {}

TKTrafoErrorFunc::~TKTrafoErrorFunc() noexcept {}

TKVector TKTrafoErrorFunc::EvalTrafo(const TKVector& x) {
    if (!fTrafo) TKThrow(PtrInvalid);
    return fTrafo->Trafo(x);
}

double TKTrafoErrorFunc::Error(const TKVector& x, TKVector& out) {
    out = EvalTrafo(x) - fTarget;  // DimMismatch when the result and the target differ
    return out.Norm();
}
