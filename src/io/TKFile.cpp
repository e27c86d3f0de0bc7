// The file stream over POSIX descriptors, the flushing log file, temporary files and removers.
#include "io/TKFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>

namespace {

// One read or write call moves at most this much, well inside what every kernel accepts.
constexpr size_t kMaxCall = size_t(1) << 30;

[[noreturn]] void FailOpen(int32_t mode, int error, const TKString& path) {
    const TKString message = TKString::Format("FileNotOpen (for %s, errno=%d): %s",
                                              mode == TKFile::kRead ? "reading" : "writing", error, path.CString());
    throw TKError(FileNotOpen, message.CString(), nullptr, 0);
}

int OpenDescriptor(const char* path, int flags) {
    int fd;
    do {
        fd = ::open(path, flags | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

}  // namespace

TKFile::TKFile(const TKFileSpec& spec, int32_t mode) : fSpec(spec), fWantedMode(mode) {}

TKFile::~TKFile() { Close(); }

TKString TKFile::GetName() const { return fSpec.FullName(); }

void TKFile::SetFileSpec(const TKFileSpec& spec) {
    Close();
    fSpec = spec;
}

TKFileSpec TKFile::GetFileSpec() const { return fSpec; }

void TKFile::Open(int32_t mode, bool text, bool mustSucceed) {
    if (IsOpen()) return;
    if (mode < kRead || mode > kReadWrite) TKThrow(ArgErr);
    const TKString path = fSpec.SystemPath();
    if (path.IsEmpty()) {
        if (!mustSucceed) return;
        throw TKError(FileInvalidDesc, "FileNameEmpty", __FILE__, __LINE__);
    }
    static const int kFlags[] = {0, O_RDONLY, O_WRONLY | O_CREAT | O_TRUNC, O_RDWR | O_CREAT};
    int fd = OpenDescriptor(path.CString(), kFlags[mode]);
    int error = errno;
    if (fd >= 0) {
        // A folder opens for reading on POSIX but is no file to read.
        struct stat info;
        if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
            ::close(fd);
            fd = -1;
            error = EISDIR;
        }
    }
    if (fd < 0) {
        if (mustSucceed) FailOpen(mode, error, fSpec.FullName());
        return;
    }
    fDescriptor = fd;
    fMode = mode;
}

void TKFile::Close() {
    if (fDescriptor >= 0) ::close(fDescriptor);
    fDescriptor = -1;
    fMode = kClosed;
}

bool TKFile::IsOpen() const { return fDescriptor >= 0; }

int32_t TKFile::OpenMode() const { return fMode; }

void TKFile::OpenForUse(bool forWriting) {
    if (IsOpen()) return;
    const bool serves = forWriting ? (fWantedMode == kWrite || fWantedMode == kReadWrite)
                                   : (fWantedMode == kRead || fWantedMode == kReadWrite);
    if (serves) Open(fWantedMode, false, true);
}

void TKFile::Read(void* destination, size_t count, size_t* bytesRead) {
    if (bytesRead) *bytesRead = 0;
    OpenForUse(false);
    if (!IsOpen()) TKThrow(FileNotOpen);
    auto* out = static_cast<uint8_t*>(destination);
    uint8_t scratch[4096];
    size_t total = 0;
    while (total < count) {
        size_t want = std::min(count - total, kMaxCall);
        void* target = out ? static_cast<void*>(out + total) : scratch;
        if (!out) want = std::min(want, sizeof scratch);
        const ssize_t n = ::read(fDescriptor, target, want);
        if (n < 0) {
            if (errno == EINTR) continue;
            const TKString message =
                TKString::Format("FileReadFailed (errno=%d): %s", errno, fSpec.FullName().CString());
            throw TKError(FileReadFailed, message.CString(), nullptr, 0);
        }
        if (n == 0) break;
        total += size_t(n);
    }
    if (bytesRead) *bytesRead = total;
}

void TKFile::Write(const void* source, size_t count, size_t* bytesWritten) {
    if (bytesWritten) *bytesWritten = 0;
    OpenForUse(true);
    if (!IsOpen()) TKThrow(FileNotOpen);
    if (!source && count) TKThrow(ArgErr);
    const auto* in = static_cast<const uint8_t*>(source);
    size_t total = 0;
    while (total < count) {
        const ssize_t n = ::write(fDescriptor, in + total, std::min(count - total, kMaxCall));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            const int error = n < 0 ? errno : EIO;
            const TKString message = TKString::Format("FileWriteFailed (%ld/%ld, errno=%d): %s", long(total),
                                                      long(count), error, fSpec.FullName().CString());
            throw TKError(FileWriteFailed, message.CString(), nullptr, 0);
        }
        total += size_t(n);
    }
    if (bytesWritten) *bytesWritten = total;
    AfterWrite(total);
}

void TKFile::Seek(int64_t offset, int32_t origin) {
    if (origin < kSeekStart || origin > kSeekCurrent) TKThrow(ArgErr);
    OpenForUse(fWantedMode == kWrite);
    if (!IsOpen()) TKThrow(FileSeekFailed);
    off_t result;
    if (origin == kSeekEnd) result = ::lseek(fDescriptor, off_t(Length() - offset), SEEK_SET);
    else result = ::lseek(fDescriptor, off_t(offset), origin == kSeekStart ? SEEK_SET : SEEK_CUR);
    if (result < 0) TKThrow(FileSeekFailed);
}

int64_t TKFile::Tell() {
    OpenForUse(fWantedMode == kWrite);
    if (!IsOpen()) TKThrow(FilePosFailed);
    const off_t position = ::lseek(fDescriptor, 0, SEEK_CUR);
    if (position < 0) TKThrow(FilePosFailed);
    return int64_t(position);
}

bool TKFile::CanSeek() {
    if (!IsOpen() && fWantedMode != kClosed) Open(fWantedMode, false, false);
    return IsOpen() && ::lseek(fDescriptor, 0, SEEK_CUR) >= 0;
}

int64_t TKFile::Length() {
    OpenForUse(fWantedMode == kWrite);
    if (!IsOpen()) TKThrow(FileNotOpen);
    const off_t here = ::lseek(fDescriptor, 0, SEEK_CUR);
    const off_t end = here < 0 ? -1 : ::lseek(fDescriptor, 0, SEEK_END);
    if (end < 0 || ::lseek(fDescriptor, here, SEEK_SET) < 0) TKThrow(FileLengthFailed);
    return int64_t(end);
}

int64_t TKFile::BytesToRead(int64_t length) {
    const int64_t rest = std::max<int64_t>(0, Length() - Tell());
    return length < 0 || length > rest ? rest : length;
}

int64_t TKFile::ReadString(TKString& text, int64_t length) {
    const int64_t n = BytesToRead(length);
    if (n > INT32_MAX - 16) TKThrow(MemFullErr);
    std::vector<uint8_t> block(size_t(n), 0);
    size_t got = 0;
    if (n > 0) Read(block.data(), block.size(), &got);
    text = TKString(reinterpret_cast<const char*>(block.data()), int32_t(got));
    return int64_t(got);
}

int64_t TKFile::ReadData(std::vector<uint8_t>& block, int64_t length) {
    const int64_t n = BytesToRead(length);
    if (uint64_t(n) > SIZE_MAX / 2) TKThrow(MemFullErr);
    block.assign(size_t(n), 0);
    size_t got = 0;
    if (n > 0) Read(block.data(), block.size(), &got);
    block.resize(got);
    return int64_t(got);
}

void TKFile::WriteString(const TKString& text) {
    if (text.Length() > 0) Write(text.CString(), size_t(text.Length()));
}

void TKFlushFileStream::AfterWrite(size_t) {
    // write(2) has handed the bytes to the kernel already; only a device sync is left to ask for.
    if (fSync && Descriptor() >= 0) ::fdatasync(Descriptor());
}

// ---- temporary files

namespace {
std::atomic<int32_t> gTempCounter{0};
std::atomic<bool> gKeepTempFiles{false};
}  // namespace

void TKTempFile::SetKeepByDefault(bool keep) { gKeepTempFiles = keep; }
bool TKTempFile::KeepByDefault() { return gKeepTempFiles; }

TKFileSpec TKTempFile::NewTempSpec(const TKString& baseName) {
    const TKString folder = TKFileSpec::SpecialFolderPath(kTemporaryFolder);
    if (folder.IsEmpty()) TKThrow(FileInvalidDesc);
    const TKString base = TKFileSpec::SanitizeName(baseName);
    const long clock = long(std::chrono::duration_cast<std::chrono::milliseconds>(
                                std::chrono::steady_clock::now().time_since_epoch())
                                .count() &
                            0x7FFFFFFF);
    for (int attempt = 0; attempt < 100000; ++attempt) {
        const int32_t counter = ++gTempCounter;
        TKFileSpec spec(folder + TKString::Format("/_TKTMPF_%s_%d_%ld_%d.tmp", base.CString(), int(::getpid()),
                                                  clock, int(counter)));
        // Creating with O_EXCL claims the name, so two processes never share a temporary file.
        const int fd = OpenDescriptor(spec.SystemPath().CString(), O_RDWR | O_CREAT | O_EXCL);
        if (fd >= 0) {
            ::close(fd);
            return spec;
        }
        if (errno != EEXIST) TKError::ThrowSystemError(errno, "TempFile");
    }
    TKThrow(FileAccessErr);
}

TKTempFile::TKTempFile(const TKString& baseName, int64_t sizeLimit)
    : TKFile(NewTempSpec(baseName), kReadWrite), fSizeLimit(sizeLimit), fKeep(KeepByDefault()) {
    Open(kReadWrite, false, true);
}

TKTempFile::~TKTempFile() {
    const TKFileSpec spec = GetFileSpec();
    Close();
    if (!fKeep) ::unlink(spec.SystemPath().CString());
}

void TKTempFile::Write(const void* source, size_t count, size_t* bytesWritten) {
    if (fSizeLimit > 0) {
        const int64_t end = Tell() + int64_t(std::min<uint64_t>(count, INT64_MAX / 2));
        if (end > fSizeLimit) {
            if (bytesWritten) *bytesWritten = 0;
            const TKString message = TKString::Format("FileWriteFailed (size limit %lld): %s",
                                                      (long long)fSizeLimit, GetFileSpec().FullName().CString());
            throw TKError(FileWriteFailed, message.CString(), nullptr, 0);
        }
    }
    TKFile::Write(source, count, bytesWritten);
}

TKFileRemover::~TKFileRemover() {
    if (!fSpec.IsEmpty()) ::unlink(fSpec.SystemPath().CString());
}
