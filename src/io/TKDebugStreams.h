// Streams that the diagnostics write through: to a debug channel, to two streams at once, and a
// stream that reads several streams one after another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "io/TKStream.h"

// Passes every write as text to one debug channel.
class TKDebugOutputStream : public TKStreamImplemented {
    TK_DECLARE_CLASS(TKDebugOutputStream, TKStreamImplemented)
public:
    explicit TKDebugOutputStream(int32_t channel) : fChannel(channel) {}
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;
    // Bytes written so far.
    int64_t Tell() override { return fWritten; }
    int32_t Channel() const { return fChannel; }

private:
    int32_t fChannel;
    int64_t fWritten = 0;
};

// Writes to two streams at once; either may be null. Holds a count of each.
class TKDupStream : public TKStreamImplemented {
    TK_DECLARE_CLASS(TKDupStream, TKStreamImplemented)
public:
    // `owned`: take over the caller's counts instead of adding new ones.
    TKDupStream(TKStream* first, TKStream* second, bool owned = false);
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;
    // Bytes written so far.
    int64_t Tell() override { return fWritten; }

private:
    TKRefPtr<TKStream> fFirst;
    TKRefPtr<TKStream> fSecond;
    int64_t fWritten = 0;
};

// Reads its streams one after another as one stream. Holds a count of each.
class TKConcatStream : public TKStreamImplemented {
    TK_DECLARE_CLASS(TKConcatStream, TKStreamImplemented)
public:
    TKConcatStream() = default;
    void Add(TKStream* stream, bool owned = false);
    void Read(void* destination, size_t count, size_t* bytesRead = nullptr) override;
    // Bytes read so far.
    int64_t Tell() override { return fRead; }
    int32_t Count() const { return int32_t(fStreams.size()); }

private:
    std::vector<TKRefPtr<TKStream>> fStreams;
    size_t fCurrent = 0;
    int64_t fRead = 0;
};
