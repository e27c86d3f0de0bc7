// The stream base classes and the whole-stream helpers.
#include "io/TKStream.h"

#include <memory>

#include "io/TKBuffer.h"

TKString TKStream::GetName() const { return "TKStream"; }

bool TKStream::CanSeek() {
    try {
        Seek(0, kSeekCurrent);
        return true;
    } catch (const TKError&) {
        return false;
    }
}

void TKStreamImplemented::Read(void*, size_t, size_t*) { TKThrow(UndefProc); }
void TKStreamImplemented::Write(const void*, size_t, size_t*) { TKThrow(UndefProc); }
void TKStreamImplemented::Seek(int64_t, int32_t) { TKThrow(UndefProc); }
int64_t TKStreamImplemented::Tell() { TKThrow(UndefProc); }

int64_t TKStreamRemaining(TKStream& stream) {
    try {
        int64_t here = stream.Tell();
        stream.Seek(0, kSeekEnd);
        int64_t end = stream.Tell();
        stream.Seek(here, kSeekStart);
        return end > here ? end - here : 0;
    } catch (const TKError&) {
        return -1;
    }
}

int64_t CopyStream(TKStream& source, TKStream& destination, int64_t length, size_t chunk) {
    if (chunk == 0) TKThrow(ArgErr);
    std::unique_ptr<uint8_t[]> block(new uint8_t[chunk]);
    int64_t copied = 0;
    for (;;) {
        size_t want = chunk;
        if (length > 0) {
            if (copied >= length) break;
            if (uint64_t(length - copied) < want) want = size_t(length - copied);
        }
        size_t got = 0;
        source.Read(block.get(), want, &got);
        if (got > want) TKThrow(IOErr);  // a broken stream must not make us overrun the block
        if (got > 0) destination.Write(block.get(), got);
        copied += int64_t(got);
        if (length > 0) {
            if (got == 0) TKThrow(IOErr);
        } else if (got < want) {
            break;
        }
    }
    return copied;
}

TKString ReadWholeStream(TKStream& stream) {
    TKBuffer buffer;
    CopyStream(stream, buffer, 0, 1024);
    uint32_t size = 0;
    const uint8_t* data = buffer.GetData(&size);
    if (size > uint32_t(INT32_MAX)) TKThrow(MemFullErr);
    return TKString(reinterpret_cast<const char*>(data), int32_t(size));
}

std::vector<uint8_t> ReadWholeData(TKStream& stream, int64_t length) {
    TKBuffer buffer;
    CopyStream(stream, buffer, length, 1024);
    return buffer.ToDataPtr();
}
