// Re-separation with a chosen black generation.
#include "separation/TKReseparationTrafo.h"

#include <strings.h>

#include "color/TKColors.h"
#include "separation/TKGCRSeparation.h"

TKReseparationTrafo::TKReseparationTrafo(TKTrafo* source, TKTrafo* destination, TKTrafo* start,
                                         const char* blackGeneration, double p1, double p2, double tac)
    : fSource(source, false), fDestination(destination, false) {
    if (!fSource || !fDestination) TKThrowMsg(PtrInvalid, "re-separation without both trafos");
    if (GetChannelCount(uint32_t(fDestination->GetSrcType())) < 4 || fSource->GetSrcDim() < 1)
        TKThrowMsg(DimMismatch, "re-separation needs a destination with black");
    fKeepBlack = blackGeneration && strcasecmp(blackGeneration, "KeepK") == 0;
    if (fKeepBlack) {
        if (fSource->GetSrcDim() < 4) TKThrowMsg(DimMismatch, "keeping black needs a source with black");
        fInverse.Reset(new TKInvColorTrafoOptimizeCMY(start, destination, false), true);
        return;
    }
    TKRefPtr<TKColorSeparationBase> separation = TKNewSeparation(blackGeneration, TKVector(), p1, p2, tac);
    fInverse.Reset(new TKInvColorTrafoSeparation(start, destination, separation.Get(), false), true);
}

TKReseparationTrafo::~TKReseparationTrafo() noexcept {}

TKVector TKReseparationTrafo::Trafo(const TKVector& source) const {
    const TKVector colour = fSource->Trafo(source);
    // Keeping black: the source's own ink is the frame, so its black stays and CMY move.
    if (fKeepBlack) {
        TKVector frame = source;
        frame.SetType(fDestination->GetSrcType());
        fInverse->SetStartVector(frame);
    }
    return fInverse->Trafo(colour);
}
