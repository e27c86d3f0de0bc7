// TKFactorTrafo: per-channel scaling.
#include "numeric/TKFactorTrafo.h"
#include "io/TKDataBase.h"
#include "numeric/TKTrafoParameters.h"

#include <algorithm>

TKVector TKFactorTrafo::Trafo(const TKVector& source) const {
    TKVector result(source);
    int32_t n = std::min(source.GetDim(), fFactors.GetDim());
    for (int32_t i = 0; i < n; ++i) result[i] *= fFactors[i];
    return result;
}

void TKFactorTrafo::Load(const TKDataBase& base) {
    TKTrafo::Load(base);
    fFactors = TKLoadVector(base, "Factors");
}

void TKFactorTrafo::Save(TKDataBase& base) const {
    TKTrafo::Save(base);
    TKSaveVector(base, "Factors", fFactors);
}
