// TKRealColorTrafo: brings a colour into the range its type can really have: inks 0 to 100,
// RGB 0 to 255, XYZ and spectra not negative, Lab lightness 0 to 100, hues 0 to 360.
#pragma once

#include "color/TKColorTypeTrafo.h"

class TKRealColorTrafo : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKRealColorTrafo, TKColorTypeTrafo)
public:
    // Type 0 takes the type of each colour as it comes; a colour of type 0 then passes unchanged.
    explicit TKRealColorTrafo(uint32_t type = 0);

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;

    // The rule on its own, for one colour of a known type.
    static TKVector MakeReal(const TKVector& colour, uint32_t type);

private:
    uint32_t fType;
};
