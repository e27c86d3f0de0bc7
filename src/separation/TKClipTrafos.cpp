// Range and black clipping.
#include "separation/TKClipTrafos.h"

#include <algorithm>

#include "separation/TKDirectColor.h"

TKVector TKClipColorTrafo::Trafo(const TKVector& source) const {
    TKVector result(source);
    TKClipToRange(result);
    return result;
}

TKVector TKClipBlackTrafo::Trafo(const TKVector& source) const { return ClipBlack(GetRefVector(), source); }

TKVector TKClipBlackTrafo::ClipBlack(const TKVector& reference, const TKVector& input) const {
    if (reference.GetDim() < 4 || input.GetDim() < 4) return input;
    TKVector result(input);
    result[3] = std::min(result[3], reference[3]);
    return result;
}
