// Threads: errors carried back by Wait, Stop and Kill, the manager's report, named locks, CPU count.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/TKDebug.h"
#include "foundation/TKThreads.h"
#include "support/TestSupport.h"

namespace {

// Runs a function as the thread's work.
template <class Work>
class FunctionThread : public TKThread {
public:
    FunctionThread(const char* name, Work work) : TKThread(name), fWork(work) {}
    void Run() override { fWork(*this); }

private:
    Work fWork;
};

template <class Work>
TKRefPtr<TKThread> MakeThread(const char* name, Work work) {
    return TKRefPtr<TKThread>(new FunctionThread<Work>(name, work), true);
}

void SpinUntil(const std::atomic<bool>& flag) {
    while (!flag.load()) std::this_thread::yield();
}

// Sets a flag when it goes out of scope, also when a kill unwinds the stack.
struct ScopeMarker {
    explicit ScopeMarker(std::atomic<bool>& flag) : fFlag(flag) {}
    ~ScopeMarker() { fFlag = true; }
    std::atomic<bool>& fFlag;
};

class SummingThread : public TKThread {
public:
    SummingThread() : TKThread("adder") {}
    void Run() override {
        int32_t sum = 0;
        for (int32_t i = 1; i <= 100; ++i) sum += i;
        SetResult(sum);
    }
};
}  // namespace

TEST(Thread, ResultIsSeparateFromTheErrorRecord) {
    auto thread = TKMakeRef<SummingThread>();
    thread->Start();
    EXPECT_EQ(thread->Wait(), 0);
    EXPECT_FALSE(thread->IsRunning());
    EXPECT_EQ(thread->Error().code(), 0);
    EXPECT_EQ(thread->Result(), 5050);
    EXPECT_STREQ(thread->ThreadName().CString(), "adder");
    EXPECT_NE(thread->Cast("TKThread"), nullptr);
    // A thread may run again after it ended.
    thread->Start();
    EXPECT_EQ(thread->Wait(), 0);
    EXPECT_EQ(thread->Result(), 5050);
}

TEST(Thread, ErrorOfTheWorkComesBackThroughWait) {
    auto thread = MakeThread("parser", [](TKThread&) { TKThrowMsg(FormatErr, "bad token"); });
    thread->Start();
    EXPECT_EQ(thread->Wait(), FormatErr);
    TKError error = thread->Error();
    EXPECT_STREQ(error.message(), "bad token");
    EXPECT_STREQ(error.file(), "ThreadTest.cpp");
}

TEST(Thread, ForeignExceptionsBecomeUnexpectedErr) {
    auto thread = MakeThread("foreign", [](TKThread&) { throw std::runtime_error("not ours"); });
    thread->Start();
    EXPECT_EQ(thread->Wait(), UnexpectedErr);
    EXPECT_STREQ(thread->Error().message(), "not ours");
}

TEST(Thread, StartWhileRunningAndWaitFromInsideAreThreadErrors) {
    std::atomic<bool> release{false};
    auto thread = MakeThread("busy", [&release](TKThread& self) {
        SpinUntil(release);
        self.Wait();  // a thread cannot wait for itself
    });
    thread->Start();
    EXPECT_TKERROR(thread->Start(), ThreadError);
    release = true;
    EXPECT_EQ(thread->Wait(), ThreadError);
}

TEST(Thread, StopAndKillOfAnIdleThreadOnlySetTheFlag) {
    auto thread = MakeThread("idle", [](TKThread&) {});
    thread->Kill();
    thread->Stop();
    EXPECT_TRUE(thread->StopRequested());
    EXPECT_FALSE(thread->IsRunning());
    EXPECT_EQ(thread->Wait(), 0);
    // Starting clears a stale request; a kill after the end records nothing.
    thread->Start();
    EXPECT_EQ(thread->Wait(), 0);
    EXPECT_FALSE(thread->StopRequested());
    thread->Kill();
    EXPECT_EQ(thread->Wait(), 0);
}

TEST(Thread, KillOfARunningThreadLeavesCancel) {
    std::atomic<bool> started{false};
    std::atomic<bool> unwound{false};
    auto thread = MakeThread("endless", [&](TKThread&) {
        ScopeMarker marker(unwound);
        started = true;
        for (;;) usleep(1000);  // never polls: only a kill ends it
    });
    thread->Start();
    SpinUntil(started);
    thread->Kill();
    EXPECT_FALSE(thread->IsRunning());
    EXPECT_FALSE(thread->StopRequested());
    EXPECT_EQ(thread->Error().code(), Cancel);
    EXPECT_EQ(thread->Wait(), Cancel);
    EXPECT_TRUE(unwound.load());  // the stack of the work was unwound
}

TEST(Thread, KillTakesEffectAtAPoll) {
    std::atomic<bool> started{false};
    auto thread = MakeThread("spinner", [&](TKThread& self) {
        started = true;
        for (;;) (void)self.StopRequested();
    });
    thread->Start();
    SpinUntil(started);
    thread->Kill();
    EXPECT_EQ(thread->Wait(), Cancel);
    // The killed thread can be started again.
    started = false;
    thread->Start();
    SpinUntil(started);
    thread->Kill();
    EXPECT_EQ(thread->Wait(), Cancel);
}

TEST(Thread, OwnerMayLetGoWhileTheWorkRuns) {
    int32_t live = TKObject::LiveObjects();
    std::atomic<bool> release{false};
    std::atomic<bool> finished{false};
    {
        auto thread = MakeThread("orphan", [&](TKThread&) {
            SpinUntil(release);
            finished = true;
        });
        thread->Start();
    }  // the owner's count is gone; the worker's keeps the object
    EXPECT_EQ(TKObject::LiveObjects(), live + 1);
    release = true;
    SpinUntil(finished);
    // The worker's count ends with its work, and the object with it.
    while (TKObject::LiveObjects() != live) std::this_thread::yield();
}

TEST(ThreadMgr, CountsAndReportsStates) {
    std::atomic<bool> release{false};
    std::atomic<bool> started{false};
    auto busy = MakeThread("matcher", [&](TKThread&) {
        started = true;
        SpinUntil(release);
    });
    auto idle = MakeThread("", [](TKThread&) {});
    auto manager = TKMakeRef<TKThreadMgr>();
    manager->Add(busy.Get());
    manager->Add(idle.Get());
    busy->Start();
    SpinUntil(started);
    EXPECT_EQ(manager->Count(), 2);
    EXPECT_EQ(manager->RunningCount(), 1);
    EXPECT_STREQ(manager->ReportText().CString(),
                 "Threads: 2\nThreads running: 1\n  matcher: RUNNING\n  #1: IDLE\n");
    EXPECT_EQ(manager->ThreadAt(1), idle.Get());
    EXPECT_TKERROR(manager->ThreadAt(2), IndexError);
    release = true;
    EXPECT_EQ(manager->WaitAll(), 0);
    manager->Remove(busy.Get());
    EXPECT_EQ(manager->Count(), 1);
    EXPECT_TKERROR(manager->Add(nullptr), ArgErr);
}

TEST(ThreadMgr, WaitAllReturnsTheFirstFailure) {
    auto ok = MakeThread("ok", [](TKThread&) {});
    auto bad = MakeThread("bad", [](TKThread&) { TKThrow(DimMismatch); });
    auto manager = TKMakeRef<TKThreadMgr>();
    manager->Add(ok.Get());
    manager->Add(bad.Get());
    ok->Start();
    bad->Start();
    EXPECT_EQ(manager->WaitAll(), DimMismatch);
}

// ---- named locks ----

namespace {

std::string UniqueName(const char* what) { return "tintara-test-" + std::to_string(getpid()) + "-" + what; }
}  // namespace

TEST(NamedLock, MutexTimeoutRaisesTimeout) {
    std::string name = UniqueName("mutex");
    {
        TKMutexGuard held(name.c_str());
        EXPECT_TRUE(held.Acquired());
        EXPECT_TKERROR(TKMutexGuard(name.c_str(), 20, true), Timeout);
        TKMutexGuard quiet(name.c_str(), 20, false);
        EXPECT_FALSE(quiet.Acquired());
    }
    TKMutexGuard again(name.c_str(), 0, true);  // free again: no wait needed
    EXPECT_TRUE(again.Acquired());
    TKMutexGuard::Remove(name.c_str());
}

TEST(NamedLock, SemaphoreCountsItsHolders) {
    std::string name = UniqueName("pair");
    {
        TKSemaphoreGuard first(name.c_str(), 0, true, -1, 2);
        TKSemaphoreGuard second(name.c_str(), 0, true, -1, 2);
        EXPECT_TKERROR(TKSemaphoreGuard(name.c_str(), 10, true), Timeout);
    }
    TKSemaphoreGuard third(name.c_str(), 0, true);
    EXPECT_TRUE(third.Acquired());
    TKSemaphoreGuard::Remove(name.c_str());
}

TEST(NamedLock, MutexIsSharedWithAnotherProcess) {
    std::string name = UniqueName("cross-process");
    int toParent[2];
    int toChild[2];
    ASSERT_EQ(pipe(toParent), 0);
    ASSERT_EQ(pipe(toChild), 0);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The child holds the mutex until the parent has seen it held.
        {
            TKMutexGuard guard(name.c_str());
            char c = 'h';
            if (write(toParent[1], &c, 1) != 1) _exit(2);
            if (read(toChild[0], &c, 1) != 1) _exit(3);
        }
        _exit(0);
    }
    char c = 0;
    ASSERT_EQ(read(toParent[0], &c, 1), 1);
    EXPECT_TKERROR(TKMutexGuard(name.c_str(), 20, true), Timeout);
    ASSERT_EQ(write(toChild[1], &c, 1), 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    TKMutexGuard after(name.c_str(), kTKWaitForever, true);
    EXPECT_TRUE(after.Acquired());
    for (int fd : {toParent[0], toParent[1], toChild[0], toChild[1]}) close(fd);
    TKMutexGuard::Remove(name.c_str());
}

TEST(NamedLock, BadNamesAreRefused) {
    EXPECT_TKERROR(TKMutexGuard(""), ArgErr);
    EXPECT_TKERROR(TKSemaphoreGuard(nullptr), ArgErr);
    std::string tooLong(300, 'n');
    EXPECT_TKERROR(TKMutexGuard(tooLong.c_str()), ArgErr);
}
