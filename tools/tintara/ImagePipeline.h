// Streams an image from a reader through a matcher into a writer: one thread reads bands, N
// threads match them, the calling thread writes them in order and draws the progress. A fixed
// number of band buffers circulates, so memory does not grow with the image.
#pragma once

#include "HostSupport.h"
#include "ImageIO.h"
#include "MatchImage.h"

namespace host {

// Converts every band of `reader` into `writer` (whose shape is `outShape`) on `threads` matching
// threads. The first failure of any stage stops all of them and is thrown here.
void StreamImage(ImageReader& reader, const ImageShape& outShape, ImageWriter& writer, const BandMatcher& matcher,
                 int threads, ProgressBar& progress);

}  // namespace host
