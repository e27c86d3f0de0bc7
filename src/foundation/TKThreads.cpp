// Worker threads on POSIX threads, the thread manager's report, and the CPU count.
#include "foundation/TKThreads.h"

#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cxxabi.h>
#include <exception>
#include <new>

#include "foundation/TKDebug.h"

// ---- system thread ----

TKThreadObj::~TKThreadObj() = default;

std::unique_ptr<TKThreadObj> TKThreadObj::Create() { return std::make_unique<TKPosixThreadObj>(); }

TKHoldKills::TKHoldKills() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &fOldState); }

TKHoldKills::~TKHoldKills() { pthread_setcancelstate(fOldState, nullptr); }

namespace {

struct StartRecord {
    void (*entry)(void*);
    void* argument;
};

// Kills are held back outside the thread's own work, so that the bookkeeping around it cannot
// be torn; the entry function opens them for the work alone.
void* Trampoline(void* record) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    StartRecord start = *static_cast<StartRecord*>(record);
    delete static_cast<StartRecord*>(record);
    start.entry(start.argument);
    return nullptr;
}

// Opens kills for a scope; a kill then unwinds the stack through this scope's destructor.
class KillsAllowed {
public:
    KillsAllowed() { pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &fOldState); }
    ~KillsAllowed() { pthread_setcancelstate(fOldState, nullptr); }

private:
    int fOldState;
};

}  // namespace

TKPosixThreadObj::~TKPosixThreadObj() { Detach(); }

void TKPosixThreadObj::Start(void (*entry)(void*), void* argument) {
    if (fAttached) TKThrow(ThreadError);
    auto* record = new StartRecord{entry, argument};
    int result = pthread_create(&fThread, nullptr, &Trampoline, record);
    if (result != 0) {
        delete record;
        TKError::ThrowSystemError(result, "pthread_create");
    }
    fAttached = true;
}

void TKPosixThreadObj::Join() {
    if (!fAttached) return;
    if (IsCurrent()) TKThrow(ThreadError);
    pthread_join(fThread, nullptr);
    fAttached = false;
}

void TKPosixThreadObj::Kill() {
    if (fAttached) pthread_cancel(fThread);
}

void TKPosixThreadObj::Detach() {
    if (!fAttached) return;
    pthread_detach(fThread);
    fAttached = false;
}

bool TKPosixThreadObj::IsCurrent() const { return fAttached && pthread_equal(fThread, pthread_self()); }

void TKPosixThreadObj::TestKill() { pthread_testcancel(); }

// ---- TKThread ----

TKThread::TKThread(const TKString& name) : fName(name), fThread(TKThreadObj::Create()) {}

TKThread::~TKThread() {
    if (!fThread->Attached()) return;
    if (fThread->IsCurrent()) {
        // The worker released the last count: it ends right after this, with nobody to join it.
        fThread->Detach();
    } else {
        // The worker gave up its count, so it is past its work and the join is short.
        fThread->Join();
    }
}

void TKThread::Start() {
    if (fRunning.load()) TKThrow(ThreadError);
    fThread->Join();  // the end of an earlier run, also of one that was killed
    {
        std::lock_guard<std::mutex> lock(fMutex);
        fError = TKError(NoErr);
        fResult = 0;
        fKilled = false;
    }
    fStopRequested = false;
    fRunning = true;
    AddRef();  // the worker's count, given back when the work ends
    try {
        fThread->Start(&Entry, this);
    } catch (...) {
        fRunning = false;
        Release();
        throw;
    }
}

void TKThread::Entry(void* self) {
    auto* thread = static_cast<TKThread*>(self);
    TKRefPtr<TKThread> keep(thread, true);  // takes over the count from Start, also on a kill
    try {
        {
            KillsAllowed allowed;
            thread->Run();
        }
        thread->Finish(nullptr);
    } catch (const TKError& error) {
        thread->Finish(&error);
    } catch (const std::bad_alloc&) {
        TKError error(MemFullErr, nullptr, __FILE__, __LINE__);
        thread->Finish(&error);
    } catch (const std::exception& exception) {
        TKError error(UnexpectedErr, exception.what(), __FILE__, __LINE__);
        thread->Finish(&error);
    } catch (...) {
        // A kill unwinds as an exception that is no C++ object; it must go on to the end of the
        // thread, and the error record already says Cancel. (Tested this way rather than with a
        // handler for the unwinding's own type, which binds a reference to no object.)
        if (!abi::__cxa_current_exception_type()) {
            thread->fRunning = false;
            throw;
        }
        TKError error(UnexpectedErr, nullptr, __FILE__, __LINE__);
        thread->Finish(&error);
    }
}

void TKThread::Finish(const TKError* error) {
    {
        std::lock_guard<std::mutex> lock(fMutex);
        // After a kill the record keeps Cancel, whatever the work did on its way out.
        if (!fKilled) fError = error ? *error : TKError(NoErr);
        fRunning = false;
    }
}

void TKThread::Kill() {
    // The state is decided before the system is asked, so that a worker unwinding at once
    // cannot make a running thread look idle and lose its Cancel.
    bool wasRunning;
    {
        std::lock_guard<std::mutex> lock(fMutex);
        wasRunning = fRunning.exchange(false);
        if (wasRunning) fKilled = true;
    }
    fThread->Kill();
    if (wasRunning) {
        DebugPrintf(kDebugTest1, "TKThread::Kill: TKCancel");
        TKError cancel(Cancel, nullptr, __FILE__, __LINE__, TKError::kNoStackTrace);
        std::lock_guard<std::mutex> lock(fMutex);
        fError = cancel;
    }
    fStopRequested = false;
}

void TKThread::Stop() {
    DebugPrintf(kDebugTest1, "TKThread::Stop");
    fStopRequested = true;
}

bool TKThread::IsRunning() const { return fRunning.load(); }

int32_t TKThread::Wait() {
    if (fThread->IsCurrent()) TKThrow(ThreadError);
    fThread->Join();
    std::lock_guard<std::mutex> lock(fMutex);
    return fError.code();
}

bool TKThread::StopRequested() {
    if (fThread->IsCurrent()) fThread->TestKill();
    return fStopRequested.load();
}

TKError TKThread::Error() const {
    std::lock_guard<std::mutex> lock(fMutex);
    return fError;
}

int32_t TKThread::Result() const {
    std::lock_guard<std::mutex> lock(fMutex);
    return fResult;
}

void TKThread::SetResult(int32_t result) {
    std::lock_guard<std::mutex> lock(fMutex);
    fResult = result;
}

// ---- TKThreadMgr ----

void TKThreadMgr::Add(TKThread* thread) {
    if (!thread) TKThrow(ArgErr);
    std::lock_guard<std::mutex> lock(fMutex);
    fThreads.emplace_back(thread, false);
}

void TKThreadMgr::Remove(TKThread* thread) {
    TKRefPtr<TKThread> removed;  // released after the lock
    std::lock_guard<std::mutex> lock(fMutex);
    for (auto it = fThreads.begin(); it != fThreads.end(); ++it) {
        if (it->Get() == thread) {
            removed = std::move(*it);
            fThreads.erase(it);
            return;
        }
    }
}

int32_t TKThreadMgr::Count() const {
    std::lock_guard<std::mutex> lock(fMutex);
    return int32_t(fThreads.size());
}

int32_t TKThreadMgr::RunningCount() const {
    std::lock_guard<std::mutex> lock(fMutex);
    int32_t running = 0;
    for (const auto& thread : fThreads) running += thread->IsRunning() ? 1 : 0;
    return running;
}

TKThread* TKThreadMgr::ThreadAt(int32_t index) const {
    std::lock_guard<std::mutex> lock(fMutex);
    if (index < 0 || size_t(index) >= fThreads.size()) TKThrow(IndexError);
    return fThreads[size_t(index)].Get();
}

void TKThreadMgr::StopAll() {
    std::lock_guard<std::mutex> lock(fMutex);
    for (const auto& thread : fThreads) thread->Stop();
}

int32_t TKThreadMgr::WaitAll() {
    std::vector<TKRefPtr<TKThread>> threads;
    {
        std::lock_guard<std::mutex> lock(fMutex);
        threads = fThreads;  // waiting must not hold the list
    }
    int32_t first = 0;
    for (const auto& thread : threads) {
        int32_t code = thread->Wait();
        if (first == 0) first = code;
    }
    return first;
}

TKString TKThreadMgr::ReportText() const {
    std::lock_guard<std::mutex> lock(fMutex);
    int32_t running = 0;
    for (const auto& thread : fThreads) running += thread->IsRunning() ? 1 : 0;
    TKString text = TKString::Format("Threads: %d\nThreads running: %d\n", int(fThreads.size()), int(running));
    for (size_t i = 0; i < fThreads.size(); ++i) {
        TKString name = fThreads[i]->ThreadName();
        if (name.IsEmpty()) name = TKString::Format("#%d", int(i));
        text.AppendFormat("  %s: %s\n", name.CString(), fThreads[i]->IsRunning() ? "RUNNING" : "IDLE");
    }
    return text;
}

void TKThreadMgr::Report(int32_t channel) const {
    if (ChannelEnabled(channel)) DebugWrite(channel, ReportText().CString());
}

// ---- CPU count ----

int32_t GetCPUCount() {
    // The processors this process may use, which a container or taskset may restrict.
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        int count = CPU_COUNT(&set);
        if (count > 0) return count;
    }
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    if (online < 1) TKError::ThrowSystemError(errno, "GetCPUCount");
    return int32_t(online);
}
