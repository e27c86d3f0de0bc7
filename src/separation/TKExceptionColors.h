// The colour operations of the exception logic: the fall-off of a weight with distance, the
// blend of two colours with black correction, classification of a device colour, reduction of
// a colour to the inks its source allows, and the channel-wise merge of candidates.
#pragma once

#include <cstdint>

#include "numeric/TKVector.h"

// Bits of TKClassifyColor.
enum TKColorClassBits : uint32_t {
    kTKClassPrimary = 1,
    kTKClassCMYPrimary = 2,
    kTKClassSecondary = 4,
    kTKClassDuplex = 8,
    kTKClassTriplex = 16,
    kTKClassVertice = 32,
    kTKClassBorder = 64,
    kTKClassGray = 128,
    kTKClassWhite = 256,
    kTKClassEdge = 512,
    kTKClassChromaEdge = 1024,
    kTKClassFullPrimary = 2048,
    kTKClassCMYonly = 4096,
    kTKClassCMYKonly = 8192,
    kTKClassBlack = 16384,
    kTKClass2Channels = 32768,
    kTKClass3Channels = 0x10000,
};

// 1 at distance 0, falling linearly to 0 at `width`; a width of 0 gives 1 at exactly 0 only.
double TKCalcFalloff(double distance, double width);

// a + w'(b - a) with b converted directly to a's type and w bent by `curve` (0 straight, 1 S-shape,
// 2 w^2, 3 1 - (1 - w)^2). Ink colours of more than three channels get their gray share
// corrected, since mixing black and CMY linearly changes it.
TKVector TKBlendColors(const TKVector& a, const TKVector& b, double w, int32_t curve);

// The Euclidean distance of a colour from the gray of its own mean.
double TKGrayDistance(const TKVector& colour);

// The class bits of a device colour; channels within eps of 0 count as empty, within eps of
// full as full.
uint32_t TKClassifyColor(const TKVector& colour, double eps);

// The colour v reduced to the inks that the source colour s allows, by the one-ink, two-ink,
// duplex, triplex, black and scaling flags of the mode word; `extended` bit 0 lets channels
// beyond the fourth count as inks of their own.
TKVector TKPurifyColor(const TKVector& v, const TKVector& s, uint32_t flags, int32_t extended);

// Per channel the value of a or b that lies farther from g; a on a tie.
TKVector TKKeepFarthest(const TKVector& g, const TKVector& a, const TKVector& b);
