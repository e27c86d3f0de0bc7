// TKSetDimTypeTrafo: resize and retype.
#include "numeric/TKSetDimTypeTrafo.h"
#include "io/TKDataBase.h"
#include "numeric/TKTrafoParameters.h"

int32_t TKSetDimTypeTrafo::GetDstDim(int32_t) const { return fDim; }

int32_t TKSetDimTypeTrafo::GetDstType(int32_t) const { return fType; }

TKVector TKSetDimTypeTrafo::Trafo(const TKVector& source) const {
    TKVector result(source);
    if (source.GetDim() == fDim && source.GetType() == fType) return result;
    result.SetDim(fDim);
    result.SetType(fType);
    return result;
}

int32_t TKSetDimTypeTrafo::GetInfo(int32_t index) const {
    if (index == kInfoIdentity && TKTrafo::GetInfo(index) == -1) StoreInfo(index, 1);
    return TKTrafo::GetInfo(index);
}

void TKSetDimTypeTrafo::SetDimType(int32_t dim, int32_t type) {
    if (dim < 0) TKThrow(ArgErr);
    fDim = dim;
    fType = type;
}

// "Type" names the class, so the colour type is "ColorType".
void TKSetDimTypeTrafo::Load(const TKDataBase& base) {
    TKTrafo::Load(base);
    SetDimType(base.GetInt("Dim", 0), base.GetInt("ColorType", 0));
}

void TKSetDimTypeTrafo::Save(TKDataBase& base) const {
    TKTrafo::Save(base);
    base.SetInt("Dim", fDim);
    base.SetInt("ColorType", fType);
}
