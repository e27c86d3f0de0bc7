// The token and line reader of the CGATS text formats, over a block of bytes in memory. It
// knows the line of every token, so that each error can say where the file went wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class TKIT8Lexer {
public:
    // Longest token and longest keyword line; longer ones raise BufferTooSmall.
    static constexpr size_t kMaxToken = 9999;

    TKIT8Lexer(const char* text, size_t length) : fPos(text), fEnd(text + length) {}

    struct Token {
        std::string_view text;  // quotes kept for quoted tokens
        int32_t line = 0;     // where it begins
        int32_t endLine = 0;  // where it ends: later for a quoted text over line ends
        bool quoted = false;
    };
    // The next token, skipping blanks, tabs, zero bytes, line ends and "#" comments to the end of
    // their line. A token that begins with '"' runs to the closing quote (which may be on a later
    // line; \" stands for a quote and \\ for a backslash). False at the end of the text.
    bool Next(Token& token);
    // The rest of the current line without its leading blanks and tabs and without a trailing
    // comment, for keyword values. A value that opens a quote and does not close it on the line
    // runs on to the closing quote. Quotes are kept.
    std::string_view RestOfLine(int32_t* line = nullptr);
    // The line the next byte is on.
    int32_t Line() const { return fLine; }
    // Whether a token follows on the current line.
    bool MoreOnLine();

    // A number: the whole token (quotes allowed) must be one finite number; "," counts as the
    // decimal point, which some instruments write in their locale.
    static bool ParseNumber(std::string_view token, double& value);

    // The token without its quotes, with \" and \\ turned into " and \ and without zero bytes,
    // into `out`.
    static void Unquote(std::string_view token, std::string& out);

    // Raises `code` with "line %d: " and the message.
    [[noreturn]] static void Fail(int32_t code, int32_t line, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

private:
    // Skips blanks, tabs and zero bytes; stops at a line end or a token.
    void SkipBlanks();
    // Steps over one line end (CR, LF, CR LF) at the position.
    void SkipLineEnd();
    bool AtLineEnd() const { return fPos < fEnd && (*fPos == '\n' || *fPos == '\r'); }
    // From an opening quote to after the closing one; false when the text ends first.
    bool SkipQuoted();

    const char* fPos;
    const char* fEnd;
    int32_t fLine = 1;
};
