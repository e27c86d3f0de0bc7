// Debug channels: numbered diagnostics switched on one by one, written to a size-limited log.
// A channel that is off costs one table look-up. This layer formats and routes the text; the
// io layer installs the sinks (the log file, files of single channels) through TKDebugSink.
#pragma once

#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "foundation/TKString.h"

class TKDataBase;

enum TKDebugChannel : int32_t {
    kDebugGeneral = 0, kDebugAlwaysOn = 1, kDebugAlwaysOff = 2, kDebugError = 3,
    kDebugDataBase = 6, kDebugStackTrace = 20, kDebugTest1 = 21, kDebugTest2 = 22,
    kDebugThread = 24,
    kDebugCallApp = 4, kDebugCallUI = 5, kDebugPDFInternal = 7, kDebugPixMap = 8,
    kDebugKeenLink = 9, kDebugKeenLinkDetails = 10, kDebugColorCharts = 11, kDebugSockets = 12,
    kDebugPreset = 13, kDebugMonitor = 14, kDebugMonitorVerbose = 15, kDebugMonitorVCP = 16,
    kDebugMeasDevice = 17, kDebugTestTool = 19, kDebugCache = 23, kDebugEvents = 25,
    kDebugPdfEngine = 26,
    kDebugStandardChannels = 27  // rows of the table before any AddChannel
};

// Receives finished log text (prefixes applied, lines complete). Implementations serialise
// their own output and must not throw: logging never raises into the code it observes.
class TKDebugSink {
public:
    virtual ~TKDebugSink();
    virtual void Write(const char* text, size_t length) noexcept = 0;
};

// A copy of one row of the channel table.
struct TKDebugChannelInfo {
    int32_t number = -1;
    TKString name;
    bool prefix = true;        // lines start with "%06d: " (process id) and "[#%03d]" (channel)
    bool enabled = false;
    bool outputToFile = true;  // false: only the platform's debugger output, none on this system
    bool ownOutput = false;    // true: the channel writes to a sink of its own, not the default log
};

// The test of a channel: false for numbers outside the table; channel 1 is always on and
// channel 2 always off.
bool ChannelEnabled(int32_t channel);
// Formats into a block of 4094 characters (longer text is cut), adds a newline if the text
// does not end in one, and writes it to the channel.
void DebugPrintf(int32_t channel, const char* format, ...) __attribute__((format(printf, 2, 3)));
void DebugVPrintf(int32_t channel, const char* format, va_list args);
// Writes text as it stands (with the line prefixes) to an enabled channel.
void DebugWrite(int32_t channel, const char* text);
// Hook called when an error is recorded; has no output beyond checking that channel 20 exists.
void StackTrace();

// The table. Asking for a row outside it raises a TKError whose code is the row's number.
int32_t DebugChannelCount();
TKDebugChannelInfo DebugChannel(int32_t channel);
// Adds a row and returns its number. OutOfRange once the table is full (256 rows).
int32_t AddChannel(const TKString& name, bool enabled);
void SetChannelEnabled(int32_t channel, bool enabled);
void SetChannelPrefix(int32_t channel, bool prefix);
void SetChannelOutputToFile(int32_t channel, bool toFile);
// A sink of the channel's own; null returns the channel to the default log.
void SetChannelOutput(int32_t channel, std::shared_ptr<TKDebugSink> sink);

// The default log. Without one, text that would go to a file is dropped.
void SetDefaultDebugSink(std::shared_ptr<TKDebugSink> sink);
std::shared_ptr<TKDebugSink> DefaultDebugSink();

// Line options: the local date and time in front of each line, and a text after it.
void SetDebugOutputWithDate(bool withDate);
bool DebugOutputWithDate();
void SetDebugOutputPrefix(const TKString& prefix);
TKString DebugOutputPrefix();

// Turns off the platform's own assertion reports; this system has none, so it only says so.
void DisableDebugReport();

// Writes "<name>: <n> ms" to its channel when it goes out of scope, if the channel is on.
class TKDebugTimer {
public:
    explicit TKDebugTimer(const char* name, int32_t channel = kDebugGeneral);
    ~TKDebugTimer();
    TKDebugTimer(const TKDebugTimer&) = delete;
    TKDebugTimer& operator=(const TKDebugTimer&) = delete;

    // Seconds since construction.
    double Seconds() const;
    // Writes "'<step>' duration: <s>s" for a single step and starts the clock again.
    void Step(const char* step);

private:
    TKString fName;
    int32_t fChannel;
    std::chrono::steady_clock::time_point fStart;
};
