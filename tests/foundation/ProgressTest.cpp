// Progress tree: forwarding, cancellation by Stop and by a host callback, throttling, sub-tasks.
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "foundation/TKProgress.h"
#include "support/TestSupport.h"

namespace {

// Records every report it receives.
class RecordingProgress : public TKProgress {
public:
    void SetProgress(double fraction) override { fractions.push_back(fraction); }
    void SetSubTask(int32_t subTask) override { subTasks.push_back(subTask); }
    std::vector<double> fractions;
    std::vector<int32_t> subTasks;
};

struct HostLog {
    std::vector<int32_t> positions;
    std::vector<int32_t> totals;
    int32_t answerAt = -1;  // position from which the host answers with `answer`
    int32_t answer = 0;
};

int32_t HostCallback(int32_t position, int32_t total, void* userData) {
    auto* log = static_cast<HostLog*>(userData);
    log->positions.push_back(position);
    log->totals.push_back(total);
    return (log->answerAt >= 0 && position >= log->answerAt) ? log->answer : 0;
}

}  // namespace

TEST(ProgressForward, RefProgressPassesReportsAndSubTasksAndANullTargetIsNoOp) {
    RecordingProgress target;
    TKRefProgress progress(&target);
    progress.SetSubTask(2);
    progress.SetProgress(0.25);
    progress.SetProgress(1.0);
    EXPECT_EQ(target.fractions, (std::vector<double>{0.25, 1.0}));
    EXPECT_EQ(target.subTasks, (std::vector<int32_t>{2}));
    TKRefProgress none(nullptr);
    none.SetProgress(0.5);
    none.SetSubTask(3);
    TKSubProgress sub(nullptr, 0.0, 0.5);
    sub.SetProgress(0.5);
    EXPECT_DOUBLE_EQ(sub.GetProgress(), 0.25);
}

TEST(ProgressStop, RaisesCancelExactlyOncePerStop) {
    RecordingProgress target;
    TKStopProgress progress(&target);
    progress.SetProgress(0.1);
    progress.Stop();
    progress.Stop();  // a second Stop before the next report is still one request
    EXPECT_TRUE(progress.StopPending());
    EXPECT_TKERROR(progress.SetProgress(0.2), Cancel);
    EXPECT_FALSE(progress.StopPending());
    progress.SetProgress(0.3);
    progress.Stop();
    EXPECT_TKERROR(progress.SetProgress(0.4), Cancel);
    progress.SetProgress(0.5);
    // A cancelled report never reaches the target.
    EXPECT_EQ(target.fractions, (std::vector<double>{0.1, 0.3, 0.5}));
}

TEST(ProgressStop, CancelLeavesLastErrorAlone) {
    try {
        TKThrow(FormatErr);
    } catch (const TKError&) {
    }
    TKStopProgress progress;
    progress.Stop();
    EXPECT_TKERROR(progress.SetProgress(0.5), Cancel);
    EXPECT_EQ(TKError::LastError().code(), FormatErr);
}

TEST(ProgressCallBack, PassesPerMilleTotalAndUserDataAndRaisesTheAnswer) {
    HostLog log;
    TKCallBackProgress progress(HostCallback, &log);
    progress.SetProgress(0.0);
    progress.SetProgress(0.4567);  // truncated, not rounded
    progress.SetProgress(0.9999);
    progress.SetProgress(1.0);
    EXPECT_DOUBLE_EQ(progress.GetProgress(), 1.0);
    // Outlandish fractions stay defined.
    progress.SetProgress(std::numeric_limits<double>::quiet_NaN());
    progress.SetProgress(1e300);
    progress.SetProgress(-1.0);
    EXPECT_EQ(log.positions, (std::vector<int32_t>{0, 456, 999, 1000, 0, INT32_MAX, -1000}));
    EXPECT_EQ(log.totals, (std::vector<int32_t>(7, 1000)));
    log.answerAt = 500;
    log.answer = Cancel;
    progress.SetProgress(0.2);
    EXPECT_TKERROR(progress.SetProgress(0.5), Cancel);
    // Codes outside the engine's table are carried unchanged.
    log.answer = 4711;
    EXPECT_TKERROR(progress.SetProgress(0.6), 4711);
    log.answer = -2;
    EXPECT_TKERROR(progress.SetProgress(0.7), -2);
}

TEST(ProgressFilter, SwitchesDecideWhatPasses) {
    RecordingProgress target;
    TKFilterProgress filter(&target);
    filter.SetProgress(0.1);
    filter.SetSuspended(true);
    filter.SetProgress(0.2);  // suspended without blocking: dropped
    filter.SetSubTask(1);
    filter.SetBlockCalls(true);
    filter.SetProgress(0.3);  // suspended and blocking: passes as a marker
    filter.SetSuspended(false);
    filter.SetProgress(0.4);
    filter.SetDisabled(true);
    filter.SetProgress(0.5);
    filter.SetSubTask(2);
    EXPECT_EQ(target.fractions, (std::vector<double>{0.1, -1.0, 0.4}));
    EXPECT_TRUE(target.subTasks.empty());
}

TEST(ProgressFilter, BlockedMarkerStillLetsAStopThrough) {
    TKStopProgress stop;
    TKFilterProgress filter(&stop);
    filter.SetSuspended(true);
    filter.SetBlockCalls(true);
    stop.Stop();
    EXPECT_TKERROR(filter.SetProgress(0.5), Cancel);
}

TEST(ProgressInterval, ZeroForwardsEverythingALongIntervalTheFirstAndCompletion) {
    for (int32_t interval : {0, 3600 * 1000}) {
        RecordingProgress target;
        TKIntervalProgress progress(&target, interval);
        for (int i = 0; i <= 10; ++i) progress.SetProgress(i / 10.0);
        EXPECT_EQ(target.fractions.size(), interval ? 2u : 11u);
        EXPECT_EQ(target.fractions.back(), 1.0);
    }
}

TEST(ProgressEx, RangeMapsReportsOntoTheWholeJob) {
    TKProgressEx progress;
    progress.SetRange(0.5, 0.75);
    progress.SetProgress(0.5);
    EXPECT_DOUBLE_EQ(progress.GetProgress(), 0.625);
    progress.SetProgress(-1.0);  // a marker is not mapped
    EXPECT_DOUBLE_EQ(progress.GetProgress(), -1.0);
    EXPECT_TKERROR(progress.SetRange(0.8, 0.2), ArgErr);
    EXPECT_TKERROR(progress.SetRange(-0.1, 0.2), ArgErr);
    EXPECT_TKERROR(progress.SetRange(0.0, std::nan("")), ArgErr);
    EXPECT_DOUBLE_EQ(progress.RangeStart(), 0.5);
}

TEST(ProgressSub, MapsOntoTheParentSlice) {
    RecordingProgress parent;
    TKSubProgress sub(&parent, 0.2, 0.6);
    sub.SetProgress(0.0);
    sub.SetProgress(0.5);
    sub.SetProgress(1.0);
    ASSERT_EQ(parent.fractions.size(), 3u);
    EXPECT_DOUBLE_EQ(parent.fractions[0], 0.2);
    EXPECT_DOUBLE_EQ(parent.fractions[1], 0.4);
    EXPECT_DOUBLE_EQ(parent.fractions[2], 0.6);
    EXPECT_TKERROR(TKSubProgress(&parent, 0.7, 0.6), ArgErr);
}

TEST(ProgressSub, WeightedStepsShareTheSlice) {
    RecordingProgress parent;
    TKSubProgress sub(&parent, 0.2, 0.6);
    const double weights[] = {1.0, 3.0};
    sub.SetStepWeights(weights, 2);
    sub.StartStep(1);      // step 1 starts after a quarter: 0.2 + 0.25 * 0.4
    sub.SetProgress(0.5);  // (1 + 0.5 * 3) / 4 = 0.625 -> 0.2 + 0.625 * 0.4
    sub.EndStep();         // the end of the last step is the end of the slice
    EXPECT_EQ(sub.CurrentStep(), -1);
    ASSERT_EQ(parent.fractions.size(), 3u);
    EXPECT_DOUBLE_EQ(parent.fractions[0], 0.3);
    EXPECT_DOUBLE_EQ(parent.fractions[1], 0.45);
    EXPECT_DOUBLE_EQ(parent.fractions[2], 0.6);
}

TEST(ProgressSub, EqualStepsAndBadStepArguments) {
    RecordingProgress parent;
    TKSubProgress sub(&parent);
    sub.SetSteps(4);
    EXPECT_EQ(sub.StepCount(), 4);
    sub.StartStep(0);
    sub.SetProgress(0.5);
    EXPECT_DOUBLE_EQ(parent.fractions.back(), 0.125);
    sub.StartStep(2);
    sub.SetProgress(0.5);
    EXPECT_DOUBLE_EQ(parent.fractions.back(), 0.625);
    EXPECT_TKERROR(sub.StartStep(4), IndexError);
    EXPECT_TKERROR(sub.StartStep(-1), IndexError);
    EXPECT_TKERROR(sub.SetSteps(0), ArgErr);
    const double negative[] = {1.0, -1.0};
    EXPECT_TKERROR(sub.SetStepWeights(negative, 2), ArgErr);
    const double zeros[] = {0.0, 0.0};
    EXPECT_TKERROR(sub.SetStepWeights(zeros, 2), ArgErr);
    const double infinite[] = {1.0, INFINITY};
    EXPECT_TKERROR(sub.SetStepWeights(infinite, 2), ArgErr);
    EXPECT_TKERROR(sub.SetStepWeights(nullptr, 2), ArgErr);
    EXPECT_EQ(sub.StepCount(), 4);  // a refused setting keeps the old steps
}

TEST(ProgressSub, HostCancelUnwindsThroughAChain) {
    HostLog log;
    log.answerAt = 300;
    log.answer = Cancel;
    TKCallBackProgress host(HostCallback, &log);
    TKSubProgress phase(&host, 0.25, 0.75);
    int32_t done = 0;
    try {
        for (int i = 0; i <= 10; ++i) {
            phase.SetProgress(i / 10.0);
            ++done;
        }
        ADD_FAILURE() << "the host's cancel did not stop the loop";
    } catch (const TKError& error) {
        EXPECT_EQ(error.code(), Cancel);
    }
    // 0.25 + 0.1 * 0.5 = 0.30 is the first report at or past 300 per mille.
    EXPECT_EQ(done, 1);
    EXPECT_EQ(log.positions.back(), 300);
}

TEST(ProgressRowStep, TenthOfTheSmallerSideAtLeastOne) {
    EXPECT_EQ(TKProgressRowStep(1000, 250), 25);
    EXPECT_EQ(TKProgressRowStep(250, 1000), 25);
    EXPECT_EQ(TKProgressRowStep(9, 1000), 1);
    EXPECT_EQ(TKProgressRowStep(0, 0), 1);
}
