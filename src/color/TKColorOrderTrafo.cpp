// Channel permutations between colour types.
#include "color/TKColorOrderTrafo.h"

#include <vector>

#include "color/TKColors.h"
#include "foundation/TKError.h"

TKColorOrderTrafo::TKColorOrderTrafo(uint32_t srcType, uint32_t dstType, const int32_t* order, int32_t count,
                                     bool gather)
    : fSrcType(srcType), fDstType(dstType) {
    if (GetChannelCount(srcType) != GetChannelCount(dstType)) TKThrowMsg(ArgErr, "channel counts differ");
    SetOrder(order, count, gather);
}

void TKColorOrderTrafo::SetOrder(const int32_t* order, int32_t count, bool gather) {
    const int32_t channels = GetChannelCount(fSrcType);
    if (count != channels || !order) TKThrowMsg(ArgErr, "the order must name every channel");
    std::vector<bool> seen(size_t(channels), false);
    for (int32_t i = 0; i < count; ++i) {
        if (order[i] < 0 || order[i] >= channels || seen[size_t(order[i])])
            TKThrowMsg(ArgErr, "the order is no permutation");
        seen[size_t(order[i])] = true;
    }
    TKChannelOrderTrafo::SetOrder(order, count, gather);
}

int32_t TKColorOrderTrafo::GetSrcDim() const { return GetChannelCount(fSrcType); }
int32_t TKColorOrderTrafo::GetDstDim(int32_t) const { return GetChannelCount(fDstType); }
int32_t TKColorOrderTrafo::GetSrcType() const { return int32_t(fSrcType); }
int32_t TKColorOrderTrafo::GetDstType(int32_t) const { return int32_t(fDstType); }

TKVector TKColorOrderTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != GetSrcDim()) TKThrow(DimMismatch);
    TKVector out = TKChannelOrderTrafo::Trafo(source);
    out.SetType(int32_t(fDstType));
    return out;
}

TKRefPtr<TKColorOrderTrafo> TKColorOrderTrafo::Inverse() const {
    // Scattering to order[i] is undone by gathering from order[i], and the other way round.
    const std::vector<int32_t> order = GetOrder();
    return TKMakeRef<TKColorOrderTrafo>(fDstType, fSrcType, order.data(), int32_t(order.size()), !IsGather());
}
