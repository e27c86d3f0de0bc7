// Debug channel output, duplicated output and concatenated input.
#include "io/TKDebugStreams.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "foundation/TKDebug.h"

void TKDebugOutputStream::Write(const void* source, size_t count, size_t* bytesWritten) {
    // The channel takes zero-terminated text; a zero byte inside would cut it, so write in pieces.
    if (source && count && ChannelEnabled(fChannel)) {
        const char* bytes = static_cast<const char*>(source);
        size_t start = 0;
        while (start < count) {
            const char* zero = static_cast<const char*>(std::memchr(bytes + start, 0, count - start));
            const size_t end = zero ? size_t(zero - bytes) : count;
            if (end > start) DebugWrite(fChannel, std::string(bytes + start, end - start).c_str());
            start = end + 1;
        }
    }
    fWritten += int64_t(count);
    if (bytesWritten) *bytesWritten = count;
}

TKDupStream::TKDupStream(TKStream* first, TKStream* second, bool owned)
    : fFirst(first, owned), fSecond(second, owned) {}

void TKDupStream::Write(const void* source, size_t count, size_t* bytesWritten) {
    if (bytesWritten) *bytesWritten = 0;
    if (fFirst) fFirst->Write(source, count);
    if (fSecond) fSecond->Write(source, count);
    fWritten += int64_t(count);
    if (bytesWritten) *bytesWritten = count;
}

void TKConcatStream::Add(TKStream* stream, bool owned) {
    if (!stream) TKThrow(ArgErr);
    fStreams.emplace_back(stream, owned);
}

void TKConcatStream::Read(void* destination, size_t count, size_t* bytesRead) {
    auto* out = static_cast<uint8_t*>(destination);
    size_t total = 0;
    while (total < count && fCurrent < fStreams.size()) {
        size_t got = 0;
        fStreams[fCurrent]->Read(out ? out + total : nullptr, count - total, &got);
        got = std::min(got, count - total);
        if (got == 0) ++fCurrent;  // this one is exhausted: go on with the next
        total += got;
    }
    fRead += int64_t(total);
    if (bytesRead) *bytesRead = total;
}
