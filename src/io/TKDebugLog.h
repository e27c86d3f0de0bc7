// The log file behind the debug channels: where it lies, how it is kept below its size limit,
// and the sink that appends channel text to it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "foundation/TKDebug.h"
#include "io/TKFileSpec.h"

// Starts each session in the log, and marks where a shrunk log may be cut.
extern const char kTKDebugSeparator[];
// Serialises log writes across threads and processes.
extern const char kTKDebugSemaphoreName[];
// The key of the global data base that holds the log's path once InitLog has chosen a file.
extern const char kTKDebugFileKey[];

// Appends channel text to one file through a TKFlushFileStream, under the named semaphore.
// Each write opens the file, appends at its end and closes it again, so that several processes
// can share one log and a log that another process has shrunk is picked up at once.
class TKDebugFileSink : public TKDebugSink {
public:
    explicit TKDebugFileSink(const TKFileSpec& spec) : fSpec(spec) {}
    void Write(const char* text, size_t length) noexcept override;
    const TKFileSpec& Spec() const { return fSpec; }

    // A wait for the semaphore longer than this is given up and the text written regardless:
    // a process that died while writing must not silence the log of all others.
    static constexpr uint32_t kSemaphoreTimeoutMs = 2000;

private:
    TKFileSpec fSpec;
};

// Makes a file the default log and writes the start header to channel 0.
// - With `once` and a log already initialised, nothing happens.
// - Empty `folder` and `fileName` select no file: text then goes to the platform's debugger
//   output only, which this system does not have.
// - The file is `fileName` with "Log.txt" appended (a name already ending in ".txt" stays), or
//   "TKDebugLog.txt" without a name; it lies in `folder`, or in the debugging folder without one.
//   A missing folder is created.
// - A file longer than `maxSize` (when at least 1) is shrunk by ShrinkLog.
// The path is stored under "DebugFile" in the global data base. Failures are swallowed.
// Returns the log's path, empty when no file was selected or it failed.
TKFileSpec InitLog(const TKString& folder, const TKString& fileName, int32_t maxSize, bool once = true);

// The path of the log file; empty before InitLog or when it selected no file.
TKFileSpec DebugLogFile();

// Keeps the last half of `maxSize` bytes of a longer file, starting at the first separator in
// that half (or at its start if there is none), behind a line
// "LOG CONTINUED: maxSize = <maxSize>, length = <old length>". Returns whether it cut.
// Raises the file layer's errors.
bool ShrinkLog(const TKFileSpec& spec, int32_t maxSize);

// The text of the start header: separator, program, version, build, date, system description,
// platform id and system version.
TKString DebugLogHeader();
