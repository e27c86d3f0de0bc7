// Progress reports and cancellation: forwarding, throttling, stopping, host callbacks, sub-tasks.
#include "foundation/TKProgress.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "foundation/TKError.h"

TKProgress::~TKProgress() = default;

void TKProgress::SetSubTask(int32_t) {}

void TKRefProgress::SetProgress(double fraction) {
    if (fTarget) fTarget->SetProgress(fraction);
}

void TKRefProgress::SetSubTask(int32_t subTask) {
    if (fTarget) fTarget->SetSubTask(subTask);
}

TKIntervalProgress::TKIntervalProgress(TKProgress* target, int32_t intervalMs)
    : TKRefProgress(target), fIntervalMs(std::max<int32_t>(intervalMs, 0)) {}

void TKIntervalProgress::SetProgress(double fraction) {
    auto now = std::chrono::steady_clock::now();
    bool due = !fReported || fraction >= 1.0 || now - fLast >= std::chrono::milliseconds(fIntervalMs);
    if (!due) return;
    fReported = true;
    fLast = now;
    TKRefProgress::SetProgress(fraction);
}

void TKStopProgress::SetProgress(double fraction) {
    // exchange makes the clear and the test one step, so a Stop() arriving between them is
    // not lost and one Stop() never cancels twice.
    if (fStop.exchange(false, std::memory_order_acq_rel)) TKThrow(Cancel);
    TKRefProgress::SetProgress(fraction);
}

void TKFilterProgress::SetProgress(double fraction) {
    if (fDisabled || !fTarget) return;
    if (fSuspended) {
        if (fBlockCalls) fTarget->SetProgress(-1.0);
        return;
    }
    fTarget->SetProgress(fraction);
}

void TKFilterProgress::SetSubTask(int32_t subTask) {
    if (fDisabled || fSuspended || !fTarget) return;
    fTarget->SetSubTask(subTask);
}

namespace {

bool IsUnitRange(double start, double end) {
    // Written so that NaN fails every comparison and is refused.
    return start >= 0.0 && end <= 1.0 && start <= end;
}

// Position per mille for a host; NaN and values past the integer range are clamped so the
// conversion is always defined.
int32_t ToPerMille(double fraction) {
    double value = fraction * TKCallBackProgress::kTotal;
    if (!(value == value)) return 0;
    if (value >= 2147483647.0) return INT32_MAX;
    if (value <= -2147483648.0) return INT32_MIN;
    return int32_t(value);  // truncation toward zero
}

}  // namespace

void TKProgressEx::SetProgress(double fraction) {
    fFraction = MapToRange(fraction);
    Deliver(fFraction);
}

void TKProgressEx::SetRange(double start, double end) {
    if (!IsUnitRange(start, end)) TKThrow(ArgErr);
    fStart = start;
    fEnd = end;
}

double TKProgressEx::MapToRange(double fraction) const {
    if (fraction < 0.0) return fraction;
    return fStart + fraction * (fEnd - fStart);
}

void TKCallBackProgress::Deliver(double fraction) {
    if (!fCallback) return;
    int32_t result = fCallback(ToPerMille(fraction), kTotal, fUserData);
    if (result != 0) throw TKError(result, nullptr, __FILE__, __LINE__);
}

TKSubProgress::TKSubProgress(TKProgress* parent, double start, double end) : fParent(parent) {
    SetRange(start, end);
}

void TKSubProgress::SetProgress(double fraction) {
    TKProgressEx::SetProgress(fStep >= 0 ? StepFraction(fStep, fraction) : fraction);
}

void TKSubProgress::SetSubTask(int32_t subTask) {
    if (fParent) fParent->SetSubTask(subTask);
}

void TKSubProgress::SetSteps(int32_t count) {
    if (count < 1) TKThrow(ArgErr);
    std::vector<double> weights(size_t(count), 1.0);
    SetStepWeights(weights.data(), count);
}

void TKSubProgress::SetStepWeights(const double* weights, int32_t count) {
    if (!weights || count < 1) TKThrow(ArgErr);
    std::vector<double> before(static_cast<size_t>(count));
    double total = 0.0;
    for (int32_t i = 0; i < count; ++i) {
        if (!std::isfinite(weights[i]) || weights[i] < 0.0) TKThrow(ArgErr);
        before[size_t(i)] = total;
        total += weights[i];
    }
    if (!(total > 0.0) || !std::isfinite(total)) TKThrow(ArgErr);
    fWeights.assign(weights, weights + count);
    fBefore = std::move(before);
    fTotal = total;
    fStep = -1;
}

void TKSubProgress::StartStep(int32_t step) {
    if (step < 0 || step >= StepCount()) TKThrow(IndexError);
    fStep = step;
    TKProgressEx::SetProgress(StepFraction(step, 0.0));
}

void TKSubProgress::EndStep() {
    if (fStep < 0) return;
    int32_t step = fStep;
    fStep = -1;
    TKProgressEx::SetProgress(StepFraction(step, 1.0));
}

double TKSubProgress::StepFraction(int32_t step, double fraction) const {
    if (fraction < 0.0) return fraction;
    size_t i = size_t(step);
    return (fBefore[i] + fraction * fWeights[i]) / fTotal;
}

void TKSubProgress::Deliver(double fraction) {
    if (fParent) fParent->SetProgress(fraction);
}

int32_t TKProgressRowStep(int32_t width, int32_t height) {
    return std::max<int32_t>(1, std::min(width, height) / 10);
}
