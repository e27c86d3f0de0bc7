// Bakes a trafo into a 16-bit device link, showing the elapsed time while it works.
#pragma once

#include <string>
#include <vector>

#include "HostSupport.h"

namespace host {

// The grid of a link as its saved form states it.
struct LinkShape {
    int32_t gridPoints = 0, srcDim = 0, dstDim = 0;
    std::string Text() const;  // "33^3 = 35937 nodes"
};

// Grid choices besides 2^bits + 1 points: the host's default for the channel count, and the
// library's own rule (which lines the grid up with a table inside the trafo).
constexpr int32_t kHostDefaultGrid = 0, kLibraryGrid = -1;
// The host's defaults for four and three source channels: 17 and 33 points per axis.
constexpr int32_t kFourChannelGridBits = 4, kThreeChannelGridBits = 5;

// A new link computed from `trafo` with 2^gridBits + 1 points per axis, or one of the choices above.
Ref BakeLink(TKTrafoRef trafo, int32_t gridBits, double& seconds);

// The grid of a ready link, read from its saved form.
LinkShape ShapeOf(TKLinkRef link);

// The link file of a ready link, as the library saves it.
std::vector<uint8_t> SavedLinkBytes(TKLinkRef link);

}  // namespace host
