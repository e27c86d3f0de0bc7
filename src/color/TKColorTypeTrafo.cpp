// Channel counts of colour-typed trafos from their types.
#include "color/TKColorTypeTrafo.h"

#include "color/TKColors.h"

int32_t TKColorTypeTrafo::GetSrcDim() const { return GetChannelCount(uint32_t(GetSrcType())); }

int32_t TKColorTypeTrafo::GetDstDim(int32_t srcDim) const {
    const int32_t type = GetDstType(GetSrcType());
    return type ? GetChannelCount(uint32_t(type)) : TKTrafo::GetDstDim(srcDim);
}
