// TKCallbackTrafo: a trafo whose mapping is a host's C function. The function sees the colour
// in an array of 16 doubles and writes its result into another; a non-zero return is an error
// code that the evaluation raises.
#pragma once

#include <cstdint>

#include "numeric/TKTrafo.h"

using TKCallbackTrafoProc = int32_t (*)(const double* src, double* dst, void* userData);

class TKCallbackTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKCallbackTrafo, TKTrafo)
public:
    // The arrays the callback sees hold this many values.
    static constexpr int32_t kMaxChannels = 16;

    // Dimensions above kMaxChannels or below 0 are ArgErr; a destination dimension of 0 keeps
    // the source's.
    TKCallbackTrafo(int32_t srcDim, int32_t dstDim, uint32_t srcType, uint32_t dstType, TKCallbackTrafoProc callback,
                    void* userData);

    int32_t GetSrcDim() const override { return fSrcDim; }
    int32_t GetDstDim(int32_t srcDim) const override { return fDstDim ? fDstDim : srcDim; }
    int32_t GetSrcType() const override { return int32_t(fSrcType); }
    int32_t GetDstType(int32_t srcType) const override { return fDstType ? int32_t(fDstType) : srcType; }
    TKVector Trafo(const TKVector& source) const override;

private:
    int32_t fSrcDim;
    int32_t fDstDim;
    uint32_t fSrcType;
    uint32_t fDstType;
    TKCallbackTrafoProc fCallback;
    void* fUserData;
};
