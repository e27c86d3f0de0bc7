// Fuzz target: the CGATS reader on untrusted text. Whatever reads must write and read back to
// the same chart; a difference aborts and is reported like a crash.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "charts/TKColorChart.h"
#include "charts/TKIT8Reader.h"
#include "charts/TKIT8Writer.h"
#include "color/TKColors.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 1u << 20) return 0;
    const TKString text(reinterpret_cast<const char*>(data), int32_t(size));
    try {
        IT8Format2MatrixReader matrix;
        matrix.SetWantedType(TKLabSpace, (size & 1) != 0);
        matrix.ReadString(text);
    } catch (const TKError&) {
    }
    TKColorChart chart;
    try {
        chart.ReadText(text, "fuzz");
    } catch (const TKError&) {
        return 0;
    }
    const TKString written = IT8FormatChartWriter(chart).WriteString();
    TKColorChart again;
    try {
        again.ReadText(written, "written");
    } catch (const TKError& error) {
        std::fprintf(stderr, "written chart does not read: %s\n%s\n", error.message(), written.CString());
        std::abort();
    }
    TKString difference;
    if (!chart.SameContent(again, &difference)) {
        std::fprintf(stderr, "round trip differs: %s\n%s\n", difference.CString(), written.CString());
        std::abort();
    }
    return 0;
}
