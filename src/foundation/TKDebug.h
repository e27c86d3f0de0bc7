// Debug channels: numbered diagnostics switched on one by one, written to a size-limited log.
// A channel that is off costs one table look-up.
#pragma once

#include <cstdint>

class TKDataBase;
class TKString;

enum TKDebugChannel : int32_t {
    kDebugGeneral = 0, kDebugAlwaysOn = 1, kDebugAlwaysOff = 2, kDebugError = 3,
    kDebugDataBase = 6, kDebugStackTrace = 20, kDebugTest1 = 21, kDebugTest2 = 22,
    kDebugThread = 24
};

bool ChannelEnabled(int32_t channel);
void DebugPrintf(int32_t channel, const char* format, ...) __attribute__((format(printf, 2, 3)));
void DebugWrite(int32_t channel, const char* text);
// Hook called when an error is recorded; has no output beyond checking that channel 20 exists.
void StackTrace();
