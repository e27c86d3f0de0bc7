// Tokens, lines, saved positions and wrapped output over any stream.
#include "io/TKXStream.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {
bool IsSeparator(int32_t c) { return c == 0 || c == 9 || c == 10 || c == 13 || c == 32; }
}  // namespace

int32_t TKXStream::ReadByte() {
    uint8_t byte = 0;
    size_t got = 0;
    Read(&byte, 1, &got);
    return got == 1 ? int32_t(byte) : -1;
}

void TKXStream::PushPosition() {
    if (fDepth >= kMaxPositions) TKThrow(BufferError);
    fPositions[fDepth] = Tell();
    ++fDepth;
}

void TKXStream::PopPosition() {
    if (fDepth <= 0) TKThrow(BufferError);
    Seek(fPositions[fDepth - 1], kSeekStart);
    --fDepth;
}

bool TKXStream::ReadTokenInto(std::string* out, size_t limit, char* separator, bool quoted) {
    if (separator) *separator = 0;
    int32_t c;
    do {
        c = ReadByte();
    } while (c >= 0 && IsSeparator(c));
    if (c < 0) return true;
    auto put = [&](int32_t byte) {
        if (out) out->push_back(char(byte));
    };
    size_t length = 0;
    if (quoted && c == '"') {
        put(c);
        ++length;
        for (;;) {
            c = ReadByte();
            if (c <= 0) return true;  // end of data or a zero byte ends even a quoted token
            if (length >= limit) {
                Seek(-1, kSeekCurrent);
                return false;
            }
            if (c == '\\') {
                c = ReadByte();
                if (c <= 0) return true;
                put(c);
                ++length;
                continue;
            }
            put(c);
            ++length;
            if (c == '"') break;
        }
        // The byte after the closing quote ends the token if it is a separator; anything else is
        // the start of the next token and is left for it.
        c = ReadByte();
        if (c < 0) return true;
        if (IsSeparator(c)) {
            if (separator) *separator = char(c);
        } else {
            Seek(-1, kSeekCurrent);
            if (separator) *separator = '"';
        }
        return true;
    }
    for (;;) {
        if (length >= limit) {
            Seek(-1, kSeekCurrent);
            return false;
        }
        put(c);
        ++length;
        c = ReadByte();
        if (c < 0) return true;
        if (IsSeparator(c)) {
            if (separator) *separator = char(c);
            return true;
        }
    }
}

int32_t TKXStream::ReadToken(char* buffer, size_t size, char* separator, bool quoted) {
    if (!buffer) {
        ReadTokenInto(nullptr, SIZE_MAX, separator, quoted);
        return 0;
    }
    if (size == 0) TKThrow(BufferTooSmall);
    std::string token;
    if (!ReadTokenInto(&token, size - 1, separator, quoted)) TKThrow(BufferTooSmall);
    std::memcpy(buffer, token.data(), token.size());
    buffer[token.size()] = 0;
    return int32_t(token.size());
}

int32_t TKXStream::ReadLine(char* buffer, size_t size) {
    if (!buffer || size == 0) TKThrow(ArgErr);
    size_t length = 0;
    int32_t c = ReadByte();
    if (c < 0) {
        buffer[0] = 0;
        return -1;
    }
    while (c > 0 && c != '\n' && c != '\r') {
        if (length + 1 >= size) {
            buffer[length] = 0;
            TKThrow(BufferTooSmall);
        }
        buffer[length++] = char(c);
        c = ReadByte();
    }
    buffer[length] = 0;
    if (c == '\n' || c == '\r') {
        // A line end is one of LF, CR, CR LF, LF CR: take the partner if it follows.
        const int32_t partner = c == '\n' ? '\r' : '\n';
        const int32_t next = ReadByte();
        if (next >= 0 && next != partner) Seek(-1, kSeekCurrent);
    }
    return int32_t(length);
}

void TKXStream::SkipTo(const char* token) {
    if (!token) TKThrow(ArgErr);
    // Tokens are compared in blocks of 100 bytes; a longer token cannot match a shorter target
    // and is passed over.
    const size_t kBlock = 100;
    const size_t wanted = std::strlen(token);
    for (;;) {
        std::string candidate;
        char separator = 0;
        bool complete;
        try {
            complete = ReadTokenInto(&candidate, kBlock, &separator, false);
            if (!complete) ReadTokenInto(nullptr, SIZE_MAX, &separator, false);
        } catch (const TKError&) {
            TKThrow(NotFound);
        }
        if (candidate.empty() && separator == 0) TKThrow(NotFound);
        if (complete && candidate.size() == wanted && candidate == token) return;
    }
}

void TKXStream::Write(const void* source, size_t count, size_t* bytesWritten) {
    TKFilter::Write(source, count, bytesWritten);
    if (!source || !GetStream()) return;
    const auto* bytes = static_cast<const uint8_t*>(source);
    for (size_t i = count; i > 0; --i) {
        if (bytes[i - 1] == '\n' || bytes[i - 1] == '\r') {
            fColumn = int32_t(count - i);
            return;
        }
    }
    fColumn = int32_t(std::min<int64_t>(int64_t(fColumn) + int64_t(count), INT32_MAX));
}

void TKXStream::WriteText(const char* text) {
    if (!text) return;
    const size_t length = std::strlen(text);
    if (fLineLength > 0 && int64_t(fColumn) + int64_t(length) > fLineLength) Write("\n", 1);
    if (length) Write(text, length);
}

void TKXStream::WriteFormat(const char* format, ...) {
    va_list args;
    va_start(args, format);
    WriteFormatV(format, args);
    va_end(args);
}

void TKXStream::WriteFormatV(const char* format, va_list args) {
    if (!format) return;
    WriteString(TKString::FormatV(format, args));
}

void TKXStream::WriteString(const TKString& text) {
    if (text.Length() == 0) return;
    if (fLineLength > 0 && int64_t(fColumn) + text.Length() > fLineLength) Write("\n", 1);
    Write(text.CString(), size_t(text.Length()));
}

void TKXStream::SetLineLength(int32_t length) { fLineLength = length < 0 ? 0 : length; }

int32_t TKXStream::Column() const { return fColumn; }
