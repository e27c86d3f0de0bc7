// TKCIETrafo: a colour-typed trafo around the CIE conversion walk.
#include "color/TKCIETrafo.h"

TKCIETrafo::TKCIETrafo(uint32_t inType, uint32_t outType) : fInType(inType), fOutType(outType) {}

TKCIETrafo::TKCIETrafo(const TKCIETrafo& other)
    : TKColorTypeTrafo(other), fConverter(other.fConverter), fInType(other.fInType), fOutType(other.fOutType) {}

int32_t TKCIETrafo::GetSrcType() const { return int32_t(fInType); }

int32_t TKCIETrafo::GetDstType(int32_t srcType) const { return fOutType ? int32_t(fOutType) : srcType; }

TKVector TKCIETrafo::Trafo(const TKVector& source) const {
    if (source.GetType() == 0 && fInType) {
        TKVector typed(source);
        typed.SetType(int32_t(fInType));
        return fConverter.Convert(typed, fOutType);
    }
    return fConverter.Convert(source, fOutType);
}

void TKCIETrafo::SetTypes(uint32_t inType, uint32_t outType) {
    fInType = inType;
    fOutType = outType;
    SetInfo(kInfoAll, -1);
}
