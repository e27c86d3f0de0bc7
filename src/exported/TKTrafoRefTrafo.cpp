// A host's trafo reference as a trafo.
#include "exported/TKTrafoRefTrafo.h"

#include <algorithm>
#include <vector>

#include "foundation/TKError.h"

TKTrafoRefTrafo::TKTrafoRefTrafo(TKTrafoRef handle, bool owned) : fHandle(handle), fOwned(owned) {}

TKTrafoRefTrafo::~TKTrafoRefTrafo() {
    if (fOwned) TKFreeTKTrafoRef(fHandle);
}

int32_t TKTrafoRefTrafo::GetSrcDim() const { return TKGetTrafoSrcDim(fHandle); }
int32_t TKTrafoRefTrafo::GetDstDim(int32_t srcDim) const {
    const int32_t dim = TKGetTrafoDstDim(fHandle);
    return dim ? dim : srcDim;
}
int32_t TKTrafoRefTrafo::GetSrcType() const { return int32_t(TKGetTrafoSrcType(fHandle)); }
int32_t TKTrafoRefTrafo::GetDstType(int32_t srcType) const {
    const uint32_t type = TKGetTrafoDstType(fHandle);
    return type ? int32_t(type) : srcType;
}

TKVector TKTrafoRefTrafo::Trafo(const TKVector& source) const {
    const int32_t srcDim = GetSrcDim() ? GetSrcDim() : source.GetDim();
    if (source.GetDim() != srcDim) TKThrow(DimMismatch);
    const int32_t dstDim = GetDstDim(srcDim);
    // The result buffer holds whichever side is larger, so no trafo can write past it.
    std::vector<double> out(size_t(std::max({srcDim, dstDim, 1})), 0.0);
    const int32_t code = TKDoTrafo(fHandle, source.Values(), out.data());
    if (code != 0) throw TKError(code, "the referenced trafo failed", __FILE__, __LINE__);
    TKVector result(dstDim, GetDstType(source.GetType()));
    result.SetFromArray(dstDim, out.data());
    return result;
}
