// TKSpinLock: a 32-bit atomic word guarding regions a few instructions long
// (the last error, the global data base, one-time table builds).
#pragma once

#include <atomic>
#include <cstdint>

class TKSpinLock {
public:
    std::atomic<int32_t> word{0};
};

class TKSpinLockGuard {
public:
    // Adds 1; while another holder is inside, backs off and tries again, without sleeping.
    explicit TKSpinLockGuard(TKSpinLock* lock) : fLock(lock) {
        if (!fLock) return;
        while (fLock->word.fetch_add(1, std::memory_order_acquire) + 1 >= 2)
            fLock->word.fetch_sub(1, std::memory_order_relaxed);
    }
    ~TKSpinLockGuard() {
        if (fLock) fLock->word.fetch_sub(1, std::memory_order_release);
    }
    TKSpinLockGuard(const TKSpinLockGuard&) = delete;
    TKSpinLockGuard& operator=(const TKSpinLockGuard&) = delete;

private:
    TKSpinLock* fLock;
};
