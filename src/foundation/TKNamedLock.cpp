// Named system mutexes and semaphores on POSIX named semaphores, with timed waits.
#include <fcntl.h>
#include <semaphore.h>
#include <time.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <string>

#include "foundation/TKDebug.h"
#include "foundation/TKThreads.h"

namespace {

// POSIX names are "/" and one path component of at most 251 bytes. A host's name is mapped
// onto that form: slashes become '_', and mutexes get a suffix of their own so that a mutex
// and a semaphore of the same name stay apart.
std::string SystemName(const char* name, const char* suffix) {
    if (!name || !name[0]) TKThrow(ArgErr);
    std::string system = "/";
    for (const char* p = name; *p; ++p) system += (*p == '/') ? '_' : *p;
    system += suffix;
    if (system.size() > 251) TKThrow(ArgErr);
    return system;
}

// Every log line takes the log's semaphore, so handles are opened once per process and kept.
class HandleCache {
public:
    sem_t* Open(const std::string& name, uint32_t initialCount) {
        std::lock_guard<std::mutex> lock(fMutex);
        auto found = fHandles.find(name);
        if (found != fHandles.end()) return found->second;
        sem_t* handle = sem_open(name.c_str(), O_CREAT, 0666, unsigned(initialCount));
        if (handle == SEM_FAILED) TKError::ThrowSystemError(errno, name.c_str());
        fHandles.emplace(name, handle);
        return handle;
    }
    // The mapping stays open: guards of this process may still hold it.
    void Forget(const std::string& name) {
        std::lock_guard<std::mutex> lock(fMutex);
        fHandles.erase(name);
    }

private:
    std::mutex fMutex;
    std::map<std::string, sem_t*> fHandles;
};

HandleCache& Handles() {
    static HandleCache* cache = new HandleCache;  // outlives every guard, also at exit
    return *cache;
}

// True when the semaphore was taken, false when the time ran out.
bool TimedWait(sem_t* semaphore, uint32_t timeoutMs, const char* name) {
    if (timeoutMs == kTKWaitForever) {
        while (sem_wait(semaphore) != 0)
            if (errno != EINTR) TKError::ThrowSystemError(errno, name);
        return true;
    }
    // A monotonic deadline, so that a change of the wall clock neither shortens nor lengthens it.
    timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += time_t(timeoutMs / 1000);
    deadline.tv_nsec += long(timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    for (;;) {
        if (sem_clockwait(semaphore, CLOCK_MONOTONIC, &deadline) == 0) return true;
        if (errno == ETIMEDOUT) return false;
        if (errno != EINTR) TKError::ThrowSystemError(errno, name);
    }
}

}  // namespace

TKNamedLockGuard::TKNamedLockGuard(const char* systemName, const char* name, const char* kind, uint32_t timeoutMs,
                                   bool raise, int32_t channel, uint32_t initialCount) {
    auto* semaphore = Handles().Open(systemName, initialCount);
    fSemaphore = semaphore;
    bool logging = channel >= 0 && ChannelEnabled(channel);
    if (logging) {
        if (sem_trywait(semaphore) == 0) {
            fAcquired = true;
            return;
        }
        DebugPrintf(channel, "waiting for %s: %s", kind, name);
    }
    fAcquired = TimedWait(semaphore, timeoutMs, systemName);
    if (!fAcquired && raise) TKThrow(Timeout);
    if (logging) DebugPrintf(channel, "waiting complete for %s: %s", kind, name);
}

TKNamedLockGuard::~TKNamedLockGuard() {
    if (fAcquired) sem_post(static_cast<sem_t*>(fSemaphore));
}

void TKNamedLockGuard::RemoveName(const char* systemName) {
    Handles().Forget(systemName);
    sem_unlink(systemName);
}

TKMutexGuard::TKMutexGuard(const char* name, uint32_t timeoutMs, bool raise, int32_t channel)
    : TKNamedLockGuard(SystemName(name, ".mutex").c_str(), name, "Mutex", timeoutMs, raise, channel, 1) {}

void TKMutexGuard::Remove(const char* name) { RemoveName(SystemName(name, ".mutex").c_str()); }

TKSemaphoreGuard::TKSemaphoreGuard(const char* name, uint32_t timeoutMs, bool raise, int32_t channel,
                                   uint32_t initialCount)
    : TKNamedLockGuard(SystemName(name, "").c_str(), name, "semaphore", timeoutMs, raise, channel, initialCount) {}

void TKSemaphoreGuard::Remove(const char* name) { RemoveName(SystemName(name, "").c_str()); }
