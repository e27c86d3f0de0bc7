#include "foundation/TKDebug.h"

#include <cstdarg>
#include <cstdio>

// Placeholder channel table until the log lands: channels 0, 1 and 3 on, output dropped.
namespace {
bool gEnabled[27] = {true, true, false, true};
}

bool ChannelEnabled(int32_t channel) {
    if (channel < 0 || channel >= 27) return false;
    if (channel == kDebugAlwaysOn) return true;
    if (channel == kDebugAlwaysOff) return false;
    return gEnabled[channel];
}

void DebugPrintf(int32_t channel, const char* format, ...) {
    if (!ChannelEnabled(channel)) return;
    char text[4094];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    DebugWrite(channel, text);
}

void DebugWrite(int32_t, const char*) {}

void StackTrace() {}
