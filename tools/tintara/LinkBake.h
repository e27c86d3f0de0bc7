// Bakes a trafo into a 16-bit device link, showing the elapsed time while it works.
#pragma once

#include <string>

#include "HostSupport.h"

namespace host {

// The grid of a link as its saved form states it.
struct LinkShape {
    int32_t gridPoints = 0, srcDim = 0, dstDim = 0;
    std::string Text() const;  // "33^3 = 35937 nodes"
};

// A new link computed from `trafo` with 2^gridBits + 1 points per axis (0: the link's default).
Ref BakeLink(TKTrafoRef trafo, int32_t gridBits, double& seconds);

// The grid of a ready link, read from its saved form.
LinkShape ShapeOf(TKLinkRef link);

}  // namespace host
