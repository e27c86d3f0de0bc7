// Gray balance on a forward trafo: target table, the solvers of the eleven steps and the curves.
#include "linearization/TKCalcGrayBalanceCurves.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "linearization/TKToneFit.h"
#include "numeric/TKErrorFunc.h"
#include "numeric/TKMinimize.h"

namespace {
constexpr double kGraySteps[TKCalcGrayBalanceCurves::kStepCount] = {0, 5, 10, 20, 30, 40, 50, 62.5, 75, 87.5, 100};
constexpr int32_t kTableSteps = 101;
constexpr int32_t kCurveSamples = 1024;
constexpr double kSolvedError = 1e-3;  // delta E at which a step counts as hit
enum TableColumn { kColDensity, kColDensityK, kColL, kColA, kColB, kColLightnessK, kColumns };

double LabDistance(const TKVector& a, const TKVector& b) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

// The value in 0..hi at which a falling function reaches `wanted`, by bisection.
template <class F>
double Bisect(F falling, double wanted, double hi) {
    double lo = 0.0;
    for (int i = 0; i < 60 && hi - lo > 1e-7; ++i) {
        const double mid = 0.5 * (lo + hi);
        (falling(mid) > wanted ? lo : hi) = mid;
    }
    return 0.5 * (lo + hi);
}

// Distance of the printed colour of the three chromatic channels from the target; leaving the
// channel ranges costs ten times the overshoot so the search stays inside.
class GrayErrorFunc : public TKErrorFunc {
public:
    GrayErrorFunc(const TKCalcGrayBalanceCurves& solver, const TKVector& target, const TKVector& limits)
        : fSolver(solver), fTarget(target), fLimits(limits) {}
    double Error(const TKVector& x, TKVector& out) override {
        TKVector percent(fSolver.GetChannelCount());
        double outside = 0.0;
        for (int32_t i = 0; i < 3; ++i) {
            percent[i] = std::clamp(x[i], 0.0, fLimits[i]);
            outside += std::fabs(x[i] - percent[i]);
        }
        const TKVector lab = fSolver.Print(percent);
        out = lab - fTarget;
        return LabDistance(lab, fTarget) + 10.0 * outside;
    }

private:
    const TKCalcGrayBalanceCurves& fSolver;
    TKVector fTarget;
    TKVector fLimits;
};
}  // namespace

TKCalcGrayBalanceCurves::TKCalcGrayBalanceCurves(TKTrafo* trafo) : fTrafo(trafo, false) {
    if (!trafo) TKThrowMsg(ArgErr, "gray balance needs a trafo");
    fType = uint32_t(trafo->GetSrcType());
    if (!fType && trafo->GetSrcDim() > 0) fType = ::GetDeviceType(trafo->GetSrcDim());
    fChannels = ::GetChannelCount(fType);
    if (!(IsRGB() || (IsInkSpace(fType) && fChannels >= 3)))
        TKThrowMsg(ArgErr, "gray balance needs an RGB or ink trafo of three or more channels");
    const uint32_t out = uint32_t(trafo->GetDstType(int32_t(fType)));
    if (!IsCIESpace(out) && !IsSpectral(out)) TKThrowMsg(ArgErr, "gray balance needs a trafo into a CIE type");
    fLimits = TKVector(fChannels, 0, 100.0);
    SetCurveType(0);
}

TKCalcGrayBalanceCurves::~TKCalcGrayBalanceCurves() = default;

bool TKCalcGrayBalanceCurves::IsRGB() const { return fType == TKRGBSpace; }

void TKCalcGrayBalanceCurves::SetCurveType(int32_t type) { fCurve = TKNewGrayBalanceCurve(type); }

void TKCalcGrayBalanceCurves::SetCurve(TKGrayBalanceCurve* curve) { fCurve.Reset(curve, false); }

void TKCalcGrayBalanceCurves::SetLimits(const TKVector& limits) {
    TKVector result(fChannels, 0, 100.0);
    if (!IsRGB())
        for (int32_t i = 0; i < std::min(limits.GetDim(), fChannels); ++i) {
            if (!(limits[i] > 0.0 && limits[i] <= 100.0)) TKThrowMsg(ArgErr, "a limit must lie above 0 and not above 100");
            result[i] = limits[i];
        }
    fLimits = result;
}

TKVector TKCalcGrayBalanceCurves::ToDevice(const TKVector& percent) const {
    TKVector device(fChannels, int32_t(fType));
    for (int32_t i = 0; i < fChannels; ++i) {
        const double given = i < percent.GetDim() ? percent[i] : 0.0;
        const double p = std::isnan(given) ? 0.0 : std::clamp(given, 0.0, fLimits[i]);
        device[i] = IsRGB() ? 255.0 * (1.0 - p / 100.0) : p * GetChannelMax(fType, i) / 100.0;
    }
    return device;
}

TKVector TKCalcGrayBalanceCurves::Print(const TKVector& percent) const {
    return ConvertColor(TKLabSpace, fTrafo->Trafo(ToDevice(percent)));
}

void TKCalcGrayBalanceCurves::CalcTables() {
    if (!fCurve) TKThrowMsg(PtrInvalid, "no gray curve");
    const bool hasBlack = !IsRGB() && fChannels >= 4;
    TKVector cmy(fChannels), k(fChannels);
    for (int32_t i = 0; i < 3; ++i) cmy[i] = fLimits[i];
    if (hasBlack) k[3] = fLimits[3];
    fPaper = ConvertColor(TKXYZSpace, Print(TKVector(fChannels)));
    fBlackCMY = ConvertColor(TKXYZSpace, Print(cmy));
    fBlackK = hasBlack ? ConvertColor(TKXYZSpace, Print(k)) : fBlackCMY;
    // RGB grays are not passed through the tone table: their steps are equal steps of
    // lightness, since a display's black has no useful density.
    TKRefPtr<TKGrayBalanceCurve> curve = IsRGB() ? TKNewGrayBalanceCurve(1) : fCurve;
    const double paperL = ConvertColor(TKLabSpace, fPaper)[0], blackL = ConvertColor(TKLabSpace, fBlackCMY)[0];
    const double paperD = curve->ToDensity(fPaper[1]);
    fTable = TKMatrix(kTableSteps, kColumns);
    for (int32_t step = 0; step < kTableSteps; ++step) {
        const double v = double(step);
        TKVector target = curve->TargetColor(v, fPaper, fBlackCMY);
        if (IsRGB()) target[0] = paperL + (blackL - paperL) * v / 100.0;
        const double densityK = curve->Evaluate(v, paperD, curve->ToDensity(fBlackK[1]));
        const double yK = 100.0 * std::pow(10.0, -densityK);
        const TKVector labK = ConvertColor(TKLabSpace, TKVector({yK * 0.9642, yK, yK * 0.8249}, TKXYZSpace));
        const double values[kColumns] = {curve->Evaluate(v, paperD, curve->ToDensity(fBlackCMY[1])), densityK,
                                         target[0], target[1], target[2], labK[0]};
        for (int32_t c = 0; c < kColumns; ++c) fTable(step, c) = values[c];
    }
}

TKVector TKCalcGrayBalanceCurves::GetTarget(double step) const {
    if (fTable.IsEmpty()) TKThrowMsg(PtrInvalid, "no target table yet");
    const double p = std::clamp(step, 0.0, 100.0);
    const int32_t i = std::min(int32_t(p), kTableSteps - 2);
    const double f = p - double(i);
    TKVector lab(3, TKLabSpace);
    for (int32_t c = 0; c < 3; ++c) lab[c] = (1 - f) * fTable(i, kColL + c) + f * fTable(i + 1, kColL + c);
    return lab;
}

double TKCalcGrayBalanceCurves::SolveCommon(double lightness) const {
    const double top = std::min({fLimits[0], fLimits[1], fLimits[2]});
    return Bisect([&](double v) { return Print(TKVector({v, v, v})).GetElement(0); }, lightness, top);
}

TKVector TKCalcGrayBalanceCurves::SolveCMY(const TKVector& target, const TKVector& start) const {
    GrayErrorFunc error(*this, target, fLimits);
    TKMinimizeHookeEx search(&error);
    search.SetStartStep(2.0);
    search.SetMinStep(1e-4);
    search.SetMinError(kSolvedError);
    search.SetMaxIterations(2000);
    TKVector from({start[0], start[1], start[2]}), result;
    search.Minimize(from, result);
    for (int32_t i = 0; i < 3; ++i) result[i] = std::clamp(result[i], 0.0, fLimits[i]);
    return result;
}

TKVector TKCalcGrayBalanceCurves::SolveBalance(const TKVector& target, const TKVector& start, bool eachChannel) const {
    const double common = SolveCommon(target[0]);
    TKVector x({common, common, common});
    if (!eachChannel) return x;
    // Newton steps on the three equations L, a, b = target with a difference Jacobian; each
    // channel's own effect on the colour is measured separately. Steps that do not gain are
    // halved, and a search polishes what Newton leaves.
    auto residual = [&](const TKVector& p) { return Print(p) - target; };
    TKVector r = residual(x);
    for (int iteration = 0; iteration < 30 && r.Norm() > kSolvedError; ++iteration) {
        TKMatrix jacobian(3, 3);
        for (int32_t c = 0; c < 3; ++c) {
            TKVector moved = x;
            const double h = moved[c] + 0.5 <= fLimits[c] ? 0.5 : -0.5;
            moved[c] += h;
            const TKVector dr = residual(moved) - r;
            for (int32_t row = 0; row < 3; ++row) jacobian(row, c) = dr[row] / h;
        }
        if (std::fabs(jacobian.Determinant()) < 1e-12) break;
        const TKMatrix inverse = jacobian.Inverse();
        TKVector delta(3);
        for (int32_t row = 0; row < 3; ++row)
            for (int32_t c = 0; c < 3; ++c) delta[row] -= inverse(row, c) * r[c];
        if (!std::isfinite(delta.Norm())) break;
        bool gained = false;
        for (double scale = 1.0; scale > 1e-3 && !gained; scale *= 0.5) {
            TKVector trial(3);
            for (int32_t c = 0; c < 3; ++c) trial[c] = std::clamp(x[c] + scale * delta[c], 0.0, fLimits[c]);
            const TKVector rt = residual(trial);
            if (rt.Norm() < r.Norm()) {
                x = trial;
                r = rt;
                gained = true;
            }
        }
        if (!gained) break;
    }
    if (r.Norm() <= 0.05) return x;
    const TKVector polished = SolveCMY(target, x);
    return residual(polished).Norm() < r.Norm() ? polished : x;
}

double TKCalcGrayBalanceCurves::SolveK(const TKVector& target) const {
    TKVector k(fChannels);
    return Bisect(
        [&](double v) {
            k[3] = v;
            return Print(k).GetElement(0);
        },
        target[0], fLimits[3]);
}

TKVector TKCalcGrayBalanceCurves::SolveStep(double v, const TKVector& start, int32_t method) const {
    TKVector result(fChannels);
    for (int32_t i = 0; i < fChannels; ++i) result[i] = std::min(v, fLimits[i]);  // equal steps unless solved
    if (method != kKeepEqual) {
        const TKVector target = GetTarget(v);
        const TKVector cmy =
            method == kSolveCMY ? SolveCMY(target, start) : SolveBalance(target, start, method == kSolveEach);
        for (int32_t i = 0; i < 3; ++i) result[i] = cmy[i];
    }
    if (fSolveBlack) {
        const int32_t i = std::min(int32_t(v), kTableSteps - 2);
        const double f = v - double(i);
        const double lightness = (1 - f) * fTable(i, kColLightnessK) + f * fTable(i + 1, kColLightnessK);
        result[3] = SolveK(TKVector({lightness, 0.0, 0.0}));
    }
    return result;
}

void TKCalcGrayBalanceCurves::Solve(int32_t flags) {
    if (!fCurve) TKThrowMsg(PtrInvalid, "no gray curve");
    if (flags == 0) flags = 15;
    const int32_t method = flags & 3;
    fSolveBlack = (flags & kSolveBlack) && !IsRGB() && fChannels >= 4;
    CalcTables();
    fSteps.assign(std::begin(kGraySteps), std::end(kGraySteps));
    fResults = TKMatrix(kStepCount, fChannels);
    for (int32_t step = 0; step < kStepCount; ++step) {
        const double v = fSteps[size_t(step)];
        TKVector result(fChannels);
        for (int32_t i = 0; i < fChannels; ++i) result[i] = std::min(v, fLimits[i]);  // the fixed ends
        if (step > 0 && step + 1 < kStepCount) {
            TKVector start = fResults.GetRow(step - 1);
            if (fChannels >= 4 && step >= 2) {
                start.Add(fResults.GetRow(step - 2));
                start.Multiply(0.5);
            }
            result = SolveStep(v, start, method);
        }
        fResults.SetRow(step, result);
    }
    Refine(method);
}

void TKCalcGrayBalanceCurves::Refine(int32_t method) {
    fRefinedSteps.clear();
    fRefinedResults.clear();
    // Equal chromatic steps are asked for, not a target: nothing to refine.
    if (method == kKeepEqual) return;
    std::vector<double> tried;  // steps whose solution did not gain enough
    while (int32_t(fRefinedSteps.size()) < kMaxRefinedSteps) {
        std::vector<TKTonePoints> curves(3);
        for (int32_t c = 0; c < 3; ++c) {
            PercentPoints(c, curves[size_t(c)].x, curves[size_t(c)].y);
            curves[size_t(c)].PrepareForFit();
        }
        auto interpolated = [&](double v) {
            TKVector cmy(3);
            for (int32_t c = 0; c < 3; ++c) cmy[c] = curves[size_t(c)].Eval(v);
            return cmy;
        };
        // The worst miss over 1 % steps at least 1 % away from every point.
        double worst = kRefineTolerance, at = -1.0;
        for (int32_t p = 1; p < kTableSteps - 1; ++p) {
            const double v = double(p);
            auto near = [&](const std::vector<double>& steps) {
                return std::any_of(steps.begin(), steps.end(), [&](double s) { return std::fabs(s - v) < 1.0; });
            };
            if (near(fSteps) || near(fRefinedSteps) || near(tried)) continue;
            const double miss = LabDistance(Print(interpolated(v)), GetTarget(v));
            if (miss > worst) worst = miss, at = v;
        }
        if (at < 0.0) return;
        // Solved from where the curves stand; kept only if it clearly meets the target better.
        TKVector start(fChannels);
        const TKVector cmy = interpolated(at);
        for (int32_t c = 0; c < 3; ++c) start[c] = cmy[c];
        const TKVector result = SolveStep(at, start, method);
        const double solvedMiss = LabDistance(Print(TKVector({result[0], result[1], result[2]})), GetTarget(at));
        if (solvedMiss >= 0.5 * worst) {
            tried.push_back(at);
            continue;
        }
        const size_t slot = size_t(std::lower_bound(fRefinedSteps.begin(), fRefinedSteps.end(), at) - fRefinedSteps.begin());
        fRefinedSteps.insert(fRefinedSteps.begin() + std::ptrdiff_t(slot), at);
        fRefinedResults.insert(fRefinedResults.begin() + std::ptrdiff_t(slot), result);
    }
}

void TKCalcGrayBalanceCurves::PercentPoints(int32_t channel, std::vector<double>& x, std::vector<double>& y) const {
    x.clear();
    y.clear();
    size_t refined = 0;
    for (int32_t step = 0; step < fResults.GetHeight(); ++step) {
        for (; refined < fRefinedSteps.size() && fRefinedSteps[refined] < fSteps[size_t(step)]; ++refined) {
            x.push_back(fRefinedSteps[refined]);
            y.push_back(fRefinedResults[refined][channel]);
        }
        x.push_back(fSteps[size_t(step)]);
        y.push_back(fResults(step, channel));
    }
}

void TKCalcGrayBalanceCurves::ChannelPoints(int32_t channel, std::vector<double>& x, std::vector<double>& y) const {
    PercentPoints(channel, x, y);
    for (double& v : x) v *= 0.01;
    for (double& v : y) v *= 0.01;
    if (IsRGB()) {  // in channel units the gray runs from 1 (white) down: mirror both sides
        std::reverse(x.begin(), x.end());
        std::reverse(y.begin(), y.end());
        for (double& v : x) v = 1.0 - v;
        for (double& v : y) v = 1.0 - v;
    }
}

void TKCalcGrayBalanceCurves::StoreCurve(TKCurveLinearization& curve, const std::vector<double>& x,
                                         const std::vector<double>& y) {
    TKTonePoints points;
    points.x = x;
    points.y = y;
    points.PrepareForFit();
    curve.SetSamples(points.Sample(kCurveSamples));
}

void TKCalcGrayBalanceCurves::Calc(TKColorLinearization* linearization, int32_t flags) {
    if (!linearization) return;
    Solve(flags);
    linearization->Reset(fType, fChannels);
    std::vector<double> x, y;
    for (int32_t channel = 0; channel < fChannels; ++channel) {
        ChannelPoints(channel, x, y);
        StoreCurve(linearization->GetCurveRef(channel), x, y);
    }
}
