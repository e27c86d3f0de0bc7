// TKString token reader: the one tokenizer behind option strings, the data base text and the
// chart formats.
#include <cstdint>
#include <initializer_list>

#include "foundation/TKError.h"
#include "foundation/TKString.h"

namespace {
constexpr const char* kDefaultSeparators = " \t\n\r";

// Collects a token's bytes in a small local block and appends it to the token in pieces:
// most tokens fit the block and cost one append, long ones stay unbounded.
class TKTokenCollector {
public:
    explicit TKTokenCollector(TKString& token) : fToken(token) {}
    ~TKTokenCollector() { Flush(); }
    void Put(char c) {
        if (fUsed == sizeof fBlock) Flush();
        fBlock[fUsed++] = c;
    }
    void Flush() {
        fToken.Append(fBlock, fUsed);
        fUsed = 0;
    }

private:
    TKString& fToken;
    char fBlock[98];
    int32_t fUsed = 0;
};

// The separators as a 256-bit set, built once per call: a token loop tests every byte, and
// a bit test is much cheaper than searching the separator text each time.
class TKByteSet {
public:
    explicit TKByteSet(const char* bytes) {
        for (; *bytes; ++bytes) Add(static_cast<unsigned char>(*bytes));
    }
    void Add(unsigned char c) { fBits[c >> 6] |= uint64_t(1) << (c & 63); }
    bool Has(char c) const {
        auto u = static_cast<unsigned char>(c);
        return (fBits[u >> 6] >> (u & 63)) & 1;
    }

private:
    uint64_t fBits[4] = {0, 0, 0, 0};
};
}  // namespace

TKString TKString::NextToken(int32_t* position, bool quoted, const char* separators) const {
    if (!position) TKThrow(ArgErr);
    if (*position < 0) TKThrow(IndexError);
    if (!separators || !separators[0]) separators = kDefaultSeparators;
    const char* s = CString();
    const int32_t n = Length();
    int32_t p = *position < n ? *position : n;
    const TKByteSet separator(separators);
    TKByteSet skipped = separator;
    for (unsigned char c : {'\0', ' ', '\t', '\n', '\r'}) skipped.Add(c);
    while (p < n && skipped.Has(s[p])) ++p;
    TKString token;
    if (p >= n) {
        *position = n;
        return token;
    }
    {
        TKTokenCollector collect(token);
        if (quoted && s[p] == '"') {
            // A quoted token keeps its quotes; a backslash keeps itself and protects the next byte.
            collect.Put(s[p++]);
            while (p < n && s[p] != '"') {
                if (s[p] == '\\' && p + 1 < n) collect.Put(s[p++]);
                collect.Put(s[p++]);
            }
            if (p < n) collect.Put(s[p++]);
        } else {
            while (p < n && !separator.Has(s[p])) collect.Put(s[p++]);
            if (p < n) ++p;  // the separator belongs to this token
        }
    }
    *position = p;
    return token;
}

TKString TKString::Split(int32_t index, bool quoted, const char* separators) const {
    if (index < 0) return TKString();
    int32_t position = 0;
    TKString token;
    for (int32_t i = 0; i <= index; ++i) {
        token = NextToken(&position, quoted, separators);
        if (token.IsEmpty()) break;
    }
    return token;
}

int32_t TKString::CountTokens(const char* separators) const {
    int32_t position = 0;
    int32_t count = 0;
    while (!NextToken(&position, false, separators).IsEmpty()) ++count;
    return count;
}
