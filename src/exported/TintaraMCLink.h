// Operations of the multi-colour link family that the library offers to its own code without
// exporting them.
#pragma once

#include <cstdint>

#include "tintara.h"

// The largest grid a link can hold is 2^6 + 1 points; more bits could only overflow.
constexpr int32_t kTKMaxGridBits = 6;

// Fills the merge link held by `link` from `count` handles in order: a handle holding a link is
// shared, any other trafo is baked into a new link with the grid of gridBits[i] (2^b + 1 points,
// below 1 a quality; all 0 when gridBits is null), a handle without an object is skipped.
// ArgErr without a merge link or handles, or for grid bits out of range. On any failure the merge
// link is left empty, never half-built.
int32_t TKTrafos2MCLink(TKLinkRef link, int32_t count, TKTrafoRef* trafoRefs, const int32_t* gridBits);
