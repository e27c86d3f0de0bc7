// The colour-level gamut classes: TKGamut (a device gamut seen through its two trafos) and the
// trafos built on it: the round-trip difference, out-of-gamut marking and mapping, chroma
// compression towards the gamut boundary, and the soft limiting of device channels.
#pragma once

#include "color/TKColorTrafo.h"
#include "color/TKColorTypeTrafo.h"
#include "foundation/TKObject.h"

class TKGamut : public TKObject {
    TK_DECLARE_CLASS(TKGamut, TKObject)
public:
    // toDevice maps connection-space colours to the device, toPCS back; both are required
    // (ArgErr). owned: true takes over the caller's counts. The difference method and the limit
    // start from the global "OOGMethod" (a difference name, "dE76" when absent or unknown) and
    // "OOGLimit" (5.0).
    TKGamut(TKTrafo* toDevice, TKTrafo* toPCS, bool owned);

    void SetMethod(int32_t method) { fMethod = method; }
    int32_t GetMethod() const { return fMethod; }
    void SetLimit(double limit) { fLimit = limit; }
    double GetLimit() const { return fLimit; }

    // The device colour of a connection-space colour.
    TKVector ToDevice(const TKVector& colour) const;
    // The colour after the way to the device and back, in "Lab ".
    TKVector RoundTrip(const TKVector& colour) const;
    // The difference between a colour and its round trip by the method.
    double Difference(const TKVector& colour) const;
    bool IsInGamut(const TKVector& colour) const { return Difference(colour) <= fLimit; }
    // The largest chroma at the colour's lightness and hue that is in gamut, found by bisection
    // between 0 and `searchLimit` to 0.01; 0 when the grey of that lightness is out of gamut.
    // Gamuts are taken to be star-shaped around their grey axis.
    double MaxChroma(const TKVector& colour, double searchLimit = 200.0) const;

private:
    TKRefPtr<TKTrafo> fToDevice, fToPCS;
    int32_t fMethod;
    double fLimit;
};

// Base of the trafos below: a gamut held by count, input "Lab " (any CIE colour converts).
class TKGamutColorTrafo : public TKColorTrafo {
    TK_DECLARE_CLASS(TKGamutColorTrafo, TKColorTrafo)
public:
    TKGamutColorTrafo(TKGamut* gamut, bool owned, uint32_t outType);
    const TKGamut& GetGamut() const { return *fGamut; }

private:
    TKRefPtr<TKGamut> fGamut;
};

// One channel: the round-trip difference of each colour, to judge a profile's integrity.
class TKCalcIntegrityTrafo : public TKGamutColorTrafo {
    TK_DECLARE_CLASS(TKCalcIntegrityTrafo, TKGamutColorTrafo)
public:
    TKCalcIntegrityTrafo(TKGamut* gamut, bool owned) : TKGamutColorTrafo(gamut, owned, 0) {}
    int32_t GetDstDim(int32_t srcDim) const override;
    // A number, not a colour: no type.
    int32_t GetDstType(int32_t srcType) const override;

protected:
    TKVector Evaluate(const TKVector& lab) const override;
};

// Gamut clipping as the device does it: a colour in gamut stays, any other becomes its round trip.
class TKOOGMappingTrafo : public TKGamutColorTrafo {
    TK_DECLARE_CLASS(TKOOGMappingTrafo, TKGamutColorTrafo)
public:
    TKOOGMappingTrafo(TKGamut* gamut, bool owned) : TKGamutColorTrafo(gamut, owned, TKLabSpace) {}

protected:
    TKVector Evaluate(const TKVector& lab) const override;
};

// Gamut warning for a display: colours in gamut are shown as the device reproduces them (their
// round trip through `display`, a "Lab " to "RGB " trafo), colours out of gamut in the marking
// colour, the global "OOGColor" ("255 0 255" when absent or unreadable).
class TKMarkOOGTrafo : public TKGamutColorTrafo {
    TK_DECLARE_CLASS(TKMarkOOGTrafo, TKGamutColorTrafo)
public:
    // owned applies to both the gamut and the display trafo.
    TKMarkOOGTrafo(TKGamut* gamut, TKTrafo* display, bool owned);
    const TKVector& GetMarkingColor() const { return fMark; }

protected:
    TKVector Evaluate(const TKVector& lab) const override;

private:
    TKRefPtr<TKTrafo> fDisplay;
    TKVector fMark;
};

// Chroma compression towards the gamut boundary at constant lightness and hue: chroma up to
// knee x Cmax stays, above it C' = Ck + (Cmax - Ck) tanh((C - Ck) / (Cmax - Ck)), which meets
// the identity smoothly at the knee and never passes Cmax.
class TKColorCompressionTrafo : public TKGamutColorTrafo {
    TK_DECLARE_CLASS(TKColorCompressionTrafo, TKGamutColorTrafo)
public:
    TKColorCompressionTrafo(TKGamut* gamut, bool owned, double knee = 0.8);

protected:
    TKVector Evaluate(const TKVector& lab) const override;

private:
    double fKnee;
};

// Soft limiting of device values into their type's range: within knee x range of either end
// the values approach the limit by the tanh form above and never pass it; the rest stays.
class TKChannelCompressionTrafo : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKChannelCompressionTrafo, TKColorTypeTrafo)
public:
    // A type without channels, or a knee outside 0..0.5, is ArgErr.
    explicit TKChannelCompressionTrafo(uint32_t type, double knee = 0.05);
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;

private:
    uint32_t fType;
    double fKnee;
};
