// TKFile: the counted stream on one file, over POSIX descriptors. A file made with a mode opens
// itself on first use; a destroyed file closes silently.
#pragma once

#include <cstdint>
#include <vector>

#include "io/TKFileSpec.h"
#include "io/TKStream.h"

class TKFile : public TKStream {
    TK_DECLARE_CLASS(TKFile, TKStream)
public:
    enum OpenMode : int32_t { kClosed = 0, kRead = 1, kWrite = 2, kReadWrite = 3 };

    TKFile() = default;
    // `mode` is the one in which Read and Write open the file on first use.
    explicit TKFile(const TKFileSpec& spec, int32_t mode = kRead);
    ~TKFile() override;
    TKFile(const TKFile&) = delete;
    TKFile& operator=(const TKFile&) = delete;

    // The path.
    TKString GetName() const override;

    void Read(void* destination, size_t count, size_t* bytesRead = nullptr) override;
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;
    void Seek(int64_t offset, int32_t origin) override;
    int64_t Tell() override;
    bool CanSeek() override;

    // Closes an open file first.
    virtual void SetFileSpec(const TKFileSpec& spec);
    virtual TKFileSpec GetFileSpec() const;
    // Opens for reading (1), writing with truncation (2) or both, creating the file (3). An open
    // file stays as it is. `text` is accepted for symmetry: this platform does not translate line
    // ends. With `mustSucceed` a failure raises FileInvalidDesc (empty path) or FileNotOpen,
    // otherwise the file stays closed.
    virtual void Open(int32_t mode, bool text = false, bool mustSucceed = true);
    virtual void Close();
    // FileNotOpen for a closed file, FileLengthFailed when the size cannot be had.
    virtual int64_t Length();
    virtual bool IsOpen() const;
    virtual int32_t OpenMode() const;
    // Reads up to `length` bytes (all the rest when negative) into `text`; returns the count.
    virtual int64_t ReadString(TKString& text, int64_t length);
    // The same into a block; the length is checked against the file before allocating.
    virtual int64_t ReadData(std::vector<uint8_t>& block, int64_t length);
    virtual void WriteString(const TKString& text);

protected:
    // Opens lazily in the construction mode when that mode serves the request.
    void OpenForUse(bool forWriting);
    // Called after each successful Write; subclasses flush or count here.
    virtual void AfterWrite(size_t count) {}
    int Descriptor() const { return fDescriptor; }
    int32_t WantedMode() const { return fWantedMode; }

private:
    int64_t BytesToRead(int64_t length);

    int fDescriptor = -1;
    TKFileSpec fSpec;
    int32_t fMode = kClosed;
    int32_t fWantedMode = kRead;
};

// A file that pushes every write to the disk when asked; the log writes through one, so that what
// was logged before a crash is on disk.
class TKFlushFileStream : public TKFile {
    TK_DECLARE_CLASS(TKFlushFileStream, TKFile)
public:
    TKFlushFileStream() = default;
    explicit TKFlushFileStream(const TKFileSpec& spec, int32_t mode = kWrite) : TKFile(spec, mode) {}
    // Every write reaches the kernel at once; with `sync` it is also synced to the device.
    void SetSync(bool sync) { fSync = sync; }
    bool Sync() const { return fSync; }

protected:
    void AfterWrite(size_t count) override;

private:
    bool fSync = false;
};

// A file with a new unique name in the temporary folder, opened for reading and writing, and
// deleted when destroyed unless kept.
class TKTempFile : public TKFile {
    TK_DECLARE_CLASS(TKTempFile, TKFile)
public:
    // `baseName` goes into the name, sanitized. `sizeLimit` above 0 caps the file's size: a write
    // beyond it raises FileWriteFailed.
    explicit TKTempFile(const TKString& baseName = TKString(), int64_t sizeLimit = 0);
    ~TKTempFile() override;

    // Keep the file on destruction. Starts from the "KeepTempFiles" debug setting when one is set.
    void SetKeep(bool keep) { fKeep = keep; }
    bool Keep() const { return fKeep; }
    int64_t SizeLimit() const { return fSizeLimit; }

    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;

    // A path "_TKTMPF_<base>_<pid>_<clock>_<counter>.tmp" in the temporary folder that does not exist.
    static TKFileSpec NewTempSpec(const TKString& baseName);
    // Whether temporary files are kept by default; set from the debug settings.
    static void SetKeepByDefault(bool keep);
    static bool KeepByDefault();

private:
    int64_t fSizeLimit;
    bool fKeep;
};

// Deletes a named file when the last count ends, silently.
class TKFileRemover : public TKObject {
    TK_DECLARE_CLASS(TKFileRemover, TKObject)
public:
    explicit TKFileRemover(const TKFileSpec& spec) : fSpec(spec) {}
    ~TKFileRemover() override;
    const TKFileSpec& Spec() const { return fSpec; }

private:
    TKFileSpec fSpec;
};
