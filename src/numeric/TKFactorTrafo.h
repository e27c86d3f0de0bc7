// TKFactorTrafo: scales each channel by its own factor.
#pragma once

#include "numeric/TKTrafo.h"

class TKFactorTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKFactorTrafo, TKTrafo)
public:
    TKFactorTrafo() = default;
    explicit TKFactorTrafo(const TKVector& factors) : fFactors(factors) {}

    // Channel i is multiplied by factor i below the smaller of both dimensions; the rest
    // passes unchanged.
    TKVector Trafo(const TKVector& source) const override;
    void Load(const TKDataBase& base) override;
    void Save(TKDataBase& base) const override;

    virtual TKVector GetFactors() const { return fFactors; }
    virtual void SetFactors(const TKVector& factors) { fFactors = factors; }

private:
    TKVector fFactors;
};
