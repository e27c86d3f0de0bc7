// Calibration curves tuned by a minimizer against a measured wedge or a process trafo.
#include "linearization/TKOptimizeLinearization.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "linearization/TKCalcColorLinearization.h"
#include "numeric/TKMinimize.h"

namespace {

// Samples of a process's tone taken to stand for it between the check points.
constexpr int32_t kToneSamples = 257;

TKTonePoints RisingPoints(const TKVector& x, const TKVector& y) {
    if (x.GetDim() != y.GetDim() || x.GetDim() < 3) TKThrowMsg(ArgErr, "a tone curve needs three points or more");
    TKTonePoints points;
    for (int32_t i = 0; i < x.GetDim(); ++i) {
        if (!std::isfinite(x[i]) || !std::isfinite(y[i])) TKThrowMsg(ArgErr, "a tone point is not a number");
        points.x.push_back(x[i]);
        points.y.push_back(y[i]);
    }
    // Sorted by position; equal positions are pooled by PrepareForFit.
    std::vector<size_t> order(points.x.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return points.x[a] < points.x[b]; });
    TKTonePoints sorted;
    for (size_t i : order) {
        sorted.x.push_back(points.x[i]);
        sorted.y.push_back(points.y[i]);
    }
    sorted.PrepareForFit();
    return sorted;
}

}  // namespace

TKOptimizeLinearization::TKOptimizeLinearization(const TKVector& x, const TKVector& y) : fProcess(RisingPoints(x, y)) {}

TKOptimizeLinearization::~TKOptimizeLinearization() noexcept = default;

void TKOptimizeLinearization::SetTarget(const TKVector& x, const TKVector& y) { fTarget = RisingPoints(x, y); }

void TKOptimizeLinearization::SetSmoothing(double weight) {
    if (!(weight >= 0.0)) TKThrowMsg(ArgErr, "the bend penalty must be 0 or more");
    fSmoothing = weight;
}

void TKOptimizeLinearization::SetPointCount(int32_t count) {
    if (count < 1 || count > 64) TKThrowMsg(ArgErr, "1 to 64 free curve points");
    fPoints = count;
}

double TKOptimizeLinearization::ProcessTone(double position) const { return fProcess.Eval(position); }

double TKOptimizeLinearization::TargetTone(double u) const { return fTarget.x.empty() ? u : fTarget.Eval(u); }

void TKOptimizeLinearization::BeginChannel(int32_t, bool& reversed) { reversed = false; }

TKTonePoints TKOptimizeLinearization::CurveThrough(const TKVector& points) const {
    TKTonePoints curve;
    curve.x.push_back(0.0);
    curve.y.push_back(fStart);
    for (int32_t k = 0; k < points.GetDim(); ++k) {
        curve.x.push_back(double(k + 1) / double(points.GetDim() + 1));
        curve.y.push_back(std::clamp(points[k], std::min(fStart, fEnd), std::max(fStart, fEnd)));
    }
    curve.x.push_back(1.0);
    curve.y.push_back(fEnd);
    curve.PrepareForFit();
    return curve;
}

double TKOptimizeLinearization::Error(const TKVector& points, TKVector& out) {
    const TKTonePoints curve = CurveThrough(points);
    const int32_t n = points.GetDim();
    out = TKVector(kCheckPoints + std::max(0, n));
    for (int32_t i = 0; i < kCheckPoints; ++i) {
        const double u = double(i) / double(kCheckPoints - 1);
        out[i] = ProcessTone(curve.Eval(u)) - TargetTone(u);
    }
    // Bends: second differences of the points with the ends, scaled to the point spacing.
    const double weight = fSmoothing * double(n + 1);
    for (int32_t k = 0; k < n; ++k) {
        const double before = k == 0 ? fStart : points[k - 1];
        const double after = k + 1 == n ? fEnd : points[k + 1];
        out[kCheckPoints + k] = weight * (before - 2.0 * points[k] + after);
    }
    return out.Norm();
}

double TKOptimizeLinearization::Optimize(TKColorLinearization* linearization, int32_t channel) {
    if (!linearization) return 0.0;
    if (channel < 0 || channel >= linearization->GetCount()) TKThrow(IndexError);
    bool reversed = false;
    BeginChannel(channel, reversed);
    TKCurveLinearization& stored = linearization->GetCurveRef(channel);
    // The curve in positions: a reversed channel is seen through v -> 1 - v on both sides.
    auto inPositions = [&](double u) {
        return reversed ? 1.0 - stored.Apply(1.0 - u) : stored.Apply(u);
    };
    fStart = inPositions(0.0);
    fEnd = inPositions(1.0);
    TKVector start(fPoints);
    for (int32_t k = 0; k < fPoints; ++k) start[k] = inPositions(double(k + 1) / double(fPoints + 1));

    TKMinimizeHookeEx search(this);
    search.SetStartStep(0.02);
    search.SetMinStep(1e-6);
    search.SetMinError(1e-9);
    search.SetMaxIterations(400);
    TKVector best;
    search.Minimize(start, best);

    const TKTonePoints curve = CurveThrough(best);
    TKVector samples(TKCalcColorLinearization::kCurveSamples);
    for (int32_t i = 0; i < samples.GetDim(); ++i) {
        const double v = double(i) / double(samples.GetDim() - 1);
        samples[i] = std::clamp(reversed ? 1.0 - curve.Eval(1.0 - v) : curve.Eval(v), 0.0, 1.0);
    }
    stored.SetSamples(samples);
    double worst = 0.0;
    for (int32_t i = 0; i < kCheckPoints; ++i) {
        const double u = double(i) / double(kCheckPoints - 1);
        worst = std::max(worst, std::fabs(ProcessTone(curve.Eval(u)) - TargetTone(u)));
    }
    return worst;
}

// ---- against a process trafo -----------------------------------------------------------------

TKOptimizeLinearizationAndTrafo::TKOptimizeLinearizationAndTrafo(TKTrafo* process) : fPress(process, false) {
    if (!process) TKThrowMsg(ArgErr, "no process trafo");
    fType = uint32_t(process->GetSrcType());
    const int32_t channels = GetChannelCount(fType);
    if (!IsDeviceSpace(fType) || channels < 1 || channels > 15)
        TKThrowMsg(ArgErr, "the process must start from a device type of 1 to 15 channels");
}

TKOptimizeLinearizationAndTrafo::~TKOptimizeLinearizationAndTrafo() noexcept = default;

void TKOptimizeLinearizationAndTrafo::SetReference(TKTrafo* reference) {
    if (reference && uint32_t(reference->GetSrcType()) != fType)
        TKThrowMsg(ArgErr, "the reference process has another device type");
    fReference = TKRefPtr<TKTrafo>(reference, false);
}

double TKOptimizeLinearizationAndTrafo::ToneOf(const TKTrafo& trafo, double position) const {
    const TKVector white = GetWhite(fType);
    const TKVector solid = GetBlack(fType, 0);
    auto print = [&](double p) {
        TKVector device = white;
        device[fChannel] = white[fChannel] + p * (solid[fChannel] - white[fChannel]);
        return ConvertColor(TKLabSpace, trafo.Trafo(device));
    };
    const TKVector paper = print(0.0), full = print(1.0), here = print(std::clamp(position, 0.0, 1.0));
    const double toPaper = fDifference.GetDifference(paper, here), toSolid = fDifference.GetDifference(here, full);
    return toPaper + toSolid > 0.0 ? toPaper / (toPaper + toSolid) : position;
}

void TKOptimizeLinearizationAndTrafo::BeginChannel(int32_t channel, bool& reversed) {
    if (channel >= GetChannelCount(fType)) TKThrow(IndexError);
    fChannel = channel;
    reversed = GetWhite(fType)[channel] > GetBlack(fType, 0)[channel];
    // The process and the reference are sampled densely once per channel: the search then
    // reads interpolated tones instead of running the trafo at every check point.
    TKVector x(kToneSamples), y(kToneSamples), ry(kToneSamples);
    for (int32_t i = 0; i < kToneSamples; ++i) {
        x[i] = double(i) / double(kToneSamples - 1);
        y[i] = ToneOf(*fPress, x[i]);
        if (fReference) ry[i] = ToneOf(*fReference, x[i]);
    }
    fProcess = RisingPoints(x, y);
    fTarget = fReference ? RisingPoints(x, ry) : TKTonePoints();
}

double TKOptimizeLinearizationAndTrafo::OptimizeAll(TKColorLinearization* linearization) {
    if (!linearization) return 0.0;
    double worst = 0.0;
    const int32_t channels = std::min(linearization->GetCount(), GetChannelCount(fType));
    for (int32_t channel = 0; channel < channels; ++channel) worst = std::max(worst, Optimize(linearization, channel));
    return worst;
}
