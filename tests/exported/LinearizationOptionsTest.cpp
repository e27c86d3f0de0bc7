// The measure and smoothing of a linearization's next calculation, set by a host through the
// trafo options of its handle.
#include <cmath>
#include <string>

#include "color/TKColors.h"
#include "exported/TKVectorDataSet.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {

// A CMYK chart of 11-step wedges whose lightness falls with v^0.7 while chroma grows linearly:
// lightness alone and delta E 1976 then ask for different curves.
struct Wedges {
    TKMatrix device{44, 4, int32_t(TKCMYKSpace)};
    TKMatrix measured{44, 3, int32_t(TKLabSpace)};
    Wedges() {
        for (int32_t channel = 0, row = 0; channel < 4; ++channel)
            for (int32_t step = 0; step <= 10; ++step, ++row) {
                const double v = step / 10.0;
                device(row, channel) = 100.0 * v;
                measured(row, 0) = 95.0 - 70.0 * std::pow(v, 0.7) + (step % 2 ? 0.8 : 0.0);  // some noise
                measured(row, 1) = 50.0 * v;
                measured(row, 2) = -20.0 * v;
            }
    }
};

// Channel 0's curve at 30 % after a calculation with the given options.
double CurveAt30(const Wedges& wedges, const char* method, const char* smoothing) {
    TKLinearizationRef lin = TKNewTKLinearizationRef();
    EXPECT_EQ(TKSetTrafoOption(lin, "differencemethod", method), 0);
    EXPECT_EQ(TKSetTrafoOption(lin, "Smoothing", smoothing), 0);
    TKVectorDataSet device, measured;
    TKInitVectorDataSetFromMatrix(&device, wedges.device);
    TKInitVectorDataSetFromMatrix(&measured, wedges.measured);
    EXPECT_EQ(TKCalcLinearization(lin, 44, &device, &measured, nullptr), 0);
    double in[4] = {30, 30, 30, 30}, out[4] = {};
    EXPECT_EQ(TKDoTrafo(lin, in, out), 0);
    TKFreeTKLinearizationRef(lin);
    return out[0];
}

TEST(LinearizationOptions, MeasureAndSmoothingReachTheCalculation) {
    const Wedges wedges;
    const double plain = CurveAt30(wedges, "", "");
    EXPECT_DOUBLE_EQ(CurveAt30(wedges, "2", "-1"), plain);  // the defaults spelled out
    EXPECT_GT(std::fabs(CurveAt30(wedges, "16", "") - plain), 1.0);
    EXPECT_DOUBLE_EQ(CurveAt30(wedges, "dL", ""), CurveAt30(wedges, "16", ""));
    EXPECT_NE(CurveAt30(wedges, "", "5"), plain);
}

TEST(LinearizationOptions, BadValuesAndHandles) {
    TKLinearizationRef lin = TKNewTKLinearizationRef();
    for (const char* value : {"abc", "1e999", "35", "-2", "NoSuchMethod"})
        EXPECT_EQ(TKSetTrafoOption(lin, "DifferenceMethod", value), 3) << value;
    for (const char* value : {"abc", "nan", "1 2"}) EXPECT_EQ(TKSetTrafoOption(lin, "Smoothing", value), 3) << value;
    TKTrafoRef trafo = TKNewTKTrafoRef();
    EXPECT_EQ(TKSetTrafoOption(trafo, "Smoothing", "1"), 45);  // no linearization in it
    TKFreeTKTrafoRef(trafo);
    TKFreeTKLinearizationRef(lin);
}

}  // namespace
