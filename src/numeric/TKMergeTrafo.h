// TKMergeTrafo: the weighted sum of two trafos' results, with weights that may depend on the
// source colour (subclasses decide them).
#pragma once

#include "numeric/TKTrafo.h"

class TKMergeTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKMergeTrafo, TKTrafo)
public:
    TKMergeTrafo() = default;
    TKMergeTrafo(TKTrafo* trafo1, TKTrafo* trafo2, bool owned);
    ~TKMergeTrafo() noexcept override;  // a broken count of a held trafo ends the process

    // Dimensions and types are those of the first trafo, else of the second, else the defaults.
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // w1 * trafo1(source) + w2 * trafo2(source) over the trafos that are set; without any,
    // the source itself.
    TKVector Trafo(const TKVector& source) const override;

    // owned: true takes over the caller's count, false adds one.
    virtual void SetTrafo1(TKTrafo* trafo, bool owned);
    virtual void SetTrafo2(TKTrafo* trafo, bool owned);
    virtual TKTrafo* GetTrafo1() const { return fTrafo1.Get(); }
    virtual TKTrafo* GetTrafo2() const { return fTrafo2.Get(); }
    // The weights of both results for a source colour; the default mixes them half and half.
    virtual void GetWeights(const TKVector& source, double* w1, double* w2) const;

private:
    // The trafo that answers dimension and type queries, or null.
    const TKTrafo* Leader() const;

    TKRefPtr<TKTrafo> fTrafo1;
    TKRefPtr<TKTrafo> fTrafo2;
};
