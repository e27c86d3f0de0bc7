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

int32_t TKReadKeywordBlock(const char* text, int32_t length, int32_t* consumed, const TKKeywordBlockForm& form,
                           int64_t* keyValues, const std::function<int64_t(std::vector<double>&)>& begin,
                           const std::function<void(std::vector<double>&)>& end) {
    auto is = [&form](const char* token, const char* key) {
        return (form.ignoreCase ? strcasecmp(token, key) : std::strcmp(token, key)) == 0;
    };
    // Outside the data: -1 waits for a keyword, k >= 0 for the value of form.keys[k].
    int32_t pendingKey = -1;
    bool inData = false;
    int64_t limit = 0;
    std::vector<double> values;
    TKTextTokenReader reader(text, length);
    char token[TKTextTokenReader::kMaxToken + 1];
    bool sawToken = false;
    while (reader.Next(token)) {
        sawToken = true;
        if (inData) {
            if (is(token, "END_DATA")) {
                end(values);
                if (consumed) *consumed = reader.Position();
                return 0;
            }
            double value = 0.0;
            if (!TKParseDouble(token, &value)) TKThrowMsg(FormatErr, form.numberExpected);
            if (int64_t(values.size()) >= limit) TKThrowMsg(FormatErr, form.tooManyValues);
            values.push_back(value);
        } else if (pendingKey >= 0) {
            const TKKeywordBlockForm::Key& key = form.keys[size_t(pendingKey)];
            int64_t number = 0;
            if (!TKParseInt(token, &number) || number < key.min || number > key.max)
                TKThrowMsg(FormatErr, key.badValue);
            keyValues[pendingKey] = number;
            pendingKey = -1;
        } else if (is(token, "BEGIN_DATA")) {
            limit = begin(values);
            inData = true;
        } else {
            for (size_t k = 0; k < form.keys.size() && pendingKey < 0; ++k)
                if (is(token, form.keys[k].name)) pendingKey = int32_t(k);
            if (pendingKey < 0) TKThrowMsg(FormatErr, form.unknownKeyword);
        }
    }
    if (consumed) *consumed = reader.Position();
    if (!sawToken) return EOFReached;
    TKThrowMsg(FormatErr, form.unfinished);
}
