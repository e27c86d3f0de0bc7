// Shared by the chart fuzzers: a chart that read must read back alike from what was written of
// it; anything else aborts and is reported like a crash.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "charts/TKColorChart.h"
#include "foundation/TKError.h"

namespace fuzz {

// `read(chart, text)` reads a written text into a chart.
template <class Read>
void CheckReadsBack(const TKColorChart& chart, const TKString& written, Read read) {
    TKColorChart again;
    try {
        read(again, written);
    } catch (const TKError& error) {
        std::fprintf(stderr, "written chart does not read: %s\n%s\n", error.message(), written.CString());
        std::abort();
    }
    TKString difference;
    if (!chart.SameContent(again, &difference)) {
        std::fprintf(stderr, "round trip differs: %s\n%s\n", difference.CString(), written.CString());
        std::abort();
    }
}

}  // namespace fuzz
