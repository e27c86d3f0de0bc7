// Progress reports and cancellation. Long calculations report a fraction of their work;
// a progress object cancels the work by raising TKError(Cancel) from inside a report.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <vector>

#include "tintara.h"

// The abstract report target. A fraction is normally 0..1; a negative fraction means
// "still alive, position unknown" (see TKFilterProgress).
class TKProgress {
public:
    virtual ~TKProgress();
    virtual void SetProgress(double fraction) = 0;
    // Names the part of the job now running; reports that follow belong to it.
    virtual void SetSubTask(int32_t subTask);
};

// Forwards every report to a further progress; a null target makes it a no-op.
class TKRefProgress : public TKProgress {
public:
    explicit TKRefProgress(TKProgress* target = nullptr) : fTarget(target) {}
    void SetProgress(double fraction) override;
    void SetSubTask(int32_t subTask) override;

    TKProgress* Target() const { return fTarget; }
    void SetTarget(TKProgress* target) { fTarget = target; }

private:
    TKProgress* fTarget;  // not owned
};

// Forwards a report only when the interval has passed since the last forwarded one, so a
// tight loop can report every step without flooding a host's user interface. The first
// report and the report of completion (fraction >= 1) always pass.
class TKIntervalProgress : public TKRefProgress {
public:
    static constexpr int32_t kDefaultIntervalMs = 100;

    explicit TKIntervalProgress(TKProgress* target = nullptr, int32_t intervalMs = kDefaultIntervalMs);
    void SetProgress(double fraction) override;

    int32_t IntervalMs() const { return fIntervalMs; }

private:
    int32_t fIntervalMs;
    bool fReported = false;
    std::chrono::steady_clock::time_point fLast;
};

// Cancellation from another thread: Stop() sets a flag, and the next report on the working
// thread clears it and raises Cancel (56). One Stop() cancels exactly one report.
class TKStopProgress : public TKRefProgress {
public:
    explicit TKStopProgress(TKProgress* target = nullptr) : TKRefProgress(target) {}
    void SetProgress(double fraction) override;

    // Safe from any thread. A late stop costs only one more step of work.
    void Stop() { fStop.store(true, std::memory_order_release); }
    bool StopPending() const { return fStop.load(std::memory_order_acquire); }

private:
    std::atomic<bool> fStop{false};
};

// Forwards to a target under three switches. Disabled: nothing passes. Suspended: a report
// passes as -1.0 when calls are blocked (the target still sees that the work is alive and may
// cancel it), and not at all otherwise.
class TKFilterProgress : public TKProgress {
public:
    explicit TKFilterProgress(TKProgress* target = nullptr) : fTarget(target) {}
    void SetProgress(double fraction) override;
    void SetSubTask(int32_t subTask) override;

    void SetSuspended(bool suspended) { fSuspended = suspended; }
    void SetDisabled(bool disabled) { fDisabled = disabled; }
    void SetBlockCalls(bool blockCalls) { fBlockCalls = blockCalls; }
    bool IsSuspended() const { return fSuspended; }
    bool IsDisabled() const { return fDisabled; }
    bool BlocksCalls() const { return fBlockCalls; }
    TKProgress* Target() const { return fTarget; }

private:
    TKProgress* fTarget;  // not owned
    bool fSuspended = false;
    bool fDisabled = false;
    bool fBlockCalls = false;
};

// A progress that remembers where the work stands. Its range is the slice of the whole job
// that its own reports 0..1 cover; GetProgress answers in terms of the whole job.
class TKProgressEx : public TKProgress {
public:
    void SetProgress(double fraction) override;
    virtual double GetProgress() const { return fFraction; }
    // ArgErr unless 0 <= start <= end <= 1.
    virtual void SetRange(double start, double end);

    double RangeStart() const { return fStart; }
    double RangeEnd() const { return fEnd; }

protected:
    // Receives the stored fraction after each report.
    virtual void Deliver(double fraction) {}
    // Maps a fraction of this progress onto the whole job; markers (negative) stay as they are.
    double MapToRange(double fraction) const;

private:
    double fFraction = 0.0;
    double fStart = 0.0;
    double fEnd = 1.0;
};

// Reports to a host's callback as position per mille. A non-zero answer from the host is
// raised as a TKError with that code, so a host's cancel unwinds like any other error.
// A marker (see TKFilterProgress) reaches the host as a negative position: the work is alive
// and the host may still cancel it.
class TKCallBackProgress : public TKProgressEx {
public:
    static constexpr int32_t kTotal = 1000;

    TKCallBackProgress(TKProgressProc callback, void* userData) : fCallback(callback), fUserData(userData) {}

protected:
    void Deliver(double fraction) override;

private:
    TKProgressProc fCallback;
    void* fUserData;
};

// Maps the progress of a sub-task onto a slice of its parent. The sub-task may be split into
// weighted steps: inside step i a fraction f stands for (weight before i + f * weight i) / total.
class TKSubProgress : public TKProgressEx {
public:
    // The parent slice is [start, end]; ArgErr outside 0..1 or with start > end.
    explicit TKSubProgress(TKProgress* parent, double start = 0.0, double end = 1.0);

    void SetProgress(double fraction) override;
    void SetSubTask(int32_t subTask) override;

    // Equal weights for count steps (count >= 1).
    virtual void SetSteps(int32_t count);
    // Weights must be finite and not negative, with a positive sum; ArgErr otherwise.
    virtual void SetStepWeights(const double* weights, int32_t count);
    // Enters a step and reports its start; IndexError outside the steps.
    virtual void StartStep(int32_t step);
    // Reports the end of the current step and leaves it.
    virtual void EndStep();

    int32_t StepCount() const { return int32_t(fWeights.size()); }
    int32_t CurrentStep() const { return fStep; }

protected:
    void Deliver(double fraction) override;

private:
    double StepFraction(int32_t step, double fraction) const;

    TKProgress* fParent;  // not owned
    std::vector<double> fWeights;
    std::vector<double> fBefore;  // sum of the weights before each step
    double fTotal = 0.0;
    int32_t fStep = -1;
};

// Rows per report for loops over a raster: a report after each tenth of the work, counted on
// the smaller side, and at least one row.
int32_t TKProgressRowStep(int32_t width, int32_t height);
