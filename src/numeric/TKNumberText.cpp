// Checked number formatting and the keyword token reader of the numeric text forms.
#include "numeric/TKNumberText.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/TKError.h"
#include "io/TKStream.h"
#include <strings.h>

bool TKIsDoubleFormat(const char* format) {
    if (!format) return false;
    int conversions = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        ++p;
        if (*p == '%') continue;
        while (*p && std::strchr("-+ #0", *p)) ++p;
        while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
        if (*p == '.') {
            ++p;
            while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
        }
        if (*p == 'l') ++p;  // "%lf" is the same as "%f" for printf
        if (!*p || !std::strchr("eEfFgGaA", *p)) return false;
        ++conversions;
    }
    return conversions == 1;
}

void TKAppendDouble(TKString& text, const char* format, double value) {
    char buffer[512];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    int written = std::snprintf(buffer, sizeof buffer, format, value);
#pragma GCC diagnostic pop
    if (written < 0) TKThrow(FormatErr);
    text.Append(buffer, written < int(sizeof buffer) ? written : int(sizeof buffer) - 1);
}

bool TKParseDouble(const char* token, double* value) {
    if (!token || !*token) return false;
    char* end = nullptr;
    errno = 0;
    double v = std::strtod(token, &end);
    // Underflow to a subnormal or zero is a value; overflow to infinity is not.
    if (*end || (errno == ERANGE && std::isinf(v))) return false;
    *value = v;
    return true;
}

bool TKParseInt(const char* token, int64_t* value) {
    if (!token || !*token) return false;
    char* end = nullptr;
    errno = 0;
    long long v = std::strtoll(token, &end, 10);
    if (*end || errno == ERANGE) return false;
    *value = v;
    return true;
}

bool TKTextTokenReader::Next(char* token) {
    for (;;) {
        while (fPosition < fLength && std::isspace(static_cast<unsigned char>(fText[fPosition]))) ++fPosition;
        if (fPosition >= fLength) return false;
        if (fText[fPosition] == '#') {
            int32_t start = fPosition;
            while (fPosition < fLength && fText[fPosition] != '\n' && fText[fPosition] != '\r') ++fPosition;
            if (fPosition - start > kMaxCommentLine) TKThrowMsg(FormatErr, "comment line too long");
            continue;
        }
        int32_t length = 0;
        while (fPosition < fLength && !std::isspace(static_cast<unsigned char>(fText[fPosition]))) {
            if (length == kMaxToken) TKThrowMsg(FormatErr, "token too long");
            token[length++] = fText[fPosition++];
        }
        token[length] = '\0';
        return true;
    }
}

TKString TKReadTextBlock(TKStream& stream, const char* endKey, int64_t limit) {
    TKString text;
    TKString token;  // the token being read, up to one longer than the longest allowed
    bool inComment = false;
    for (int64_t total = 0;; ++total) {
        char c = 0;
        size_t got = 0;
        stream.Read(&c, 1, &got);
        if (got == 0) return text;
        if (total >= limit) TKThrowMsg(FormatErr, "text block too long");
        text.Append(c);
        if (inComment) {
            inComment = c != '\n' && c != '\r';
            continue;
        }
        if (!std::isspace(static_cast<unsigned char>(c))) {
            if (token.IsEmpty() && c == '#') inComment = true;
            else if (token.Length() <= TKTextTokenReader::kMaxToken) token.Append(c);
            continue;
        }
        if (strcasecmp(token.CString(), endKey) == 0) return text;
        token.Clear();
    }
}
