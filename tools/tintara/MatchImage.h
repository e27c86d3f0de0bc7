// Matches one band of rows through a ready link: the file's samples to the link's codes (gray
// turned around, Lab recoded), the kernel, extra samples copied, and back to the file's samples.
#pragma once

#include "HostSupport.h"
#include "Image.h"

namespace host {

class BandMatcher {
public:
    // `in` and `out` are the shapes of the source and the result: the same size, the link's
    // channels on each side, the same extra samples; layouts and Lab encodings may differ.
    BandMatcher(TKLinkRef link, const ImageShape& in, const ImageShape& out);
    // Fills the first `rows` rows of `out` from those of `in`, which it may change (gray is
    // turned around in place). Calls on different bands may run at once. The runs handed to the
    // kernel are cut by the image's width alone, so the bytes do not depend on the thread count.
    void Match(Image& in, Image& out, uint32_t rows) const;

private:
    int32_t MatchRun(Image& in, Image& out, uint32_t first, uint32_t rows) const;
    void CopyExtra(const Image& in, Image& out, uint32_t rows) const;

    TKLinkRef link_;
    bool invertIn_, invertOut_, recode_;
    uint32_t rowsPerRun_;
};

}  // namespace host
