// Small trafos that keep colours inside bounds: the range of their type, and the black of a
// reference colour. (Clamping between two fixed vectors is TKLimitTrafo of the numeric layer.)
#pragma once

#include "numeric/TKRefTrafo.h"

// Clips a colour to the range of its type with no margin.
class TKClipColorTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKClipColorTrafo, TKTrafo)
public:
    TKVector Trafo(const TKVector& source) const override;
};

// Keeps the black of a colour at or below the black of the stored reference colour.
class TKClipBlackTrafo : public TKRefTrafo {
    TK_DECLARE_CLASS(TKClipBlackTrafo, TKRefTrafo)
public:
    TKVector Trafo(const TKVector& source) const override;
    // The input with its fourth channel lowered to the reference's; colours or references of
    // fewer than four channels, and an empty reference, pass unchanged.
    virtual TKVector ClipBlack(const TKVector& reference, const TKVector& input) const;
};
