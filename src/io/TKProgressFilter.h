// A stream filter that reports how far the work on the wrapped stream has come, as the
// position's fraction of an expected length; a cancel raised by the progress stops the reader.
#pragma once

#include <cstdint>

#include "foundation/TKProgress.h"
#include "io/TKFilter.h"

class TKProgressFilter : public TKFilter {
    TK_DECLARE_CLASS(TKProgressFilter, TKFilter)
public:
    // `length` is the number of bytes that make the whole job; below 0 it is what remains of a
    // seekable stream from its position, and no fraction is reported when that is unknown.
    // The progress is not owned.
    TKProgressFilter(TKStream* stream, bool owned, TKProgress* progress, int64_t length = -1);

    void Read(void* destination, size_t count, size_t* bytesRead = nullptr) override;
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;
    void Seek(int64_t offset, int32_t origin) override;
    void SetStream(TKStream* stream, bool owned) override;

    int64_t Length() const { return fLength; }
    // Bytes moved from the start of the job.
    int64_t Done() const { return fDone; }

private:
    // Reports only when the per mille changes, so a parser reading byte by byte does not
    // call a host a million times.
    void Report();
    void Restart(int64_t length);

    TKProgress* fProgress;
    int64_t fLength = -1;
    int64_t fStart = 0;  // position of the job's first byte
    int64_t fDone = 0;
    int32_t fLastPerMille = -1;
};
