// The CGATS token and line reader.
#include "charts/TKIT8Lexer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "foundation/TKError.h"
#include "foundation/TKString.h"

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\0'; }
bool IsSeparator(char c) { return IsBlank(c) || c == '\n' || c == '\r'; }

}  // namespace

void TKIT8Lexer::Fail(int32_t code, int32_t line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const TKString text = TKString::FormatV(format, args);
    va_end(args);
    throw TKError(code, TKString::Format("line %d: %s", line, text.CString()), __FILE__, __LINE__);
}

void TKIT8Lexer::SkipBlanks() {
    while (fPos < fEnd && IsBlank(*fPos)) ++fPos;
}

void TKIT8Lexer::SkipLineEnd() {
    if (fPos >= fEnd) return;
    if (*fPos == '\r') {
        ++fPos;
        if (fPos < fEnd && *fPos == '\n') ++fPos;
    } else if (*fPos == '\n') {
        ++fPos;
    }
    ++fLine;
}

bool TKIT8Lexer::SkipQuoted() {
    ++fPos;
    while (fPos < fEnd) {
        const char c = *fPos;
        if (c == '"') {
            ++fPos;
            return true;
        }
        if (c == '\\' && fPos + 1 < fEnd && (fPos[1] == '"' || fPos[1] == '\\')) {
            fPos += 2;
        } else if (c == '\n' || c == '\r') {
            SkipLineEnd();
        } else {
            ++fPos;
        }
    }
    return false;
}

bool TKIT8Lexer::Next(Token& token) {
    for (;;) {
        SkipBlanks();
        if (fPos >= fEnd) return false;
        if (AtLineEnd()) {
            SkipLineEnd();
            continue;
        }
        if (*fPos == '#') {
            while (fPos < fEnd && !AtLineEnd()) ++fPos;
            continue;
        }
        break;
    }
    const char* start = fPos;
    token.line = fLine;
    token.quoted = *fPos == '"';
    if (token.quoted) {
        if (!SkipQuoted()) Fail(FormatErr, token.line, "a quoted text is not closed");
    } else {
        while (fPos < fEnd && !IsSeparator(*fPos)) ++fPos;
    }
    if (size_t(fPos - start) > kMaxToken)
        Fail(BufferTooSmall, token.line, "a token of %lld bytes (at most %d)", static_cast<long long>(fPos - start),
             int(kMaxToken));
    token.text = std::string_view(start, size_t(fPos - start));
    token.endLine = fLine;
    return true;
}

bool TKIT8Lexer::MoreOnLine() {
    SkipBlanks();
    return fPos < fEnd && !AtLineEnd() && *fPos != '#';
}

std::string_view TKIT8Lexer::RestOfLine(int32_t* line) {
    SkipBlanks();
    if (line) *line = fLine;
    const char* start = fPos;
    const int32_t startLine = fLine;
    if (fPos < fEnd && *fPos == '"') {
        // A quoted value; it may go on over line ends, and a comment may follow it.
        if (!SkipQuoted()) Fail(FormatErr, startLine, "a quoted text is not closed");
    } else {
        // The value ends at the line end or at a comment that stands apart from it.
        while (fPos < fEnd && !AtLineEnd() && !(*fPos == '#' && (fPos == start || IsBlank(fPos[-1])))) ++fPos;
    }
    const char* stop = fPos;
    while (stop > start && IsBlank(stop[-1])) --stop;
    if (size_t(stop - start) > kMaxToken)
        Fail(BufferTooSmall, startLine, "a line of more than %d bytes", int(kMaxToken));
    // Whatever follows on the line (a comment, or words after a closed quote) is not the value.
    while (fPos < fEnd && !AtLineEnd()) ++fPos;
    return std::string_view(start, size_t(stop - start));
}

void TKIT8Lexer::Unquote(std::string_view token, std::string& out) {
    // Zero bytes are dropped: texts end at them everywhere else in the engine.
    out.clear();
    if (token.size() < 2 || token.front() != '"' || token.back() != '"') {
        for (char c : token)
            if (c) out.push_back(c);
        return;
    }
    out.reserve(token.size() - 2);
    for (size_t i = 1; i + 1 < token.size(); ++i) {
        if (token[i] == '\\' && i + 2 < token.size() && (token[i + 1] == '"' || token[i + 1] == '\\')) ++i;
        if (token[i]) out.push_back(token[i]);
    }
}

bool TKIT8Lexer::ParseNumber(std::string_view token, double& value) {
    char buffer[64];
    if (token.size() >= 2 && token.front() == '"' && token.back() == '"') token = token.substr(1, token.size() - 2);
    if (!token.empty() && token.front() == '+') token.remove_prefix(1);
    if (token.empty() || token.size() >= sizeof buffer) return false;
    const char* first = token.data();
    if (token.find(',') != std::string_view::npos) {
        std::memcpy(buffer, token.data(), token.size());
        std::replace(buffer, buffer + token.size(), ',', '.');
        first = buffer;
    }
    const char* last = first + token.size();
    const auto result = std::from_chars(first, last, value);
    return result.ec == std::errc() && result.ptr == last && std::isfinite(value);
}
