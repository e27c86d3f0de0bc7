// Agreement with a peer: ArgyllCMS printcal calibrated the simulated press (dot gain gamma 0.8)
// towards the same press without dot gain from the same 21-step wedges (files and commands in
// tests/data/linearization/README.md). Our reference linearization of those wedges must give
// the same curves within 0.02 of the full value on every channel. Both should be near the exact
// answer u^1.25: printcal fits a smoothed model to the steps (within 0.02 of it), while our
// curves pass through the measured steps (within 0.005).
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "SimulatedPress.h"
#include "color/TKColors.h"
#include "linearization/TKCalcLinearizationVariants.h"
#include "support/TestSupport.h"

namespace {

// The first data block of a printcal .cal file: input, then one output per channel, all 0..1.
std::vector<std::vector<double>> ReadCalibration(const std::string& path) {
    std::vector<std::vector<double>> rows;
    FILE* file = std::fopen(path.c_str(), "r");
    if (!file) return rows;
    char line[512];
    bool inData = false;
    while (std::fgets(line, sizeof line, file)) {
        if (!std::strncmp(line, "BEGIN_DATA\n", 11)) inData = true;
        else if (!std::strncmp(line, "END_DATA\n", 9)) break;
        else if (inData) {
            std::vector<double> row(5);
            if (std::sscanf(line, "%lf %lf %lf %lf %lf", &row[0], &row[1], &row[2], &row[3], &row[4]) == 5)
                rows.push_back(row);
        }
    }
    std::fclose(file);
    return rows;
}

class PrintcalAgreementTest : public TKNoErrorTest {};

TEST_F(PrintcalAgreementTest, ReferenceCurvesAgreeWithPrintcal) {
    const auto printcal = ReadCalibration(TestDataPath("linearization/printcal-press.cal"));
    ASSERT_EQ(printcal.size(), 256u);
    TKRefPtr<SimulatedPress> press(new SimulatedPress(0.8), true), reference(new SimulatedPress(1.0), true);
    const WedgeChart printed = PrintWedgeChart(*press, 21), wanted = PrintWedgeChart(*reference, 21);
    TKRefPtr<TKColorLinearization> curves(new TKColorLinearization(TKCMYKSpace), true);
    TKCalcRefColorLinearization(printed.device, printed.measured, wanted.device, wanted.measured)
        .CalcChannelCurves(curves.Get());
    for (int32_t c = 0; c < 4; ++c) {
        double apart = 0.0, oursFromExact = 0.0, theirsFromExact = 0.0;
        for (const auto& row : printcal) {
            const double ours = curves->GetCurve(c).Apply(row[0]), exact = std::pow(row[0], 1.25);
            apart = std::max(apart, std::fabs(ours - row[1 + c]));
            oursFromExact = std::max(oursFromExact, std::fabs(ours - exact));
            theirsFromExact = std::max(theirsFromExact, std::fabs(row[1 + c] - exact));
        }
        std::printf("channel %d: largest difference to printcal %.4f; from u^1.25: ours %.4f, printcal %.4f\n", c,
                    apart, oursFromExact, theirsFromExact);
        EXPECT_LT(apart, 0.02) << c;
        EXPECT_LT(oursFromExact, 0.005) << c;
        EXPECT_LT(theirsFromExact, 0.02) << c;
    }
}

}  // namespace
