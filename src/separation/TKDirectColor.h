// The device-naive colour conversions of the separation layer: RGB and CMY are complements,
// black folds into and out of CMY by the multiplicative rule, and no profile is involved.
// Exception logic and ink limiting use them to compare colours of different device types.
#pragma once

#include <cstdint>

#include "numeric/TKVector.h"

// The colour in `wantedType` by the naive rules. Type 0 on either side, or equal types, give a
// copy (typed with the wanted type). Between device and CIE types the naive sRGB primaries stand
// in for the device; HSV, HLS and other types without a naive meaning are WrongDataType.
TKVector TKDirectConvert(const TKVector& colour, uint32_t wantedType);

// Folds g percent of gray into the black of an ink colour of at least four channels:
// CMY lose g, and K grows by the multiplicative rule 100 - (100 - g)(100 - K)/100.
void TKFoldIntoBlack(TKVector& colour, double gray);

// Clips every channel into the range of the colour's type; a type without ranges stays as it is.
void TKClipToRange(TKVector& colour);

// The channel range the exception and ink logic measure distances in: 255 for RGB, 100 for
// inks, gray and unknown types, the largest channel maximum for any other type.
double TKChannelScale(uint32_t type);
