// Gray balance and its refinement from measured charts.
#include "linearization/TKGrayBalance.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "linearization/TKCalcGrayBalanceCurves.h"
#include "linearization/TKChartPressModel.h"

namespace {
constexpr int32_t kRefinementSamples = 256;

std::vector<double> Values(const TKVector& v) { return std::vector<double>(v.Values(), v.Values() + v.GetDim()); }
}  // namespace

TKGrayBalance::TKGrayBalance(const TKMatrix& device, const TKMatrix& measured)
    : TKCalcColorLinearization(device, measured) {
    if (!IsInkSpace(GetDeviceType()) || ::GetChannelCount(GetDeviceType()) < 3)
        TKThrowMsg(ArgErr, "gray balance needs an ink type of three or more channels");
}

void TKGrayBalance::PrepareLinearization(TKColorLinearization* linearization) {
    linearization->Reset(GetDeviceType(), ::GetChannelCount(GetDeviceType()));
}

void TKGrayBalance::Calc(TKColorLinearization* linearization) {
    if (!linearization) return;
    TKRefPtr<TKChartPressModel> model(new TKChartPressModel(fDevice, fMeasured), true);
    TKCalcGrayBalanceCurves solver(model.Get());
    solver.SetCurve(MakeTarget().Get());
    if (!fLimits.IsEmpty()) solver.SetLimits(fLimits);
    // Black cannot be solved where the chart shows no black wedge: it keeps the gray step.
    const int32_t flags = fFlags == 0 ? 15 : fFlags;
    solver.Solve(model->HasWedge(3) ? flags : flags & ~TKCalcGrayBalanceCurves::kSolveBlack);
    // Everything that can fail has run: only now are the caller's curves touched.
    PrepareLinearization(linearization);
    std::vector<double> x, y;
    for (int32_t channel = 0; channel < solver.GetChannelCount(); ++channel) {
        solver.ChannelPoints(channel, x, y);
        TKVector vx(int32_t(x.size())), vy(int32_t(y.size()));
        for (size_t i = 0; i < x.size(); ++i) {
            vx[int32_t(i)] = x[i];
            vy[int32_t(i)] = y[i];
        }
        StoreChannel(channel, vx, vy, linearization);
    }
}

TKRefPtr<TKGrayBalanceCurve> TKGrayBalance::MakeTarget() const { return TKNewGrayBalanceCurve(fCurveType); }

void TKGrayBalance::StoreChannel(int32_t channel, const TKVector& x, const TKVector& y,
                                 TKColorLinearization* linearization) {
    if (!linearization) return;
    TKCalcGrayBalanceCurves::StoreCurve(linearization->GetCurveRef(channel), Values(x), Values(y));
}

namespace {
// Targets read from a table of Lab colours at equal gray steps.
class TKTableGrayCurve : public TKGrayBalanceCurveBase {
public:
    explicit TKTableGrayCurve(const TKMatrix& lab) : fLab(lab) {}
    TKVector TargetColor(double value, const TKVector&, const TKVector&) const override {
        const double p = std::clamp(value, 0.0, 100.0) / 100.0 * double(fLab.GetHeight() - 1);
        const int32_t i = std::min(int32_t(p), fLab.GetHeight() - 2);
        TKVector lab = fLab.GetRow(i);
        const TKVector next = fLab.GetRow(i + 1);
        for (int32_t c = 0; c < 3; ++c) lab[c] += (p - double(i)) * (next[c] - lab[c]);
        return lab;
    }

private:
    TKMatrix fLab;
};
}  // namespace

TKCIEGrayBalance::TKCIEGrayBalance(const TKMatrix& device, const TKMatrix& measured, const TKMatrix& targets)
    : TKGrayBalance(device, measured) {
    const uint32_t type = uint32_t(targets.GetType());
    if (targets.GetHeight() < 2 || !IsCIESpace(type) || GetChannelCount(type) != targets.GetWidth())
        TKThrowMsg(ArgErr, "gray targets need two or more CIE colours");
    for (int32_t r = 0; r < targets.GetHeight(); ++r)
        for (int32_t c = 0; c < targets.GetWidth(); ++c)
            if (!std::isfinite(targets(r, c))) TKThrowMsg(ArgErr, "gray targets must be finite");
    ConvertColors(fTargets, TKLabSpace, targets);
}

TKRefPtr<TKGrayBalanceCurve> TKCIEGrayBalance::MakeTarget() const {
    return TKRefPtr<TKGrayBalanceCurve>(new TKTableGrayCurve(fTargets), true);
}

void TKOptimizeGrayBalance::PrepareLinearization(TKColorLinearization* linearization) {
    const int32_t count = ::GetChannelCount(GetDeviceType());
    if (linearization->GetCount() == 0) {
        linearization->Reset(GetDeviceType(), count);
        return;
    }
    if (linearization->GetCount() != count ||
        (linearization->GetColorType() && linearization->GetColorType() != GetDeviceType()))
        TKThrowMsg(ArgErr, "the curves to refine belong to another colour type");
}

void TKOptimizeGrayBalance::StoreChannel(int32_t channel, const TKVector& x, const TKVector& y,
                                         TKColorLinearization* linearization) {
    if (!linearization) return;
    TKCurveLinearization correction;
    TKCalcGrayBalanceCurves::StoreCurve(correction, Values(x), Values(y));
    correction.Resample(kRefinementSamples);
    TKCurveLinearization& old = linearization->GetCurveRef(channel);
    TKVector samples(kRefinementSamples);
    for (int32_t i = 0; i < kRefinementSamples; ++i)
        samples[i] = old.Apply(correction.Apply(double(i) / double(kRefinementSamples - 1)));
    old.SetSamples(samples);
}
