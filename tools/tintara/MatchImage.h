// Pushes a whole raster through a ready link on several threads, strip by strip.
#pragma once

#include "HostSupport.h"
#include "Image.h"

namespace host {

// Fills `out` (same size, depth and layout as `in`, with the link's destination channels plus the
// same extra samples) with `in` matched through `link`; the extra samples are copied untouched.
// Runs of rows are cut by the image's width alone, so the bytes do not depend on the number of threads.
void MatchImage(TKLinkRef link, const Image& in, Image& out, int threads, ProgressBar& progress);

}  // namespace host
