// The thin thread layer: worker threads that carry their TKError back to the owner, named
// system mutexes and semaphores shared across processes, a critical section and the CPU count.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "foundation/TKObject.h"

// The system thread behind a TKThread. Start, Join, Kill and Detach are called by the owner only.
class TKThreadObj {
public:
    virtual ~TKThreadObj();
    // ThreadError if a thread is still attached; SystemError if the system refuses.
    virtual void Start(void (*entry)(void*), void* argument) = 0;
    // Waits for the thread to end and detaches from it; nothing when no thread is attached.
    virtual void Join() = 0;
    // Asks the thread to end at its next cancellation point (a wait, a sleep, a read or write,
    // or TestKill). Its stack unwinds, so destructors run. Nothing when no thread is attached.
    virtual void Kill() = 0;
    // Lets the thread run on with nobody to join it.
    virtual void Detach() = 0;
    virtual bool Attached() const = 0;
    virtual bool IsCurrent() const = 0;
    // A cancellation point for work that neither waits nor does input or output.
    virtual void TestKill() = 0;

    static std::unique_ptr<TKThreadObj> Create();
};

// Holds back a kill of the current thread for a scope, for code that must not be torn apart
// half way, such as a line being written to the log. A pending kill acts at the next point after.
class TKHoldKills {
public:
    TKHoldKills();
    ~TKHoldKills();
    TKHoldKills(const TKHoldKills&) = delete;
    TKHoldKills& operator=(const TKHoldKills&) = delete;

private:
    int fOldState;
};

// A POSIX thread. Kill is a deferred cancellation: the thread ends at its next cancellation
// point, and work that never reaches one cannot be killed.
class TKPosixThreadObj : public TKThreadObj {
public:
    ~TKPosixThreadObj() override;
    void Start(void (*entry)(void*), void* argument) override;
    void Join() override;
    void Kill() override;
    void Detach() override;
    bool Attached() const override { return fAttached; }
    bool IsCurrent() const override;
    void TestKill() override;

private:
    pthread_t fThread{};
    bool fAttached = false;
};

// A counted worker thread. Subclasses put the work in Run; an error escaping Run is kept in the
// thread's error record and returned by Wait. The worker holds a count of the object while it
// runs, so a thread cannot be destroyed under its own feet.
class TKThread : public TKObject {
    TK_DECLARE_CLASS(TKThread, TKObject)

public:
    explicit TKThread(const TKString& name = TKString());
    // The worker holds a count while it works, so destruction comes after the work: a finished
    // system thread is joined here, or detached when the worker itself dropped the last count.
    ~TKThread() override;

    // ThreadError (67) if it is running.
    virtual void Start();
    // Ends a running thread: its error record becomes Cancel (56).
    virtual void Kill();
    // Asks Run to end; Run polls StopRequested.
    virtual void Stop();
    virtual bool IsRunning() const;
    // Waits for the end of the thread and returns the code of its error record (0: success).
    // ThreadError when called from the thread itself.
    virtual int32_t Wait();
    virtual void Run() = 0;

    // For Run: true once Stop was called. Also a point at which a Kill takes effect.
    bool StopRequested();
    TKError Error() const;
    int32_t Result() const;
    TKString ThreadName() const { return fName; }

protected:
    // A result of the work, separate from the error record.
    void SetResult(int32_t result);

private:
    static void Entry(void* self);
    void Finish(const TKError* error);

    TKString fName;
    std::unique_ptr<TKThreadObj> fThread;
    std::atomic<bool> fRunning{false};
    std::atomic<bool> fStopRequested{false};
    mutable std::mutex fMutex;  // guards the records below, written by the worker
    TKError fError{NoErr};
    int32_t fResult = 0;
    bool fKilled = false;
};

// Lists threads and reports their states to the log.
class TKThreadMgr : public TKObject {
    TK_DECLARE_CLASS(TKThreadMgr, TKObject)

public:
    void Add(TKThread* thread);
    void Remove(TKThread* thread);
    int32_t Count() const;
    int32_t RunningCount() const;
    TKThread* ThreadAt(int32_t index) const;  // IndexError outside
    void StopAll();
    // Waits for every thread; returns the first non-zero code, 0 if all succeeded.
    int32_t WaitAll();
    // "Threads: n", "Threads running: n", then each thread's name with "IDLE" or "RUNNING".
    TKString ReportText() const;
    void Report(int32_t channel) const;

private:
    mutable std::mutex fMutex;
    std::vector<TKRefPtr<TKThread>> fThreads;
};

// A wait of this many milliseconds never ends.
constexpr uint32_t kTKWaitForever = 0xFFFFFFFFu;

// Holds a named system lock for a scope. The lock is a POSIX named semaphore: a mutex is one of
// count 1. A process that dies while holding it leaves it taken, so waits should have timeouts.
class TKNamedLockGuard {
public:
    ~TKNamedLockGuard();
    TKNamedLockGuard(const TKNamedLockGuard&) = delete;
    TKNamedLockGuard& operator=(const TKNamedLockGuard&) = delete;

    // False after a wait that ran out without raising.
    bool Acquired() const { return fAcquired; }

protected:
    // kind names the lock in the log lines ("Mutex", "semaphore").
    TKNamedLockGuard(const char* systemName, const char* name, const char* kind, uint32_t timeoutMs,
                     bool raise, int32_t channel, uint32_t initialCount);
    static void RemoveName(const char* systemName);

private:
    void* fSemaphore = nullptr;  // sem_t*, shared by every guard of the name in the process
    bool fAcquired = false;
};

class TKMutexGuard : public TKNamedLockGuard {
public:
    // channel < 0: no logging. Timeout (73) if the wait runs out and raise is set.
    TKMutexGuard(const char* name, uint32_t timeoutMs = kTKWaitForever, bool raise = true, int32_t channel = -1);
    // Removes the name from the system; holders keep their lock.
    static void Remove(const char* name);
};

class TKSemaphoreGuard : public TKNamedLockGuard {
public:
    // initialCount applies when this call creates the semaphore.
    TKSemaphoreGuard(const char* name, uint32_t timeoutMs = kTKWaitForever, bool raise = true,
                     int32_t channel = -1, uint32_t initialCount = 1);
    static void Remove(const char* name);
};

// A process-local lock for first-time creation of shared objects; re-entrant.
class TKCriticalSection {
public:
    void Enter() { fMutex.lock(); }
    void Leave() { fMutex.unlock(); }

private:
    std::recursive_mutex fMutex;
};

class TKCriticalSectionGuard {
public:
    explicit TKCriticalSectionGuard(TKCriticalSection* section) : fSection(section) {
        if (fSection) fSection->Enter();
    }
    ~TKCriticalSectionGuard() {
        if (fSection) fSection->Leave();
    }
    TKCriticalSectionGuard(const TKCriticalSectionGuard&) = delete;
    TKCriticalSectionGuard& operator=(const TKCriticalSectionGuard&) = delete;

private:
    TKCriticalSection* fSection;
};

// Processors this process may run on. SystemError ("GetCPUCount") if the system cannot tell.
int32_t GetCPUCount();
