// Fuzz target: the CxF3 reader on untrusted XML. Whatever reads must write and read back to the
// same chart; a difference aborts and is reported like a crash.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "FuzzChartSupport.h"
#include "charts/TKColorChart.h"
#include "charts/TKCxFReader.h"
#include "charts/TKCxFWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 1u << 20) return 0;
    const TKString text(reinterpret_cast<const char*>(data), int32_t(size));
    TKColorChart chart;
    try {
        TKCxFReader(chart).ReadData(text);
    } catch (const TKError&) {
        return 0;
    }
    TKString written;
    try {
        written = TKCxFWriter(chart).WriteData();
    } catch (const TKError& error) {
        // Only texts with characters XML cannot carry are refused.
        if (error.code() == FormatErr) return 0;
        std::fprintf(stderr, "chart does not write: %s\n", error.message());
        std::abort();
    }
    fuzz::CheckReadsBack(chart, written, [](TKColorChart& again, const TKString& text) { TKCxFReader(again).ReadData(text); });
    return 0;
}
