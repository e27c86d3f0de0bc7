// The spin lock: mutual exclusion under contention, and a null lock that does nothing.
#include <thread>
#include <vector>

#include "foundation/TKSpinLock.h"
#include "support/TestSupport.h"

TEST(SpinLock, GuardsACounterUnderContention) {
    TKSpinLock lock;
    int64_t counter = 0;  // plain, not atomic: only the lock keeps the increments whole
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 100000; ++i) {
                TKSpinLockGuard guard(&lock);
                ++counter;
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(counter, 400000);
    EXPECT_EQ(lock.word.load(), 0);
}
