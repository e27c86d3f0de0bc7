// The simulated press: FOGRA29L behind a power curve per channel.
#include "SimulatedPress.h"

#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "icc/TKICCProfile.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "linearization/TKCalcLinearizationVariants.h"
#include "support/TestSupport.h"

SimulatedPress::SimulatedPress(double gamma) : fGamma(gamma) {
    TKRefPtr<TKICCProfile> profile(new TKICCProfile, true);
    profile->ReadFile(TKFileSpec(TKString(TestDataPath("linearization/FOGRA29L.icc").c_str())), 2);
    fProfile = TKICCTrafoBuilder(profile.Get()).GetA2BTrafo(1);
}

SimulatedPress::~SimulatedPress() noexcept = default;

int32_t SimulatedPress::GetSrcType() const { return int32_t(TKCMYKSpace); }
int32_t SimulatedPress::GetDstType(int32_t) const { return int32_t(TKLabSpace); }

TKVector SimulatedPress::Trafo(const TKVector& cmyk) const {
    TKVector device(4, int32_t(TKCMYKSpace));
    for (int32_t i = 0; i < 4; ++i) device[i] = 100.0 * std::pow(std::clamp(cmyk[i], 0.0, 100.0) / 100.0, fGamma);
    return ConvertColor(TKLabSpace, fProfile->Trafo(device));
}

TKVector WedgeColour(int32_t wedge, double percent) {
    TKVector colour(4, int32_t(TKCMYKSpace));
    if (wedge < 4) colour[wedge] = percent;
    else colour[0] = colour[1] = colour[2] = percent;
    return colour;
}

WedgeChart PrintWedgeChart(const TKTrafo& press, int32_t steps, const TKTrafo* curves) {
    WedgeChart chart;
    const int32_t rows = 5 * steps;
    chart.device = TKMatrix(rows, 4, int32_t(TKCMYKSpace));
    chart.measured = TKMatrix(rows, 3, int32_t(TKLabSpace));
    int32_t row = 0;
    for (int32_t wedge = 0; wedge < 5; ++wedge)
        for (int32_t i = 0; i < steps; ++i) {
            const TKVector colour = WedgeColour(wedge, 100.0 * i / (steps - 1));
            chart.device.SetRow(row, colour);
            chart.measured.SetRow(row, press.Trafo(curves ? curves->Trafo(colour) : colour));
            ++row;
        }
    return chart;
}

TKRefPtr<TKColorLinearization> ReferenceCurves(const TKTrafo& press, const TKTrafo& reference, int32_t steps) {
    const WedgeChart printed = PrintWedgeChart(press, steps), wanted = PrintWedgeChart(reference, steps);
    TKRefPtr<TKColorLinearization> curves(new TKColorLinearization(TKCMYKSpace), true);
    TKCalcRefColorLinearization(printed.device, printed.measured, wanted.device, wanted.measured)
        .CalcChannelCurves(curves.Get());
    return curves;
}
