// The wrapping stream with optional read-ahead and write-behind in one block.
#include "io/TKFilter.h"

#include <algorithm>
#include <cstring>

TKFilter::TKFilter(TKStream* stream, bool owned, size_t blockSize) : fStream(stream), fOwned(owned) {
    if (blockSize) fBlock.resize(blockSize);
}

TKFilter::~TKFilter() {
    try {
        Flush();
    } catch (const TKError&) {
    }
    ReleaseStream();
}

void TKFilter::ReleaseStream() noexcept {
    TKStream* old = fStream;
    fStream = nullptr;
    if (old && fOwned && old->RefCount() > 0) old->Release();
}

void TKFilter::SetStream(TKStream* stream, bool owned) {
    if (stream == fStream) {
        fOwned = fOwned || owned;
        return;
    }
    Flush();
    ReleaseStream();
    fReadPos = fReadEnd = fPending = 0;
    fStream = stream;
    fOwned = owned;
}

void TKFilter::WritePending() {
    if (fPending == 0) return;
    const size_t n = fPending;
    fPending = 0;
    fStream->Write(fBlock.data(), n);
}

void TKFilter::GiveBackReadAhead() {
    const size_t unread = fReadEnd - fReadPos;
    fReadPos = fReadEnd = 0;
    if (unread) fStream->Seek(-int64_t(unread), kSeekCurrent);
}

void TKFilter::Flush() {
    if (!fStream) return;
    WritePending();
    GiveBackReadAhead();
}

void TKFilter::Finish() { Flush(); }

bool TKFilter::AtEnd() {
    if (!fStream) return true;
    if (fReadPos < fReadEnd) return false;
    if (fBlock.empty()) {
        const int64_t left = TKStreamRemaining(*fStream);
        return left == 0;
    }
    WritePending();
    size_t got = 0;
    fStream->Read(fBlock.data(), fBlock.size(), &got);
    fReadPos = 0;
    fReadEnd = got;
    return got == 0;
}

void TKFilter::Read(void* destination, size_t count, size_t* bytesRead) {
    if (bytesRead) *bytesRead = 0;
    if (!fStream) TKThrow(EOFReached);
    if (fBlock.empty()) {
        fStream->Read(destination, count, bytesRead);
        return;
    }
    WritePending();
    auto* out = static_cast<uint8_t*>(destination);
    size_t total = 0;
    while (total < count) {
        if (fReadPos < fReadEnd) {
            const size_t take = std::min(count - total, fReadEnd - fReadPos);
            if (out) std::memcpy(out + total, fBlock.data() + fReadPos, take);
            fReadPos += take;
            total += take;
            continue;
        }
        size_t got = 0;
        if (count - total >= fBlock.size()) {
            // Large requests go straight through instead of being copied twice.
            fStream->Read(out ? out + total : nullptr, count - total, &got);
            total += std::min(got, count - total);
            break;
        }
        fStream->Read(fBlock.data(), fBlock.size(), &got);
        fReadPos = 0;
        fReadEnd = std::min(got, fBlock.size());
        if (fReadEnd == 0) break;
    }
    if (bytesRead) *bytesRead = total;
}

void TKFilter::Write(const void* source, size_t count, size_t* bytesWritten) {
    if (bytesWritten) *bytesWritten = 0;
    if (!fStream) return;
    if (fBlock.empty()) {
        fStream->Write(source, count, bytesWritten);
        return;
    }
    GiveBackReadAhead();
    if (fPending + count > fBlock.size()) WritePending();
    if (count >= fBlock.size() || !source) {
        fStream->Write(source, count);
    } else {
        std::memcpy(fBlock.data() + fPending, source, count);
        fPending += count;
    }
    if (bytesWritten) *bytesWritten = count;
}

void TKFilter::Seek(int64_t offset, int32_t origin) {
    if (!fStream) TKThrow(EOFReached);
    if (origin < kSeekStart || origin > kSeekCurrent) TKThrow(ArgErr);
    // A step inside the read-ahead (the one-byte step back of line reading) stays in the block.
    if (origin == kSeekCurrent && fPending == 0 && fReadEnd > 0) {
        const int64_t target = int64_t(fReadPos) + offset;
        if (target >= 0 && target <= int64_t(fReadEnd)) {
            fReadPos = size_t(target);
            return;
        }
    }
    const int64_t here = origin == kSeekCurrent ? Tell() : 0;
    Flush();
    if (origin == kSeekCurrent) fStream->Seek(here + offset, kSeekStart);
    else fStream->Seek(offset, origin);
}

int64_t TKFilter::Tell() {
    if (!fStream) TKThrow(EOFReached);
    return fStream->Tell() - int64_t(fReadEnd - fReadPos) + int64_t(fPending);
}

bool TKFilter::CanSeek() { return fStream && fStream->CanSeek(); }
