// TKCIETrafo: converts colours from one CIE type to another with its own white, illuminant,
// observer and viewing conditions.
#pragma once

#include "color/TKCIEConverter.h"
#include "color/TKColorTypeTrafo.h"

class TKCIETrafo : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKCIETrafo, TKColorTypeTrafo)
public:
    // Type 0 on either side means "any CIE type": the colour's own type going in, unchanged going out.
    explicit TKCIETrafo(uint32_t inType = TKXYZSpace, uint32_t outType = TKLabSpace);
    TKCIETrafo(const TKCIETrafo& other);

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // The colour in the output type; a colour of type 0 is taken to be of the input type.
    TKVector Trafo(const TKVector& source) const override;

    void SetTypes(uint32_t inType, uint32_t outType);
    // The setters change the conversion; not while other threads convert with this trafo.
    void SetWhite(const TKVector& white) { fConverter.SetWhite(white); }
    TKVector GetWhite() const { return fConverter.GetWhite(); }
    void SetIlluminant(const TKVector& spectrum) { fConverter.SetIlluminant(spectrum); }
    TKVector GetIlluminant() const { return fConverter.GetIlluminant(); }
    void SetObserver(int32_t degrees) { fConverter.SetObserver(degrees); }
    int32_t GetObserver() const { return fConverter.GetObserverDegrees(); }
    void SetViewingConditions(const TKVector& conditions) { fConverter.SetViewingConditions(conditions); }
    // Any colour to any CIE type with this trafo's white and observer.
    TKVector Convert(const TKVector& colour, uint32_t wantedType) const { return fConverter.Convert(colour, wantedType); }
    const TKCIEConverter& Converter() const { return fConverter; }

private:
    TKCIEConverter fConverter;
    uint32_t fInType;
    uint32_t fOutType;
};
