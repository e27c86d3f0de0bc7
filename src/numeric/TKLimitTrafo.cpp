// TKLimitTrafo: per-channel clamping.
#include "numeric/TKLimitTrafo.h"
#include "io/TKDataBase.h"
#include "numeric/TKTrafoParameters.h"

TKVector TKLimitTrafo::Trafo(const TKVector& source) const {
    TKVector result(source);
    result.Limit(fMin, fMax);
    return result;
}

void TKLimitTrafo::SetLimits(const TKVector& minVector, const TKVector& maxVector) {
    fMin = minVector;
    fMax = maxVector;
}

void TKLimitTrafo::Load(const TKDataBase& base) {
    TKTrafo::Load(base);
    fMin = TKLoadVector(base, "Min");
    fMax = TKLoadVector(base, "Max");
}

void TKLimitTrafo::Save(TKDataBase& base) const {
    TKTrafo::Save(base);
    TKSaveVector(base, "Min", fMin);
    TKSaveVector(base, "Max", fMax);
}
