// TKXStream: the text services that parsers need on top of any stream: bytes, tokens, lines,
// a stack of saved positions, and wrapped text output.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

#include "io/TKFilter.h"

class TKXStream : public TKFilter {
    TK_DECLARE_CLASS(TKXStream, TKFilter)
public:
    static constexpr int32_t kMaxPositions = 10;

    // Reads through a block of `blockSize` bytes (0 for none); a seekable stream gets its
    // position back when the XStream is done with it.
    explicit TKXStream(TKStream* stream = nullptr, bool owned = false, size_t blockSize = 4096)
        : TKFilter(stream, owned, blockSize) {}

    // Keeps the output column up to date.
    void Write(const void* source, size_t count, size_t* bytesWritten = nullptr) override;

    // The next byte, or -1 at the end of data.
    virtual int32_t ReadByte();
    // Saves Tell(); the eleventh raises BufferError.
    virtual void PushPosition();
    // Seeks back to the latest saved position and drops it; BufferError with none.
    virtual void PopPosition();
    // Reads tokens until one equals `token`; NotFound at the end of data. Null raises ArgErr.
    virtual void SkipTo(const char* token);
    // Reads the next token, separated by 0, tab, LF, CR or blank, into `buffer` (null skips it)
    // and stores the byte that ended it in `separator` (0 at the end of data). With `quoted` a
    // token that begins with '"' runs to the closing quote and keeps both quotes; a backslash
    // inside makes the next byte literal and is dropped. BufferTooSmall when the token and its
    // terminator do not fit `size`. Returns the token's length; 0 with separator 0 at the end.
    virtual int32_t ReadToken(char* buffer, size_t size, char* separator = nullptr, bool quoted = false);
    // Reads a line without its end (LF, CR, CR LF or LF CR; a zero byte ends it too) into
    // `buffer`. Returns its length, or -1 at the end of data when there was no line left.
    // BufferTooSmall when the line and its terminator do not fit `size`.
    virtual int32_t ReadLine(char* buffer, size_t size);
    // Writes text, first breaking the line if it would pass the line length.
    virtual void WriteText(const char* text);
    virtual void WriteFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));
    virtual void WriteFormatV(const char* format, va_list args);
    virtual void WriteString(const TKString& text);
    // 0 for no wrapping.
    virtual void SetLineLength(int32_t length);
    virtual int32_t Column() const;

    int32_t Depth() const { return fDepth; }

private:
    // Reads a token into `out` (if given) up to `limit` bytes; returns false when the token
    // went on beyond the limit (the rest stays unread).
    bool ReadTokenInto(std::string* out, size_t limit, char* separator, bool quoted);

    int64_t fPositions[kMaxPositions] = {};
    int32_t fDepth = 0;
    int32_t fColumn = 0;
    int32_t fLineLength = 0;
};
