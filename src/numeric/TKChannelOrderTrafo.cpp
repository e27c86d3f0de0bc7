// TKChannelOrderTrafo: channel permutation.
#include "numeric/TKChannelOrderTrafo.h"
#include "io/TKDataBase.h"
#include "numeric/TKTrafoParameters.h"

#include <algorithm>
#include <cmath>

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

void TKChannelOrderTrafo::Load(const TKDataBase& base) {
    TKTrafo::Load(base);
    TKVector order = TKLoadVector(base, "Order");
    std::vector<int32_t> indices;
    for (int32_t i = 0; i < order.GetDim(); ++i) {
        if (order[i] != std::floor(order[i]) || order[i] < 0 || order[i] > TKTrafo::kMaxPixelChannels * 1024)
            TKThrowMsg(FormatErr, "channel order holds a bad index");
        indices.push_back(int32_t(order[i]));
    }
    SetOrder(indices.data(), int32_t(indices.size()), base.GetBool("Gather", false));
}

void TKChannelOrderTrafo::Save(TKDataBase& base) const {
    TKTrafo::Save(base);
    TKVector order(int32_t(fOrder.size()));
    for (size_t i = 0; i < fOrder.size(); ++i) order[int32_t(i)] = fOrder[i];
    TKSaveVector(base, "Order", order);
    base.SetBool("Gather", fGather);
}
