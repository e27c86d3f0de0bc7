// TKMatrixTrafo: matrix times colour.
#include "numeric/TKMatrixTrafo.h"
#include "io/TKDataBase.h"
#include "numeric/TKTrafoParameters.h"

int32_t TKMatrixTrafo::GetSrcDim() const { return fMatrix.GetWidth(); }

int32_t TKMatrixTrafo::GetDstDim(int32_t srcDim) const {
    return fMatrix.GetHeight() > 0 ? fMatrix.GetHeight() : srcDim;
}

int32_t TKMatrixTrafo::GetSrcType() const { return 0; }

int32_t TKMatrixTrafo::GetDstType(int32_t srcType) const {
    return fMatrix.GetHeight() > 0 ? fMatrix.GetType() : srcType;
}

TKVector TKMatrixTrafo::Trafo(const TKVector& source) const {
    if (fMatrix.GetHeight() == 0) return source;
    TKVector result = fMatrix * source;
    result.SetType(fMatrix.GetType());
    return result;
}

void TKMatrixTrafo::Load(const TKDataBase& base) {
    TKTrafo::Load(base);
    fMatrix = TKLoadMatrix(base, "Matrix");
}

void TKMatrixTrafo::Save(TKDataBase& base) const {
    TKTrafo::Save(base);
    TKSaveMatrix(base, "Matrix", fMatrix);
}
