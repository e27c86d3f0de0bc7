// TKColorTrafo: the base of colour trafos with a CIE conversion built in, so that a colour of any
// convertible type can go in and the result can be had in any wanted type; TKDefaultColorTrafo,
// the pure conversion between two colour types.
#pragma once

#include "color/TKCIETrafo.h"

class TKColorTrafo : public TKCIETrafo {
    TK_DECLARE_CLASS(TKColorTrafo, TKCIETrafo)
public:
    // Type 0 on the input side accepts any CIE type; on the output side it keeps the type.
    TKColorTrafo(uint32_t inType, uint32_t outType);
    TKColorTrafo(const TKColorTrafo& other) = default;

    // The colour brought to the input type, mapped by Evaluate, and typed with the output type.
    TKVector Trafo(const TKVector& source) const override;
    // As Trafo, then converted to `wantedType` (0 keeps the output type).
    TKVector TrafoTo(const TKVector& source, uint32_t wantedType) const;

    // The colour in `wantedType` by this trafo's CIE conversion (its white and observer):
    // a colour of type 0 is taken to be of the wanted type; device and norm colours pass
    // between types of the same channel count and class; anything else is WrongDataType.
    TKVector ConvertTo(const TKVector& colour, uint32_t wantedType) const;
    TKVector ToInput(const TKVector& colour) const { return ConvertTo(colour, uint32_t(GetSrcType())); }

protected:
    // The mapping proper, on a colour of the input type. The default is the conversion from the
    // input to the output type.
    virtual TKVector Evaluate(const TKVector& input) const;
};

// The conversion from one colour type to another; with equal types it checks and types the
// values and is otherwise the identity.
class TKDefaultColorTrafo : public TKColorTrafo {
    TK_DECLARE_CLASS(TKDefaultColorTrafo, TKColorTrafo)
public:
    TKDefaultColorTrafo(uint32_t inType, uint32_t outType);
};
