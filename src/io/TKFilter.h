// TKFilter: a stream that wraps another stream, optionally through a block of its own so that
// parsers reading byte by byte do not make one call per byte on a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "io/TKStream.h"

class TKFilter : public TKStream {
    TK_DECLARE_CLASS(TKFilter, TKStream)
public:
    // `owned`: the filter takes over the caller's count of `stream` and releases it when done;
    // otherwise it only borrows the stream. `blockSize` 0 passes every call straight through.
    explicit TKFilter(TKStream* stream = nullptr, bool owned = false, size_t blockSize = 0);
    // Writes pending bytes and gives back read-ahead to a seekable stream; failures are dropped.
    ~TKFilter() override;
    TKFilter(const TKFilter&) = delete;
    TKFilter& operator=(const TKFilter&) = delete;

    // With no wrapped stream Read, Seek and Tell raise EOFReached and Write does nothing.
    void Read(void* destination, size_t count, size_t* bytesRead = nullptr) override;
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;
    void Seek(int64_t offset, int32_t origin) override;
    int64_t Tell() override;
    bool CanSeek() override;

    // Flushes and releases the old stream, then wraps the new one.
    virtual void SetStream(TKStream* stream, bool owned);
    // Whether no further byte can be read.
    virtual bool AtEnd();
    // Writes pending bytes through and gives unread read-ahead back to the wrapped stream, so
    // that its position is the filter's.
    virtual void Flush();
    // Ends writing. A plain filter flushes; encoding filters write their trailer here.
    virtual void Finish();

    TKStream* GetStream() const { return fStream; }

private:
    void WritePending();
    void GiveBackReadAhead();
    void ReleaseStream() noexcept;

    TKStream* fStream = nullptr;
    bool fOwned = false;
    std::vector<uint8_t> fBlock;
    size_t fReadPos = 0;  // read-ahead is fBlock[fReadPos, fReadEnd)
    size_t fReadEnd = 0;
    size_t fPending = 0;  // bytes of fBlock waiting to be written
};

// A filter with a block of its own for buffered reading and writing.
class TKBufferFilter : public TKFilter {
    TK_DECLARE_CLASS(TKBufferFilter, TKFilter)
public:
    explicit TKBufferFilter(TKStream* stream = nullptr, bool owned = false, size_t blockSize = 4096)
        : TKFilter(stream, owned, blockSize ? blockSize : 4096) {}
};
