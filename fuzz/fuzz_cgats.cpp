// Fuzz target: the CGATS reader on untrusted text. Whatever reads must write and read back to
// the same chart; a difference aborts and is reported like a crash.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "FuzzChartSupport.h"
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
    fuzz::CheckReadsBack(chart, written, [](TKColorChart& again, const TKString& text) { again.ReadText(text, "written"); });
    return 0;
}
