// TKChannelOrderTrafo: channel permutation.
#include "numeric/TKChannelOrderTrafo.h"

#include <algorithm>

TKChannelOrderTrafo::TKChannelOrderTrafo(const int32_t* order, int32_t count, bool gather) {
    SetOrder(order, count, gather);
}

void TKChannelOrderTrafo::SetOrder(const int32_t* order, int32_t count, bool gather) {
    if (count < 0 || (count > 0 && !order)) TKThrow(ArgErr);
    fOrder.assign(order, order + count);
    fGather = gather;
}

TKVector TKChannelOrderTrafo::Trafo(const TKVector& source) const {
    TKVector result(source);
    int32_t n = std::min(int32_t(fOrder.size()), source.GetDim());
    for (int32_t i = 0; i < n; ++i) {
        if (fGather) result.GetElementRef(i) = source.GetElement(fOrder[size_t(i)]);
        else result.GetElementRef(fOrder[size_t(i)]) = source[i];
    }
    return result;
}
