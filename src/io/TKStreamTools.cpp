// Ordered integers, blocks, Pascal strings and text written through any stream.
#include "io/TKStreamTools.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// Reads sizeof(T) bytes in `order`; missing bytes are zero unless `strict`.
template <class T>
T ReadOrdered(TKStream& stream, bool strict, int32_t order) {
    uint8_t bytes[sizeof(T)] = {};
    ReadBlock(stream, sizeof(T), bytes, strict);
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(TKLoadOrdered<U>(bytes, order));
}

template <class T>
void WriteOrdered(TKStream& stream, T value, int32_t order) {
    uint8_t bytes[sizeof(T)];
    using U = std::make_unsigned_t<T>;
    TKStoreOrdered<U>(bytes, static_cast<U>(value), order);
    stream.Write(bytes, sizeof(T));
}

template <class T>
void WriteNumber(TKStream* stream, const char* format, T value) {
    if (!stream) return;
    char text[400];  // "%7.2f" of the largest double needs 313
    int n = std::snprintf(text, sizeof text, format, value);
    if (n > 0) stream->Write(text, std::min<size_t>(size_t(n), sizeof text - 1));
}

}  // namespace

int8_t ReadInt8(TKStream& stream, bool strict) { return ReadOrdered<int8_t>(stream, strict, kBigEndian); }
int16_t ReadInt16(TKStream& stream, bool strict, int32_t byteOrder) {
    return ReadOrdered<int16_t>(stream, strict, byteOrder);
}
int32_t ReadInt32(TKStream& stream, bool strict, int32_t byteOrder) {
    return ReadOrdered<int32_t>(stream, strict, byteOrder);
}
int64_t ReadInt64(TKStream& stream, bool strict, int32_t byteOrder) {
    return ReadOrdered<int64_t>(stream, strict, byteOrder);
}

void WriteInt8(TKStream& stream, int8_t value) { WriteOrdered(stream, value, kBigEndian); }
void WriteInt16(TKStream& stream, int16_t value, int32_t byteOrder) { WriteOrdered(stream, value, byteOrder); }
void WriteInt32(TKStream& stream, int32_t value, int32_t byteOrder) { WriteOrdered(stream, value, byteOrder); }
void WriteInt64(TKStream& stream, int64_t value, int32_t byteOrder) { WriteOrdered(stream, value, byteOrder); }

size_t ReadBlock(TKStream& stream, size_t count, void* destination, bool strict) {
    // A stream may deliver fewer bytes per call than are left (a pipe, a filter), so read on
    // until the count is complete or a read brings nothing.
    auto* out = static_cast<uint8_t*>(destination);
    size_t total = 0;
    while (total < count) {
        size_t got = 0;
        stream.Read(out ? out + total : nullptr, count - total, &got);
        if (got == 0 || got > count - total) break;
        total += got;
    }
    if (total < count && strict) TKThrow(FormatErr);
    return total;
}

TKString ReadPascalString(TKStream& stream, bool strict) {
    uint8_t length = 0;
    if (ReadBlock(stream, 1, &length, strict) == 0) return TKString();
    char bytes[256];
    size_t got = ReadBlock(stream, length, bytes, strict);
    return TKString(bytes, int32_t(got));
}

void WritePascalString(TKStream& stream, const TKString& text) {
    const int32_t length = text.Length();
    if (length > 255) TKThrow(ArgErr);
    const uint8_t byte = uint8_t(length);
    stream.Write(&byte, 1);
    if (length) stream.Write(text.CString(), size_t(length));
}

void TKWriteText(TKStream* stream, const TKString& text) {
    if (stream && text.Length() > 0) stream->Write(text.CString(), size_t(text.Length()));
}
void TKWriteText(TKStream* stream, const char* text) {
    if (stream && text && text[0]) stream->Write(text, std::strlen(text));
}
void TKWriteText(TKStream* stream, double value) { WriteNumber(stream, "%7.2f", value); }
void TKWriteText(TKStream* stream, int value) { WriteNumber(stream, "%d", value); }
void TKWriteText(TKStream* stream, long value) { WriteNumber(stream, "%ld", value); }
void TKWriteText(TKStream* stream, long long value) { WriteNumber(stream, "%lld", value); }
void TKWriteText(TKStream* stream, unsigned value) { WriteNumber(stream, "%u", value); }
void TKWriteText(TKStream* stream, unsigned long value) { WriteNumber(stream, "%lu", value); }
void TKWriteText(TKStream* stream, unsigned long long value) { WriteNumber(stream, "%llu", value); }

void TKWriteFormat(TKStream* stream, const char* format, ...) {
    if (!stream || !format) return;
    char text[4094 + 1];
    va_list args;
    va_start(args, format);
    int n = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (n > 0) stream->Write(text, std::min<size_t>(size_t(n), sizeof text - 1));
}
