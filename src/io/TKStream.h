// TKStream: the one interface of all binary and text input and output, so that profiles,
// links and charts read from files and memory blocks through the same code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/TKObject.h"
#include "io/TKByteOrder.h"

// Origins of Seek. Note that kSeekEnd counts the offset BACK from the end: Seek(4, kSeekEnd)
// on ten bytes stands at 6.
enum TKSeekOrigin : int32_t { kSeekStart = 0, kSeekEnd = 1, kSeekCurrent = 2 };

class TKStream : public TKObject {
    TK_DECLARE_CLASS(TKStream, TKObject)
public:
    // "TKStream" unless a subclass has a better name (a file answers its path).
    TKString GetName() const override;

    // Reads up to `count` bytes into `destination` (null skips them) and stores the number
    // read in `bytesRead` if given. End of data is no error: it shows as a short count, finally 0.
    virtual void Read(void* destination, size_t count, size_t* bytesRead = nullptr) = 0;
    // Writes all bytes or raises.
    virtual void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) = 0;
    // Moves the position; see TKSeekOrigin. Another origin raises ArgErr.
    virtual void Seek(int64_t offset, int32_t origin) = 0;
    virtual int64_t Tell() = 0;
    // Whether a Seek(0, kSeekCurrent) runs without an error.
    virtual bool CanSeek();
};

// A stream whose operations all raise UndefProc, so a subclass overrides only what it serves.
class TKStreamImplemented : public TKStream {
    TK_DECLARE_CLASS(TKStreamImplemented, TKStream)
public:
    void Read(void* destination, size_t count, size_t* bytesRead = nullptr) override;
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;
    void Seek(int64_t offset, int32_t origin) override;
    int64_t Tell() override;
};

// Bytes from the position to the end of a seekable stream, or -1 when the stream cannot tell.
// Readers of untrusted data compare sizes from a file against this before allocating.
int64_t TKStreamRemaining(TKStream& stream);

// Copies through a heap block of `chunk` bytes. A positive `length` copies exactly that many and
// raises IOErr if the source runs dry first; 0 or less copies until a read comes back short.
// Returns the number of bytes copied.
int64_t CopyStream(TKStream& source, TKStream& destination, int64_t length, size_t chunk = 1024);
// The rest of a stream as text or as a data block (at most `length` bytes when positive).
TKString ReadWholeStream(TKStream& stream);
std::vector<uint8_t> ReadWholeData(TKStream& stream, int64_t length = 0);
