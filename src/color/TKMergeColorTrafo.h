// TKMergeColorTrafo: a mix of two colour trafos in a chosen colour type, for renderings between
// two others (part absolute, part relative; part one separation, part another).
#pragma once

#include "numeric/TKMergeTrafo.h"

class TKMergeColorTrafo : public TKMergeTrafo {
    TK_DECLARE_CLASS(TKMergeColorTrafo, TKMergeTrafo)
public:
    // result = (1 - weight) trafo1 + weight trafo2, each result first converted to the mixing
    // type; the mix is given back in the output type of trafo1. A mixing type of 0 mixes in
    // that output type. Types of the two results that cannot be converted are WrongDataType.
    TKMergeColorTrafo(TKTrafo* trafo1, TKTrafo* trafo2, double weight, bool owned, uint32_t mixType = 0);

    TKVector Trafo(const TKVector& source) const override;
    void GetWeights(const TKVector& source, double* w1, double* w2) const override;

    void SetWeight(double weight) { fWeight = weight; }
    double GetWeight() const { return fWeight; }
    void SetMixType(uint32_t type) { fMixType = type; }
    uint32_t GetMixType() const { return fMixType; }

private:
    double fWeight;
    uint32_t fMixType;
};
