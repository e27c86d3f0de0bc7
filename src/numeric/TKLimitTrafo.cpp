// TKLimitTrafo: per-channel clamping.
#include "numeric/TKLimitTrafo.h"

TKVector TKLimitTrafo::Trafo(const TKVector& source) const {
    TKVector result(source);
    result.Limit(fMin, fMax);
    return result;
}

void TKLimitTrafo::SetLimits(const TKVector& minVector, const TKVector& maxVector) {
    fMin = minVector;
    fMax = maxVector;
}
