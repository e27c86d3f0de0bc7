// The memory stream. Every count is checked in 64-bit arithmetic against the 32-bit block, so a
// huge request fails with a code instead of wrapping around.
#include "io/TKBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

TKBuffer::TKBuffer() = default;

TKBuffer::TKBuffer(const void* source, uint32_t length) : fMode(kFixed) {
    Reserve(length);
    if (source && length) std::memcpy(fData, source, length);
    fSize = length;
}

TKBuffer::~TKBuffer() { std::free(fData); }

void TKBuffer::Read(void* destination, size_t count, size_t* bytesRead) {
    size_t n = 0;
    if (fPosition < fSize && count > 0) {
        if (!fData) TKThrow(FileNotOpen);
        n = std::min<size_t>(count, fSize - fPosition);
        if (destination) std::memcpy(destination, fData + fPosition, n);
        fPosition += uint32_t(n);
    }
    if (bytesRead) *bytesRead = n;
}

void TKBuffer::Write(const void* source, size_t count, size_t* bytesWritten) {
    if (bytesWritten) *bytesWritten = 0;
    const uint64_t end = uint64_t(fPosition) + uint64_t(count);
    if (end > UINT32_MAX) TKThrow(BufferTooSmall);
    if (end > fSize && fMode == kFixed) TKThrow(BufferTooSmall);
    if (end > fCapacity && fMode != kFixed) {
        // Grow by half the new length, at most by the growth limit, so that many small writes
        // cost few copies and one big buffer does not overshoot by gigabytes.
        const uint64_t step = std::min<uint64_t>(end / 2, fGrowthLimit);
        Reserve(uint32_t(std::min<uint64_t>(end + step, UINT32_MAX)));
    }
    if (end > fSize) fSize = uint32_t(end);
    if (end > fCapacity) TKThrow(BufferTooSmall);
    if (source && count) std::memcpy(fData + fPosition, source, count);
    fPosition = uint32_t(end);
    if (bytesWritten) *bytesWritten = count;
}

void TKBuffer::Seek(int64_t offset, int32_t origin) {
    int64_t target;
    switch (origin) {
        case kSeekStart: target = offset; break;
        case kSeekEnd: target = int64_t(fSize) - offset; break;
        case kSeekCurrent: target = int64_t(fPosition) + offset; break;
        default: TKThrow(ArgErr);
    }
    if (target < 0 || target > int64_t(UINT32_MAX)) TKThrow(FileSeekFailed);
    fPosition = uint32_t(target);
}

int64_t TKBuffer::Tell() { return fPosition; }

void TKBuffer::SetMode(int32_t mode) {
    fMode = mode;
    if (!fData) Reserve(256);
}

void TKBuffer::FreeData() {
    std::free(fData);
    fData = nullptr;
    fCapacity = 0;
}

void TKBuffer::Reset() {
    fPosition = 0;
    fSize = 0;
    Reserve(256);
}

const uint8_t* TKBuffer::GetData(uint32_t* size) const {
    if (size) *size = fSize;
    return fData;
}

uint32_t TKBuffer::Remaining() const { return fPosition < fSize ? fSize - fPosition : 0; }

std::vector<uint8_t> TKBuffer::ToDataPtr() const {
    if (!fData) return std::vector<uint8_t>(fSize, 0);
    return std::vector<uint8_t>(fData, fData + fSize);
}

TKString TKBuffer::ToString() const {
    if (fSize > uint32_t(INT32_MAX)) TKThrow(MemFullErr);
    if (!fData) return TKString();
    return TKString(reinterpret_cast<const char*>(fData), int32_t(fSize));
}

void TKBuffer::Reserve(uint32_t capacity) {
    if (capacity == fCapacity && (fData || capacity == 0)) return;
    uint8_t* block = nullptr;
    if (capacity > 0) {
        // Zeroed, so that a gap left by seeking past the end never exposes stale heap bytes.
        block = static_cast<uint8_t*>(std::calloc(capacity, 1));
        if (!block) TKThrow(MemFullErr);
    }
    const uint32_t kept = std::min(fSize, capacity);
    if (fData && kept) std::memcpy(block, fData, kept);
    std::free(fData);
    fData = block;
    fCapacity = capacity;
    fSize = kept;
    fPosition = std::min(fPosition, capacity);
}

uint32_t TKBuffer::Capacity() const { return fCapacity; }

void TKBuffer::SetSize(uint32_t size) {
    if (size > fCapacity) {
        Reserve(size);
    } else if (size > fSize && fData) {
        std::memset(fData + fSize, 0, size - fSize);
    }
    fSize = size;
}

uint32_t TKBuffer::Size() const { return fSize; }

void TKBuffer::SetGrowthLimit(uint32_t limit) { fGrowthLimit = limit; }
