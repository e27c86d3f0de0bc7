// TKBuffer: a memory stream, either of fixed size over a private copy of given bytes, or growing.
#pragma once

#include <cstdint>
#include <vector>

#include "io/TKStream.h"

class TKBuffer : public TKStream {
    TK_DECLARE_CLASS(TKBuffer, TKStream)
public:
    enum Mode : int32_t { kFixed = 1, kGrowing = 3 };

    // An empty growing buffer with no block.
    TKBuffer();
    // A fixed buffer of `length` bytes holding a private copy of `source` (zeros when null).
    TKBuffer(const void* source, uint32_t length);
    ~TKBuffer() override;
    TKBuffer(const TKBuffer&) = delete;
    TKBuffer& operator=(const TKBuffer&) = delete;

    void Read(void* destination, size_t count, size_t* bytesRead = nullptr) override;
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;
    // Stores the new position without testing it against the size: reading there gives 0 bytes,
    // writing there extends the buffer. A position below 0 or beyond 32 bits raises FileSeekFailed.
    void Seek(int64_t offset, int32_t origin) override;
    int64_t Tell() override;
    bool CanSeek() override { return true; }

    // Sets the mode; a buffer with no block gets 256 bytes.
    virtual void SetMode(int32_t mode);
    // Frees the block for a caller that has taken over the bytes; size and position stay.
    virtual void FreeData();
    // Empties the buffer and shrinks its block to 256 bytes.
    virtual void Reset();
    // The block (may be null) and, through `size` if given, the number of valid bytes.
    virtual const uint8_t* GetData(uint32_t* size = nullptr) const;
    // Bytes from the position to the size.
    virtual uint32_t Remaining() const;
    // Copies of the valid bytes.
    virtual std::vector<uint8_t> ToDataPtr() const;
    virtual TKString ToString() const;
    // Reallocates the block to exactly `capacity` bytes (none for 0), keeping what fits.
    virtual void Reserve(uint32_t capacity);
    virtual uint32_t Capacity() const;
    // Sets the number of valid bytes, enlarging the block if needed; new bytes read as zero.
    virtual void SetSize(uint32_t size);
    virtual uint32_t Size() const;
    // Upper bound of one growth step of a growing buffer.
    virtual void SetGrowthLimit(uint32_t limit);

    int32_t GetMode() const { return fMode; }

private:
    uint8_t* fData = nullptr;
    uint32_t fSize = 0;
    uint32_t fCapacity = 0;
    uint32_t fGrowthLimit = 1000000;
    uint32_t fPosition = 0;
    int32_t fMode = kGrowing;
};
