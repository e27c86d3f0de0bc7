// Separating anew while keeping the colour: an ink colour is seen through its profile's forward
// table and the ink that prints the same colour on the destination is searched with a chosen
// black generation: black kept, black from a separation (for example "MaxK" for the most ink
// saving, "GCR" or "UCR"), or no black.
#pragma once

#include "separation/TKParametricInvColorTrafo.h"

class TKReseparationTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKReseparationTrafo, TKTrafo)
public:
    // `source`: source inks to a CIE colour; `destination`: destination inks (CMYK) to a CIE
    // colour; `start` (may be null): an approximate inverse of the destination. `blackGeneration`
    // is "KeepK" or the name of a separation (see TKNewSeparation, with the two black parameters
    // and the total ink); ArgErr for an unknown name, DimMismatch when the trafos do not fit.
    // Counts are added, never taken over.
    TKReseparationTrafo(TKTrafo* source, TKTrafo* destination, TKTrafo* start, const char* blackGeneration,
                        double p1 = 0.0, double p2 = 100.0, double tac = 400.0);
    ~TKReseparationTrafo() noexcept override;

    int32_t GetSrcDim() const override { return fSource->GetSrcDim(); }
    int32_t GetDstDim(int32_t) const override { return fDestination->GetSrcDim(); }
    int32_t GetSrcType() const override { return fSource->GetSrcType(); }
    int32_t GetDstType(int32_t) const override { return fDestination->GetSrcType(); }
    // The destination ink of the source colour. Searches: one object serves one thread at a time.
    TKVector Trafo(const TKVector& source) const override;
    // The colour error (dE76) of the last colour.
    double GetError() const { return fInverse->GetError(); }
    TKInvColorTrafo* GetInverse() const { return fInverse.Get(); }

private:
    TKRefPtr<TKTrafo> fSource;
    TKRefPtr<TKTrafo> fDestination;
    TKRefPtr<TKInvColorTrafo> fInverse;
    bool fKeepBlack;
};
