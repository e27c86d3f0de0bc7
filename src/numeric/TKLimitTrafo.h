// TKLimitTrafo: clamps each channel between the channels of a minimum and a maximum vector.
#pragma once

#include "numeric/TKTrafo.h"

class TKLimitTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKLimitTrafo, TKTrafo)
public:
    TKLimitTrafo() = default;
    TKLimitTrafo(const TKVector& minVector, const TKVector& maxVector) : fMin(minVector), fMax(maxVector) {}

    // Channels beyond either vector aren't limited on that side.
    TKVector Trafo(const TKVector& source) const override;
    void Load(const TKDataBase& base) override;
    void Save(TKDataBase& base) const override;

    virtual TKVector GetMinVector() const { return fMin; }
    virtual TKVector GetMaxVector() const { return fMax; }
    virtual void SetLimits(const TKVector& minVector, const TKVector& maxVector);

private:
    TKVector fMin;
    TKVector fMax;
};
