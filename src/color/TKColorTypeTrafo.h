// TKColorTypeTrafo: the base of trafos whose input and output are colours of known types;
// the channel counts follow from the types.
#pragma once

#include "numeric/TKTrafo.h"

class TKColorTypeTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKColorTypeTrafo, TKTrafo)
public:
    // The channel count of the input type (0, any, for type 0).
    int32_t GetSrcDim() const override;
    // The channel count of the output type; for output type 0 the count TKTrafo gives.
    int32_t GetDstDim(int32_t srcDim) const override;
};
