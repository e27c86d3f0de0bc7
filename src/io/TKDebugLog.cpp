// The log file: initialisation, the size limit, the start header and the appending sink.
#include "io/TKDebugLog.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>
#include <vector>

#include "foundation/TKThreads.h"
#include "io/TKFile.h"
#include "io/TKFileSystem.h"
#include "io/TKGlobalData.h"

// The build system may stamp these; a plain build says what it is.
#ifndef TINTARA_VERSION
#define TINTARA_VERSION "0.1.0"
#endif
#ifndef TINTARA_BUILD_NUMBER
#define TINTARA_BUILD_NUMBER 0
#endif

const char kTKDebugSeparator[] = "-------------------------------------------";
const char kTKDebugSemaphoreName[] = "TKDebugSemaphore";
const char kTKDebugFileKey[] = "DebugFile";

namespace {

// Platform ids count up from 0x20000; the small numbers 0 to 2 belong to the Windows families.
constexpr uint32_t kPlatformPOSIX = 0x20000 + 3;

struct LogState {
    std::mutex mutex;
    bool initialised = false;
    TKFileSpec file;
};

LogState& State() {
    static LogState* state = new LogState;  // kept to the end: errors at exit may still log
    return *state;
}

// Set while this thread holds the log's semaphore: the semaphore does not count its holders, and
// an error logged while the log is being set up must not wait for the thread's own lock.
thread_local bool tHoldsLogLock = false;

class LogLock {
public:
    LogLock() {
        if (tHoldsLogLock) return;
        try {
            fGuard = std::make_unique<TKSemaphoreGuard>(kTKDebugSemaphoreName, TKDebugFileSink::kSemaphoreTimeoutMs,
                                                        false, -1);
        } catch (const TKError&) {
            // No named semaphores here (no /dev/shm in some containers): write unguarded
            // rather than not at all.
            return;
        }
        tHoldsLogLock = true;
    }
    ~LogLock() {
        if (fGuard) tHoldsLogLock = false;
    }
    LogLock(const LogLock&) = delete;
    LogLock& operator=(const LogLock&) = delete;

private:
    std::unique_ptr<TKSemaphoreGuard> fGuard;
};

void AppendLocked(const TKFileSpec& spec, const char* text, size_t length) {
    auto file = TKMakeRef<TKFlushFileStream>(spec, TKFile::kReadWrite);
    file->Open(TKFile::kReadWrite, true, true);
    file->Seek(0, kSeekEnd);
    file->Write(text, length);
}

// Major, minor and patch of the kernel's release ("6.1.0-18-amd64") as bytes of one number.
uint32_t SystemVersion(const char* release) {
    unsigned parts[3] = {0, 0, 0};
    std::sscanf(release, "%u.%u.%u", &parts[0], &parts[1], &parts[2]);
    uint32_t version = 0;
    for (unsigned part : parts) version = (version << 8) | std::min(part, 255u);
    return version;
}

TKString LocalDate() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

TKString LogName(const TKString& fileName) {
    if (fileName.IsEmpty()) return "TKDebugLog.txt";
    int32_t n = fileName.Length();
    if (n >= 4 && fileName.Right(4).CompareNoCase(".txt") == 0) return fileName;
    return fileName + "Log.txt";
}

}  // namespace

void TKDebugFileSink::Write(const char* text, size_t length) noexcept {
    try {
        LogLock lock;
        AppendLocked(fSpec, text, length);
    } catch (...) {
        // Logging never raises into the code it observes.
    }
}

bool ShrinkLog(const TKFileSpec& spec, int32_t maxSize) {
    if (maxSize < 1) return false;
    std::vector<uint8_t> tail;
    int64_t length;
    {
        auto file = TKMakeRef<TKFile>(spec, TKFile::kRead);
        file->Open(TKFile::kRead, false, false);
        if (!file->IsOpen()) return false;
        length = file->Length();
        if (length <= maxSize) return false;
        // Only the kept half is read: the part before it is dropped anyway.
        file->Seek(length - maxSize / 2, kSeekStart);
        file->ReadData(tail, -1);
    }
    static const size_t kSeparatorLength = sizeof kTKDebugSeparator - 1;
    auto cut = std::search(tail.begin(), tail.end(), kTKDebugSeparator, kTKDebugSeparator + kSeparatorLength);
    if (cut == tail.end()) cut = tail.begin();

    TKString head = TKString::Format("LOG CONTINUED: maxSize = %d, length = %d\n", int(maxSize),
                                     int(std::min<int64_t>(length, INT32_MAX)));
    // Written beside the log and renamed over it, so that a failure half way leaves the old log.
    TKFileSpec temporary(spec.FullName() + ".shrink");
    {
        auto out = TKMakeRef<TKFlushFileStream>(temporary, TKFile::kWrite);
        out->Open(TKFile::kWrite, true, true);
        out->WriteString(head);
        size_t kept = size_t(tail.end() - cut);
        if (kept) out->Write(&*cut, kept);
    }
    MoveFile(temporary, spec);
    return true;
}

TKString DebugLogHeader() {
    struct utsname system {};
    uname(&system);
    TKString header = TKString::Format("%s\n%s, %s, build %d, %s\n", kTKDebugSeparator, program_invocation_short_name,
                                       TINTARA_VERSION, int(TINTARA_BUILD_NUMBER), LocalDate().CString());
    header.AppendFormat("System: %s %s %s\n", system.sysname, system.release, system.machine);
    header.AppendFormat("Platform: %x\n", unsigned(kPlatformPOSIX));
    header.AppendFormat("System-Version: %x\n", unsigned(SystemVersion(system.release)));
    return header;
}

TKFileSpec InitLog(const TKString& folder, const TKString& fileName, int32_t maxSize, bool once) {
    LogState& state = State();
    std::unique_lock<std::mutex> lock(state.mutex);
    if (once && state.initialised) return state.file;
    state.initialised = true;
    state.file = TKFileSpec();
    if (folder.IsEmpty() && fileName.IsEmpty()) {
        SetDefaultDebugSink(nullptr);
        return state.file;
    }
    try {
        TKFileSpec folderSpec = folder.IsEmpty() ? TKFileSpec(kDebuggingFolder, TKString()) : TKFileSpec(folder);
        if (folderSpec.IsEmpty()) return state.file;  // no debugging folder on this system
        if (!DirExists(folderSpec)) CreateDirectory(folderSpec, true);
        TKFileSpec spec(folderSpec.FullName() + "/" + LogName(fileName));
        {
            LogLock logLock;
            auto file = TKMakeRef<TKFile>(spec, TKFile::kReadWrite);
            file->Open(TKFile::kReadWrite, true, true);  // creates a missing log empty
            file->Close();
            ShrinkLog(spec, maxSize);
        }
        SetDefaultDebugSink(std::make_shared<TKDebugFileSink>(spec));
        state.file = spec;
    } catch (...) {
        // A log that cannot be set up leaves the engine without a log, not without work.
        return state.file;
    }
    TKFileSpec spec = state.file;
    lock.unlock();  // what follows may log a failure of its own through the new sink
    try {
        TKGlobalData::SetString(kTKDebugFileKey, spec.FullName());
    } catch (...) {
    }
    DebugWrite(kDebugGeneral, DebugLogHeader().CString());
    return spec;
}

TKFileSpec DebugLogFile() {
    LogState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.file;
}
