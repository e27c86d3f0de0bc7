// TKSetDimTypeTrafo: gives a colour a fixed dimension and colour type without touching the
// channels it keeps.
#pragma once

#include "numeric/TKTrafo.h"

class TKSetDimTypeTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKSetDimTypeTrafo, TKTrafo)
public:
    TKSetDimTypeTrafo(int32_t dim = 0, int32_t type = 0) : fDim(dim), fType(type) {}

    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetDstType(int32_t srcType) const override;
    // Channels that fall away are dropped, new channels are zero.
    TKVector Trafo(const TKVector& source) const override;
    void Load(const TKDataBase& base) override;
    void Save(TKDataBase& base) const override;
    // Counts as the identity unless told otherwise: the values it keeps are untouched.
    int32_t GetInfo(int32_t index) const override;

    virtual int32_t GetDim() const { return fDim; }
    virtual int32_t GetType() const { return fType; }
    virtual void SetDimType(int32_t dim, int32_t type);

private:
    int32_t fDim;
    int32_t fType;
};
