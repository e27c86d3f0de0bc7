// The host's function as a trafo.
#include "numeric/TKCallbackTrafo.h"

#include <algorithm>

#include "foundation/TKError.h"

TKCallbackTrafo::TKCallbackTrafo(int32_t srcDim, int32_t dstDim, uint32_t srcType, uint32_t dstType,
                                 TKCallbackTrafoProc callback, void* userData)
    : fSrcDim(srcDim), fDstDim(dstDim), fSrcType(srcType), fDstType(dstType), fCallback(callback), fUserData(userData) {
    if (!callback || srcDim < 0 || dstDim < 0 || srcDim > kMaxChannels || dstDim > kMaxChannels) TKThrow(ArgErr);
}

TKVector TKCallbackTrafo::Trafo(const TKVector& source) const {
    TKVector result(source);
    if (fSrcDim != 0 && source.GetDim() != fSrcDim) TKThrow(ArgErr);
    if (source.GetDim() > kMaxChannels) TKThrow(ArgErr);
    double in[kMaxChannels] = {};
    double out[kMaxChannels] = {};
    std::copy(source.Values(), source.Values() + source.GetDim(), in);
    const int32_t code = fCallback(in, out, fUserData);
    if (code != 0) throw TKError(code, "the custom trafo's callback failed", __FILE__, __LINE__);
    const int32_t n = GetDstDim(source.GetDim());
    result.SetDim(n);
    result.SetFromArray(n, out);
    result.SetType(GetDstType(source.GetType()));
    return result;
}
