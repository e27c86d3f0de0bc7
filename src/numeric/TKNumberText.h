// Text helpers shared by the vector and matrix text forms: checked number formats and a
// token reader for the keyword blocks ("DIM", "BEGIN_DATA" and the like).
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "foundation/TKString.h"

class TKStream;

// True if `format` is a printf format with exactly one floating-point conversion and nothing
// else that reads arguments, so that a caller's format can't read past the one double passed.
bool TKIsDoubleFormat(const char* format);
// Appends `value` formatted with a format that TKIsDoubleFormat accepted.
void TKAppendDouble(TKString& text, const char* format, double value);
// Parses a whole token as a double or integer; false if anything is left over or it overflows.
bool TKParseDouble(const char* token, double* value);
bool TKParseInt(const char* token, int64_t* value);

// Splits text into white-space-separated tokens of at most 64 characters. A token that begins
// with '#' is a comment up to the end of its line (of at most 1000 characters).
class TKTextTokenReader {
public:
    static constexpr int32_t kMaxToken = 64;
    static constexpr int32_t kMaxCommentLine = 1000;

    TKTextTokenReader(const char* text, int32_t length) : fText(text), fLength(length < 0 ? 0 : length) {}
    // The next token into `token` (kMaxToken + 1 bytes); false at the end of the text.
    // A longer token or comment line raises FormatErr.
    bool Next(char* token);
    int32_t Position() const { return fPosition; }

private:
    const char* fText;
    int32_t fLength;
    int32_t fPosition = 0;
};

// Reads a keyword block from a stream up to and including the token `endKey` (compared
// without case), byte by byte so that the stream stands right behind it (and the one white-space
// character that ends it). Stops with the text
// read so far at the end of the stream; FormatErr beyond `limit` bytes.
TKString TKReadTextBlock(TKStream& stream, const char* endKey, int64_t limit = int64_t(1) << 28);

// What sets one kind of keyword block apart: its integer keywords and its messages.
struct TKKeywordBlockForm {
    // A keyword followed by one integer in [min, max]; badValue is the message for any other token.
    struct Key {
        const char* name;
        int64_t min;
        int64_t max;
        const char* badValue;
    };
    std::vector<Key> keys;
    bool ignoreCase;             // of the keywords, BEGIN_DATA and END_DATA
    const char* unknownKeyword;  // messages of FormatErr
    const char* numberExpected;
    const char* tooManyValues;
    const char* unfinished;
};

// Reads a block "KEY value ... BEGIN_DATA numbers END_DATA" from text. keyValues[k] receives the
// value of form.keys[k] (and keeps what it held when the key is absent). At BEGIN_DATA `begin`
// checks the keys read so far, may reserve room in the values, and returns how many numbers the
// data may hold; at END_DATA `end` checks and takes the values. `consumed` (optional) receives the
// bytes read. Returns 0, or EOFReached for a text without a token; FormatErr for anything else.
int32_t TKReadKeywordBlock(const char* text, int32_t length, int32_t* consumed, const TKKeywordBlockForm& form,
                           int64_t* keyValues, const std::function<int64_t(std::vector<double>&)>& begin,
                           const std::function<void(std::vector<double>&)>& end);
