// TKColorOrderTrafo: a permutation of the channels of a colour, with colour types on both sides
// (CMYK stored as KCMY, a six-colour set in another ink order, ...).
#pragma once

#include "numeric/TKChannelOrderTrafo.h"

class TKColorOrderTrafo : public TKChannelOrderTrafo {
    TK_DECLARE_CLASS(TKColorOrderTrafo, TKChannelOrderTrafo)
public:
    // Both types must have the same channel count n, and `order` must name each of 0..n-1 once
    // (ArgErr otherwise). With `gather` false source channel i goes to order[i]; with `gather`
    // true channel i comes from order[i].
    TKColorOrderTrafo(uint32_t srcType, uint32_t dstType, const int32_t* order, int32_t count, bool gather);

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;
    void SetOrder(const int32_t* order, int32_t count, bool gather) override;

    // The reverse permutation between the same types, exchanged.
    TKRefPtr<TKColorOrderTrafo> Inverse() const;

private:
    uint32_t fSrcType;
    uint32_t fDstType;
};
